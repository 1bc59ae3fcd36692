# The users encoders of the development engine, tested on their own.
if(TARGET dw_sim_core)
  dw_add_test(encode_users_test SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/sim/encode_users_test.cpp
              LIBS dw_sim_core)
endif()

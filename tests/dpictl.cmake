# dpictl's command line, run as a program.
if(TARGET dpictl)
  dw_add_test(dpictl_test SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/tools/dpictl_test.cpp)
  target_compile_definitions(dpictl_test PRIVATE DPICTL_PATH="$<TARGET_FILE:dpictl>")
  add_dependencies(dpictl_test dpictl)
endif()

# A C99 program that includes the umbrella header and links the shared
# library: the C interface compiles as C and its symbols are exported.
add_executable(c_api_test ${CMAKE_CURRENT_SOURCE_DIR}/c/c_api_test.c)
set_target_properties(c_api_test PROPERTIES C_STANDARD 99 C_STANDARD_REQUIRED ON C_EXTENSIONS OFF)
target_link_libraries(c_api_test PRIVATE DpiWrapper)
add_test(NAME c_api_test COMMAND c_api_test)

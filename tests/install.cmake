# Installs the library into a scratch prefix and builds the example consumer
# against it with find_package and with pkg-config.
# Sanitizer builds are left out: the consumer is built without the runtime.
if(CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  return()
endif()
add_test(NAME install_and_consume
  COMMAND ${CMAKE_COMMAND}
    -DBUILD_DIR=${PROJECT_BINARY_DIR}
    -DSOURCE_DIR=${PROJECT_SOURCE_DIR}
    -DWORK_DIR=${PROJECT_BINARY_DIR}/install-check
    -P ${PROJECT_SOURCE_DIR}/cmake/InstallCheck.cmake)
set_tests_properties(install_and_consume PROPERTIES LABELS install TIMEOUT 300)

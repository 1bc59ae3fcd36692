# Helpers shared by the sub-directories.

# An object library made of every .cpp/.c file of the calling directory.
# Files are picked up by glob so that adding a source needs no CMake edit.
function(dw_object_library name)
  file(GLOB _srcs CONFIGURE_DEPENDS
       ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/*.c)
  list(FILTER _srcs EXCLUDE REGEX "/dbglog\\.cpp$")
  if(NOT _srcs)
    return()  # nothing in this subsystem yet
  endif()
  add_library(${name} OBJECT ${_srcs})
  if(NOT name STREQUAL "dw_platform")
    set_property(GLOBAL APPEND PROPERTY DW_CORE_OBJECTS $<TARGET_OBJECTS:${name}>)
  endif()
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/include
                                     PRIVATE ${PROJECT_SOURCE_DIR})
  target_compile_definitions(${name} PRIVATE DPIWRAPPER_BUILDING=1)
  target_link_libraries(${name} PRIVATE PkgConfig::JANSSON)
endfunction()

# Registers one GoogleTest executable.
#   dw_add_test(name SOURCES a.cpp ... [LIBS ...] [E2E] [LABELS ...])
# E2E tests talk to a dpi-engine-sim on the fixed control queue, so they are
# serialised with a resource lock and run with the message-queue privilege
# shim preloaded (the shim only acts when the real setrlimit fails).
function(dw_add_test name)
  cmake_parse_arguments(T "E2E" "" "SOURCES;LIBS;LABELS" ${ARGN})
  add_executable(${name} ${T_SOURCES})
  target_link_libraries(${name} PRIVATE dw_testable dw_test_support
                        GTest::gtest GTest::gtest_main ${T_LIBS})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/tests)
  add_test(NAME ${name} COMMAND ${name})
  set(_env "DW_TEST_DATA=${PROJECT_SOURCE_DIR}/tests/data")
  if(T_E2E)
    add_dependencies(${name} dpi-engine-sim dw_rlimit_shim)
    list(APPEND _env "LD_PRELOAD=$<TARGET_FILE:dw_rlimit_shim>"
                     "ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=1")
    set_tests_properties(${name} PROPERTIES RESOURCE_LOCK idpfw LABELS "e2e;${T_LABELS}")
  elseif(T_LABELS)
    set_tests_properties(${name} PROPERTIES LABELS "${T_LABELS}")
  endif()
  set_tests_properties(${name} PROPERTIES ENVIRONMENT "${_env}" TIMEOUT 300)
endfunction()

# Script mode: install, then build examples/consumer against the install.
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix}
                RESULT_VARIABLE rc OUTPUT_QUIET)
if(rc)
  message(FATAL_ERROR "install failed: ${rc}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples/consumer -B ${WORK_DIR}/consumer
                        -DCMAKE_PREFIX_PATH=${prefix}
                RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
if(rc)
  message(FATAL_ERROR "consumer configure failed:\n${out}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK_DIR}/consumer
                RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
if(rc)
  message(FATAL_ERROR "consumer build failed:\n${out}")
endif()
# pkg-config: compile and link the C consumer by hand.
file(GLOB pcdir LIST_DIRECTORIES true ${prefix}/lib*/pkgconfig ${prefix}/lib/*/pkgconfig)
set(ENV{PKG_CONFIG_PATH} "${pcdir}")
execute_process(COMMAND pkg-config --define-prefix --cflags --libs dpiwrapper
                RESULT_VARIABLE rc OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE)
if(rc)
  message(FATAL_ERROR "pkg-config does not know dpiwrapper")
endif()
separate_arguments(flags UNIX_COMMAND "${flags}")
execute_process(COMMAND cc ${SOURCE_DIR}/examples/consumer/consumer.c ${flags}
                        -o ${WORK_DIR}/consumer_pc
                RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
if(rc)
  message(FATAL_ERROR "pkg-config build failed:\n${out}")
endif()
message(STATUS "installed library builds consumers through CMake and pkg-config")

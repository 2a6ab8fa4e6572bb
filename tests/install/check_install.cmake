# Installs the build into a scratch prefix, then builds and runs a C consumer
# against it through find_package(vspsr) and through pkg-config.
file(REMOVE_RECURSE ${WORK})
set(prefix ${WORK}/prefix)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed (${rc}): ${ARGN}\n${out}\n${err}")
  endif()
  message(STATUS "${out}")
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
foreach(f include/vspsr.h)
  if(NOT EXISTS ${prefix}/${f})
    message(FATAL_ERROR "missing ${f}")
  endif()
endforeach()

# CMake package.
run(${CMAKE_COMMAND} -S ${CONSUMER} -B ${WORK}/cmake-build -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_C_COMPILER=${C_COMPILER} -DCMAKE_BUILD_TYPE=Release)
run(${CMAKE_COMMAND} --build ${WORK}/cmake-build)
run(${WORK}/cmake-build/consumer)

# pkg-config, where the tool exists.
find_program(PKG_CONFIG NAMES pkg-config pkgconf)
if(PKG_CONFIG)
  file(GLOB_RECURSE pc ${prefix}/*/vspsr.pc)
  get_filename_component(pcdir "${pc}" DIRECTORY)
  set(ENV{PKG_CONFIG_PATH} ${pcdir})
  execute_process(COMMAND ${PKG_CONFIG} --cflags --libs vspsr OUTPUT_VARIABLE flags
                  OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "pkg-config does not know vspsr")
  endif()
  separate_arguments(flags UNIX_COMMAND "${flags}")
  run(${C_COMPILER} -std=c99 ${CONSUMER}/consumer.c -o ${WORK}/pc-consumer ${flags})
  string(REGEX MATCH "-L([^;]+)" _ "${flags}")
  set(ENV{LD_LIBRARY_PATH} ${CMAKE_MATCH_1})
  run(${WORK}/pc-consumer)
endif()

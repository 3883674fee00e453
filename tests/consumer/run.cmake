# Installs the build into a scratch prefix, then builds and runs a consumer
# against it twice: through the CMake package and through pkg-config.
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)
function(run)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed (${rc}): ${ARGV}\n${out}\n${err}")
  endif()
  message(STATUS "${out}")
endfunction()
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/cmake -G Ninja -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/cmake)
run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${prefix}/lib ${WORK_DIR}/cmake/consumer)
find_program(PKG_CONFIG pkg-config)
if(PKG_CONFIG)
  execute_process(COMMAND ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${prefix}/lib/pkgconfig
                  ${PKG_CONFIG} --cflags --libs zor OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE)
  separate_arguments(flags)
  run(cc ${SOURCE_DIR}/main.c -o ${WORK_DIR}/consumer_pc ${flags})
  run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${prefix}/lib ${WORK_DIR}/consumer_pc)
  # The two libraries link in either order.
  run(cc ${SOURCE_DIR}/main.c -o ${WORK_DIR}/consumer_reversed -I${prefix}/include -L${prefix}/lib
      -lzor_core -lzor_tier2)
  run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${prefix}/lib ${WORK_DIR}/consumer_reversed)
else()
  message(FATAL_ERROR "pkg-config is not installed")
endif()

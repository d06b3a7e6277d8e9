# Installs the project, then configures, builds and runs the example program against what was
# installed, as a user of the library would.
# Variables: SOURCE, BUILD, WORK, GENERATOR, CONFIG, CXX, CXX_FLAGS.

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT status EQUAL 0)
    list(JOIN ARGN " " line)
    message(FATAL_ERROR "${line}\n${out}")
  endif()
  set(output "${out}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/prefix --config ${CONFIG})
foreach(header hermite/hermite.h hermite/internal.h host/host.h)
  if(NOT EXISTS ${WORK}/prefix/include/qxhermite/${header})
    message(FATAL_ERROR "not installed: ${header}")
  endif()
endforeach()

run(${CMAKE_COMMAND} -S ${SOURCE}/examples -B ${WORK}/build -G ${GENERATOR}
    -DCMAKE_BUILD_TYPE=${CONFIG} -DCMAKE_CXX_COMPILER=${CXX} "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
    -DCMAKE_PREFIX_PATH=${WORK}/prefix)
run(${CMAKE_COMMAND} --build ${WORK}/build)
run(${WORK}/build/overlay ${SOURCE}/examples/data/reference.sdf ${SOURCE}/examples/data/drugs.sdf)
message("${output}")
if(NOT output MATCHES "celecoxib +0\\.[0-9]+")
  message(FATAL_ERROR "the example printed no score of celecoxib")
endif()

# The README shows the very program that was built here.
file(READ ${SOURCE}/README.md readme)
file(READ ${SOURCE}/examples/overlay.cpp program)
string(FIND "${readme}" "```cpp\n${program}```" place)
if(place EQUAL -1)
  message(FATAL_ERROR "README.md does not show examples/overlay.cpp as it is")
endif()

# Installs the project, then configures, builds and runs the examples against what was
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
set(data ${SOURCE}/examples/data)

# check(PATTERN program words...): runs an example; what it prints must match.
function(check pattern)
  run(${ARGN})
  if(NOT output MATCHES "${pattern}")
    list(JOIN ARGN " " line)
    message(FATAL_ERROR "${line}\ndid not print ${pattern}, but\n${output}")
  endif()
endfunction()

check("etoricoxib +0\\.9[34]" ${WORK}/build/overlay ${data}/reference.sdf ${data}/drugs.sdf)
check("\n +20 +1771 .* 0\\.00[0-9]+ %" ${WORK}/build/convergence ${data}/reference.sdf)
check("^3 atoms, cosine 0\\.9.* relative RMS 0\\.[01]"
      ${WORK}/build/map_to_atoms ${data}/formamide.ccp4 ${WORK}/atoms.sdf)
# Far away both are dipoles, and 0.0801 kcal/mol is what the point charges give.
check("z  10\\.0 A  energy +0\\.0801 kcal/mol  of the point charges +0\\.0801"
      ${WORK}/build/charges)
check("degree 20 [^\n]* 0\\.9999[0-9]*\n$" ${WORK}/build/turn_and_move ${data}/reference.sdf)

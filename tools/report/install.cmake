# Gets the packages of package.json into the current folder: cmake -D NPM=... -D VIEWER=... -P install.cmake

execute_process(COMMAND ${NPM} ci --ignore-scripts --no-audit --no-fund --no-update-notifier
                                  --loglevel=error
                RESULT_VARIABLE status OUTPUT_QUIET)
if(NOT status EQUAL 0 OR NOT EXISTS ${VIEWER})
  message(FATAL_ERROR "npm could not get 3Dmol.js: give QXHERMITE_3DMOL_JS, the path of a "
                      "3Dmol-min.js, or leave reports out with QXHERMITE_WITH_REPORT=OFF")
endif()
file(TOUCH ${VIEWER})  # npm keeps the time of packing

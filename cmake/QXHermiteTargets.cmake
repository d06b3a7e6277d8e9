# How every target of the project is compiled.

# Applies the language level, the warnings and the sanitizers to one target.
function(qx_configure_target target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF POSITION_INDEPENDENT_CODE ON)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                                           -Wno-sign-conversion -Wnon-virtual-dtor)
  # GCC 12 warns without cause about the concatenation of strings.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(${target} PRIVATE -Wno-restrict)
  endif()
  if(QXHERMITE_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(QXHERMITE_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${QXHERMITE_SANITIZE}
                                             -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${QXHERMITE_SANITIZE})
  endif()
endfunction()

# qx_add_test(NAME source...): one GoogleTest executable, each of its tests known to CTest.
function(qx_add_test name)
  add_executable(${name} ${ARGN})
  qx_configure_target(${name})
  target_link_libraries(${name} PRIVATE QXHermite::hermite GTest::gmock GTest::gtest_main)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/tests)
  target_compile_definitions(${name} PRIVATE QX_TEST_DATA="${PROJECT_SOURCE_DIR}/tests/data")
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES ENVIRONMENT
    "LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/lsan.supp:print_suppressions=0")
endfunction()

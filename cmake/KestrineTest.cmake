# kestrine_test(name source... LIBS library...): a GoogleTest program, one CTest entry for each of its tests.
find_package(GTest REQUIRED)
include(GoogleTest)

function(kestrine_test name)
  cmake_parse_arguments(ARG "" "" "LIBS" ${ARGN})
  add_executable(${name} ${ARG_UNPARSED_ARGUMENTS})
  target_include_directories(${name} PRIVATE ${PROJECT_BINARY_DIR}/generated/tests)
  target_link_libraries(${name} PRIVATE kestrine_flags ${ARG_LIBS} GTest::gtest_main)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 120)
endfunction()

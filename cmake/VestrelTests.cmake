# How the project's tests are made.

# Debian's GoogleTest is for the machine itself; for another one it is built from the sources beside it.
if(CMAKE_CROSSCOMPILING)
  set(VESTREL_GTEST_SOURCE /usr/src/googletest CACHE PATH "GoogleTest's sources, for cross builds")
  set(INSTALL_GTEST OFF)
  add_subdirectory(${VESTREL_GTEST_SOURCE} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
else()
  vestrel_find_for("tests" VESTREL_BUILD_TESTS GTest libgtest-dev)
endif()
include(GoogleTest)

# Tests with the label exhaustive visit one in nine of the floats that there are, or with this option every one, which
# takes minutes for each. The target builds nothing but them.
option(VESTREL_TESTS_VISIT_EVERY_FLOAT "Leave no float out of the exhaustive tests" OFF)
add_custom_target(exhaustive_tests)

# vestrel_test(NAME source... [LIBRARIES library...] [LABEL label]). Of several labels CMake 3.25 would take the first.
function(vestrel_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "LABEL" "LIBRARIES")
  add_executable(${name} ${arg_UNPARSED_ARGUMENTS})
  vestrel_own_code(${name})
  # The references that results are compared with must not be fused either.
  vestrel_exact_arithmetic(${name})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} GTest::gtest_main)
  set(timeout 300)
  if(arg_LABEL STREQUAL "exhaustive")
    add_dependencies(exhaustive_tests ${name})
    target_compile_definitions(${name} PRIVATE
      VESTREL_TESTS_VISIT_EVERY_FLOAT=$<BOOL:${VESTREL_TESTS_VISIT_EVERY_FLOAT}>)
    set(timeout 3600)
  endif()
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT ${timeout} LABELS "${arg_LABEL}")
endfunction()

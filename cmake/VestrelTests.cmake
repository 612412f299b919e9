# How the project's tests are made.

# Debian's GoogleTest is for the machine itself; for another one it is built from the sources beside it.
if(CMAKE_CROSSCOMPILING)
  set(VESTREL_GTEST_SOURCE /usr/src/googletest CACHE PATH "GoogleTest's sources, for cross builds")
  set(INSTALL_GTEST OFF)
  add_subdirectory(${VESTREL_GTEST_SOURCE} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
  # The framework's own speed is of no use: optimising it takes a minute.
  target_compile_options(gtest PRIVATE -O0)
endif()
include(GoogleTest)

option(VESTREL_BUILD_LONG_TESTS "Build the statistical and the exhaustive tests, too" ON)
# Tests with the label exhaustive visit one float in nine, or with this option every float, which takes minutes for each.
# The target builds them alone.
option(VESTREL_TESTS_VISIT_EVERY_FLOAT "Leave no float out of the exhaustive tests" OFF)
add_custom_target(exhaustive_tests)

set(VESTREL_TEST_FLAGS "" CACHE STRING "Compiler flags for the sources of tests alone")
separate_arguments(vestrel_test_flags UNIX_COMMAND "${VESTREL_TEST_FLAGS}")

# GoogleTest's header takes most of the time that a test takes to compile; all programs share one precompiled.
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/precompiled_gtest.cpp CONTENT "")
add_library(precompiled_gtest OBJECT ${PROJECT_BINARY_DIR}/precompiled_gtest.cpp)
vestrel_own_code(precompiled_gtest)
vestrel_exact_arithmetic(precompiled_gtest)
target_link_libraries(precompiled_gtest PRIVATE GTest::gtest_main)
target_precompile_headers(precompiled_gtest PRIVATE <gtest/gtest.h>)
# A time in it would keep a compiler cache from sharing it.
target_compile_options(precompiled_gtest PRIVATE ${vestrel_test_flags}
  $<$<CXX_COMPILER_ID:Clang>:SHELL:-Xclang -fno-pch-timestamp>)

# vestrel_test(NAME source... [LIBRARIES library...] [LABEL label]). Of several labels CMake 3.25 would take the first.
function(vestrel_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "LABEL" "LIBRARIES")
  add_executable(${name} ${arg_UNPARSED_ARGUMENTS})
  vestrel_own_code(${name})
  # The references must not be fused either.
  vestrel_exact_arithmetic(${name})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} zr_support_internal GTest::gtest_main)
  target_compile_options(${name} PRIVATE ${vestrel_test_flags})
  target_precompile_headers(${name} REUSE_FROM precompiled_gtest)
  set(timeout 300)
  if(arg_LABEL STREQUAL "exhaustive")
    add_dependencies(exhaustive_tests ${name})
    target_compile_definitions(${name} PRIVATE
      VESTREL_TESTS_VISIT_EVERY_FLOAT=$<BOOL:${VESTREL_TESTS_VISIT_EVERY_FLOAT}>)
    set(timeout 3600)
  endif()
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT ${timeout} LABELS "${arg_LABEL}")
endfunction()

# vestrel_test_instruction_sets(PROGRAM LABEL argument...): a program of tests, whose main is instruction_set_main.cpp, once
# with each instruction set that the library does not select by itself.
function(vestrel_test_instruction_sets program label)
  if(NOT VESTREL_WIDE_KERNELS)
    return()
  endif()
  set(instruction_sets "four lanes" AVX2 AVX-512)
  if(VESTREL_TESTS_VISIT_EVERY_FLOAT AND CMAKE_CXX_FLAGS MATCHES "(^| )-m" AND label STREQUAL exhaustive)
    # A level of instructions changes the flags of the code for four lanes alone.
    set(instruction_sets "four lanes")
  endif()
  foreach(kernels IN LISTS instruction_sets)
    add_test(NAME "${program} with ${kernels}" COMMAND ${program} "--other-kernels=${kernels}" ${ARGN})
    set_tests_properties("${program} with ${kernels}" PROPERTIES TIMEOUT 3600 LABELS "${label}"
      SKIP_REGULAR_EXPRESSION "\\[  SKIPPED \\] this library on this processor")
  endforeach()
endfunction()

# The supported compilers. <zr_support/compiler.h> checks the same for programs that use the library.
set(vestrel_oldest_GNU 12)
set(vestrel_oldest_Clang 14)
set(vestrel_oldest_AppleClang 14)
set(vestrel_oldest "${vestrel_oldest_${CMAKE_CXX_COMPILER_ID}}")
if(NOT vestrel_oldest OR CMAKE_CXX_COMPILER_VERSION VERSION_LESS vestrel_oldest
   OR CMAKE_CXX_COMPILER_FRONTEND_VARIANT STREQUAL "MSVC")
  message(FATAL_ERROR "Vestrel needs g++ 12 or newer, or clang++ 14 or newer; "
                      "this is ${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION}.")
endif()

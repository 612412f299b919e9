# What the project's targets have in common.
include(CheckCXXSourceCompiles)
include(CheckLinkerFlag)

check_cxx_source_compiles("
#include \"${CMAKE_CURRENT_LIST_DIR}/../Runtime/zr_support/include/zr_support/simd/flushing_vectors.h\"
#if !VESTREL_VECTORS_FLUSH
#error vector instructions keep denormals
#endif
int main() {}" VESTREL_TARGET_VECTORS_FLUSH)

# Warnings for the project's own code. They are errors where a preset says so.
function(vestrel_own_code target)
  set_target_properties(${target} PROPERTIES CXX_STANDARD 20 CXX_STANDARD_REQUIRED ON CXX_EXTENSIONS OFF)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wconversion -Wshadow)
endfunction()

# Code whose results are promised to the bit. Compilers fuse products and sums where the processor can, unless
# told otherwise; and GCC forgets that it was told in link-time optimisation, so such code stays out of it.
# strict_arithmetic.h refuses the parts of fast-math that GCC shows. Clang shows only one, and so all are switched off,
# here and in that header.
function(vestrel_exact_arithmetic target)
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    target_compile_options(${target} PRIVATE -fno-unsafe-math-optimizations -fno-associative-math
      -fno-reciprocal-math -fno-approx-func -fsigned-zeros -fhonor-nans -fhonor-infinities
      -fdenormal-fp-math=ieee)
  endif()
  # Where vectors flush denormals, compilers must make none, neither of loops nor of neighbouring statements.
  if(VESTREL_TARGET_VECTORS_FLUSH)
    target_compile_options(${target} PRIVATE -fno-tree-slp-vectorize
      $<IF:$<CXX_COMPILER_ID:GNU>,-fno-tree-loop-vectorize,-fno-vectorize>)
    target_compile_definitions(${target} PRIVATE VESTREL_NOT_VECTORISED=1)
  endif()
  # A square root is one instruction, unless it has to set errno.
  target_compile_options(${target} PRIVATE -ffp-contract=off -fno-math-errno -fno-lto)
  set_target_properties(${target} PROPERTIES INTERPROCEDURAL_OPTIMIZATION OFF)
endfunction()

# What a shared library has besides: its version, and where it finds the other one, which is installed beside it. (In the
# build folder that is a relative path too, or else the files would tell how long the folder's name is.) Before 1.0 a minor
# version may change what the library promises.
function(vestrel_shared_library target)
  set_target_properties(${target} PROPERTIES VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR} INSTALL_RPATH "$ORIGIN" BUILD_RPATH_USE_ORIGIN ON)
  set(script ${PROJECT_SOURCE_DIR}/cmake/shared_library.map)
  check_linker_flag(CXX "LINKER:--version-script=${script}" VESTREL_LINKER_TAKES_VERSION_SCRIPTS)
  if(VESTREL_LINKER_TAKES_VERSION_SCRIPTS)
    target_link_options(${target} PRIVATE "LINKER:--version-script=${script}")
    set_target_properties(${target} PROPERTIES LINK_DEPENDS ${script})
  endif()
endfunction()

# A library of the runtime: its public headers are in include/, in C++17.
function(vestrel_runtime_library target)
  vestrel_own_code(${target})
  vestrel_exact_arithmetic(${target})
  add_library(Vestrel::${target} ALIAS ${target})
  # A program may take the place of the allocator, which has to stay in an object file of its own.
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON UNITY_BUILD OFF)
  # What is public says so, by VESTREL_PUBLIC.
  set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  if(VESTREL_SHARED)
    vestrel_shared_library(${target})
  endif()
  if(VESTREL_HARDENED)
    vestrel_harden(${target})
  endif()
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:zr_support_internal>)
  target_compile_features(${target} PUBLIC cxx_std_17)
  target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}/include>
                                              $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
endfunction()

# For sources of the inner loops: the check of VESTREL_HARDENED would slow down short calls, and their arrays have fixed
# lengths.
function(vestrel_without_stack_protector)
  if(VESTREL_HARDENED AND VESTREL_COMPILER_TAKES_fstack_protector_strong)
    set_property(SOURCE ${ARGV} APPEND PROPERTY COMPILE_OPTIONS -fno-stack-protector)
  endif()
endfunction()

# find_package for something that only a part of the build needs, with a message that says how to go on without.
macro(vestrel_find_for part option package debian)
  find_package(${package} QUIET ${ARGN})
  if(NOT ${package}_FOUND)
    message(FATAL_ERROR "The ${part} need ${package}: install it (Debian: ${debian}) or configure with -D${option}=OFF.")
  endif()
endmacro()

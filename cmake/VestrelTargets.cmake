# Functions that define the project's targets.
include(CheckCXXSourceCompiles)
include(CheckLinkerFlag)

check_cxx_source_compiles("
#include \"${CMAKE_CURRENT_LIST_DIR}/../Runtime/zr_support/include/zr_support/simd/flushing_vectors.h\"
#if !VESTREL_VECTORS_FLUSH
#error vector instructions keep denormals
#endif
int main() {}" VESTREL_TARGET_VECTORS_FLUSH)

# Standard and warnings of the project's own code. Presets make the warnings errors.
function(vestrel_own_code target)
  set_target_properties(${target} PROPERTIES CXX_STANDARD 20 CXX_STANDARD_REQUIRED ON CXX_EXTENSIONS OFF)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wconversion -Wshadow)
endfunction()

# Code whose results are promised to the bit. By default compilers fuse a product and a sum; GCC ignores the flag against that
# in link-time optimisation, so this code stays out of it. strict_arithmetic.h refuses the parts of fast-math that GCC
# defines macros for. Clang defines only one, so all are switched off, here and in that header.
function(vestrel_exact_arithmetic target)
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    target_compile_options(${target} PRIVATE -fno-unsafe-math-optimizations -fno-associative-math
      -fno-reciprocal-math -fno-approx-func -fsigned-zeros -fhonor-nans -fhonor-infinities
      -fdenormal-fp-math=ieee)
  endif()
  # Where vector instructions flush denormals, compilers must not vectorise.
  if(VESTREL_TARGET_VECTORS_FLUSH)
    target_compile_options(${target} PRIVATE -fno-tree-slp-vectorize
      $<IF:$<CXX_COMPILER_ID:GNU>,-fno-tree-loop-vectorize,-fno-vectorize>)
    target_compile_definitions(${target} PRIVATE VESTREL_NOT_VECTORISED=1)
  endif()
  # Without errno a square root is one instruction.
  target_compile_options(${target} PRIVATE -ffp-contract=off -fno-math-errno -fno-lto)
  set_target_properties(${target} PROPERTIES INTERPROCEDURAL_OPTIMIZATION OFF)
endfunction()

# Version and search path of a shared library; the other one is installed beside it. (The build folder uses a relative path,
# too: an absolute one would change the bytes.) Before 1.0 a minor version may change what the library promises.
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
  # A program may replace the allocator, which therefore has an object file of its own.
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON UNITY_BUILD OFF)
  # VESTREL_PUBLIC marks what is public.
  set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  if(VESTREL_SHARED)
    vestrel_shared_library(${target})
  endif()
  if(VESTREL_HARDENED)
    vestrel_harden(${target})
  endif()
  # Not linked: a static library's export would name the target, even of private links.
  target_include_directories(${target} PRIVATE $<TARGET_PROPERTY:zr_support_internal,INTERFACE_INCLUDE_DIRECTORIES>)
  target_compile_definitions(${target} PRIVATE $<TARGET_PROPERTY:zr_support_internal,INTERFACE_COMPILE_DEFINITIONS>)
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

# Chooses the SIMD backend. <zr_support/config.h> passes the choice on to every program that uses the library.
include(CheckCXXSourceCompiles)

check_cxx_source_compiles("
#if !defined(__aarch64__) || !defined(__ARM_NEON) || defined(__AARCH64EB__)
#error not little-endian arm64
#endif
int main() {}" VESTREL_TARGET_HAS_NEON)
check_cxx_source_compiles("
#if !defined(__SSE2__)
#error not x86 with SSE2
#endif
int main() {}" VESTREL_TARGET_HAS_SSE)
check_cxx_source_compiles("
#if !defined(__wasm_simd128__)
#error not WebAssembly with its 128-bit SIMD
#endif
int main() {}" VESTREL_TARGET_HAS_WASM)

# Kernels for wider registers, chosen at run time by what the processor has.
set(VESTREL_WIDE_KERNELS OFF)
set(VESTREL_SIMD_BACKEND_NEON OFF)
set(VESTREL_SIMD_BACKEND_SSE OFF)
set(VESTREL_SIMD_BACKEND_WASM OFF)
set(VESTREL_SIMD_BACKEND_PORTABLE OFF)
if(VESTREL_PORTABLE_SIMD)
  set(VESTREL_SIMD_BACKEND_PORTABLE ON)
elseif(VESTREL_TARGET_HAS_NEON)
  set(VESTREL_SIMD_BACKEND_NEON ON)
elseif(VESTREL_TARGET_HAS_SSE)
  set(VESTREL_SIMD_BACKEND_SSE ON)
  if(CMAKE_SIZEOF_VOID_P EQUAL 8)
    set(VESTREL_WIDE_KERNELS ON)
  endif()
elseif(VESTREL_TARGET_HAS_WASM)
  set(VESTREL_SIMD_BACKEND_WASM ON)
else()
  set(VESTREL_SIMD_BACKEND_PORTABLE ON)
endif()

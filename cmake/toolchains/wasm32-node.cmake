# Builds for WebAssembly with its 128-bit SIMD, with Debian's clang++ 19 and wasi packages, and runs what was built under
# node.
set(CMAKE_SYSTEM_NAME WASI)
set(CMAKE_SYSTEM_PROCESSOR wasm32)
set(CMAKE_CXX_COMPILER clang++-19)
set(CMAKE_CXX_COMPILER_TARGET wasm32-wasi)
# There are no exceptions in the standard library of this platform.
set(CMAKE_CXX_FLAGS_INIT "-msimd128 -fno-exceptions")
set(CMAKE_EXECUTABLE_SUFFIX_CXX .wasm)
set(CMAKE_CROSSCOMPILING_EMULATOR node --no-warnings --experimental-wasi-unstable-preview1
    ${CMAKE_CURRENT_LIST_DIR}/wasm32-node.mjs)
# What GoogleTest looks for, and what it has to do without.
string(APPEND CMAKE_CXX_FLAGS_INIT " -D_WASI_EMULATED_SIGNAL -D_WASI_EMULATED_PROCESS_CLOCKS -DGTEST_HAS_PTHREAD=0 -DGTEST_HAS_STREAM_REDIRECTION=0")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-lwasi-emulated-signal -lwasi-emulated-process-clocks")

# Sources for wider registers than those of the SIMD backend. Each is compiled for one instruction set; the library selects
# one at run time (zr_support_internal/selected_instruction_set.h).

# The linker must not keep such a source's copy of a function that other sources have too: older processors would run it.
# -fno-exceptions, because for exceptions Clang makes a function that sources share; -fno-keep-inline-functions, so that
# GCC emits only those that are called.
set(vestrel_own_code_alone -fno-exceptions $<$<CXX_COMPILER_ID:GNU>:-fno-keep-inline-functions>)
set(vestrel_avx2_flags -mavx2)
# GCC 12 warns about values that its own AVX-512 header leaves undefined on purpose (its bug 105593).
set(vestrel_avx512_flags -mavx512f -mavx512bw -mavx512vbmi $<$<CXX_COMPILER_ID:GNU>:-Wno-uninitialized>)

# vestrel_wide_sources(TARGET AVX2 source... AVX512 source...)
function(vestrel_wide_sources target)
  if(NOT VESTREL_WIDE_KERNELS)
    return()
  endif()
  cmake_parse_arguments(PARSE_ARGV 1 sources "" "" "AVX2;AVX512")
  target_sources(${target} PRIVATE ${sources_AVX2} ${sources_AVX512})
  set_source_files_properties(${sources_AVX2} PROPERTIES
    COMPILE_OPTIONS "${vestrel_avx2_flags};${vestrel_own_code_alone}")
  set_source_files_properties(${sources_AVX512} PROPERTIES
    COMPILE_OPTIONS "${vestrel_avx512_flags};${vestrel_own_code_alone}")
  vestrel_without_stack_protector(${sources_AVX2} ${sources_AVX512})
endfunction()

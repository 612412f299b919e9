# The flags of Debian's dpkg-buildflags with hardening=+all, those that compiler and linker support. Results contain no build
# folder, so every folder gives the same bytes.
include(CheckCXXCompilerFlag)
include(CheckLinkerFlag)
include(CheckPIESupported)
check_pie_supported()

set(vestrel_hardening
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.
  -ffile-prefix-map=${PROJECT_BINARY_DIR}=./build
  -Wformat -Werror=format-security
  $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE>
  $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
# The last two are for x86 and for arm64.
foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection -mbranch-protection=standard)
  string(MAKE_C_IDENTIFIER "VESTREL_COMPILER_TAKES${flag}" known)
  check_cxx_compiler_flag(${flag} ${known})
  if(${known})
    list(APPEND vestrel_hardening ${flag})
  endif()
endforeach()
check_linker_flag(CXX "LINKER:-z,relro,-z,now" VESTREL_LINKER_TAKES_RELRO)

function(vestrel_harden target)
  target_compile_options(${target} PRIVATE ${vestrel_hardening})
  if(VESTREL_LINKER_TAKES_RELRO)
    target_link_options(${target} PRIVATE "LINKER:-z,relro,-z,now")
  endif()
  # Also for programs: -fPIE and -pie.
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
endfunction()

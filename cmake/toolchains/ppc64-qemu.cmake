set(CMAKE_SYSTEM_PROCESSOR ppc64)
set(vestrel_triple powerpc64-linux-gnu)
set(vestrel_emulator qemu-ppc64)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)

set(CMAKE_SYSTEM_PROCESSOR ppc64le)
set(vestrel_triple powerpc64le-linux-gnu)
set(vestrel_emulator qemu-ppc64le)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)

set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(vestrel_triple aarch64-linux-gnu)
set(vestrel_emulator qemu-aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)

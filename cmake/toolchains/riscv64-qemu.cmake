set(CMAKE_SYSTEM_PROCESSOR riscv64)
set(vestrel_triple riscv64-linux-gnu)
set(vestrel_emulator qemu-riscv64)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)

set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(vestrel_triple arm-linux-gnueabihf)
set(vestrel_emulator qemu-arm)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)

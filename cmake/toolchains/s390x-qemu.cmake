set(CMAKE_SYSTEM_PROCESSOR s390x)
set(vestrel_triple s390x-linux-gnu)
set(vestrel_emulator qemu-s390x)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)

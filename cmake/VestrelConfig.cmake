# Targets: Vestrel::zr_support (what the runtime's libraries build on).
include(${CMAKE_CURRENT_LIST_DIR}/VestrelTargets.cmake)

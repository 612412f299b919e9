# Targets: Vestrel::zr_maths (the noise module) and Vestrel::zr_support (what it builds on).
include(${CMAKE_CURRENT_LIST_DIR}/VestrelTargets.cmake)

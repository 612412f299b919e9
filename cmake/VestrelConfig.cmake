# Targets: Vestrel::zr_maths (the noise module) and Vestrel::zr_support (its base).
include(${CMAKE_CURRENT_LIST_DIR}/VestrelTargets.cmake)

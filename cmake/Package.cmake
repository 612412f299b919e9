# The package that find_package(Vestrel CONFIG) finds.
include(CMakePackageConfigHelpers)

set(vestrel_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Vestrel)
# Before 1.0 a minor version may change what the library promises.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VestrelConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_SOURCE_DIR}/cmake/VestrelConfig.cmake ${PROJECT_BINARY_DIR}/VestrelConfigVersion.cmake
        DESTINATION ${vestrel_package_dir})
install(EXPORT VestrelTargets NAMESPACE Vestrel:: DESTINATION ${vestrel_package_dir})

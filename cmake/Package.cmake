# What is installed: the libraries with their files for CMake and pkg-config, the tool if it is built, and the documents.
# The installed files may be moved.
include(CMakePackageConfigHelpers)

set(vestrel_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Vestrel)
set(vestrel_pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
set(vestrel_doc_dir ${CMAKE_INSTALL_DATAROOTDIR}/doc/vestrel-noise)

install(TARGETS zr_support zr_maths EXPORT VestrelTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime NAMELINK_COMPONENT Development)
foreach(library zr_support zr_maths)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/Runtime/${library}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    COMPONENT Development FILES_MATCHING PATTERN "*.h")
endforeach()
install(FILES ${PROJECT_BINARY_DIR}/Runtime/zr_support/include/zr_support/config.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zr_support COMPONENT Development)

# For find_package(Vestrel CONFIG). Before 1.0 a minor version may change what the library promises.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VestrelConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_SOURCE_DIR}/cmake/VestrelConfig.cmake ${PROJECT_BINARY_DIR}/VestrelConfigVersion.cmake
  DESTINATION ${vestrel_package_dir} COMPONENT Development)
install(EXPORT VestrelTargets NAMESPACE Vestrel:: DESTINATION ${vestrel_package_dir} COMPONENT Development)

# For pkg-config.
file(RELATIVE_PATH vestrel_headers_from_pkgconfig ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_FULL_INCLUDEDIR})
configure_file(${PROJECT_SOURCE_DIR}/cmake/vestrel-noise.pc.in ${PROJECT_BINARY_DIR}/vestrel-noise.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vestrel-noise.pc DESTINATION ${vestrel_pkgconfig_dir} COMPONENT Development)

if(VESTREL_BUILD_TOOLS)
  install(TARGETS noise_preview RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Tools)
  if(VESTREL_SHARED)
    file(RELATIVE_PATH vestrel_libraries_from_tools ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(noise_preview PROPERTIES INSTALL_RPATH "$ORIGIN/${vestrel_libraries_from_tools}")
  endif()
endif()

foreach(document README CHANGELOG CONTRIBUTING)
  install(FILES ${PROJECT_SOURCE_DIR}/${document}.md DESTINATION ${vestrel_doc_dir} COMPONENT Development)
endforeach()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs ${PROJECT_SOURCE_DIR}/samples DESTINATION ${vestrel_doc_dir}
  COMPONENT Development PATTERN "tests" EXCLUDE PATTERN "CMakeLists.txt" EXCLUDE)
if(EXISTS ${PROJECT_SOURCE_DIR}/LICENSE)
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${vestrel_doc_dir} COMPONENT Development)
endif()

# What `cpack -G DEB` packages: vestrel-noise, and the shared libraries in a package of their own. Its name has the version,
# so that several versions can be installed.
set(libraries_package libzr-maths${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vestrel-noise)
set(CPACK_PACKAGE_CONTACT "Vestrel maintainers <maintainers@vestrel.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_SOURCE_DIR}/cmake/CheckDebianTools.cmake)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/StripDebianPackage.cmake)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL Development)
set(CPACK_DEBIAN_NOISE_PACKAGE_NAME vestrel-noise)
set(CPACK_DEBIAN_NOISE_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_NOISE_DESCRIPTION "Lattice value noise in one to four dimensions, sampled in batches: the
libraries, their headers, and files for CMake and pkg-config.")
if(VESTREL_BUILD_TOOLS)
  list(APPEND CPACK_COMPONENTS_ALL Tools)
  string(APPEND CPACK_COMPONENT_NOISE_DESCRIPTION " noise_preview
draws a field.")
endif()
if(VESTREL_SHARED)
  list(APPEND CPACK_COMPONENTS_ALL Runtime)
  set(CPACK_DEBIAN_NOISE_PACKAGE_DEPENDS "${libraries_package} (= ${PROJECT_VERSION})")
  # Where dpkg-shlibdeps finds the tool's libraries, which are in the other package.
  foreach(library zr_support zr_maths)
    list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/Runtime/${library})
  endforeach()
  set(CPACK_DEBIAN_LIBRARIES_PACKAGE_NAME ${libraries_package})
  set(CPACK_DEBIAN_LIBRARIES_PACKAGE_SECTION libs)
  set(CPACK_COMPONENT_LIBRARIES_DESCRIPTION "Lattice value noise in one to four dimensions, sampled in batches: the shared
libraries, for programs that use them.")
  file(WRITE ${PROJECT_BINARY_DIR}/debian/triggers "activate-noawait ldconfig\n")
  set(CPACK_DEBIAN_LIBRARIES_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/debian/triggers)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
endif()

# Files that only Debian packages have: cpack installs these components by name, `cmake --install` does not.
string(TIMESTAMP vestrel_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(${PROJECT_SOURCE_DIR}/cmake/debian_changelog.in ${PROJECT_BINARY_DIR}/debian/changelog @ONLY)
find_program(VESTREL_GZIP gzip)
if(VESTREL_GZIP)
  execute_process(COMMAND ${VESTREL_GZIP} -9nkf ${PROJECT_BINARY_DIR}/debian/changelog COMMAND_ERROR_IS_FATAL ANY)
  install(FILES ${PROJECT_BINARY_DIR}/debian/changelog.gz DESTINATION ${vestrel_doc_dir}
    COMPONENT Development EXCLUDE_FROM_ALL)
  install(FILES ${PROJECT_BINARY_DIR}/debian/changelog.gz
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${libraries_package} COMPONENT Runtime EXCLUDE_FROM_ALL)
endif()
set(vestrel_overrides_dir ${CMAKE_INSTALL_DATAROOTDIR}/lintian/overrides)
install(FILES ${PROJECT_SOURCE_DIR}/cmake/lintian_overrides_noise RENAME vestrel-noise
  DESTINATION ${vestrel_overrides_dir} COMPONENT Development EXCLUDE_FROM_ALL)
install(FILES ${PROJECT_SOURCE_DIR}/cmake/lintian_overrides_libraries RENAME ${libraries_package}
  DESTINATION ${vestrel_overrides_dir} COMPONENT Runtime EXCLUDE_FROM_ALL)

include(CPack)
cpack_add_component(Development GROUP Noise)
cpack_add_component(Tools GROUP Noise)
cpack_add_component(Runtime GROUP Libraries)

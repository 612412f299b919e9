# What `cpack -G DEB` makes of all that is installed: one package.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vestrel-noise)
set(CPACK_PACKAGE_CONTACT "Vestrel maintainers <maintainers@vestrel.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGE_DESCRIPTION "Lattice value noise in one to four dimensions, sampled in batches: the libraries,
their headers, and files for CMake and pkg-config.")
if(VESTREL_BUILD_TOOLS)
  string(APPEND CPACK_PACKAGE_DESCRIPTION " noise_preview draws a field.")
endif()
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
if(VESTREL_SHARED)
  # The scripts of the package that CPack writes call ldconfig, too, and cannot be left out.
  file(WRITE ${PROJECT_BINARY_DIR}/debian/triggers "activate-noawait ldconfig\n")
  set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/debian/triggers)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
endif()
include(CPack)

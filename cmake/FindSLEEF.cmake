# The target SLEEF::SLEEF, a library of vectorised functions, which benchmarks compare with.
find_path(SLEEF_INCLUDE_DIR sleef.h)
find_library(SLEEF_LIBRARY sleef)
mark_as_advanced(SLEEF_INCLUDE_DIR SLEEF_LIBRARY)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(SLEEF REQUIRED_VARS SLEEF_LIBRARY SLEEF_INCLUDE_DIR)
if(SLEEF_FOUND AND NOT TARGET SLEEF::SLEEF)
  add_library(SLEEF::SLEEF UNKNOWN IMPORTED)
  set_target_properties(SLEEF::SLEEF PROPERTIES IMPORTED_LOCATION ${SLEEF_LIBRARY}
                                              INTERFACE_INCLUDE_DIRECTORIES ${SLEEF_INCLUDE_DIR})
endif()

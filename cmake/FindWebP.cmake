# The targets WebP::webp, WebP::webpmux and WebP::webpdemux: pictures, animations, and their frames.
find_path(WebP_INCLUDE_DIR webp/mux.h)
set(required WebP_INCLUDE_DIR)
foreach(library webp webpmux webpdemux)
  find_library(WebP_${library}_LIBRARY ${library})
  mark_as_advanced(WebP_${library}_LIBRARY)
  list(APPEND required WebP_${library}_LIBRARY)
endforeach()
mark_as_advanced(WebP_INCLUDE_DIR)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(WebP REQUIRED_VARS ${required})

if(WebP_FOUND)
  foreach(library webp webpmux webpdemux)
    if(NOT TARGET WebP::${library})
      add_library(WebP::${library} UNKNOWN IMPORTED)
      set_target_properties(WebP::${library} PROPERTIES IMPORTED_LOCATION "${WebP_${library}_LIBRARY}"
                                                        INTERFACE_INCLUDE_DIRECTORIES "${WebP_INCLUDE_DIR}")
    endif()
  endforeach()
  set_target_properties(WebP::webpmux WebP::webpdemux PROPERTIES INTERFACE_LINK_LIBRARIES WebP::webp)
endif()

# Run by cpack before it makes packages. Strips programs and libraries as Debian does; CPACK_STRIP_FILES leaves .comment.
find_program(strip strip REQUIRED)
file(GLOB_RECURSE files "${CPACK_TEMPORARY_DIRECTORY}/*")
foreach(file IN LISTS files)
  if(file MATCHES "/bin/[^/]+$|\\.so\\.[^/]*$" AND NOT IS_SYMLINK "${file}")
    execute_process(COMMAND ${strip} --strip-unneeded --remove-section=.comment --remove-section=.note "${file}"
      COMMAND_ERROR_IS_FATAL ANY)
  endif()
endforeach()

# Run by cpack when the packages are made. The members of a Debian package have the modes of cpack's own files, which
# depend on the umask of whoever packs; here they get those that dpkg-deb gives them.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  if(package MATCHES "\\.deb$")
    execute_process(COMMAND ${CPACK_KESTREL_PYTHON} -B ${CPACK_KESTREL_PLAIN_MODES} ${package} COMMAND_ERROR_IS_FATAL ANY)
  endif()
endforeach()

# Run by cpack when the files of all packages lie in folders of their own: adds the list of what each holds, leaves out
# what only Debian reads, gives the folders that cpack made with somebody's umask their mode, and dates everything.
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  set(root ${CPACK_TEMPORARY_DIRECTORY}/${component})
  string(TOUPPER ${component} key)
  set(name ${CPACK_DEBIAN_${key}_PACKAGE_NAME})
  set(version ${CPACK_DEBIAN_PACKAGE_VERSION})
  if(CPACK_GENERATOR STREQUAL "RPM")
    file(REMOVE_RECURSE ${root}/usr/share/lintian)
    set(version ${CPACK_PACKAGE_VERSION}-${CPACK_RPM_PACKAGE_RELEASE})
  endif()
  execute_process(
    COMMAND ${CPACK_KESTREL_PYTHON} -B ${CPACK_KESTREL_MAKE_SPDX} --name ${name} --version ${version}
            --released $ENV{SOURCE_DATE_EPOCH} --licence ${CPACK_KESTREL_LICENCE}
            --readelf ${CPACK_KESTREL_READELF} --libraries ${CPACK_KESTREL_LIBRARIES} ${root}
    COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND find ${root} -type d -exec chmod 755 {} + COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND find ${root} -exec touch -h -d @$ENV{SOURCE_DATE_EPOCH} {} + COMMAND_ERROR_IS_FATAL ANY)
endforeach()

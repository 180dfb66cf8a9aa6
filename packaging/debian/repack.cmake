# Takes the scripts out of the library's .deb that call ldconfig: its trigger does.
cmake_policy(VERSION 3.25)
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  if(package MATCHES "/libmirovan[0-9]+_[^/]*deb$")
    set(tree ${CPACK_TEMPORARY_DIRECTORY}/repack)
    execute_process(COMMAND dpkg-deb -R ${package} ${tree} COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE ${tree}/DEBIAN/postinst ${tree}/DEBIAN/postrm)
    execute_process(COMMAND dpkg-deb --root-owner-group -b ${tree} ${package}
      OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE_RECURSE ${tree})
  endif()
endforeach()

# Run by cpack behind its packing: an archive is packed once more in the order of the
# names, since cpack takes files as the file system lists them, and the same commit
# is to give the same bytes everywhere. A .deb loses the scripts that call ldconfig:
# its trigger does that.
if(CPACK_GENERATOR STREQUAL "DEB")
  foreach(package ${CPACK_PACKAGE_FILES})
    set(folder ${CPACK_TEMPORARY_DIRECTORY}/unpacked)
    set(steps "rm -rf '${folder}' && dpkg-deb -R '${package}' '${folder}' && cd '${folder}'
      && rm -f DEBIAN/postinst DEBIAN/postrm
      && dpkg-deb -Zxz --root-owner-group -b . '${package}'")
    string(REPLACE "\n" " " steps "${steps}")
    execute_process(COMMAND sh -c "${steps}" OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
  return()
endif()
set(root ${CPACK_TEMPORARY_DIRECTORY})
file(GLOB folder RELATIVE ${root} LIST_DIRECTORIES true ${root}/zavo-*)
foreach(package ${CPACK_PACKAGE_FILES})
  file(REMOVE ${package})
  if(CPACK_GENERATOR STREQUAL "ZIP")
    set(command "find '${folder}' | LC_ALL=C sort | TZ=UTC zip -q -X -@ '${package}'")
  else()
    set(command "tar --sort=name --owner=0 --group=0 --numeric-owner --format=gnu -cf - '${folder}' | gzip -n -9 >'${package}'")
  endif()
  execute_process(COMMAND sh -c "${command}" WORKING_DIRECTORY ${root} COMMAND_ERROR_IS_FATAL ANY)
endforeach()

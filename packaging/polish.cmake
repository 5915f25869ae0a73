# Run by cpack over what it has staged, before it packs: the files that only a
# package has, Debian's habits in a .deb, and one date, so that the same commit
# gives the same bytes.
set(root ${CPACK_TEMPORARY_DIRECTORY})

if(CPACK_GENERATOR STREQUAL "DEB")
  file(GLOB packages LIST_DIRECTORIES true ${root}/*)
  foreach(package ${packages})
    if(NOT IS_DIRECTORY ${package}/usr)
      continue()
    endif()
    # Debian keeps the commands of Tcl packages in section 3tcl.
    if(EXISTS ${package}/usr/share/man/mann)
      execute_process(WORKING_DIRECTORY ${package}/usr/share/man COMMAND_ERROR_IS_FATAL ANY
        COMMAND sh -c "mkdir -p man3 && for page in mann/*.n; do
          sed -e 's|^\\.so mann/\\(.*\\)\\.n$|.so man3/\\1.3tcl|' -e 's|^\\.TH \\(\"[^\"]*\"\\) n |.TH \\1 3tcl |' $page \
            >man3/$(basename $page .n).3tcl || exit 1
        done && rm -r mann")
    endif()
    file(GLOB_RECURSE pages ${package}/usr/share/man/*.3tcl ${package}/usr/share/man/*.[13n])
    file(GLOB changelogs ${package}/usr/share/doc/*/changelog)
    foreach(file ${pages} ${changelogs})
      execute_process(COMMAND gzip -9nf ${file} COMMAND_ERROR_IS_FATAL ANY)
    endforeach()
    file(GLOB_RECURSE libraries ${package}/*.so ${package}/*.so.*)
    foreach(file ${libraries})
      if(NOT IS_SYMLINK ${file})
        execute_process(COMMAND strip --strip-unneeded --remove-section=.comment --remove-section=.note ${file}
          COMMAND_ERROR_IS_FATAL ANY)
      endif()
    endforeach()
    file(GLOB_RECURSE archives ${package}/*.a)
    foreach(file ${archives})
      execute_process(COMMAND strip --strip-debug --enable-deterministic-archives ${file} COMMAND_ERROR_IS_FATAL ANY)
    endforeach()
    # The licence stands in `copyright`.
    file(GLOB_RECURSE licences ${package}/usr/share/doc/LICENSE ${package}/usr/share/doc/*/LICENSE)
    if(licences)
      file(REMOVE ${licences})
    endif()
  endforeach()
else()
  file(GLOB folder LIST_DIRECTORIES true ${root}/zavo-*)
  configure_file(${CPACK_ZAVO_SOURCE}/LICENSE ${folder}/LICENSE COPYONLY)
  if(CPACK_GENERATOR STREQUAL "ZIP")
    # For people whose editor knows Windows' line ends only.
    configure_file(${CPACK_ZAVO_SOURCE}/packaging/README-windows.txt ${folder}/README.txt @ONLY NEWLINE_STYLE DOS)
  else()
    configure_file(${CPACK_ZAVO_SOURCE}/packaging/README-linux.txt ${folder}/README.txt @ONLY)
  endif()
endif()

if(UNIX)
  set(when $ENV{SOURCE_DATE_EPOCH})
  execute_process(COMMAND find ${root} -type d -exec chmod 755 {} +)
  execute_process(COMMAND find ${root} -type f -perm /100 -exec chmod 755 {} +)
  execute_process(COMMAND find ${root} -type f -not -perm /100 -exec chmod 644 {} +)
  execute_process(COMMAND find ${root} -name "*.so*" -type f -exec chmod 644 {} +)
  execute_process(COMMAND find ${root} -exec touch -h -d @${when} {} +)
endif()

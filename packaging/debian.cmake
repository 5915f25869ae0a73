# The Debian packages, made from the installed tree, in Debian's own places:
#
#   libzavo1      the shared library
#   libzavo-dev   headers, static library, pkg-config and CMake files, man section 3
#   tcl-zavo      the Tcl packages, the programs, their manual pages
#   zavo-doc      the manual in HTML and the examples
find_program(dpkg_architecture dpkg-architecture)
if(NOT dpkg_architecture)
  return()
endif()
execute_process(COMMAND ${dpkg_architecture} -qDEB_HOST_MULTIARCH OUTPUT_VARIABLE triplet
  OUTPUT_STRIP_TRAILING_WHITESPACE)
set(tree ${CMAKE_INSTALL_PREFIX})
set(made ${PROJECT_BINARY_DIR}/debian)
file(MAKE_DIRECTORY ${made})

set(ZAVO_CONFIG_UP ../../../..)
set(ZAVO_CONFIG_LIB lib/${triplet})
configure_file(packaging/zavo-config.cmake.in ${made}/zavo-config.cmake @ONLY)
configure_file(packaging/zavo-debian.pc.in ${made}/zavo.pc @ONLY)

# debian_part(<package> <destination> SOURCE ...): files, and the content of folders
# (which end in "/"); nothing of it is part of an ordinary installation.
function(debian_part package destination)
  foreach(source ${ARGN})
    if(source MATCHES "/$")
      install(DIRECTORY ${source} DESTINATION ${destination} COMPONENT ${package} EXCLUDE_FROM_ALL
        USE_SOURCE_PERMISSIONS)
    else()
      install(FILES ${source} DESTINATION ${destination} COMPONENT ${package} EXCLUDE_FROM_ALL)
    endif()
  endforeach()
endfunction()

debian_part(libzavo1 lib/${triplet} ${tree}/lib/libzavo.so.${PROJECT_VERSION_MAJOR}
  ${tree}/lib/libzavo.so.${PROJECT_VERSION})
debian_part(libzavo-dev lib/${triplet} ${tree}/lib/libzavo.so ${tree}/lib/libzavo.a)
debian_part(libzavo-dev include ${tree}/include/)
debian_part(libzavo-dev lib/${triplet}/pkgconfig ${made}/zavo.pc)
debian_part(libzavo-dev lib/${triplet}/cmake/zavo ${made}/zavo-config.cmake
  ${PROJECT_BINARY_DIR}/zavo-config-version.cmake)
debian_part(libzavo-dev share/man/man3 ${tree}/share/man/man3/)
debian_part(tcl-zavo lib/tcltk/${triplet}/zavo1.0 ${tree}/lib/zavo1.0/)
debian_part(tcl-zavo bin ${tree}/bin/)
debian_part(tcl-zavo share/zavo ${tree}/share/zavo/)
debian_part(tcl-zavo share/man/man1 ${tree}/share/man/man1/)
debian_part(tcl-zavo share/man/mann ${tree}/share/man/mann/)
debian_part(zavo-doc ${ZAVO_DOC_DIR} ${tree}/${ZAVO_DOC_DIR}/)
foreach(package libzavo1 libzavo-dev tcl-zavo zavo-doc)
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/copyright DESTINATION share/doc/${package}
    COMPONENT ${package} EXCLUDE_FROM_ALL)
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/changelog DESTINATION share/doc/${package}
    COMPONENT ${package} EXCLUDE_FROM_ALL)
endforeach()

set(CPACK_ZAVO_DEB_COMPONENTS libzavo1 libzavo-dev tcl-zavo zavo-doc)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "The zavo authors <authors@zavo.invalid>")
set(CPACK_DEBIAN_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${tree}/lib ${tree}/lib/zavo1.0)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SOURCE zavo)
set(CPACK_STRIP_FILES OFF) # polish.cmake strips

set(about "zavo computes in single precision, with the same bits on every system:
machine constants, physical constants in any unit, calendar day numbers,
seeded random deviates, Fourier transforms, convolution and correlation,
and minimisation with or without bounds and linear constraints.")

# debian_package(<package> <section> <depends> <summary> <last sentence>)
macro(debian_package package section depends summary rest)
  string(TOUPPER ${package} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${depends}")
  set(CPACK_COMPONENT_${upper}_DESCRIPTION "${summary}\n${about}\n.\n${rest}")
endmacro()
debian_package(libzavo1 libs "" "compact numerical library"
  "This package holds the shared library.")
debian_package(libzavo-dev libdevel "libzavo1 (= ${PROJECT_VERSION})" "compact numerical library - development files"
  "This package holds the headers, the static library, and the manual pages
of the routines.")
debian_package(tcl-zavo interpreters "tcl (>= 8.5)" "compact numerical library for Tcl"
  "This package holds the Tcl packages zavo, zavox and morvel, a shell, an
explorer of records, and the message tool zavomsg.")
debian_package(zavo-doc doc "" "compact numerical library - manual and examples"
  "This package holds the manual in HTML and the examples.")
set(CPACK_DEBIAN_TCL-ZAVO_PACKAGE_RECOMMENDS "tk, tklib, tcllib")
set(CPACK_DEBIAN_TCL-ZAVO_PACKAGE_SUGGESTS "zavo-doc, gnuplot, rlwrap")
set(CPACK_DEBIAN_ZAVO-DOC_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_ZAVO-DOC_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_LIBZAVO-DEV_PACKAGE_SHLIBDEPS OFF)
file(WRITE ${made}/triggers "activate-noawait ldconfig\n")
file(WRITE ${made}/shlibs "libzavo 1 libzavo1 (>= ${PROJECT_VERSION})\n")
set(CPACK_DEBIAN_LIBZAVO1_PACKAGE_CONTROL_EXTRA "${made}/triggers;${made}/shlibs")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

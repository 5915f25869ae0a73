# What is installed beside the libraries, how other projects find them, and the
# packages that cpack makes: a tar or zip of the whole tree, and four .deb.

# ---- Found by other projects ------------------------------------------------------

include(CMakePackageConfigHelpers)
# Paths are relative to the file, so the tree may be moved.
set(ZAVO_CONFIG_UP ../../..)
set(ZAVO_CONFIG_LIB lib)
configure_file(packaging/zavo-config.cmake.in ${PROJECT_BINARY_DIR}/zavo-config.cmake @ONLY)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zavo-config-version.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zavo-config.cmake ${PROJECT_BINARY_DIR}/zavo-config-version.cmake
  DESTINATION lib/cmake/zavo)

# ---- Programs, documents and examples ---------------------------------------------

set(ZAVO_DOC_DIR share/doc/zavo)
install(FILES LICENSE README.md CHANGELOG.md DESTINATION ${ZAVO_DOC_DIR})
install(PROGRAMS apps/zavo-shell apps/zavo-explore DESTINATION bin)
install(DIRECTORY apps/explore DESTINATION share/zavo)
install(DIRECTORY examples DESTINATION ${ZAVO_DOC_DIR})
# The manual, built by ./zavo docs, is the same on every target.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/build/docs/share/ DESTINATION share OPTIONAL)

# ---- Packages ---------------------------------------------------------------------

set(CPACK_PACKAGE_NAME zavo)
set(CPACK_PACKAGE_VENDOR "The zavo authors")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Compact numerical library for Tcl, C and C++")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
if(WIN32)
  math(EXPR bits "8 * ${CMAKE_SIZEOF_VOID_P}")
  set(target win${bits})
  set(CPACK_GENERATOR ZIP)
else()
  string(TOLOWER ${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR} target)
  set(CPACK_GENERATOR TGZ)
endif()
set(CPACK_SYSTEM_NAME ${target})
set(CPACK_PACKAGE_FILE_NAME zavo-${PROJECT_VERSION}-${target})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_SOURCE_DIR}/build/package)
set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY OFF)
set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_SOURCE_DIR}/packaging/generators.cmake)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/polish.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/repack.cmake)
set(CPACK_ZAVO_SOURCE ${PROJECT_SOURCE_DIR})
set(CPACK_ZAVO_TARGET ${target})
set(CPACK_THREADS 0)
set(CPACK_MONOLITHIC_INSTALL ON)
# The archives hold one folder, zavo-1.0.
set(CPACK_PACKAGING_INSTALL_PREFIX /zavo-${PROJECT_VERSION})

if(NOT WIN32 AND NOT CMAKE_CROSSCOMPILING)
  include(packaging/debian.cmake)
endif()
include(CPack)

# The folders as libraries. Which folder may include which is one table,
# tools/arrows.txt, which ./zavo lint holds every include against.

# zavo_compile_together(<target>)
#   The target's sources in one run of the compiler: most of them are shorter than the
#   standard headers that each would read again, and a build takes a third less CPU
#   time. Sources with options of their own are compiled by themselves, and so are those
#   with SKIP_UNITY_BUILD_INCLUSION.
function(zavo_compile_together target)
  if(ZAVO_COMPILE_TOGETHER)
    # As one group, after which the object is named: an archive holds several. A variant
    # with asserts has the same sources, which are of one group only.
    get_target_property(sources ${target} SOURCES)
    string(REGEX REPLACE "_asserting$" "" group ${target})
    set_source_files_properties(${sources} PROPERTIES UNITY_GROUP ${group})
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
  endif()
endfunction()

# Unit tests and the replayed corpora link variants of the libraries, compiled with the
# same options but with asserts: <library>_asserting. A build type that has asserts
# anyway needs none, and none are made for other systems than this one.
set(ZAVO_ASSERTING_VARIANTS OFF)
if(ZAVO_BUILD_TESTS AND CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT CMAKE_CROSSCOMPILING)
  set(ZAVO_ASSERTING_VARIANTS ON)
endif()

# zavo_asserting_objects(<library> [SHARE <regex>])
#   The variant of an object library. Sources that <regex> matches are too dear to be
#   compiled twice: the variant has their objects without asserts.
function(zavo_asserting_objects library)
  cmake_parse_arguments(VARIANT "" "SHARE" "" ${ARGN})
  if(NOT ZAVO_ASSERTING_VARIANTS)
    return()
  endif()
  get_target_property(sources ${library} SOURCES)
  if(VARIANT_SHARE)
    list(FILTER sources EXCLUDE REGEX "${VARIANT_SHARE}")
  endif()
  set(variant ${library}_asserting)
  add_library(${variant} OBJECT EXCLUDE_FROM_ALL ${sources})
  zavo_compile_together(${variant})
  target_compile_options(${variant} PRIVATE -UNDEBUG)
  target_include_directories(${variant} PUBLIC $<TARGET_PROPERTY:${library},INTERFACE_INCLUDE_DIRECTORIES>)
  target_link_libraries(${variant} PRIVATE $<TARGET_PROPERTY:${library},LINK_LIBRARIES>)
  if(VARIANT_SHARE)
    target_link_libraries(${variant} INTERFACE
      "$<FILTER:$<TARGET_OBJECTS:${library}>,INCLUDE,${VARIANT_SHARE}>")
  endif()
endfunction()

# zavo_asserting(<variable> <library> ...)
#   The libraries, by their asserting variants where there are some.
function(zavo_asserting variable)
  set(names "")
  foreach(name IN LISTS ARGN)
    if(TARGET ${name}_asserting)
      string(APPEND name _asserting)
    endif()
    list(APPEND names ${name})
  endforeach()
  set(${variable} ${names} PARENT_SCOPE)
endfunction()

# zavo_layer(<name> SOURCES ... [SHARE <regex>])
#   A folder of numerical routines: an object library zavo_<name> that sees no
#   Tcl. A program made of it names every layer that it needs. SHARE: see
#   zavo_asserting_objects.
function(zavo_layer name)
  cmake_parse_arguments(LAYER "" "SHARE" "SOURCES" ${ARGN})
  add_library(zavo_${name} OBJECT ${LAYER_SOURCES})
  zavo_compile_together(zavo_${name})
  target_include_directories(zavo_${name} PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/core)
  zavo_asserting_objects(zavo_${name} SHARE "${LAYER_SHARE}")
endfunction()

# zavo_commands(<layer> SOURCES ...)
#   The command procedures of the layer's folder: an object library
#   zavo_<layer>_commands, the only one of the folder that sees Tcl, and its
#   twins (cmake/tcl.cmake).
function(zavo_commands layer)
  cmake_parse_arguments(COMMANDS "" "" "SOURCES" ${ARGN})
  foreach(twin IN ITEMS "" ${ZAVO_TCL_TWINS})
    set(target ${twin}zavo_${layer}_commands)
    add_library(${target} OBJECT ${COMMANDS_SOURCES})
    zavo_compile_together(${target})
    target_include_directories(${target} PRIVATE
      ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/core ${PROJECT_SOURCE_DIR}/quillet ${PROJECT_SOURCE_DIR}/morvel)
    target_link_libraries(${target} PRIVATE ${twin}zavo_tcl)
  endforeach()
endfunction()

set(ZAVO_PACKAGE_DIR lib/zavo1.0)

# zavo_package_library(<name> SHARED|MODULE SOURCES ... [LINKS ...] [TCL [TCL_LINKS ...]]
#                      [DEFINES ...] [HEADER <file>] [STANDS_FOR <folder>/<name>])
#   A library of the package folder: SHARED when others link it, MODULE when it
#   is only loaded. It finds the others beside itself and exports what the
#   folder's exports.map names (on Windows: what is declared for export). With
#   TCL it sees Tcl and has twins (cmake/tcl.cmake), which link the twins of what
#   TCL_LINKS names. DEFINES hold while the library itself is compiled; HEADER is
#   installed for compiled programs. One that STANDS_FOR another is a test's: it
#   has that one's exports and file name, in a folder host/, and is not installed.
function(zavo_package_library name kind)
  cmake_parse_arguments(LIBRARY "TCL" "HEADER;STANDS_FOR" "SOURCES;LINKS;TCL_LINKS;DEFINES" ${ARGN})
  set(twins "")
  set(variants "")
  if(LIBRARY_TCL)
    set(twins ${ZAVO_TCL_TWINS})
  endif()
  set(folder ${CMAKE_CURRENT_SOURCE_DIR})
  if(LIBRARY_STANDS_FOR)
    cmake_path(GET LIBRARY_STANDS_FOR PARENT_PATH folder)
    cmake_path(GET LIBRARY_STANDS_FOR FILENAME file)
    cmake_path(ABSOLUTE_PATH folder BASE_DIRECTORY ${PROJECT_SOURCE_DIR})
  endif()
  if(ZAVO_ASSERTING_VARIANTS AND kind STREQUAL SHARED AND NOT LIBRARY_STANDS_FOR)
    set(variants asserting)
  endif()
  foreach(twin IN ITEMS "" ${twins} ${variants})
    set(target ${twin}${name})
    set(links ${LIBRARY_LINKS})
    if(twin STREQUAL asserting)
      set(twin "")
      set(target ${name}_asserting)
      zavo_asserting(links ${links})
    endif()
    add_library(${target} ${kind} ${LIBRARY_SOURCES})
    zavo_compile_together(${target})
    target_include_directories(${target} PUBLIC ${folder})
    target_compile_definitions(${target} PRIVATE ${LIBRARY_DEFINES})
    target_link_libraries(${target} PUBLIC ${links})
    foreach(link IN LISTS LIBRARY_TCL_LINKS)
      target_link_libraries(${target} PUBLIC ${twin}${link})
    endforeach()
    if(LIBRARY_TCL)
      target_link_libraries(${target} PRIVATE ${twin}zavo_tcl)
    endif()
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN")
    if(kind STREQUAL MODULE)
      set_target_properties(${target} PROPERTIES PREFIX "" BUILD_WITH_INSTALL_RPATH ON)
    elseif(WIN32)
      set_target_properties(${target} PROPERTIES PREFIX "")
    endif()
    zavo_windows_dll(${target})
    if(NOT WIN32)
      # Only the declared names leave the library: not Tcl's stub table, of which
      # every library has its own, nor the C++ run time's templates. And nothing
      # is asked for at load time that is not used: no run time of the compiler
      # (module.needs_the_c_library_and_its_own_alone).
      set(exports ${folder}/exports.map)
      target_link_options(${target} PRIVATE -Wl,--version-script=${exports} -Wl,--as-needed -static-libgcc)
      # clang's sanitizers are in the program, not in its libraries.
      if(NOT ZAVO_FUZZ)
        target_link_options(${target} PRIVATE -Wl,--no-undefined)
      endif()
      set_target_properties(${target} PROPERTIES LINK_DEPENDS ${exports})
    endif()
    if(LIBRARY_STANDS_FOR)
      set_target_properties(${target} PROPERTIES
        OUTPUT_NAME ${twin}${file} LIBRARY_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/host)
      continue()
    endif()
    if(target MATCHES "_asserting$")
      target_compile_options(${target} PRIVATE -UNDEBUG)
      set_target_properties(${target} PROPERTIES EXCLUDE_FROM_ALL ON)
      continue()
    endif()
    install(TARGETS ${target}
      ARCHIVE DESTINATION lib
      LIBRARY DESTINATION ${ZAVO_PACKAGE_DIR}
      RUNTIME DESTINATION ${ZAVO_PACKAGE_DIR})
  endforeach()
  if(LIBRARY_HEADER)
    install(FILES ${LIBRARY_HEADER} DESTINATION include)
  endif()
endfunction()

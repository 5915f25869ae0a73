# The Tcl that the module is compiled against: headers and stub library only.
#
# One source serves Tcl 8.5 to 9.0, but a library is compiled for one of the two
# generations. ZAVO_TCL_CONFIG may name the tclConfig.sh of Tcl 8, as a cross
# build must; ZAVO_TCL9_CONFIG that of Tcl 9. Where there is a Tcl 9, whatever
# includes tcl.h is compiled once more for it: a target <name> has a twin
# tcl9<name>, and ZAVO_TCL_TWINS holds the prefixes of twins, "tcl9" or nothing.
set(ZAVO_TCL_CONFIG "" CACHE FILEPATH "tclConfig.sh of the Tcl 8 to build against")
set(ZAVO_TCL9_CONFIG "" CACHE FILEPATH "tclConfig.sh of the Tcl 9 to build against; OFF for none")

# zavo_tcl_targets(<prefix> <tclConfig.sh>)
#   <prefix>zavo_tcl for what is loaded into an interpreter, and
#   <prefix>zavo_embedded_tcl for programs that embed one: tests.
function(zavo_tcl_targets prefix config)
  execute_process(
    COMMAND sh -c ". '${config}'; printf '%s;%s;%s;%s' \"$TCL_INCLUDE_SPEC\" \"$TCL_STUB_LIB_SPEC\" \
      \"$TCL_LIB_SPEC\" \"$TCL_EXEC_PREFIX\""
    OUTPUT_VARIABLE spec COMMAND_ERROR_IS_FATAL ANY)
  # A package unpacked below a folder names places as if that folder were the root.
  if(config MATCHES "^(/.+)/usr/lib/")
    string(REGEX REPLACE "(-[IL])/usr" "\\1${CMAKE_MATCH_1}/usr" spec "${spec}")
  endif()
  list(GET spec 0 tcl_include)
  list(GET spec 1 tcl_stub)
  list(GET spec 2 tcl_library)
  list(GET spec 3 tcl_prefix)
  separate_arguments(tcl_include)
  separate_arguments(tcl_stub)
  add_library(${prefix}zavo_tcl INTERFACE)
  # Through the stub library: the 8.5 interface is all that may be called.
  target_compile_definitions(${prefix}zavo_tcl INTERFACE USE_TCL_STUBS)
  target_compile_options(${prefix}zavo_tcl INTERFACE ${tcl_include})
  target_link_libraries(${prefix}zavo_tcl INTERFACE ${tcl_stub})

  # A Windows Tcl may lack the import library, so the linker reads the DLL itself;
  # ZAVO_TCL_DLLS is what such a program needs beside it.
  if(WIN32)
    file(GLOB tcl_library "${tcl_prefix}/bin/tcl8*.dll")
    file(GLOB dlls "${tcl_prefix}/bin/*.dll")
    set(ZAVO_TCL_DLLS ${dlls} PARENT_SCOPE)
  else()
    separate_arguments(tcl_library)
  endif()
  add_library(${prefix}zavo_embedded_tcl INTERFACE)
  target_compile_options(${prefix}zavo_embedded_tcl INTERFACE ${tcl_include})
  target_link_libraries(${prefix}zavo_embedded_tcl INTERFACE ${tcl_library})
endfunction()

set(config "${ZAVO_TCL_CONFIG}")
if(NOT config)
  find_file(ZAVO_TCL_CONFIG_FOUND tclConfig.sh
    PATHS /usr/lib/tcl8.6 /usr/lib/x86_64-linux-gnu/tcl8.6 /usr/lib/tcl8.5 REQUIRED)
  set(config "${ZAVO_TCL_CONFIG_FOUND}")
endif()
zavo_tcl_targets("" "${config}")

set(config "${ZAVO_TCL9_CONFIG}")
if(config STREQUAL "" AND NOT CMAKE_CROSSCOMPILING)
  find_file(ZAVO_TCL9_CONFIG_FOUND tclConfig.sh PATHS /usr/lib/tcl9.0 NO_DEFAULT_PATH)
  set(config "${ZAVO_TCL9_CONFIG_FOUND}")
endif()
set(ZAVO_TCL_TWINS "")
if(EXISTS "${config}")
  zavo_tcl_targets(tcl9 "${config}")
  set(ZAVO_TCL_TWINS tcl9)
endif()

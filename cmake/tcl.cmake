# The Tcl that the module is compiled against: headers and stub library only.
# ZAVO_TCL_CONFIG may name a tclConfig.sh, as a cross build must.
set(ZAVO_TCL_CONFIG "" CACHE FILEPATH "tclConfig.sh of the Tcl to build against")
set(config "${ZAVO_TCL_CONFIG}")
if(NOT config)
  find_file(ZAVO_TCL_CONFIG_FOUND tclConfig.sh
    PATHS /usr/lib/tcl8.6 /usr/lib/x86_64-linux-gnu/tcl8.6 /usr/lib/tcl8.5 REQUIRED)
  set(config "${ZAVO_TCL_CONFIG_FOUND}")
endif()
execute_process(
  COMMAND sh -c ". '${config}'; printf '%s;%s;%s;%s' \"$TCL_INCLUDE_SPEC\" \"$TCL_STUB_LIB_SPEC\" \
    \"$TCL_LIB_SPEC\" \"$TCL_EXEC_PREFIX\""
  OUTPUT_VARIABLE spec COMMAND_ERROR_IS_FATAL ANY)
list(GET spec 0 tcl_include)
list(GET spec 1 tcl_stub)
list(GET spec 2 tcl_library)
list(GET spec 3 tcl_prefix)
separate_arguments(tcl_include)
separate_arguments(tcl_stub)
add_library(zavo_tcl INTERFACE)
# The 8.5 interface is all that the module may call.
target_compile_definitions(zavo_tcl INTERFACE USE_TCL_STUBS)
target_compile_options(zavo_tcl INTERFACE ${tcl_include})
target_link_libraries(zavo_tcl INTERFACE ${tcl_stub})

# For programs that embed an interpreter: tests. A Windows Tcl may lack the
# import library, so the linker reads the DLL itself; ZAVO_TCL_DLLS is what such
# a program needs beside it.
if(WIN32)
  file(GLOB tcl_library "${tcl_prefix}/bin/tcl8*.dll")
  file(GLOB ZAVO_TCL_DLLS "${tcl_prefix}/bin/*.dll")
else()
  separate_arguments(tcl_library)
endif()
add_library(zavo_embedded_tcl INTERFACE)
target_compile_options(zavo_embedded_tcl INTERFACE ${tcl_include})
target_link_libraries(zavo_embedded_tcl INTERFACE ${tcl_library})

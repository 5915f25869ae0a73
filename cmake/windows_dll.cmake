# zavo_windows_dll(<target>)
#   Links a DLL against the C runtime, the kernel and the user interface alone:
#   start-up code of our own (cmake/win32/dll_runtime.cpp), of the compiler's
#   libraries only the static parts that call no service. Does nothing for
#   other systems.
function(zavo_windows_dll target)
  if(NOT WIN32)
    return()
  endif()
  target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/win32/dll_runtime.cpp)
  target_link_options(${target} PRIVATE
    -nostartfiles -nodefaultlibs -Wl,-e,_zavo_dll_entry@12 -Wl,--disable-auto-import)
  target_link_libraries(${target} PRIVATE
    -Wl,--start-group mingwex gcc msvcrt kernel32 user32 -Wl,--end-group)
endfunction()

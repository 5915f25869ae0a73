# zavo_windows_dll(<target>)
#   Links a DLL against the C runtime, the kernel and the user interface alone:
#   start-up code of our own (cmake/windows/*.cpp), of the compiler's libraries
#   only the static parts that call no service, and nothing of the C++ library
#   but its headers. Does nothing for other systems.
function(zavo_windows_dll target)
  if(NOT WIN32)
    return()
  endif()
  if(NOT TARGET zavo_windows_runtime)
    set(folder ${PROJECT_SOURCE_DIR}/cmake/windows)
    add_library(zavo_windows_runtime STATIC ${folder}/dll_runtime.cpp
      ${folder}/tls_directory.cpp)
  endif()
  # 32 bits decorate the names of functions.
  set(entry zavo_dll_entry)
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(entry _zavo_dll_entry@12)
  endif()
  target_link_options(${target} PRIVATE
    -nostartfiles -nodefaultlibs -Wl,-e,${entry} -Wl,--disable-auto-import)
  target_link_libraries(${target} PRIVATE
    -Wl,--start-group zavo_windows_runtime mingwex gcc msvcrt kernel32 user32 -Wl,--end-group)
endfunction()

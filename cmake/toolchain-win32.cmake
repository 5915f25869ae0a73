# 32-bit Windows.
set(triple i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/toolchain-mingw.cmake)
# Runs test programs.
set(CMAKE_CROSSCOMPILING_EMULATOR wine)

# 64-bit Windows.
set(triple x86_64-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/toolchain-mingw.cmake)
# Runs test programs; `wine` may be the 32-bit one.
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/lib/wine/wine64)

# The reader of decimal numbers of Debian's libfast-float-dev: headers alone, the
# same for every target. A cross compiler must not see the rest of /usr/include,
# so they are linked into a folder of their own.
find_path(ZAVO_FAST_FLOAT fast_float/fast_float.h PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH REQUIRED)
set(fast_float_headers ${PROJECT_BINARY_DIR}/fast_float)
file(MAKE_DIRECTORY ${fast_float_headers})
file(CREATE_LINK ${ZAVO_FAST_FLOAT}/fast_float ${fast_float_headers}/fast_float SYMBOLIC)
add_library(zavo_fast_float INTERFACE)
target_include_directories(zavo_fast_float SYSTEM INTERFACE ${fast_float_headers})

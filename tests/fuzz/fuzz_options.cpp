// Option lists of any order and content: three options of any kind, each with
// values of the types that its code asks for, or a code that does not exist.

#include "core/zavo.h"
#include "tests/fuzz/bytes.hpp"

#include <cstdint>
#include <cstdlib>
#include <initializer_list>

namespace {

using zavo::fuzz::Bytes;

constexpr int depth = 3;
int answers[depth];
FILE* streams[depth];
char text[depth][16];

bool is_known(int code)
{
    for (const int each :
         {ZAVO_SET_PRINT, ZAVO_GET_PRINT, ZAVO_SET_STOP, ZAVO_GET_STOP, ZAVO_GET_TRACEBACK,
          ZAVO_SET_TRACEBACK, ZAVO_SET_ERROR_STREAM, ZAVO_SET_ERROR_HANDLER, ZAVO_SET_CATALOGUE_PATH,
          ZAVO_SET_CATALOGUE_NAME, ZAVO_GET_ERROR_STREAM, ZAVO_TRACE_ALL_LEVELS}) {
        if (code == each) {
            return true;
        }
    }
    return code == ZAVO_GET_OUTPUT_MODE || code == ZAVO_SET_OUTPUT_MODE || code == ZAVO_SET_TRAPPING;
}

// Adds one option to the call and goes on with the next; the whole list is
// passed when `level` has reached the depth.
template <int level, class... Values>
void call(Bytes& bytes, Values... values)
{
    if constexpr (level == depth) {
        const int end = zavo_error_options(values..., 0);
        const int listed = static_cast<int>(sizeof...(values)) + 2;
        if (end < 2 || end > listed) {
            std::abort(); // outside the list that was passed
        }
    } else {
        constexpr int setters[] = {ZAVO_SET_PRINT, ZAVO_SET_TRACEBACK};
        constexpr int getters[] = {ZAVO_GET_PRINT, ZAVO_GET_STOP, ZAVO_GET_TRACEBACK};
        constexpr int flags[] = {ZAVO_TRACE_ALL_LEVELS, ZAVO_SET_OUTPUT_MODE, ZAVO_SET_TRAPPING};
        switch (const std::uint8_t kind = bytes.byte(); kind % 7) {
        case 0:
            call<level + 1>(bytes, values..., setters[kind / 7 % 2], bytes.integer(), bytes.integer());
            break;
        case 1:
            call<level + 1>(bytes, values..., getters[kind / 7 % 3], bytes.integer(), &answers[level]);
            break;
        case 2:
            call<level + 1>(bytes, values..., flags[kind / 7 % 3], bytes.integer());
            break;
        case 3:
            call<level + 1>(bytes, values..., int{ZAVO_GET_OUTPUT_MODE}, &answers[level]);
            break;
        case 4:
            call<level + 1>(bytes, values..., int{ZAVO_GET_ERROR_STREAM}, &streams[level]);
            break;
        case 5:
            for (char& each : text[level]) {
                each = static_cast<char>(bytes.byte());
            }
            text[level][sizeof text[level] - 1] = '\0';
            call<level + 1>(bytes, values...,
                            kind / 7 % 2 != 0 ? int{ZAVO_SET_CATALOGUE_PATH} : int{ZAVO_SET_CATALOGUE_NAME},
                            static_cast<const char*>(text[level]));
            break;
        default: {
            const int code = bytes.integer();
            call<level + 1>(bytes, values..., is_known(code) ? 1 : code);
            break;
        }
        }
    }
}

void ignore(int, int, const char*, const char*) {}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // A quiet policy that stops nothing, whatever the input before this one set.
    zavo_error_options(ZAVO_SET_STOP, ZAVO_FATAL, 0, ZAVO_SET_STOP, ZAVO_TERMINAL, 0, 0);
    zavo_error_options(ZAVO_SET_OUTPUT_MODE, ZAVO_OUTPUT_STREAM, ZAVO_SET_ERROR_HANDLER, &ignore,
                       ZAVO_SET_TRAPPING, 1, 0);
    Bytes bytes(data, size);
    call<0>(bytes);
    return 0;
}

// The forms of error that the transforms post. All are terminal.
#pragma once

#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"

namespace zavo::fft {

inline void post_int(int error, int value)
{
    zavo_error_set_int(1, value);
    zavo_error_post(ZAVO_TERMINAL, error);
}

inline void post_ints(int error, int first, int second)
{
    zavo_error_set_int(2, second);
    post_int(error, first);
}

// A sequence that is a null pointer.
inline void post_null_sequence(const char* argument)
{
    zavo_error_set_string(1, argument);
    zavo_error_post(ZAVO_TERMINAL, core::code::null_sequence);
}

// A null pointer given with an option.
inline void post_null_array(const char* argument, const char* option)
{
    zavo_error_set_string(1, argument);
    zavo_error_set_string(2, option);
    zavo_error_post(ZAVO_TERMINAL, core::code::null_array);
}

inline void post_no_memory(int value)
{
    zavo_error_set_string(1, "n");
    post_int(core::code::no_memory_for_array, value);
}

} // namespace zavo::fft

// The argument checks that the public routines share.

#include "core/frame/entry_frame.hpp"

#include "core/errors/error_codes.hpp"

namespace code = zavo::core::code;

void zavo_arg_check_le(int value, const char* value_name, int bound, const char* bound_name, int* position)
{
    ++*position;
    if (value > bound) {
        zavo_error_set_int(1, value);
        zavo_error_set_int(2, bound);
        zavo_error_set_string(1, value_name);
        zavo_error_set_string(2, bound_name);
        zavo_error_post(ZAVO_TERMINAL, code::argument_above);
    }
}

void zavo_arg_check_range(int value, const char* name, int low, int high, int* position)
{
    ++*position;
    const bool bounded_above = low <= high;
    if (value >= low && (!bounded_above || value <= high)) {
        return;
    }
    zavo_error_set_int(1, value);
    zavo_error_set_int(2, low);
    zavo_error_set_int(3, high);
    zavo_error_set_string(1, name);
    zavo_error_post(ZAVO_TERMINAL, bounded_above ? code::argument_outside : code::argument_below);
}

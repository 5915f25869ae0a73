// The machine constants that the library itself asks for, by name; the tables
// stand in machine_constants.cpp.
#pragma once

#include "core/zavo.h"

namespace zavo::core::machine {

inline float smallest() // normalised positive number
{
    return zavo_amach(1);
}
inline float largest() // finite number
{
    return zavo_amach(2);
}
inline float epsilon() // largest relative spacing
{
    return zavo_amach(4);
}
inline float not_a_number()
{
    return zavo_amach(6);
}
inline float infinity()
{
    return zavo_amach(7);
}
inline int largest_int()
{
    return zavo_i_machine(5);
}
inline int float_digits() // base-2 digits of a float's significand
{
    return zavo_i_machine(7);
}

} // namespace zavo::core::machine

// The machine constants that the minimisers ask for, by name.
#pragma once

#include "core/zavo.h"

namespace zavo::minimize::machine {

inline float epsilon() // largest relative spacing
{
    return zavo_amach(4);
}
inline float not_a_number()
{
    return zavo_amach(6);
}
inline int float_digits() // base-2 digits of a float
{
    return zavo_i_machine(7);
}

} // namespace zavo::minimize::machine

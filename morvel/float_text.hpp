// Floats as text.
#pragma once

#include <cstddef>

namespace morvel {

// The room that one float needs as text: sign, nine digits, a point and zeros or
// an exponent, as in -100000000000000000.0.
inline constexpr std::size_t max_float_text = 24;

// Writes the shortest decimals that read back as the same float, laid out as Tcl
// prints a double: 1.0, -0.1, 1e+20, 1.5e-7, Inf, NaN. Returns the end of the
// text, which has no terminating zero.
char* write_float(char* out, float number);

} // namespace morvel

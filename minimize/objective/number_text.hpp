// Numbers as text, the same on every C library: how variables travel to a script
// procedure and function values come back.
#pragma once

namespace zavo::minimize {

// Longest text that format_fixed writes, its end included: sign, 39 digits,
// point, six decimals.
inline constexpr int fixed_text_size = 48;

// What "%f" of the value stands for: fixed notation with six decimals, from the
// exact value, halves to even; "inf", "-inf", "nan" (of either sign). Writes a
// closing zero and returns the length without it.
int format_fixed(float value, char* text);

// The double that a text of format_fixed stands for, correctly rounded; false for one
// of more digits than a double has, an infinity or NaN.
bool number_of_fixed(const char* text, double* number);

// The number that a text begins with, as atof() of C99 reads it (decimal,
// hexadecimal, infinity, nan; white space before it; 0 when there is none),
// rounded to double and then to float. Does not depend on the locale.
float read_float(const char* text);

} // namespace zavo::minimize

// Decimal numbers in text, read without the interpreter: much faster than Tcl,
// with the same values. Only what is written as people write decimals counts as
// plain; whatever else Tcl takes for a number, or refuses, is left to Tcl.
#pragma once

namespace morvel {

// Reads the whole of [text, end) as one number, correctly rounded. False when it
// is not a plain one: an optional minus, digits without leading zeros or a point
// among or before them, an optional exponent; neither -0 nor a value that no
// normal double holds, nor an integer of more than 18 digits.
bool read_plain_number(const char* text, const char* end, double* number);

// Stores the number of words that blanks set apart in [text, end). False when
// the first of them cannot be a plain number, or there are more than an int holds.
bool count_words(const char* text, const char* end, int* count);

// Reads that many words as plain numbers, rounded to float, and returns where the last one
// ends. Null when one is not plain or no float holds it.
const char* read_plain_floats(const char* text, const char* end, int count, float* numbers);

} // namespace morvel

// Internal calendar routine. C linkage, fixed name.
#pragma once

extern "C" {

// Splits a day of the year (1 is 1 January) into month and day. *leap: 1 for a
// leap year, -1 for a common one; the year itself matters for 1582 alone. Month
// and day are left as they are when the day is below 1 (5/12005) or beyond the
// year's end (5/12006 in 1582, 5/12007 in a leap year, 5/12008 in a common one).
void l_n3yin(const int* day_of_year, const int* leap, const int* year, int* month, int* day);

} // extern "C"

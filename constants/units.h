// Unit expressions: factors joined by "*" and "/", each a unit name with at most
// one decimal prefix and with "^" powers. C linkage, fixed names.
#pragma once

extern "C" {

// Parses one expression into its dimensions (exponents of length, mass, time,
// current, temperature) and its factor to SI base units. Upper and lower case
// are the same; blanks count. Posts 5/12114 for an unknown unit, with its name
// without the prefix, and for an expression of more than ten factors or more
// than 255 characters, with the expression; dims and factor are then those of
// the factors before it. Exponents saturate at the limits of an int.
void l_c3nit(const char* unit, int dims[5], float* factor);

// *result = value converted from one expression into the other; the NaN of the
// machine constants when that fails. Where either side is "SI", or a beginning
// of it in either case (the empty text and "s" too), dimensions are not
// compared. A side that lacks the dimensions of an acceleration is multiplied
// by standard gravity (3/12113). Posts 5/12112 when dimensions differ even so.
void l_cunit(float value, const char* from_unit, float* result, const char* to_unit);

// A value in the one unit times *numerator / *denominator is the value in the other;
// 1. "SI" on either side, in either case, is the base unit of whatever the other
// side measures. 0 after 5/12112, posted when the dimensions differ (a mass is no
// force here), or 5/12114; the routine is named zavo_unit_conversion.
int zavo_unit_conversion(const char* from_unit, const char* to_unit, double* numerator, double* denominator);

// The i-th name of a table, from 0 on, in the order of strcmp(); null behind the
// last one.
const char* zavo_constant_name(int i);
const char* zavo_unit_name(int i);

} // extern "C"

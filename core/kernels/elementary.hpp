// Elementary functions whose results have the same bits on every target. The C
// libraries differ in the last bits; these use nothing but the operations that
// IEEE 754 fixes (+ - * / sqrt and conversions), in a fixed order.
//
// Arguments and special values as in <cmath>; no errno, no exceptions are
// promised. The error stays below max_error_ulp units in the last place of a
// double for arguments that are floats, so that rounding the result to float
// gives the correctly rounded float but for about one argument in 2^27. For other
// doubles an argument within 2^-35 of a zero of sine or cosine costs some of
// those bits, never so many that a float shows it.
#pragma once

namespace zavo::core::elementary {

inline constexpr double max_error_ulp = 3;

double sin(double x);
double cos(double x);
double exp(double x);
double log(double x);
double sinh(double x);
double cosh(double x);
double atan2(double y, double x);

} // namespace zavo::core::elementary

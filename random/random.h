// Internal routines of the random deviates. C linkage, fixed names.
#pragma once

#include "core/zavo.h"

extern "C" {

// The workers: fill r with n deviates of the one stream. zavo_rnun takes any
// n (none for n < 1), the two others post 5/603 for n < 1.
void zavo_rnun(int n, float* r);
void l_rnnor(int n, float* r);
void l_rnexp(int n, float* r);

// -ln u in double, rounded to float; infinity for u = 0.
float l_minus_log(float u);

// zavo_f_normal_inverse_cdf without its error: outside (0, 1) a NaN that tells
// p >= 1 from the rest, see normal.cpp.
float l_inverse_normal(float p);

} // extern "C"

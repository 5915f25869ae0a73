// Arithmetic on single-precision complex values, and the real kernels that the
// transforms and minimisers share. C linkage, fixed names.
#pragma once

#include "core/zavo.h"

extern "C" {

f_complex l_c_make(float re, float im);
f_complex l_c_make_d(double re, double im);
float l_c_real(f_complex z);
float l_c_imag(f_complex z);
f_complex l_c_conj(f_complex z);
f_complex l_c_neg(f_complex z);
f_complex l_c_add(f_complex a, f_complex b);
f_complex l_c_sub(f_complex a, f_complex b);
f_complex l_c_mul(f_complex a, f_complex b);
f_complex l_c_div(f_complex a, f_complex b);
int l_c_eq(f_complex a, f_complex b);
float l_c_abs(f_complex z);
float l_c_arg(f_complex z);
f_complex l_c_log(f_complex z);
f_complex l_c_exp(f_complex z);
f_complex l_c_sin(f_complex z);
f_complex l_c_cos(f_complex z);
f_complex l_c_sqrt(f_complex z);
void l_c_halfangle(float p, float q, float* c, float* s);

} // extern "C"

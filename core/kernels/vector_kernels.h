// Strided single-precision vector kernels and small scalar helpers. C linkage,
// fixed names.
#pragma once

#include "core/zavo.h"

extern "C" {

int l_imin(int a, int b);
int l_imax(int a, int b);
float l_fmax(float a, float b);
float l_fmin(float a, float b);
float l_fpowi(float x, int k);

void l_vcopy(int n, const float* x, int incx, float* y, int incy);
float l_vdot(int n, const float* x, int incx, const float* y, int incy);
float l_vnrm2(int n, const float* x, int inc);
void l_vrot(int n, float* x, int incx, float* y, int incy, float c, float s);
void l_vrotg(float* a, float* b, float* c, float* s);

// b[i + nrow*j] = a[j + ncol*i]; a and b may be the same array. nrow < 1 posts
// 5/620, ncol < 1 posts 5/621.
void M1RAN_F(int nrow, int ncol, const float* a, float* b);
void M1RAN_C(int nrow, int ncol, const f_complex* a, f_complex* b);
void M1RAN_I(int nrow, int ncol, const int* a, int* b);

// |n| = product of powers[i] = primes[i]^exponents[i], i < *count <= 13; 13
// entries of each array are cleared first.
void l_factor_int(int n, int* count, int* primes, int* exponents, int* powers);

} // extern "C"

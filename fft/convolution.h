// Workers of convolution and correlation. C linkage, fixed names; scalars by
// address.
//
// mode: 0 single call, 1 first, 2 next, 3 last of a series; 0 and 1 build the
// table. ipad: 0 periodic, 1 padded with zeros; for R2ORL 2 and 3 are the same
// with y left out (autocorrelation). *nz is worked out again and stored; the
// arrays z, zhat, xwork, ywork hold nz floats, table 2nz + 15.
#pragma once

extern "C" {

void R2ONV(const int* mode, const int* nx, const float* x, const int* ny, const float* y, const int* ipad,
           int* nz, float* z, float* zhat, float* xwork, float* ywork, float* table);
// y: nx values.
void R2ORL(const int* mode, const int* nx, const float* x, const float* y, const int* ipad, int* nz, float* z,
           float* zhat, float* xwork, float* ywork, float* table);

// Builds the twiddle and factor regions of a real table; n < 1 posts 5/6001,
// n = 1 leaves the table alone.
void FFTRI(const int* n, float* table);

} // extern "C"

// Workers of the real transform. C linkage, fixed names; scalars by address.
// p and q: n floats each, possibly the same array. params: a table of 2n + 15
// floats for n (unused for n = 1), whose scratch the call overwrites.
#pragma once

extern "C" {

// Forward transform of p into q, packed layout, unscaled.
void l_f2trf(const int* n, const float* p, float* q, float* params);
// Backward transform of the packed spectrum p into q, unscaled. n < 1 posts
// 5/6001 under this name.
void l_f2trb(const int* n, const float* p, float* q, float* params);

} // extern "C"

// Workers of the complex transform. C linkage, fixed names; scalars by address.
// p and q: n complex values each, possibly the same array. params: a table of
// 4n + 15 floats for n (unused for n = 1), whose scratch the call overwrites.
// work: n complex values, at the worker's disposal. n < 1 posts 5/6001 under the
// worker's name.
#pragma once

#include "core/zavo.h"

extern "C" {

void l_f2tcf(const int* n, const f_complex* p, f_complex* q, float* params, f_complex* work);
void l_f2tcb(const int* n, const f_complex* p, f_complex* q, float* params, f_complex* work);

} // extern "C"

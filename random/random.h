// Internal routines of the random deviates. C linkage, fixed names.
#pragma once

#include "core/zavo.h"
#include "random/stream_state.h"

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

// The option of the stream, 1 to 6.
int zavo_random_option_get(void);

// Seeds from the clock at the latest now, as drawing does.
void zavo_random_state_get(zavo_random_state* state);
// 0, with nothing changed, when a part is outside its range; else 1.
int zavo_random_state_set(const zavo_random_state* state);

// Moves on as if `count` >= 0 deviates had been drawn, in about log2(count)
// steps. 0, with nothing changed, for count < 0 and for the options with a
// shuffle table, whose contents depend on each of the deviates; else 1.
int zavo_random_jump(long long count);

// As zavo_rnun, l_rnnor and l_rnexp, for any n, but a uniform deviate that has
// no finite normal deviate counts as its neighbour: 1 as the largest float below 1
// and 0, out of a table loaded with gaps, as the least deviate of the stream.
// Nothing fails and nothing is posted.
void zavo_random_normals(int n, float* r);
void zavo_random_exponentials(int n, float* r);

} // extern "C"

// The transforms without checks, through the fastest path that the processor has.
#pragma once

#include "fft/passes/spectrum_product.hpp"
#include "fft/tables/plan.hpp"

namespace zavo::fft {

// n >= 1; p and q may be the same array or overlap; params: a table of 2n + 15 floats for
// n, unused for n = 1.
void transform_real(Direction d, Index n, const float* p, float* q, float* params);
// The same for n complex values, 2n floats; params: a table of 4n + 15 floats. work: n
// complex values apart from all other arrays, or null, which makes some long transforms
// of lengths that are not rich in twos slower.
void transform_complex(Direction d, Index n, const float* p, float* q, float* params, float* work);
// How these run with a table, for tests and benchmarks.
Way way_of_real(Index n, const float* params);
Way way_of_complex(Index n, const float* params);
// Each of m rows of n >= 2 complex values, with the column dimensions ldp and ldq, from p
// to the same row of q, which is p or does not overlap it. params: a table for n; work: n
// complex values.
void transform_rows(Direction d, Index n, Index m, const float* p, Index ldp, float* q, Index ldq,
                    float* params, float* work);
// Each of n columns of m >= 2 complex values, with the column dimensions ldp and
// ldq, from p to the same column of q, which is p or does not overlap it. params:
// a table for m; work: m complex values.
void transform_columns(Direction d, Index n, Index m, const float* p, Index ldp, float* q, Index ldq,
                       float* params, float* work);

// z = the product of the packed spectra x and y of n values; z may be x or y.
void multiply_spectra(Product kind, Index n, const float* x, const float* y, float* z);
// values[i] / divisor, in place.
void divide(Index n, float* values, float divisor);

} // namespace zavo::fft

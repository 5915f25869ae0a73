// The code paths that are compiled for one instruction set each.
#pragma once

#include "fft/passes/spectrum_product.hpp"
#include "fft/tables/factors.hpp"

namespace zavo::fft {

struct SimdPath {
    // As run_real and run_complex with first = 0; false when the path has nothing
    // for this length.
    bool (*real)(Direction, const Factors&, const float* p, float* q, float* scratch, const float* twiddles);
    bool (*complex)(Direction, const Factors&, const float* p, float* q, float* scratch,
                    const float* twiddles);
    // The same for a table's record; false when the path has no transform of its own
    // for that length.
    bool (*known_real)(Direction, Index n, const float* record, const float* p, float* q, float* scratch,
                       const float* twiddles);
    bool (*known_complex)(Direction, Index n, const float* record, const float* p, float* q, float* scratch,
                          const float* twiddles);
    // Complex transforms of length factors.n of n columns, by rows with the column
    // dimensions ldp and ldq. work: column_work(factors.n) floats.
    void (*columns)(Direction, const Factors&, Index n, const float* p, Index ldp, float* q, Index ldq,
                    float* work, const float* twiddles);
    // As in transforms.hpp.
    void (*multiply_spectra)(Product, Index n, const float* x, const float* y, float* z);
    void (*divide)(Index n, float* values, float divisor);
    // fill_cos_sin of twiddle.hpp.
    void (*fill_cos_sin)(float step, int first, int count, float* pairs);
};

inline std::size_t column_work(Index m)
{
    return count_of_floats(m, 64, 0);
}

extern const SimdPath avx2_path;
extern const SimdPath avx512_path;

} // namespace zavo::fft

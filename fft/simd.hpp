// The code paths that are compiled for one instruction set each.
#pragma once

#include "fft/factors.hpp"

namespace zavo::fft {

struct SimdPath {
    // As run_real and run_complex with first = 0; false when the path has nothing
    // for this length.
    bool (*real)(Direction, const Factors&, const float* p, float* q, float* scratch, const float* twiddles);
    bool (*complex)(Direction, const Factors&, const float* p, float* q, float* scratch,
                    const float* twiddles);
    // fill_cos_sin of twiddle.hpp.
    void (*fill_cos_sin)(float step, int first, int count, float* pairs);
};

extern const SimdPath avx2_path;
extern const SimdPath avx512_path;

} // namespace zavo::fft

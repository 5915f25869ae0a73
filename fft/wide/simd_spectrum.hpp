// Products of spectra and divisions, V at a time.
#pragma once

#include "fft/passes/spectrum_product.hpp"
#include "fft/wide/simd_lanes.hpp"

namespace zavo::fft {

namespace { // compiled for several instruction sets: see inlining.hpp

template <int V, bool full>
ZAVO_INLINE void multiply_run(Product kind, const float* x, const float* y, float* z, int count)
{
    const Pairs<V> a = load_pairs<V, full>(x, count);
    const Pairs<V> b = load_pairs<V, full>(y, count);
    Vector<V> re, im;
    multiply_frequency(kind, a.re, a.im, b.re, b.im, re, im);
    store_pairs<V, full>(z, re, im, count);
}

template <int V>
void multiply_spectra_by(Product kind, Index n, const float* x, const float* y, float* z)
{
    multiply_ends(n, x, y, z);
    const Index frequencies = (n - 1) / 2;
    Index t = 0;
    for (; t + V <= frequencies; t += V) {
        multiply_run<V, true>(kind, x + 1 + 2 * t, y + 1 + 2 * t, z + 1 + 2 * t, V);
    }
    if (t < frequencies) {
        multiply_run<V, false>(kind, x + 1 + 2 * t, y + 1 + 2 * t, z + 1 + 2 * t,
                               static_cast<int>(frequencies - t));
    }
}

template <int V>
void divide_by(Index n, float* values, float divisor)
{
    Index i = 0;
    for (; i + V <= n; i += V) {
        store<V>(values + i, load<V>(values + i) / divisor);
    }
    for (; i < n; ++i) {
        values[i] /= divisor;
    }
}

} // namespace

} // namespace zavo::fft

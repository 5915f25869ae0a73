// The product of two packed spectra, and the division that follows the backward
// transform: what convolution does between and after the transforms.
#pragma once

#include "fft/tables/shape.hpp"

#include <cassert>

namespace zavo::fft {

// X times Y, or X times the conjugate of Y.
enum class Product { convolution, correlation };

namespace { // compiled for several instruction sets: see inlining.hpp

template <class L>
ZAVO_INLINE void multiply_frequency(Product kind, const L& xr, const L& xi, const L& yr, const L& yi, L& zr,
                                    L& zi)
{
    if (kind == Product::convolution) {
        zr = xr * yr - xi * yi;
        zi = xi * yr + xr * yi;
    } else {
        zr = xr * yr + xi * yi;
        zi = xi * yr - xr * yi;
    }
}

// The real terms at both ends.
ZAVO_INLINE void multiply_ends(Index n, const float* x, const float* y, float* z)
{
    z[0] = x[0] * y[0];
    if (n % 2 == 0) {
        z[n - 1] = x[n - 1] * y[n - 1];
    }
}

inline void multiply_spectra_scalar(Product kind, Index n, const float* x, const float* y, float* z)
{
    assert(n >= 1);
    multiply_ends(n, x, y, z);
    for (Index i = 1; i + 1 < n; i += 2) {
        // By way of copies: z may be x or y.
        const float xr = x[i], xi = x[i + 1], yr = y[i], yi = y[i + 1];
        float zr, zi;
        multiply_frequency(kind, xr, xi, yr, yi, zr, zi);
        z[i] = zr;
        z[i + 1] = zi;
    }
}

} // namespace

} // namespace zavo::fft

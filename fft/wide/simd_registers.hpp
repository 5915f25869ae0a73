// The complex transform of 64 values, whole in registers of 16 floats: each of its three
// passes of radix 4 is one butterfly, and nothing is stored in between.
//
// With i = 16 j1 + 4 j2 + j3 in the order of the input and f = f1 + 4 f2 + 16 f3 in that
// of the result, register and lanes count
//
//     pass 1    register j1, lanes j2 and j3
//     pass 2    register j2, lanes f1 and j3
//     pass 3    register j3, lanes f1 and f2, in folded order
//
// and an exchange of a digit in registers for one in lanes takes two steps, a bit each.
#pragma once

#include "fft/wide/simd_known.hpp"

namespace zavo::fft {

namespace { // compiled for one instruction set: see inlining.hpp

// Exchanges the number of a register, a digit of four, for such a digit of the lanes.
// step(h, a, b) joins the lanes of a and b whose bit is h, and makes the bit that tells a
// from b one of lanes; high is for the high bit of the number, low for the low one.
template <class HighStep, class LowStep>
ZAVO_INLINE void exchange_digit(const Vector<16>* x, Vector<16>* y, const HighStep& high, const LowStep& low)
{
    unroll<2>([&](auto h) ZAVO_INLINED {
        const Vector<16> a = high(h, x[0], x[2]);
        const Vector<16> b = high(h, x[1], x[3]);
        y[h] = low(Number<0>{}, a, b);
        y[2 + h] = low(Number<1>{}, a, b);
    });
}

template <Direction d>
void run_complex_64(const float* p, float* q, float* params)
{
    using V = Vector<16>;
    using Radix = ComplexRadix4<d>;
    const float* const twiddles = params + 2 * 64;
    V re[4], im[4], yre[4], yim[4];
    for (int j = 0; j < 4; ++j) {
        const Pairs<16> x = load_folded<16>(p + 32 * j);
        re[j] = x.re;
        im[j] = x.im;
    }
    Radix::butterfly(re, im, yre, yim);
    for (int f = 1; f < 4; ++f) {
        const Pairs<16> w = load_folded<16>(twiddles + 32 * (f - 1));
        apply_twiddle<d>(w.re, w.im, yre[f], yim[f]);
    }
    // In folded order the low bit of j2 is the highest of the lane, and the high one the
    // second; those of j3 are the third and the lowest.
    const auto halves = [](auto h, const V& a, const V& b)
                            ZAVO_INLINED { return halves_joined<h>(a, b, Places<16>{}); };
    const auto doubles = [](auto h, const V& a, const V& b)
                             ZAVO_INLINED { return mixed_doubles<h>(a, b, Places<16>{}); };
    exchange_digit(yre, re, halves, doubles);
    exchange_digit(yim, im, halves, doubles);
    Radix::butterfly(re, im, yre, yim);
    for (int f = 1; f < 4; ++f) {
        constexpr __mmask16 all = 0xFFFF; // (g++ 12 warns of what the forms without a mask leave undefined)
        const V w = (V)_mm512_maskz_broadcast_f32x8(all, (__m256)load<8>(twiddles + 96 + 8 * (f - 1)));
        apply_twiddle<d>(mixed_halves<0>(w, w, Places<16>{}), mixed_halves<1>(w, w, Places<16>{}), yre[f],
                         yim[f]);
    }
    const auto singles = [](auto h, const V& a, const V& b)
                             ZAVO_INLINED { return mixed_halves<h>(a, b, Places<16>{}); };
    const auto quarters = [](auto h, const V& a, const V& b)
                              ZAVO_INLINED { return quarters_joined<h>(a, b, Places<16>{}); };
    exchange_digit(yre, re, singles, quarters);
    exchange_digit(yim, im, singles, quarters);
    Radix::butterfly(re, im, yre, yim);
    for (int f = 0; f < 4; ++f) {
        store_folded<16>(q + 32 * f, yre[f], yim[f]);
    }
}

constexpr KnownLength complex_64 =
    known_length<FactorList<4, 4, 4>>(run_complex_64<forward>, run_complex_64<backward>);

} // namespace

} // namespace zavo::fft

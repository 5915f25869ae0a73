// The sums of the general odd-radix passes: every output slot is the first slot
// plus the folded slots, each times a cosine or sine.
//
// With half = (ip - 1) / 2, folded slots x_1 .. x_half (sums) and, mirrored,
// x_{ip-1} .. x_{ip-half} (differences):
//
//     y_l      = x_0 + sum over j of cos(l j w) x_j          l = 1 .. half
//     y_{ip-l} =       sum over j of sin(l j w) x_{ip-j}
//     y_0      = x_0 + x_1 + ... + x_half
//
// Sums run over ascending j and are rounded to float after every term.
#pragma once

#include "fft/tables/shape.hpp"
#include "fft/tables/twiddle.hpp"

#include <cassert>

namespace zavo::fft {

namespace { // compiled for several instruction sets: see inlining.hpp

// (re, im) = cos and sin of the next multiple of an angle, by rotation in float.
// Kept: the recurrence loses digits with every step, so that a prime factor near
// 1000 leaves a relative error of about 1e-3 and one near 10000 about 0.2; see
// real_fft.large_prime_error_is_as_documented.
template <class L>
struct Rotation {
    L re, im;
    ZAVO_INLINE void advance(L by_re, L by_im)
    {
        const L old = re;
        re = by_re * old - by_im * im;
        im = by_re * im + by_im * old;
    }
};

// y_0 for every value of a slab.
template <class Lanes>
void sum_slots(Index slab, Index ip, const float* x, float* y)
{
    using L = typename Lanes::Value;
    constexpr Index step = Lanes::stride;
    for (Index i = 0; i < slab; ++i) {
        L sum = Lanes::load(x + step * i);
        for (Index j = 1; j < (ip + 1) / 2; ++j) {
            sum = sum + Lanes::load(x + step * (i + slab * j));
        }
        Lanes::store(y + step * i, sum);
    }
}

// x, y: ip slots of `slab` values. Lanes may bring a way of their own, which says
// whether it has served.
template <class Lanes>
void rotate_real_sums(Index slab, Index ip, const float* x, float* y)
{
    using L = typename Lanes::Value;
    constexpr Index step = Lanes::stride;
    assert(slab >= 1 && ip >= 3 && ip % 2 == 1);
    const CosSin w = rotation_of(static_cast<int>(ip));
    if constexpr (requires { Lanes::rotate_real_sums(slab, ip, w, x, y); }) {
        if (Lanes::rotate_real_sums(slab, ip, w, x, y)) {
            sum_slots<Lanes>(slab, ip, x, y);
            return;
        }
    }
    Rotation<float> by_l{1.0F, 0.0F};
    for (Index l = 1; l < (ip + 1) / 2; ++l) {
        if (interrupted_at(slab * ip, slab * ip)) {
            return;
        }
        const Index lc = ip - l;
        by_l.advance(w.cos, w.sin);
        for (Index i = 0; i < slab; ++i) {
            const L x0 = Lanes::load(x + step * i);
            const L x1 = Lanes::load(x + step * (i + slab));
            const L xc = Lanes::load(x + step * (i + slab * (ip - 1)));
            Lanes::store(y + step * (i + slab * l), x0 + by_l.re * x1);
            Lanes::store(y + step * (i + slab * lc), by_l.im * xc);
        }
        Rotation<float> by_lj = by_l;
        for (Index j = 2; j < (ip + 1) / 2; ++j) {
            by_lj.advance(by_l.re, by_l.im);
            for (Index i = 0; i < slab; ++i) {
                float* const cosines = y + step * (i + slab * l);
                float* const sines = y + step * (i + slab * lc);
                Lanes::store(cosines,
                             Lanes::load(cosines) + by_lj.re * Lanes::load(x + step * (i + slab * j)));
                Lanes::store(sines,
                             Lanes::load(sines) + by_lj.im * Lanes::load(x + step * (i + slab * (ip - j))));
            }
        }
    }
    sum_slots<Lanes>(slab, ip, x, y);
}

// The complex counterpart: cosines and sines of 2 pi b / ip, b = l j mod ip, are
// looked up at wa[step * (b - 1)], so nothing is lost to a recurrence. A slab
// counts the real and imaginary parts alike.
template <Direction d, class Lanes>
void rotate_complex_sums(Index slab, Index ip, const float* x, float* y, const float* wa, Index step)
{
    using L = typename Lanes::Value;
    constexpr Index stride = Lanes::stride;
    assert(slab >= 2 && ip >= 3 && ip % 2 == 1 && step >= 1);
    if constexpr (requires { Lanes::template rotate_complex_sums<d>(slab, ip, x, y, wa, step); }) {
        if (Lanes::template rotate_complex_sums<d>(slab, ip, x, y, wa, step)) {
            sum_slots<Lanes>(slab, ip, x, y);
            return;
        }
    }
    const auto sine = [](float value) { return d == Direction::forward ? -value : value; };
    for (Index l = 1; l < (ip + 1) / 2; ++l) {
        if (interrupted_at(slab * ip, slab * ip)) {
            return;
        }
        float* const cosines = y + stride * slab * l;
        float* const sines = y + stride * slab * (ip - l);
        const float* const w = wa + step * (l - 1);
        for (Index i = 0; i < slab; ++i) {
            const L x0 = Lanes::load(x + stride * i);
            const L x1 = Lanes::load(x + stride * (i + slab));
            const L xc = Lanes::load(x + stride * (i + slab * (ip - 1)));
            Lanes::store(cosines + stride * i, x0 + w[0] * x1);
            Lanes::store(sines + stride * i, sine(w[1]) * xc);
        }
        Index b = l;
        for (Index j = 2; j < (ip + 1) / 2; ++j) {
            b = b + l >= ip ? b + l - ip : b + l;
            const float wr = wa[step * (b - 1)];
            const float wi = sine(wa[step * (b - 1) + 1]);
            for (Index i = 0; i < slab; ++i) {
                float* const c = cosines + stride * i;
                float* const s = sines + stride * i;
                Lanes::store(c, Lanes::load(c) + wr * Lanes::load(x + stride * (i + slab * j)));
                Lanes::store(s, Lanes::load(s) + wi * Lanes::load(x + stride * (i + slab * (ip - j))));
            }
        }
    }
    sum_slots<Lanes>(slab, ip, x, y);
}

} // namespace

} // namespace zavo::fft

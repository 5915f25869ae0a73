// Passes and driver of the complex transform, as templates on Direction and
// Lanes. Every pass reads joined and writes split (shape.hpp); the first index
// counts complex values, each a Value of real parts and a Value of imaginary
// parts, side by side.
#pragma once

#include "fft/passes/complex_radices.hpp"
#include "fft/passes/rotation.hpp"
#include "fft/tables/factors.hpp"

#include <cassert>

namespace zavo::fft {

namespace { // compiled for several instruction sets: see inlining.hpp

// wa: ip - 1 blocks of ido (cos, sin) pairs. With ido = 1 there is no twiddle,
// otherwise even the pair (1, 0) of i = 0 is multiplied with: it can turn a
// negative zero.
template <Direction d, class Radix, class Lanes>
void complex_radix_pass(const Shape& shape, const float* __restrict cc, float* __restrict ch,
                        const float* __restrict wa)
{
    using L = typename Lanes::Value;
    constexpr int ip = Radix::ip;
    const Index ido = shape.ido;
    const JoinedView<Lanes> in(shape);
    const SplitView<Lanes> out(shape);
    for (Index k = 0; k < shape.l1; ++k) {
        for (Index i = 0; i < ido; ++i) {
            L re[ip], im[ip], yre[ip], yim[ip];
            for (int j = 0; j < ip; ++j) {
                const float* const from = cc + 2 * in.at(i, j, k);
                re[j] = Lanes::load(from);
                im[j] = Lanes::load(from + Lanes::stride);
            }
            Radix::butterfly(re, im, yre, yim);
            if (ido > 1) {
                for (int j = 1; j < ip; ++j) {
                    const float* const w = wa + 2 * ((j - 1) * ido + i);
                    apply_twiddle<d>(w[0], w[1], yre[j], yim[j]);
                }
            }
            for (int j = 0; j < ip; ++j) {
                float* const to = ch + 2 * out.at(i, k, j);
                Lanes::store(to, yre[j]);
                Lanes::store(to + Lanes::stride, yim[j]);
            }
        }
    }
}

// The pass of any other radix. Its rotation comes from the table: the first pair
// of block b is (cos, sin) of 2 pi b / ip. `in` is clobbered when work == in.
template <Direction d, class Lanes>
void complex_general_pass(const Shape& shape, const float* in, float* out, float* work, const float* wa)
{
    using L = typename Lanes::Value;
    constexpr Index part = Lanes::stride;
    const Index ido = shape.ido;
    const Index ip = shape.ip;
    const Index slab = 2 * ido * shape.l1;
    assert(ip % 2 == 1 && in != out && work != out);
    const Shape parts{2 * ido, shape.l1, ip}; // real and imaginary ones alike
    const JoinedView<Lanes> joined(parts);
    const SplitView<Lanes> split(parts);

    // Neighbours innermost, which the compiler makes registers of.
    for (Index k = 0; k < shape.l1; ++k) {
        copy_values<Lanes>(2 * ido, in + joined.at(0, 0, k), out + split.at(0, k, 0));
        for (Index j = 1; j < (ip + 1) / 2; ++j) {
            const float* const low = in + joined.at(0, j, k);
            const float* const high = in + joined.at(0, ip - j, k);
            float* const sums = out + split.at(0, k, j);
            float* const differences = out + split.at(0, k, ip - j);
            for (Index i = 0; i < 2 * ido; ++i) {
                const L a = Lanes::load(low + part * i);
                const L b = Lanes::load(high + part * i);
                Lanes::store(sums + part * i, a + b);
                Lanes::store(differences + part * i, a - b);
            }
        }
    }
    rotate_complex_sums<d, Lanes>(slab, ip, out, work, wa, 2 * ido);
    copy_values<Lanes>(slab, work, out);
    for (Index j = 1; j < (ip + 1) / 2; ++j) {
        const float* const wj = wa + 2 * (j - 1) * ido;
        const float* const wc = wa + 2 * (ip - j - 1) * ido;
        for (Index k = 0; k < shape.l1; ++k) {
            const float* __restrict sums = work + split.at(0, k, j);
            const float* __restrict sums_c = work + split.at(0, k, ip - j);
            float* __restrict to = out + split.at(0, k, j);
            float* __restrict to_c = out + split.at(0, k, ip - j);
            const auto unfold = [&](Index i, const auto& twiddle) ZAVO_INLINED {
                const Index at = 2 * part * i;
                const L ar = Lanes::load(sums + at);
                const L ai = Lanes::load(sums + at + part);
                const L br = Lanes::load(sums_c + at);
                const L bi = Lanes::load(sums_c + at + part);
                L xr = ar - bi;
                L xi = ai + br;
                L zr = ar + bi;
                L zi = ai - br;
                twiddle(xr, xi, zr, zi);
                Lanes::store(to + at, xr);
                Lanes::store(to + at + part, xi);
                Lanes::store(to_c + at, zr);
                Lanes::store(to_c + at + part, zi);
            };
            unfold(0, [](L&, L&, L&, L&) ZAVO_INLINED {});
            for (Index i = 1; i < ido; ++i) {
                unfold(i, [&](L& xr, L& xi, L& zr, L& zi) ZAVO_INLINED {
                    apply_twiddle<d>(wj[2 * i], wj[2 * i + 1], xr, xi);
                    apply_twiddle<d>(wc[2 * i], wc[2 * i + 1], zr, zi);
                });
            }
        }
    }
}

template <Direction d, class Lanes>
void complex_pass(const Shape& shape, const float* in, float* out, float* work, const float* wa)
{
    const bool done = for_complex_radix<d>(
        shape.ip, [&](auto radix) { complex_radix_pass<d, decltype(radix), Lanes>(shape, in, out, wa); });
    if (!done) {
        complex_general_pass<d, Lanes>(shape, in, out, work, wa);
    }
}

// Runs the factors first .. count - 1, as run_real does. p and q may be the same
// array; the last pass ends in q.
template <Direction d, class Lanes>
void run_complex(const Factors& factors, int first, const float* p, float* q, float* scratch,
                 const float* twiddles)
{
    assert(first >= 0 && first < factors.count && scratch != p && scratch != q);
    const int passes = factors.count - first;
    const float* from = p;
    if (p == q && passes % 2 != 0) {
        copy_values<Lanes>(2 * (factors.after[first]), p, scratch);
        from = scratch;
    }
    for (int t = 0; t < passes; ++t) {
        if (interrupted_at(factors.n, 2 * factors.n)) {
            return;
        }
        const int which = first + t;
        const Shape shape = factors.shape_within(first, which);
        float* const to = (passes - t) % 2 != 0 ? q : scratch;
        float* const other = to == q ? scratch : q;
        complex_pass<d, Lanes>(shape, from, to, other, twiddles + 2 * factors.twiddle_offset(which));
        from = to;
    }
}

} // namespace

} // namespace zavo::fft

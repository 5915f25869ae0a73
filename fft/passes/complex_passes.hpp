// Passes and driver of the complex transform, as templates on Direction and
// Lanes. Every pass reads joined and writes split (shape.hpp); the first index
// counts complex values, each a Value of real parts and a Value of imaginary
// parts, side by side.
#pragma once

#include "fft/passes/complex_radices.hpp"
#include "fft/passes/rotation.hpp"
#include "fft/tables/factors.hpp"

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
    const Shape parts{2 * ido, shape.l1, ip}; // real and imaginary ones alike
    const JoinedView<Lanes> joined(parts);
    const SplitView<Lanes> split(parts);

    for (Index k = 0; k < shape.l1; ++k) {
        for (Index i = 0; i < 2 * ido; ++i) {
            Lanes::store(out + split.at(i, k, 0), Lanes::load(in + joined.at(i, 0, k)));
            for (Index j = 1; j < (ip + 1) / 2; ++j) {
                const L a = Lanes::load(in + joined.at(i, j, k));
                const L b = Lanes::load(in + joined.at(i, ip - j, k));
                Lanes::store(out + split.at(i, k, j), a + b);
                Lanes::store(out + split.at(i, k, ip - j), a - b);
            }
        }
    }
    rotate_complex_sums<d, Lanes>(slab, ip, out, work, wa, 2 * ido);
    copy_values<Lanes>(slab, work, out);
    for (Index j = 1; j < (ip + 1) / 2; ++j) {
        const Index jc = ip - j;
        for (Index k = 0; k < shape.l1; ++k) {
            for (Index i = 0; i < ido; ++i) {
                const Index at = split.at(2 * i, k, j);
                const Index at_c = split.at(2 * i, k, jc);
                const L ar = Lanes::load(work + at);
                const L ai = Lanes::load(work + at + part);
                const L br = Lanes::load(work + at_c);
                const L bi = Lanes::load(work + at_c + part);
                L xr = ar - bi;
                L xi = ai + br;
                L zr = ar + bi;
                L zi = ai - br;
                if (i > 0) {
                    const float* const wj = wa + 2 * ((j - 1) * ido + i);
                    const float* const wc = wa + 2 * ((jc - 1) * ido + i);
                    apply_twiddle<d>(wj[0], wj[1], xr, xi);
                    apply_twiddle<d>(wc[0], wc[1], zr, zi);
                }
                Lanes::store(out + at, xr);
                Lanes::store(out + at + part, xi);
                Lanes::store(out + at_c, zr);
                Lanes::store(out + at_c + part, zi);
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

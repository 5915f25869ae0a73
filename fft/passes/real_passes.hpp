// Passes and drivers of the real transform, as templates on Lanes.
//
// The values of a pass are counted from 0: position 0 is the real value of
// frequency zero, positions (i - 1, i) for i = 2, 4, ... hold one frequency, and
// for even ido position ido - 1 holds the half frequency. `ic` = ido - i mirrors i:
//
//     slot j even   | 0 | 1 2 | 3 4 | ...             i walks up
//     slot j odd    ...           | i-1 i |           ic walks down
#pragma once

#include "fft/passes/real_radices.hpp"
#include "fft/passes/rotation.hpp"
#include "fft/tables/factors.hpp"

#include <cassert>

namespace zavo::fft {

namespace { // compiled for several instruction sets: see inlining.hpp

// The frequencies that a pass works on: all of them.
struct AllFrequencies {
    static constexpr Index inner = 2; // i of the first complex one
    static ZAVO_INLINE bool has_half(Index ido) { return ido % 2 == 0; }
    static ZAVO_INLINE const float* twiddle(const float* wa, Index ido, int j, Index i)
    {
        return wa + (j - 1) * ido + i - 2;
    }
};

// Every `spread`-th frequency of sub-transforms that are as many times as long; the
// pass has the shape of the short ones. Either from frequency zero on or, with
// inner = 1, half a step behind it: then frequency zero is not among them, and the
// half frequency is with odd ido.
template <Index from>
struct SpreadFrequencies {
    static constexpr Index inner = from;
    Index spread;
    static ZAVO_INLINE bool has_half(Index ido) { return (ido - inner) % 2 == 0; }
    ZAVO_INLINE const float* twiddle(const float* wa, Index ido, int j, Index i) const
    {
        return wa + spread * ((j - 1) * ido + i) - 2;
    }
};

// Reads apart, split as a rule, and writes joined. wa: ip - 1 blocks of ido values,
// (cos, sin) pairs.
template <class Radix, class Lanes, class Frequencies = AllFrequencies,
          template <class> class Apart = SplitView>
ZAVO_INLINE void forward_pass(const Shape& shape, const float* __restrict cc, float* __restrict ch,
                              const float* __restrict wa, const Frequencies frequencies = {})
{
    using L = typename Lanes::Value;
    constexpr int ip = Radix::ip;
    const Index ido = shape.ido;
    const Apart<Lanes> in(shape);
    const JoinedView<Lanes> out(shape);
    for (Index k = 0; k < shape.l1; ++k) {
        L x[ip], y[ip];
        if constexpr (Frequencies::inner == 2) {
            for (int j = 0; j < ip; ++j) {
                x[j] = Lanes::load(cc + in.at(0, k, j));
            }
            Radix::forward_first(x, y);
            for (int j = 0; j < ip; ++j) {
                Lanes::store(ch + out.at(j % 2 != 0 ? ido - 1 : 0, j, k), y[j]);
            }
        }
        for (Index i = Frequencies::inner; i < ido; i += 2) {
            L re[ip], im[ip], yre[ip], yim[ip];
            re[0] = Lanes::load(cc + in.at(i - 1, k, 0));
            im[0] = Lanes::load(cc + in.at(i, k, 0));
            for (int j = 1; j < ip; ++j) {
                const L xr = Lanes::load(cc + in.at(i - 1, k, j));
                const L xi = Lanes::load(cc + in.at(i, k, j));
                const float* const w = frequencies.twiddle(wa, ido, j, i);
                re[j] = w[0] * xr + w[1] * xi;
                im[j] = w[0] * xi - w[1] * xr;
            }
            Radix::forward_inner(re, im, yre, yim);
            for (int j = 0; j < ip; ++j) {
                const Index at = j % 2 != 0 ? ido - i : i;
                Lanes::store(ch + out.at(at - 1, j, k), yre[j]);
                Lanes::store(ch + out.at(at, j, k), yim[j]);
            }
        }
        if constexpr (ip % 2 == 0) {
            if (frequencies.has_half(ido)) {
                for (int j = 0; j < ip; ++j) {
                    x[j] = Lanes::load(cc + in.at(ido - 1, k, j));
                }
                Radix::forward_last(x, y);
                for (int j = 0; j < ip; ++j) {
                    Lanes::store(ch + out.at(j % 2 != 0 ? 0 : ido - 1, j, k), y[j]);
                }
            }
        }
    }
}

// Reads joined, writes apart.
template <class Radix, class Lanes, class Frequencies = AllFrequencies,
          template <class> class Apart = SplitView>
ZAVO_INLINE void backward_pass(const Shape& shape, const float* __restrict cc, float* __restrict ch,
                               const float* __restrict wa, const Frequencies frequencies = {})
{
    using L = typename Lanes::Value;
    constexpr int ip = Radix::ip;
    const Index ido = shape.ido;
    const JoinedView<Lanes> in(shape);
    const Apart<Lanes> out(shape);
    for (Index k = 0; k < shape.l1; ++k) {
        L x[ip], y[ip];
        if constexpr (Frequencies::inner == 2) {
            for (int j = 0; j < ip; ++j) {
                x[j] = Lanes::load(cc + in.at(j % 2 != 0 ? ido - 1 : 0, j, k));
            }
            Radix::backward_first(x, y);
            for (int j = 0; j < ip; ++j) {
                Lanes::store(ch + out.at(0, k, j), y[j]);
            }
        }
        for (Index i = Frequencies::inner; i < ido; i += 2) {
            L re[ip], im[ip], yre[ip], yim[ip];
            for (int j = 0; j < ip; ++j) {
                const Index at = j % 2 != 0 ? ido - i : i;
                re[j] = Lanes::load(cc + in.at(at - 1, j, k));
                im[j] = Lanes::load(cc + in.at(at, j, k));
            }
            Radix::backward_inner(re, im, yre, yim);
            Lanes::store(ch + out.at(i - 1, k, 0), yre[0]);
            Lanes::store(ch + out.at(i, k, 0), yim[0]);
            for (int j = 1; j < ip; ++j) {
                const float* const w = frequencies.twiddle(wa, ido, j, i);
                Lanes::store(ch + out.at(i - 1, k, j), w[0] * yre[j] - w[1] * yim[j]);
                Lanes::store(ch + out.at(i, k, j), w[0] * yim[j] + w[1] * yre[j]);
            }
        }
        if constexpr (ip % 2 == 0) {
            if (frequencies.has_half(ido)) {
                for (int j = 0; j < ip; ++j) {
                    x[j] = Lanes::load(cc + in.at(j % 2 != 0 ? 0 : ido - 1, j, k));
                }
                Radix::backward_last(x, y);
                for (int j = 0; j < ip; ++j) {
                    Lanes::store(ch + out.at(ido - 1, k, j), y[j]);
                }
            }
        }
    }
}

// ---- the pass of any other odd radix ----------------------------------------
// Three steps: fold slots j and ip - j into sums and differences (twiddled where
// forward), rotate the sums (rotation.hpp), unfold. ido is odd here, since every
// even factor stands before an odd one.

// Split to joined. `in` is clobbered when work == in.
template <class Lanes>
void forward_general_pass(const Shape& shape, const float* in, float* out, float* work, const float* wa)
{
    using L = typename Lanes::Value;
    assert(shape.ip % 2 == 1 && shape.ido % 2 == 1 && in != out && work != out);
    const Index ido = shape.ido;
    const Index ip = shape.ip;
    const Index slab = ido * shape.l1;
    const SplitView<Lanes> split(shape);
    const JoinedView<Lanes> joined(shape);

    copy_values<Lanes>(slab, in, out);
    for (Index j = 1; j < (ip + 1) / 2; ++j) {
        const Index jc = ip - j;
        const float* const wj = wa + (j - 1) * ido;
        const float* const wc = wa + (jc - 1) * ido;
        for (Index k = 0; k < shape.l1; ++k) {
            const L a0 = Lanes::load(in + split.at(0, k, j));
            const L b0 = Lanes::load(in + split.at(0, k, jc));
            Lanes::store(out + split.at(0, k, j), a0 + b0);
            Lanes::store(out + split.at(0, k, jc), b0 - a0);
            for (Index i = 2; i < ido; i += 2) {
                const L xr = Lanes::load(in + split.at(i - 1, k, j));
                const L xi = Lanes::load(in + split.at(i, k, j));
                const L zr = Lanes::load(in + split.at(i - 1, k, jc));
                const L zi = Lanes::load(in + split.at(i, k, jc));
                const L ar = wj[i - 2] * xr + wj[i - 1] * xi;
                const L ai = wj[i - 2] * xi - wj[i - 1] * xr;
                const L br = wc[i - 2] * zr + wc[i - 1] * zi;
                const L bi = wc[i - 2] * zi - wc[i - 1] * zr;
                Lanes::store(out + split.at(i - 1, k, j), ar + br);
                Lanes::store(out + split.at(i - 1, k, jc), ai - bi);
                Lanes::store(out + split.at(i, k, j), ai + bi);
                Lanes::store(out + split.at(i, k, jc), br - ar);
            }
        }
    }
    rotate_real_sums<Lanes>(slab, ip, out, work);
    for (Index k = 0; k < shape.l1; ++k) {
        for (Index i = 0; i < ido; ++i) {
            Lanes::store(out + joined.at(i, 0, k), Lanes::load(work + split.at(i, k, 0)));
        }
        for (Index j = 1; j < (ip + 1) / 2; ++j) {
            const Index jc = ip - j;
            Lanes::store(out + joined.at(ido - 1, 2 * j - 1, k), Lanes::load(work + split.at(0, k, j)));
            Lanes::store(out + joined.at(0, 2 * j, k), Lanes::load(work + split.at(0, k, jc)));
            for (Index i = 2; i < ido; i += 2) {
                const Index ic = ido - i;
                const L ar = Lanes::load(work + split.at(i - 1, k, j));
                const L ai = Lanes::load(work + split.at(i, k, j));
                const L br = Lanes::load(work + split.at(i - 1, k, jc));
                const L bi = Lanes::load(work + split.at(i, k, jc));
                Lanes::store(out + joined.at(i - 1, 2 * j, k), ar + br);
                Lanes::store(out + joined.at(ic - 1, 2 * j - 1, k), ar - br);
                Lanes::store(out + joined.at(i, 2 * j, k), ai + bi);
                Lanes::store(out + joined.at(ic, 2 * j - 1, k), bi - ai);
            }
        }
    }
}

// Joined to split. `in` is clobbered when work == in.
template <class Lanes>
void backward_general_pass(const Shape& shape, const float* in, float* out, float* work, const float* wa)
{
    using L = typename Lanes::Value;
    assert(shape.ip % 2 == 1 && shape.ido % 2 == 1 && in != out && work != out);
    const Index ido = shape.ido;
    const Index ip = shape.ip;
    const Index slab = ido * shape.l1;
    const SplitView<Lanes> split(shape);
    const JoinedView<Lanes> joined(shape);

    for (Index k = 0; k < shape.l1; ++k) {
        for (Index i = 0; i < ido; ++i) {
            Lanes::store(out + split.at(i, k, 0), Lanes::load(in + joined.at(i, 0, k)));
        }
        for (Index j = 1; j < (ip + 1) / 2; ++j) {
            const Index jc = ip - j;
            const L a0 = Lanes::load(in + joined.at(ido - 1, 2 * j - 1, k));
            const L b0 = Lanes::load(in + joined.at(0, 2 * j, k));
            Lanes::store(out + split.at(0, k, j), a0 + a0);
            Lanes::store(out + split.at(0, k, jc), b0 + b0);
            for (Index i = 2; i < ido; i += 2) {
                const Index ic = ido - i;
                const L ar = Lanes::load(in + joined.at(i - 1, 2 * j, k));
                const L ai = Lanes::load(in + joined.at(i, 2 * j, k));
                const L br = Lanes::load(in + joined.at(ic - 1, 2 * j - 1, k));
                const L bi = Lanes::load(in + joined.at(ic, 2 * j - 1, k));
                Lanes::store(out + split.at(i - 1, k, j), ar + br);
                Lanes::store(out + split.at(i - 1, k, jc), ar - br);
                Lanes::store(out + split.at(i, k, j), ai - bi);
                Lanes::store(out + split.at(i, k, jc), ai + bi);
            }
        }
    }
    rotate_real_sums<Lanes>(slab, ip, out, work);
    copy_values<Lanes>(slab, work, out);
    for (Index j = 1; j < (ip + 1) / 2; ++j) {
        const Index jc = ip - j;
        const float* const wj = wa + (j - 1) * ido;
        const float* const wc = wa + (jc - 1) * ido;
        for (Index k = 0; k < shape.l1; ++k) {
            const L a0 = Lanes::load(work + split.at(0, k, j));
            const L b0 = Lanes::load(work + split.at(0, k, jc));
            Lanes::store(out + split.at(0, k, j), a0 - b0);
            Lanes::store(out + split.at(0, k, jc), a0 + b0);
            for (Index i = 2; i < ido; i += 2) {
                const L ar = Lanes::load(work + split.at(i - 1, k, j));
                const L ai = Lanes::load(work + split.at(i, k, j));
                const L br = Lanes::load(work + split.at(i - 1, k, jc));
                const L bi = Lanes::load(work + split.at(i, k, jc));
                const L xr = ar - bi;
                const L zr = ar + bi;
                const L xi = ai + br;
                const L zi = ai - br;
                Lanes::store(out + split.at(i - 1, k, j), wj[i - 2] * xr - wj[i - 1] * xi);
                Lanes::store(out + split.at(i, k, j), wj[i - 2] * xi + wj[i - 1] * xr);
                Lanes::store(out + split.at(i - 1, k, jc), wc[i - 2] * zr - wc[i - 1] * zi);
                Lanes::store(out + split.at(i, k, jc), wc[i - 2] * zi + wc[i - 1] * zr);
            }
        }
    }
}

// ---- drivers ------------------------------------------------------------------

template <Direction d, class Radix, class Lanes, class Frequencies = AllFrequencies,
          template <class> class Apart = SplitView>
ZAVO_INLINE void real_radix_pass(const Shape& shape, const float* in, float* out, const float* wa,
                                 const Frequencies frequencies = {})
{
    if constexpr (d == Direction::forward) {
        forward_pass<Radix, Lanes, Frequencies, Apart>(shape, in, out, wa, frequencies);
    } else {
        backward_pass<Radix, Lanes, Frequencies, Apart>(shape, in, out, wa, frequencies);
    }
}

// One pass of the given direction; `work` is where a general pass may put its
// sums and may be `in`.
template <Direction d, class Lanes>
void real_pass(const Shape& shape, const float* in, float* out, float* work, const float* wa)
{
    const bool done = for_real_radix(
        shape.ip, [&](auto radix) { real_radix_pass<d, decltype(radix), Lanes>(shape, in, out, wa); });
    if (done) {
        return;
    }
    if constexpr (d == Direction::forward) {
        forward_general_pass<Lanes>(shape, in, out, work, wa);
    } else {
        backward_general_pass<Lanes>(shape, in, out, work, wa);
    }
}

// Runs the factors first .. count - 1: the whole transform for first = 0, else
// as many independent transforms of length n / l1(first) as Lanes has lanes.
// p and q may be the same array; q and scratch are as long as p. Values pass
// between q and scratch so that the last pass ends in q.
template <Direction d, class Lanes>
void run_real(const Factors& factors, int first, const float* p, float* q, float* scratch,
              const float* twiddles)
{
    assert(first >= 0 && first < factors.count && scratch != p && scratch != q);
    const int passes = factors.count - first;
    const float* from = p;
    if (p == q && passes % 2 != 0) {
        copy_values<Lanes>(factors.after[first], p, scratch);
        from = scratch;
    }
    for (int t = 0; t < passes; ++t) {
        if (interrupted_at(factors.n, factors.n)) {
            return;
        }
        const int which = d == Direction::forward ? factors.count - 1 - t : first + t;
        const Shape shape = factors.shape_within(first, which);
        float* const to = (passes - t) % 2 != 0 ? q : scratch;
        float* const other = to == q ? scratch : q;
        real_pass<d, Lanes>(shape, from, to, other, twiddles + factors.twiddle_offset(which));
        from = to;
    }
}

} // namespace

} // namespace zavo::fft

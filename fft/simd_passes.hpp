// Passes that work on V neighbouring frequencies of one transform at a time,
// with the butterflies of the scalar passes. They serve where ido is large.
#pragma once

#include "fft/complex_radices.hpp"
#include "fft/real_radices.hpp"
#include "fft/simd_vectors.hpp"

namespace zavo::fft {

namespace { // compiled for several instruction sets: see shape.hpp

// The frequencies t + 1 .. t + count of one k: see forward_pass.
template <class Radix, int V, bool full>
ZAVO_INLINE void forward_run(const Shape& shape, const float* __restrict cc, float* __restrict ch,
                             const float* __restrict wa, Index k, Index t, int count)
{
    using L = Vector<V>;
    constexpr int ip = Radix::ip;
    const Index ido = shape.ido;
    const SplitView<ScalarLanes> in(shape);
    const JoinedView<ScalarLanes> out(shape);
    L re[ip], im[ip], yre[ip], yim[ip];
    for (int j = 0; j < ip; ++j) {
        const Pairs<V> x = load_pairs<V, full>(cc + in.at(2 * t + 1, k, j), count);
        re[j] = x.re;
        im[j] = x.im;
        if (j > 0) {
            const Pairs<V> w = load_pairs<V, full>(wa + (j - 1) * ido + 2 * t, count);
            re[j] = w.re * x.re + w.im * x.im;
            im[j] = w.re * x.im - w.im * x.re;
        }
    }
    Radix::forward_inner(re, im, yre, yim);
    for (int j = 0; j < ip; ++j) {
        if (j % 2 == 0) {
            store_pairs<V, full>(ch + out.at(2 * t + 1, j, k), yre[j], yim[j], count);
        } else {
            store_pairs_falling<V, full>(ch + out.at(ido - 2 * t - 3, j, k), yre[j], yim[j], count);
        }
    }
}

template <class Radix, int V>
void forward_pass_along(const Shape& shape, const float* __restrict cc, float* __restrict ch,
                        const float* __restrict wa)
{
    constexpr int ip = Radix::ip;
    const Index ido = shape.ido;
    const SplitView<ScalarLanes> in(shape);
    const JoinedView<ScalarLanes> out(shape);
    const Index frequencies = (ido - 1) / 2;
    for (Index k = 0; k < shape.l1; ++k) {
        float x[ip], y[ip];
        for (int j = 0; j < ip; ++j) {
            x[j] = cc[in.at(0, k, j)];
        }
        Radix::forward_first(x, y);
        for (int j = 0; j < ip; ++j) {
            ch[out.at(j % 2 != 0 ? ido - 1 : 0, j, k)] = y[j];
        }
        Index t = 0;
        for (; t + V <= frequencies; t += V) {
            forward_run<Radix, V, true>(shape, cc, ch, wa, k, t, V);
        }
        if (t < frequencies) {
            forward_run<Radix, V, false>(shape, cc, ch, wa, k, t, static_cast<int>(frequencies - t));
        }
        if constexpr (ip % 2 == 0) {
            if (ido % 2 == 0) {
                for (int j = 0; j < ip; ++j) {
                    x[j] = cc[in.at(ido - 1, k, j)];
                }
                Radix::forward_last(x, y);
                for (int j = 0; j < ip; ++j) {
                    ch[out.at(j % 2 != 0 ? 0 : ido - 1, j, k)] = y[j];
                }
            }
        }
    }
}

// The frequencies t + 1 .. t + count of one k: see backward_pass.
template <class Radix, int V, bool full>
ZAVO_INLINE void backward_run(const Shape& shape, const float* __restrict cc, float* __restrict ch,
                              const float* __restrict wa, Index k, Index t, int count)
{
    using L = Vector<V>;
    constexpr int ip = Radix::ip;
    const Index ido = shape.ido;
    const JoinedView<ScalarLanes> in(shape);
    const SplitView<ScalarLanes> out(shape);
    L re[ip], im[ip], yre[ip], yim[ip];
    for (int j = 0; j < ip; ++j) {
        const Pairs<V> x = j % 2 == 0 ? load_pairs<V, full>(cc + in.at(2 * t + 1, j, k), count)
                                      : load_pairs_falling<V, full>(cc + in.at(ido - 2 * t - 3, j, k), count);
        re[j] = x.re;
        im[j] = x.im;
    }
    Radix::backward_inner(re, im, yre, yim);
    for (int j = 0; j < ip; ++j) {
        L zr = yre[j], zi = yim[j];
        if (j > 0) {
            const Pairs<V> w = load_pairs<V, full>(wa + (j - 1) * ido + 2 * t, count);
            zr = w.re * yre[j] - w.im * yim[j];
            zi = w.re * yim[j] + w.im * yre[j];
        }
        store_pairs<V, full>(ch + out.at(2 * t + 1, k, j), zr, zi, count);
    }
}

template <class Radix, int V>
void backward_pass_along(const Shape& shape, const float* __restrict cc, float* __restrict ch,
                         const float* __restrict wa)
{
    constexpr int ip = Radix::ip;
    const Index ido = shape.ido;
    const JoinedView<ScalarLanes> in(shape);
    const SplitView<ScalarLanes> out(shape);
    const Index frequencies = (ido - 1) / 2;
    for (Index k = 0; k < shape.l1; ++k) {
        float x[ip], y[ip];
        for (int j = 0; j < ip; ++j) {
            x[j] = cc[in.at(j % 2 != 0 ? ido - 1 : 0, j, k)];
        }
        Radix::backward_first(x, y);
        for (int j = 0; j < ip; ++j) {
            ch[out.at(0, k, j)] = y[j];
        }
        Index t = 0;
        for (; t + V <= frequencies; t += V) {
            backward_run<Radix, V, true>(shape, cc, ch, wa, k, t, V);
        }
        if (t < frequencies) {
            backward_run<Radix, V, false>(shape, cc, ch, wa, k, t, static_cast<int>(frequencies - t));
        }
        if constexpr (ip % 2 == 0) {
            if (ido % 2 == 0) {
                for (int j = 0; j < ip; ++j) {
                    x[j] = cc[in.at(j % 2 != 0 ? 0 : ido - 1, j, k)];
                }
                Radix::backward_last(x, y);
                for (int j = 0; j < ip; ++j) {
                    ch[out.at(ido - 1, k, j)] = y[j];
                }
            }
        }
    }
}

template <Direction d, class Radix, int V>
void real_radix_pass_along(const Shape& shape, const float* in, float* out, const float* wa)
{
    if constexpr (d == Direction::forward) {
        forward_pass_along<Radix, V>(shape, in, out, wa);
    } else {
        backward_pass_along<Radix, V>(shape, in, out, wa);
    }
}

template <Direction d, int V>
void real_pass_along(const Shape& shape, const float* in, float* out, const float* wa)
{
    switch (shape.ip) {
    case 2:
        real_radix_pass_along<d, RealRadix2, V>(shape, in, out, wa);
        return;
    case 3:
        real_radix_pass_along<d, RealRadix3, V>(shape, in, out, wa);
        return;
    case 4:
        real_radix_pass_along<d, RealRadix4, V>(shape, in, out, wa);
        return;
    default:
        real_radix_pass_along<d, RealRadix5, V>(shape, in, out, wa);
        return;
    }
}

// The values t .. t + count - 1 of one k: see complex_radix_pass. ido > 1.
template <Direction d, class Radix, int V, bool full>
ZAVO_INLINE void complex_run(const Shape& shape, const float* __restrict cc, float* __restrict ch,
                             const float* __restrict wa, Index k, Index t, int count)
{
    using L = Vector<V>;
    constexpr int ip = Radix::ip;
    const Index ido = shape.ido;
    const JoinedView<ScalarLanes> in(shape);
    const SplitView<ScalarLanes> out(shape);
    L re[ip], im[ip], yre[ip], yim[ip];
    for (int j = 0; j < ip; ++j) {
        const Pairs<V> x = load_pairs<V, full>(cc + 2 * in.at(t, j, k), count);
        re[j] = x.re;
        im[j] = x.im;
    }
    Radix::butterfly(re, im, yre, yim);
    for (int j = 0; j < ip; ++j) {
        if (j > 0) {
            const Pairs<V> w = load_pairs<V, full>(wa + 2 * ((j - 1) * ido + t), count);
            apply_twiddle<d>(w.re, w.im, yre[j], yim[j]);
        }
        store_pairs<V, full>(ch + 2 * out.at(t, k, j), yre[j], yim[j], count);
    }
}

template <Direction d, class Radix, int V>
void complex_radix_pass_along(const Shape& shape, const float* in, float* out, const float* wa)
{
    for (Index k = 0; k < shape.l1; ++k) {
        Index t = 0;
        for (; t + V <= shape.ido; t += V) {
            complex_run<d, Radix, V, true>(shape, in, out, wa, k, t, V);
        }
        if (t < shape.ido) {
            complex_run<d, Radix, V, false>(shape, in, out, wa, k, t, static_cast<int>(shape.ido - t));
        }
    }
}

template <Direction d, int V>
void complex_pass_along(const Shape& shape, const float* in, float* out, const float* wa)
{
    switch (shape.ip) {
    case 2:
        complex_radix_pass_along<d, ComplexRadix2<d>, V>(shape, in, out, wa);
        return;
    case 3:
        complex_radix_pass_along<d, ComplexRadix3<d>, V>(shape, in, out, wa);
        return;
    case 4:
        complex_radix_pass_along<d, ComplexRadix4<d>, V>(shape, in, out, wa);
        return;
    default:
        complex_radix_pass_along<d, ComplexRadix5<d>, V>(shape, in, out, wa);
        return;
    }
}

} // namespace

} // namespace zavo::fft

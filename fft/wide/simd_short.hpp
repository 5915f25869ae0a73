// Short transforms as straight-line code: the factor list is known when compiling, and with it
// every place. The passes are the definition's own, so the bits are.
#pragma once

#include "fft/passes/complex_passes.hpp"
#include "fft/passes/real_passes.hpp"
#include "fft/wide/simd.hpp"
#include "fft/wide/simd_known.hpp"

#include <algorithm>

namespace zavo::fft {

namespace { // compiled for several instruction sets: see inlining.hpp

// One value at a time, by way of arrays on the stack. For lengths that fill no registers.
template <Direction d, class List>
ZAVO_FLATTEN void run_straight_real(const float* p, float* q, float* params)
{
    constexpr int count = List::factors.count;
    static_assert(count > 1); // no pass from p to q, which may be the same
    float between[2][List::factors.n];
    const float* from = p;
    unroll<count>([&](auto pass) {
        constexpr int which = d == Direction::forward ? count - 1 - pass : pass;
        constexpr Shape shape = List::factors.shape(which);
        float* const to = pass == count - 1 ? q : between[pass % 2];
        float* const other = between[1 - pass % 2];
        const float* const wa = params + List::factors.n + List::factors.twiddle_offset(which);
        if constexpr (shape.ip <= 5) {
            real_radix_pass<d, RealRadix<static_cast<int>(shape.ip)>, ScalarLanes>(shape, from, to, wa);
        } else if constexpr (d == Direction::forward) {
            forward_general_pass<ScalarLanes>(shape, from, to, other, wa);
        } else {
            backward_general_pass<ScalarLanes>(shape, from, to, other, wa);
        }
        from = to;
    });
}

template <Direction d, class List>
ZAVO_FLATTEN void run_straight_complex(const float* p, float* q, float* params)
{
    constexpr int count = List::factors.count;
    static_assert(count > 1);
    float between[2][2 * List::factors.n];
    const float* from = p;
    unroll<count>([&](auto pass) {
        constexpr Shape shape = List::factors.shape(pass);
        float* const to = pass == count - 1 ? q : between[pass % 2];
        complex_radix_pass<d, ComplexRadix<d, static_cast<int>(shape.ip)>, ScalarLanes>(
            shape, from, to, params + 2 * (List::factors.n + List::factors.twiddle_offset(pass)));
        from = to;
    });
}

// ---- complex lengths whose passes fill registers as they are -----------------------------
// The definition's own passes from array to array, eight butterflies at a time. A register
// takes neighbours i of a group, or four of each of two groups, lane by lane in turn; the
// last pass, which has no neighbours, takes eight groups by a transposition.

// ido is at least 4.
template <Direction d, class Radix>
ZAVO_INLINE void flat_pass(const Shape& shape, const float* __restrict in, float* __restrict out,
                           const float* __restrict wa)
{
    constexpr int ip = Radix::ip;
    const Index ido = shape.ido;
    const JoinedView<ScalarLanes> joined(shape);
    const SplitView<ScalarLanes> split(shape);
    // The four neighbours from i of group k on, and the four from i_high of k_high.
    const auto butterfly = [&](Index i, Index k, Index i_high, Index k_high) ZAVO_INLINED {
        Vector<8> re[ip], im[ip], yre[ip], yim[ip];
        for (int j = 0; j < ip; ++j) {
            const Pairs<8> x =
                load_folded<8>(in + 2 * joined.at(i, j, k), in + 2 * joined.at(i_high, j, k_high));
            re[j] = x.re;
            im[j] = x.im;
        }
        Radix::butterfly(re, im, yre, yim);
        for (int j = 0; j < ip; ++j) {
            if (j > 0) {
                const float* const at = wa + 2 * (j - 1) * ido;
                const Pairs<8> w = load_folded<8>(at + 2 * i, at + 2 * i_high);
                apply_twiddle<d>(w.re, w.im, yre[j], yim[j]);
            }
            store_folded<8>(out + 2 * split.at(i, k, j), out + 2 * split.at(i_high, k_high, j), yre[j],
                            yim[j]);
        }
    };
    if (ido == 4) {
        for (Index k = 0; k < shape.l1; k += 2) {
            butterfly(0, k, 0, std::min(k + 1, shape.l1 - 1));
        }
        return;
    }
    for (Index k = 0; k < shape.l1; ++k) {
        if (ido < 8) {
            butterfly(0, k, ido - 4, k);
        } else {
            for_blocks<8>(ido, [&](Index i) ZAVO_INLINED { butterfly(i, k, i + 4, k); });
        }
    }
}

// The last pass, of radix 4 or 5. l1 is at least 8.
template <Direction d, class Radix>
ZAVO_INLINE void flat_last_pass(const Shape& shape, const float* __restrict in, float* __restrict out)
{
    constexpr int ip = Radix::ip;
    static_assert(ip == 4 || ip == 5);
    for_blocks<8>(shape.l1, [&](Index k) ZAVO_INLINED {
        alignas(32) float parts[2 * ip][8]; // real and imaginary parts of each value of eight groups
        for (int first = 0; first <= 2 * ip - 8; first += 2) {
            transpose<8>([&](int group) ZAVO_INLINED { return in + 2 * ip * (k + folded<8>(group)) + first; },
                         [&](int part) ZAVO_INLINED { return parts[first + part]; });
        }
        Vector<8> re[ip], im[ip], yre[ip], yim[ip];
        for (int j = 0; j < ip; ++j) {
            re[j] = load<8>(parts[2 * j]);
            im[j] = load<8>(parts[2 * j + 1]);
        }
        Radix::butterfly(re, im, yre, yim);
        for (int j = 0; j < ip; ++j) {
            store_folded<8>(out + 2 * (k + shape.l1 * j), yre[j], yim[j]);
        }
    });
}

template <Direction d, class List>
ZAVO_FLATTEN void run_flat_complex(const float* p, float* q, float* params)
{
    constexpr int last = List::factors.count - 1;
    alignas(64) float between[2][2 * List::factors.n];
    const float* from = p;
    unroll<last>([&](auto pass) {
        constexpr Shape shape = List::factors.shape(pass);
        static_assert(shape.ido >= 4);
        float* const to = between[pass % 2];
        flat_pass<d, ComplexRadix<d, static_cast<int>(shape.ip)>>(
            shape, from, to, params + 2 * (List::factors.n + List::factors.twiddle_offset(pass)));
        from = to;
    });
    flat_last_pass<d, ComplexRadix<d, static_cast<int>(List::factors.ip[last])>>(List::factors.shape(last),
                                                                                 from, q);
}

template <int... ip>
constexpr KnownLength
    straight_real = known_length<FactorList<ip...>>(run_straight_real<forward, FactorList<ip...>>,
                                                    run_straight_real<backward, FactorList<ip...>>);
template <int... ip>
constexpr KnownLength
    straight_complex = known_length<FactorList<ip...>>(run_straight_complex<forward, FactorList<ip...>>,
                                                       run_straight_complex<backward, FactorList<ip...>>);
template <int... ip>
constexpr KnownLength
    flat_complex = known_length<FactorList<ip...>>(run_flat_complex<forward, FactorList<ip...>>,
                                                   run_flat_complex<backward, FactorList<ip...>>);

} // namespace

} // namespace zavo::fft

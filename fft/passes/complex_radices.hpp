// Butterflies of the complex mixed-radix transform, one type a radix.
//
// The method is that of real_radices.hpp's source for complex data. Directions
// differ in the sign of the sines alone; the radices 3 and 5 carry it in their
// constants, radix 4 in its quarter turn.
#pragma once

#include "fft/passes/turns.hpp"

namespace zavo::fft {

namespace { // compiled for several instruction sets: see inlining.hpp

// z times conj(w) forward, times w backward.
template <Direction d, class L, class W>
ZAVO_INLINE void apply_twiddle(W wr, W wi, L& re, L& im)
{
    const L r = re;
    const L i = im;
    if constexpr (d == Direction::forward) {
        re = wr * r + wi * i;
        im = wr * i - wi * r;
    } else {
        re = wr * r - wi * i;
        im = wr * i + wi * r;
    }
}

template <Direction d>
struct ComplexRadix2 {
    static constexpr int ip = 2;

    template <class L>
    static ZAVO_INLINE void butterfly(const L* re, const L* im, L* yre, L* yim)
    {
        yre[0] = re[0] + re[1];
        yre[1] = re[0] - re[1];
        yim[0] = im[0] + im[1];
        yim[1] = im[0] - im[1];
    }
};

template <Direction d>
struct ComplexRadix3 {
    static constexpr int ip = 3;

    template <class L>
    static ZAVO_INLINE void butterfly(const L* re, const L* im, L* yre, L* yim)
    {
        ThirdTurns<d>::join(re[0], im[0], re[1] + re[2], im[1] + im[2], re[1] - re[2], im[1] - im[2], yre,
                            yim);
    }
};

template <Direction d>
struct ComplexRadix4 {
    static constexpr int ip = 4;

    template <class L>
    static ZAVO_INLINE void butterfly(const L* re, const L* im, L* yre, L* yim)
    {
        constexpr bool forward = d == Direction::forward;
        const L ti1 = im[0] - im[2];
        const L ti2 = im[0] + im[2];
        const L tr4 = forward ? im[1] - im[3] : im[3] - im[1];
        const L ti3 = im[1] + im[3];
        const L tr1 = re[0] - re[2];
        const L tr2 = re[0] + re[2];
        const L ti4 = forward ? re[3] - re[1] : re[1] - re[3];
        const L tr3 = re[1] + re[3];
        yre[0] = tr2 + tr3;
        yre[2] = tr2 - tr3;
        yim[0] = ti2 + ti3;
        yim[2] = ti2 - ti3;
        yre[1] = tr1 + tr4;
        yre[3] = tr1 - tr4;
        yim[1] = ti1 + ti4;
        yim[3] = ti1 - ti4;
    }
};

template <Direction d>
struct ComplexRadix5 {
    static constexpr int ip = 5;

    template <class L>
    static ZAVO_INLINE void butterfly(const L* re, const L* im, L* yre, L* yim)
    {
        FifthTurns<d>::join(re[0], im[0], re[1] + re[4], re[2] + re[3], re[2] - re[3], re[1] - re[4],
                            im[1] + im[4], im[2] + im[3], im[2] - im[3], im[1] - im[4], yre, yim);
    }
};

// The butterfly of radix ip.
template <Direction d, int ip>
struct ComplexRadixOf;
template <Direction d>
struct ComplexRadixOf<d, 2> {
    using Type = ComplexRadix2<d>;
};
template <Direction d>
struct ComplexRadixOf<d, 3> {
    using Type = ComplexRadix3<d>;
};
template <Direction d>
struct ComplexRadixOf<d, 4> {
    using Type = ComplexRadix4<d>;
};
template <Direction d>
struct ComplexRadixOf<d, 5> {
    using Type = ComplexRadix5<d>;
};
template <Direction d, int ip>
using ComplexRadix = typename ComplexRadixOf<d, ip>::Type;

// Calls work() with an object of the radix's type; false when there is none.
template <Direction d, class Work>
ZAVO_INLINE bool for_complex_radix(Index ip, const Work& work)
{
    switch (ip) {
    case 2:
        work(ComplexRadix2<d>{});
        return true;
    case 3:
        work(ComplexRadix3<d>{});
        return true;
    case 4:
        work(ComplexRadix4<d>{});
        return true;
    case 5:
        work(ComplexRadix5<d>{});
        return true;
    default:
        return false;
    }
}

} // namespace

} // namespace zavo::fft

// Butterflies of the complex mixed-radix transform, one type a radix.
//
// The method is that of real_radices.hpp's source for complex data. Directions
// differ in the sign of the sines alone; the radices 3 and 5 carry it in their
// constants, radix 4 in its quarter turn.
#pragma once

#include "fft/shape.hpp"

namespace zavo::fft {

namespace { // compiled for several instruction sets: see shape.hpp

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
    static constexpr float taur = -0.5F;
    static constexpr float taui = d == Direction::forward ? -0.8660254F : 0.8660254F;

    template <class L>
    static ZAVO_INLINE void butterfly(const L* re, const L* im, L* yre, L* yim)
    {
        const L tr2 = re[1] + re[2];
        const L cr2 = re[0] + taur * tr2;
        yre[0] = re[0] + tr2;
        const L ti2 = im[1] + im[2];
        const L ci2 = im[0] + taur * ti2;
        yim[0] = im[0] + ti2;
        const L cr3 = taui * (re[1] - re[2]);
        const L ci3 = taui * (im[1] - im[2]);
        yre[1] = cr2 - ci3;
        yre[2] = cr2 + ci3;
        yim[1] = ci2 + cr3;
        yim[2] = ci2 - cr3;
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
    static constexpr float tr11 = 0.309017F;
    static constexpr float ti11 = d == Direction::forward ? -0.95105654F : 0.95105654F;
    static constexpr float tr12 = -0.809017F;
    static constexpr float ti12 = d == Direction::forward ? -0.58778524F : 0.58778524F;

    template <class L>
    static ZAVO_INLINE void butterfly(const L* re, const L* im, L* yre, L* yim)
    {
        const L ti5 = im[1] - im[4];
        const L ti2 = im[1] + im[4];
        const L ti4 = im[2] - im[3];
        const L ti3 = im[2] + im[3];
        const L tr5 = re[1] - re[4];
        const L tr2 = re[1] + re[4];
        const L tr4 = re[2] - re[3];
        const L tr3 = re[2] + re[3];
        yre[0] = re[0] + tr2 + tr3;
        yim[0] = im[0] + ti2 + ti3;
        const L cr2 = re[0] + tr11 * tr2 + tr12 * tr3;
        const L ci2 = im[0] + tr11 * ti2 + tr12 * ti3;
        const L cr3 = re[0] + tr12 * tr2 + tr11 * tr3;
        const L ci3 = im[0] + tr12 * ti2 + tr11 * ti3;
        const L cr5 = ti11 * tr5 + ti12 * tr4;
        const L ci5 = ti11 * ti5 + ti12 * ti4;
        const L cr4 = ti12 * tr5 - ti11 * tr4;
        const L ci4 = ti12 * ti5 - ti11 * ti4;
        yre[1] = cr2 - ci5;
        yre[4] = cr2 + ci5;
        yim[1] = ci2 + cr5;
        yim[2] = ci3 + cr4;
        yre[2] = cr3 - ci4;
        yre[3] = cr3 + ci4;
        yim[3] = ci3 - cr4;
        yim[4] = ci2 - cr5;
    }
};

} // namespace

} // namespace zavo::fft

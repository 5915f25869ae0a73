// The rotations by thirds and fifths of a turn that the complex radices 3 and 5 and the
// backward real ones have in common, once their inputs have been added and subtracted
// in pairs. Forward, the sines carry a minus sign.
#pragma once

#include "fft/tables/shape.hpp"

namespace zavo::fft {

namespace { // compiled for several instruction sets: see inlining.hpp

template <Direction d>
struct ThirdTurns {
    static constexpr float taur = -0.5F;
    static constexpr float taui = d == Direction::forward ? -0.8660254F : 0.8660254F; // sine of 120 degrees

    // re, im: input 0; tr2, ti2: the sums of inputs 1 and 2; dr, di: their differences.
    template <class L>
    static ZAVO_INLINE void join(L re, L im, L tr2, L ti2, L dr, L di, L* yre, L* yim)
    {
        const L cr2 = re + taur * tr2;
        const L ci2 = im + taur * ti2;
        const L cr3 = taui * dr;
        const L ci3 = taui * di;
        yre[0] = re + tr2;
        yim[0] = im + ti2;
        yre[1] = cr2 - ci3;
        yre[2] = cr2 + ci3;
        yim[1] = ci2 + cr3;
        yim[2] = ci2 - cr3;
    }
};

template <Direction d>
struct FifthTurns {
    // cosines and sines of 72 and 144 degrees
    static constexpr float tr11 = 0.309017F;
    static constexpr float ti11 = d == Direction::forward ? -0.95105654F : 0.95105654F;
    static constexpr float tr12 = -0.809017F;
    static constexpr float ti12 = d == Direction::forward ? -0.58778524F : 0.58778524F;

    // re, im: input 0; t..2 and t..5: sum and difference of inputs 1 and 4, t..3 and t..4
    // those of inputs 2 and 3.
    template <class L>
    static ZAVO_INLINE void join(L re, L im, L tr2, L tr3, L tr4, L tr5, L ti2, L ti3, L ti4, L ti5, L* yre,
                                 L* yim)
    {
        yre[0] = re + tr2 + tr3;
        yim[0] = im + ti2 + ti3;
        const L cr2 = re + tr11 * tr2 + tr12 * tr3;
        const L ci2 = im + tr11 * ti2 + tr12 * ti3;
        const L cr3 = re + tr12 * tr2 + tr11 * tr3;
        const L ci3 = im + tr12 * ti2 + tr11 * ti3;
        const L cr5 = ti11 * tr5 + ti12 * tr4;
        const L ci5 = ti11 * ti5 + ti12 * ti4;
        const L cr4 = ti12 * tr5 - ti11 * tr4;
        const L ci4 = ti12 * ti5 - ti11 * ti4;
        yre[1] = cr2 - ci5;
        yre[4] = cr2 + ci5;
        yim[1] = ci2 + cr5;
        yim[4] = ci2 - cr5;
        yre[2] = cr3 - ci4;
        yre[3] = cr3 + ci4;
        yim[2] = ci3 + cr4;
        yim[3] = ci3 - cr4;
    }
};

} // namespace

} // namespace zavo::fft

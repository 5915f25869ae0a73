// Butterflies of the real mixed-radix transform, one type a radix.
//
// The method is the real transform in P. N. Swarztrauber, "Vectorizing the FFTs",
// in Parallel Computations (ed. G. Rodrigue), Academic Press, 1982; the order of
// the operations is part of the definition, since results are compared by their
// bits. L is one float or a register of floats; nothing here knows which.
//
//     first   the butterfly of frequency zero: ip real values
//     inner   one frequency: ip complex values, the twiddles already applied
//             (forward) or to be applied by the caller (backward)
//     last    for even ido the butterfly of the half frequency: ip real values
//
// Slot j of the joined side lies at position i for even j and at the mirrored
// position for odd j; a real value of an odd slot lies at the far end in `first`
// and at the near end in `last`. The passes place the values by that rule.
#pragma once

#include "fft/passes/turns.hpp"

namespace zavo::fft {

namespace { // compiled for several instruction sets: see inlining.hpp

struct RealRadix2 {
    static constexpr int ip = 2;

    template <class L>
    static ZAVO_INLINE void forward_first(const L* x, L* y)
    {
        y[0] = x[0] + x[1];
        y[1] = x[0] - x[1];
    }
    template <class L>
    static ZAVO_INLINE void forward_inner(const L* re, const L* im, L* yre, L* yim)
    {
        yim[0] = im[0] + im[1];
        yim[1] = im[1] - im[0];
        yre[0] = re[0] + re[1];
        yre[1] = re[0] - re[1];
    }
    template <class L>
    static ZAVO_INLINE void forward_last(const L* x, L* y)
    {
        y[1] = -x[1];
        y[0] = x[0];
    }
    template <class L>
    static ZAVO_INLINE void backward_first(const L* x, L* y)
    {
        y[0] = x[0] + x[1];
        y[1] = x[0] - x[1];
    }
    template <class L>
    static ZAVO_INLINE void backward_inner(const L* re, const L* im, L* yre, L* yim)
    {
        yre[0] = re[0] + re[1];
        yre[1] = re[0] - re[1];
        yim[0] = im[0] - im[1];
        yim[1] = im[0] + im[1];
    }
    template <class L>
    static ZAVO_INLINE void backward_last(const L* x, L* y)
    {
        y[0] = x[0] + x[0];
        y[1] = -(x[1] + x[1]);
    }
};

struct RealRadix3 {
    static constexpr int ip = 3;
    using BackwardTurns = ThirdTurns<Direction::backward>;
    static constexpr float taur = BackwardTurns::taur;
    static constexpr float taui = BackwardTurns::taui;

    template <class L>
    static ZAVO_INLINE void forward_first(const L* x, L* y)
    {
        const L cr2 = x[1] + x[2];
        y[0] = x[0] + cr2;
        y[2] = taui * (x[2] - x[1]);
        y[1] = x[0] + taur * cr2;
    }
    template <class L>
    static ZAVO_INLINE void forward_inner(const L* re, const L* im, L* yre, L* yim)
    {
        const L cr2 = re[1] + re[2];
        const L ci2 = im[1] + im[2];
        yre[0] = re[0] + cr2;
        yim[0] = im[0] + ci2;
        const L tr2 = re[0] + taur * cr2;
        const L ti2 = im[0] + taur * ci2;
        const L tr3 = taui * (im[1] - im[2]);
        const L ti3 = taui * (re[2] - re[1]);
        yre[2] = tr2 + tr3;
        yre[1] = tr2 - tr3;
        yim[2] = ti2 + ti3;
        yim[1] = ti3 - ti2;
    }
    template <class L>
    static ZAVO_INLINE void backward_first(const L* x, L* y)
    {
        const L tr2 = x[1] + x[1];
        const L cr2 = x[0] + taur * tr2;
        y[0] = x[0] + tr2;
        const L ci3 = taui * (x[2] + x[2]);
        y[1] = cr2 - ci3;
        y[2] = cr2 + ci3;
    }
    template <class L>
    static ZAVO_INLINE void backward_inner(const L* re, const L* im, L* yre, L* yim)
    {
        BackwardTurns::join(re[0], im[0], re[2] + re[1], im[2] - im[1], re[2] - re[1], im[2] + im[1], yre,
                            yim);
    }
};

struct RealRadix4 {
    static constexpr int ip = 4;
    static constexpr float hsqt2 = 0.70710677F; // half the square root of 2
    static constexpr float sqrt2 = 1.4142135F;

    template <class L>
    static ZAVO_INLINE void forward_first(const L* x, L* y)
    {
        const L tr1 = x[1] + x[3];
        const L tr2 = x[0] + x[2];
        y[0] = tr1 + tr2;
        y[3] = tr2 - tr1;
        y[1] = x[0] - x[2];
        y[2] = x[3] - x[1];
    }
    template <class L>
    static ZAVO_INLINE void forward_inner(const L* re, const L* im, L* yre, L* yim)
    {
        const L tr1 = re[1] + re[3];
        const L tr4 = re[3] - re[1];
        const L ti1 = im[1] + im[3];
        const L ti4 = im[1] - im[3];
        const L ti2 = im[0] + im[2];
        const L ti3 = im[0] - im[2];
        const L tr2 = re[0] + re[2];
        const L tr3 = re[0] - re[2];
        yre[0] = tr1 + tr2;
        yre[3] = tr2 - tr1;
        yim[0] = ti1 + ti2;
        yim[3] = ti1 - ti2;
        yre[2] = ti4 + tr3;
        yre[1] = tr3 - ti4;
        yim[2] = tr4 + ti3;
        yim[1] = tr4 - ti3;
    }
    template <class L>
    static ZAVO_INLINE void forward_last(const L* x, L* y)
    {
        const L ti1 = -hsqt2 * (x[1] + x[3]);
        const L tr1 = hsqt2 * (x[1] - x[3]);
        y[0] = tr1 + x[0];
        y[2] = x[0] - tr1;
        y[1] = ti1 - x[2];
        y[3] = ti1 + x[2];
    }
    template <class L>
    static ZAVO_INLINE void backward_first(const L* x, L* y)
    {
        const L tr1 = x[0] - x[3];
        const L tr2 = x[0] + x[3];
        const L tr3 = x[1] + x[1];
        const L tr4 = x[2] + x[2];
        y[0] = tr2 + tr3;
        y[1] = tr1 - tr4;
        y[2] = tr2 - tr3;
        y[3] = tr1 + tr4;
    }
    template <class L>
    static ZAVO_INLINE void backward_inner(const L* re, const L* im, L* yre, L* yim)
    {
        const L ti1 = im[0] + im[3];
        const L ti2 = im[0] - im[3];
        const L ti3 = im[2] - im[1];
        const L tr4 = im[2] + im[1];
        const L tr1 = re[0] - re[3];
        const L tr2 = re[0] + re[3];
        const L ti4 = re[2] - re[1];
        const L tr3 = re[2] + re[1];
        yre[0] = tr2 + tr3;
        yre[2] = tr2 - tr3;
        yim[0] = ti2 + ti3;
        yim[2] = ti2 - ti3;
        yre[1] = tr1 - tr4;
        yre[3] = tr1 + tr4;
        yim[1] = ti1 + ti4;
        yim[3] = ti1 - ti4;
    }
    template <class L>
    static ZAVO_INLINE void backward_last(const L* x, L* y)
    {
        const L ti1 = x[1] + x[3];
        const L ti2 = x[3] - x[1];
        const L tr1 = x[0] - x[2];
        const L tr2 = x[0] + x[2];
        y[0] = tr2 + tr2;
        y[1] = sqrt2 * (tr1 - ti1);
        y[2] = ti2 + ti2;
        y[3] = -sqrt2 * (tr1 + ti1);
    }
};

struct RealRadix5 {
    static constexpr int ip = 5;
    using BackwardTurns = FifthTurns<Direction::backward>;
    static constexpr float tr11 = BackwardTurns::tr11;
    static constexpr float ti11 = BackwardTurns::ti11;
    static constexpr float tr12 = BackwardTurns::tr12;
    static constexpr float ti12 = BackwardTurns::ti12;

    template <class L>
    static ZAVO_INLINE void forward_first(const L* x, L* y)
    {
        const L cr2 = x[4] + x[1];
        const L ci5 = x[4] - x[1];
        const L cr3 = x[3] + x[2];
        const L ci4 = x[3] - x[2];
        y[0] = x[0] + cr2 + cr3;
        y[1] = x[0] + tr11 * cr2 + tr12 * cr3;
        y[2] = ti11 * ci5 + ti12 * ci4;
        y[3] = x[0] + tr12 * cr2 + tr11 * cr3;
        y[4] = ti12 * ci5 - ti11 * ci4;
    }
    template <class L>
    static ZAVO_INLINE void forward_inner(const L* re, const L* im, L* yre, L* yim)
    {
        const L cr2 = re[1] + re[4];
        const L ci5 = re[4] - re[1];
        const L cr5 = im[1] - im[4];
        const L ci2 = im[1] + im[4];
        const L cr3 = re[2] + re[3];
        const L ci4 = re[3] - re[2];
        const L cr4 = im[2] - im[3];
        const L ci3 = im[2] + im[3];
        yre[0] = re[0] + cr2 + cr3;
        yim[0] = im[0] + ci2 + ci3;
        const L tr2 = re[0] + tr11 * cr2 + tr12 * cr3;
        const L ti2 = im[0] + tr11 * ci2 + tr12 * ci3;
        const L tr3 = re[0] + tr12 * cr2 + tr11 * cr3;
        const L ti3 = im[0] + tr12 * ci2 + tr11 * ci3;
        const L tr5 = ti11 * cr5 + ti12 * cr4;
        const L ti5 = ti11 * ci5 + ti12 * ci4;
        const L tr4 = ti12 * cr5 - ti11 * cr4;
        const L ti4 = ti12 * ci5 - ti11 * ci4;
        yre[2] = tr2 + tr5;
        yre[1] = tr2 - tr5;
        yim[2] = ti2 + ti5;
        yim[1] = ti5 - ti2;
        yre[4] = tr3 + tr4;
        yre[3] = tr3 - tr4;
        yim[4] = ti3 + ti4;
        yim[3] = ti4 - ti3;
    }
    template <class L>
    static ZAVO_INLINE void backward_first(const L* x, L* y)
    {
        const L ti5 = x[2] + x[2];
        const L ti4 = x[4] + x[4];
        const L tr2 = x[1] + x[1];
        const L tr3 = x[3] + x[3];
        y[0] = x[0] + tr2 + tr3;
        const L cr2 = x[0] + tr11 * tr2 + tr12 * tr3;
        const L cr3 = x[0] + tr12 * tr2 + tr11 * tr3;
        const L ci5 = ti11 * ti5 + ti12 * ti4;
        const L ci4 = ti12 * ti5 - ti11 * ti4;
        y[1] = cr2 - ci5;
        y[2] = cr3 - ci4;
        y[3] = cr3 + ci4;
        y[4] = cr2 + ci5;
    }
    template <class L>
    static ZAVO_INLINE void backward_inner(const L* re, const L* im, L* yre, L* yim)
    {
        BackwardTurns::join(re[0], im[0], re[2] + re[1], re[4] + re[3], re[4] - re[3], re[2] - re[1],
                            im[2] - im[1], im[4] - im[3], im[4] + im[3], im[2] + im[1], yre, yim);
    }
};

// The butterfly of radix ip.
template <int ip>
struct RealRadixOf;
template <>
struct RealRadixOf<2> {
    using Type = RealRadix2;
};
template <>
struct RealRadixOf<3> {
    using Type = RealRadix3;
};
template <>
struct RealRadixOf<4> {
    using Type = RealRadix4;
};
template <>
struct RealRadixOf<5> {
    using Type = RealRadix5;
};
template <int ip>
using RealRadix = typename RealRadixOf<ip>::Type;

// Calls work() with an object of the radix's type; false when there is none.
template <class Work>
ZAVO_INLINE bool for_real_radix(Index ip, const Work& work)
{
    switch (ip) {
    case 2:
        work(RealRadix2{});
        return true;
    case 3:
        work(RealRadix3{});
        return true;
    case 4:
        work(RealRadix4{});
        return true;
    case 5:
        work(RealRadix5{});
        return true;
    default:
        return false;
    }
}

} // namespace

} // namespace zavo::fft

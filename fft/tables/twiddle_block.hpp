// Runs of twiddle values, a register of doubles at a time.
#pragma once

#include "fft/tables/cos_sin.hpp"

#include <cassert>
#include <utility>

namespace zavo::fft {

namespace { // compiled for several instruction sets: see inlining.hpp

// D: vector of `width` doubles, I: of as many 64-bit integers, F: of floats.
template <int bytes>
struct DoubleLanes {
    static constexpr int width = bytes / 8;
    typedef double D __attribute__((vector_size(bytes)));
    typedef std::int64_t I __attribute__((vector_size(bytes)));
    typedef float F __attribute__((vector_size(bytes / 2)));
};
using DoublePair = DoubleLanes<16>; // what every processor of both targets has

// Nonzero in the places of values that lie too near the midpoint of two floats to be
// rounded.
template <class Lanes>
ZAVO_INLINE typename Lanes::I doubtful(typename Lanes::D value)
{
    using namespace cos_sin_detail;
    const typename Lanes::I bits = (typename Lanes::I)value;
    const typename Lanes::I offset = (bits & dropped_bits) - middle;
    return (offset > -doubt) & (offset < doubt);
}

template <class Lanes>
ZAVO_INLINE bool any(typename Lanes::I flags)
{
    std::int64_t places[Lanes::width];
    __builtin_memcpy(places, &flags, sizeof places);
    std::int64_t all = 0;
    for (const std::int64_t place : places) {
        all |= place;
    }
    return all != 0;
}

// Half h of the pairs c[0] s[0] c[1] s[1] ...
template <int h, class F, std::size_t... I>
ZAVO_INLINE F paired(F c, F s, std::index_sequence<I...>)
{
    constexpr std::size_t width = sizeof...(I);
    return __builtin_shufflevector(c, s, static_cast<int>((I % 2) * width + h * width / 2 + I / 2)...);
}

// See fill_cos_sin in twiddle.hpp. A last, partial register runs past `count`
// and stores only what was asked for.
template <class Lanes>
void fill_cos_sin_by(float step, int first, int count, float* pairs)
{
    using D = typename Lanes::D;
    using F = typename Lanes::F;
    assert(first >= 0 && count >= 0);
    constexpr int width = Lanes::width;
    constexpr auto places = std::make_index_sequence<static_cast<std::size_t>(width)>{};
    D number;
    for (int i = 0; i < width; ++i) {
        number[i] = first + i;
    }
    for (int done = 0; done < count; done += width, number += static_cast<double>(width)) {
        D cosine, sine;
        double_cos_sin(number * static_cast<double>(step), &cosine, &sine);
        const F c = __builtin_convertvector(cosine, F);
        const F s = __builtin_convertvector(sine, F);
        F values[2] = {paired<0>(c, s, places), paired<1>(c, s, places)};
        if (any<Lanes>(doubtful<Lanes>(cosine) | doubtful<Lanes>(sine))) [[unlikely]] {
            for (int i = 0; i < width; ++i) {
                const CosSin careful = careful_cos_sin(number[i] * static_cast<double>(step));
                values[2 * i / width][2 * i % width] = careful.cos;
                values[2 * i / width][2 * i % width + 1] = careful.sin;
            }
        }
        if (count - done >= width) {
            __builtin_memcpy(pairs + 2 * done, values, sizeof values);
        } else {
            __builtin_memcpy(pairs + 2 * done, values,
                             static_cast<std::size_t>(2 * (count - done)) * sizeof(float));
        }
    }
}

} // namespace

} // namespace zavo::fft

// Runs of twiddle values, a register of doubles at a time.
#pragma once

#include "fft/cos_sin.hpp"

#include <cstring>

namespace zavo::fft {

namespace { // compiled for several instruction sets: see shape.hpp

// D: vector of `width` doubles, I: of as many 64-bit integers, F: of floats.
template <int bytes>
struct DoubleLanes {
    static constexpr int width = bytes / 8;
    typedef double D __attribute__((vector_size(bytes)));
    typedef std::int64_t I __attribute__((vector_size(bytes)));
    typedef float F __attribute__((vector_size(bytes / 2)));
};
using DoublePair = DoubleLanes<16>; // what every processor of both targets has

// Whether some value lies too near the middle between two floats to be rounded.
template <class Lanes>
ZAVO_INLINE bool any_in_doubt(typename Lanes::D value)
{
    using namespace cos_sin_detail;
    typename Lanes::I bits;
    std::memcpy(&bits, &value, sizeof bits);
    const typename Lanes::I offset = (bits & dropped_bits) - middle;
    const typename Lanes::I near = (offset > -doubt) & (offset < doubt);
    std::int64_t any = 0;
    for (int i = 0; i < Lanes::width; ++i) {
        any |= near[i];
    }
    return any != 0;
}

// See fill_cos_sin in twiddle.hpp. A last, partial register runs past `count`
// and stores only what was asked for.
template <class Lanes>
void fill_cos_sin_by(float step, int first, int count, float* pairs)
{
    using D = typename Lanes::D;
    constexpr int width = Lanes::width;
    D number;
    for (int i = 0; i < width; ++i) {
        number[i] = first + i;
    }
    for (int done = 0; done < count; done += width, number += static_cast<double>(width)) {
        D cosine, sine;
        double_cos_sin(number * static_cast<double>(step), &cosine, &sine);
        float values[2 * width];
        if (any_in_doubt<Lanes>(cosine) || any_in_doubt<Lanes>(sine)) [[unlikely]] {
            for (int i = 0; i < width; ++i) {
                const CosSin careful = careful_cos_sin(number[i] * static_cast<double>(step));
                values[2 * i] = careful.cos;
                values[2 * i + 1] = careful.sin;
            }
        } else {
            for (int i = 0; i < width; ++i) {
                values[2 * i] = static_cast<float>(cosine[i]);
                values[2 * i + 1] = static_cast<float>(sine[i]);
            }
        }
        const int wanted = count - done < width ? count - done : width;
        std::memcpy(pairs + 2 * done, values, static_cast<std::size_t>(2 * wanted) * sizeof(float));
    }
}

} // namespace

} // namespace zavo::fft

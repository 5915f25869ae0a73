// Cosine and sine in double, from additions and multiplications alone, so that
// every target and every register width gives the same bits.
//
// x is reduced by the nearest multiple k of pi/2 (subtracted in three parts; the
// first two products are exact), then the Maclaurin series to r^17 and r^18 are
// summed for |r| <= pi/4, where the terms left out are below 1e-17. The error is
// a few ulp of a double. That decides the float, unless the double lies within
// `doubt` units of the midpoint of two floats: such values, one in sixteen million,
// are computed again in double-double (careful_cos_sin).
#pragma once

#include "core/kernels/pi_parts.hpp"
#include "fft/tables/shape.hpp"
#include "fft/tables/twiddle.hpp"

#include <cstdint>

namespace zavo::fft {

namespace cos_sin_detail {

// clang-format off
inline constexpr double sin_terms[] = { // (-1)^((p-1)/2) / p!, p =
    0x1.952c77030ad4ap-49, // 17
    -0x1.ae7f3e733b81fp-41, // 15
    0x1.6124613a86d09p-33, // 13
    -0x1.ae64567f544e4p-26, // 11
    0x1.71de3a556c734p-19, // 9
    -0x1.a01a01a01a01ap-13, // 7
    0x1.1111111111111p-7, // 5
    -0x1.5555555555555p-3, // 3
};
inline constexpr double cos_terms[] = { // (-1)^(p/2) / p!, p =
    -0x1.6827863b97d97p-53, // 18
    0x1.ae7f3e733b81fp-45, // 16
    -0x1.93974a8c07c9dp-37, // 14
    0x1.1eed8eff8d898p-29, // 12
    -0x1.27e4fb7789f5cp-22, // 10
    0x1.a01a01a01a01ap-16, // 8
    -0x1.6c16c16c16c17p-10, // 6
    0x1.5555555555555p-5, // 4
};
// clang-format on

using namespace core::pi_parts;

// Adding and subtracting it rounds to an integer.
inline constexpr double rounder = 0x1.8p52;

// The midpoint of two floats in the 29 bits that a float drops, and how near to it
// (in units of the last of those bits) a double is in doubt.
inline constexpr std::int64_t dropped_bits = (std::int64_t{1} << 29) - 1;
inline constexpr std::int64_t middle = std::int64_t{1} << 28;
inline constexpr std::int64_t doubt = 16;

} // namespace cos_sin_detail

namespace { // compiled for several instruction sets: see inlining.hpp

// D: double or a vector of doubles. 0 <= x <= 7.
template <class D>
ZAVO_INLINE void double_cos_sin(D x, D* cosine, D* sine)
{
    using namespace cos_sin_detail;
    const D k = (x * two_over_pi + rounder) - rounder;
    const D r = ((x - k * half_pi_first) - k * half_pi_second) - k * half_pi_third;
    const D r2 = r * r;
    D s = sin_terms[0] * r2 + sin_terms[1];
    for (int i = 2; i < 8; ++i) {
        s = s * r2 + sin_terms[i];
    }
    s = r + r * (r2 * s);
    D c = cos_terms[0] * r2 + cos_terms[1];
    for (int i = 2; i < 8; ++i) {
        c = c * r2 + cos_terms[i];
    }
    c = 1.0 - (0.5 * r2 - (r2 * r2) * c);
    // k is 0 .. 4; the quarters 1 and 3 swap the two.
    const D cos_part = ((k == 1.0) | (k == 3.0)) ? s : c;
    const D sin_part = ((k == 1.0) | (k == 3.0)) ? c : s;
    *cosine = ((k == 1.0) | (k == 2.0)) ? -cos_part : cos_part;
    *sine = ((k == 2.0) | (k == 3.0)) ? -sin_part : sin_part;
}

} // namespace

// The same for one x in double-double; exact to about 100 bits.
CosSin careful_cos_sin(double x);

} // namespace zavo::fft

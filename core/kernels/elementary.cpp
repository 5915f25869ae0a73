// Methods: argument reduction, then the Taylor series of the function, cut where
// the first term left out is below a tenth of a unit in the last place. Sine and
// cosine are reduced by pi/2 in three parts (W. Cody and W. Waite, "Software
// Manual for the Elementary Functions", 1980); from 2^20 on by long
// multiplication with the binary digits of 2/pi (M. Payne and R. Hanek, "Radian
// reduction for trigonometric functions", 1983).
#include "core/kernels/elementary.hpp"
#include "core/kernels/pi_parts.hpp"
#include "core/kernels/series.hpp"

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace zavo::core::elementary {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double quiet_nan = std::numeric_limits<double>::quiet_NaN();

using namespace pi_parts;
using namespace series;

// c[0] + c[1] x + c[2] x^2 + ...
template <std::size_t N>
double polynomial(const std::array<double, N>& c, double x)
{
    double sum = c[N - 1];
    for (std::size_t i = N - 1; i > 0; --i) {
        sum = sum * x + c[i - 1];
    }
    return sum;
}

int nearest_int(double x)
{
    return static_cast<int>(x < 0 ? x - 0.5 : x + 0.5);
}

// x * 2^k without a library call; results below the normal range are rounded.
double scale(double x, int k)
{
    const auto power = [](int e) {
        return std::bit_cast<double>(static_cast<std::uint64_t>(e + 1023) << 52);
    };
    if (k > 1023) {
        return x * power(1023) * power(k - 1023 > 1023 ? 1023 : k - 1023);
    }
    if (k < -1022) {
        return x * power(-969) * power(k + 969 < -1022 ? -1022 : k + 969);
    }
    return x * power(k);
}

// ---- Sine and cosine ---------------------------------------------------------

// x = (4 m + quadrant) pi/2 + r, |r| <= pi/4 or a little more.
struct Reduced {
    double r;
    unsigned quadrant;
};

// Each of the first two parts has 33 bits, so their products with k < 2^20 are
// exact, and so is the first difference.
Reduced reduce_moderate(double x)
{
    const int k = nearest_int(x * two_over_pi);
    const double t = x - k * half_pi_first;
    const double w = k * half_pi_second;
    const double high = t - w;
    // what the rounding of t - w has lost (D. Knuth's two-sum)
    const double back = t - high;
    const double lost = (t - (high + back)) + (back - w);
    return {high + (lost - k * half_pi_third), static_cast<unsigned>(k)};
}

// 2/pi = 0.A2F9836E... in hexadecimal, 32 bits an entry, behind two entries of
// integer part.
constexpr std::array<std::uint32_t, 38> two_over_pi_bits = {
    0x00000000, 0x00000000, 0xA2F9836E, 0x4E441529, 0xFC2757D1, 0xF534DDC0, 0xDB629599, 0x3C439041,
    0xFE5163AB, 0xDEBBC561, 0xB7246E3A, 0x424DD2E0, 0x06492EEA, 0x09D1921C, 0xFE1DEB1C, 0xB129A73E,
    0xE88235F5, 0x2EBB4484, 0xE99C7026, 0xB45F7E41, 0x3991D639, 0x835339F4, 0x9C845F8B, 0xBDF9283B,
    0x1FF897FF, 0xDE05980F, 0xEF2F118B, 0x5A0A6D1F, 0x6D367ECF, 0x27CB09B7, 0x4F463F66, 0x9E5FEA2D,
    0x7527BAC7, 0xEBE5F17B, 0x3D0739F7, 0x8A5292EA, 0x6BFB5FB1, 0x1F8D5D08};

// A number of 192 bits; limb[0] is the lowest.
struct Wide {
    std::array<std::uint32_t, 6> limb;
};

// m * (six entries from `first` on, as one integer), modulo 2^192.
Wide multiply(std::uint64_t m, std::size_t first)
{
    const std::uint64_t half[2] = {m & 0xFFFFFFFFU, m >> 32};
    Wide product{};
    for (std::size_t h = 0; h < 2; ++h) {
        std::uint64_t carry = 0;
        for (std::size_t i = 0; i + h < 6; ++i) {
            const std::uint64_t sum = half[h] * two_over_pi_bits[first + 5 - i] + product.limb[i + h] + carry;
            product.limb[i + h] = static_cast<std::uint32_t>(sum);
            carry = sum >> 32;
        }
    }
    return product;
}

Wide shift_left(Wide x, unsigned bits)
{
    if (bits == 0) {
        return x;
    }
    for (std::size_t i = 5; i > 0; --i) {
        x.limb[i] = x.limb[i] << bits | x.limb[i - 1] >> (32 - bits);
    }
    x.limb[0] <<= bits;
    return x;
}

Wide negate(Wide x)
{
    std::uint64_t carry = 1;
    for (std::uint32_t& limb : x.limb) {
        const std::uint64_t sum = static_cast<std::uint64_t>(~limb & 0xFFFFFFFFU) + carry;
        limb = static_cast<std::uint32_t>(sum);
        carry = sum >> 32;
    }
    return x;
}

// For 2^20 <= |x| < infinity. |x| = m * 2^e with an integer m. Digits of 2/pi
// that contribute multiples of 4 quadrants are left out; after the shift the two
// highest bits of the product are the quadrant and the rest is its fraction, with
// an error below 2^-106.
Reduced reduce_large(double x)
{
    const auto bits = std::bit_cast<std::uint64_t>(x);
    const int e = static_cast<int>(bits >> 52 & 0x7FF) - 1075;
    const std::uint64_t m = (bits & 0xFFFFFFFFFFFFFU) | 0x10000000000000U;
    const unsigned offset = static_cast<unsigned>(e + 62);
    Wide product = shift_left(multiply(m, offset / 32), offset % 32);
    unsigned quadrant = product.limb[5] >> 30;
    product = shift_left(product, 2);
    double sign = 1.0;
    if ((product.limb[5] & 0x80000000U) != 0) { // the next multiple of pi/2 is nearer
        product = negate(product);
        sign = -1.0;
        ++quadrant;
    }
    const double lower = product.limb[3] * 0x1p-96 + product.limb[2] * 0x1p-128;
    const double fraction = product.limb[5] * 0x1p-32 + (product.limb[4] * 0x1p-64 + lower);
    const double r = sign * fraction * half_pi_high;
    return (bits >> 63) != 0 ? Reduced{-r, 0U - quadrant} : Reduced{r, quadrant};
}

Reduced reduce(double x)
{
    return std::fabs(x) < 0x1p20 ? reduce_moderate(x) : reduce_large(x);
}

double sine_series(double r)
{
    static constexpr auto c = reciprocal_factorials<8>(3, 2, true);
    const double z = r * r;
    return r - r * z * polynomial(c, z);
}

double cosine_series(double r)
{
    static constexpr auto c = reciprocal_factorials<8>(4, 2, true);
    const double z = r * r;
    const double half = 0.5 * z;
    const double high = 1.0 - half;
    return high + ((1.0 - high) - half + z * z * polynomial(c, z));
}

double of_quadrant(double r, unsigned quadrant)
{
    const double value = (quadrant & 1U) != 0 ? cosine_series(r) : sine_series(r);
    return (quadrant & 2U) != 0 ? -value : value;
}

// ---- Exponential -------------------------------------------------------------

// e^x for |x| < 750. x = k ln 2 + r with |r| <= ln 2 / 2; k * ln2_high is exact.
double exponential(double x, int extra_power)
{
    static constexpr auto c = reciprocal_factorials<12>(2, 1, false);
    const int k = nearest_int(x * one_over_ln2);
    const double high = x - k * ln2_high;
    const double low = k * ln2_low;
    const double r = high - low;
    const double tail = ((high - r) - low) + r * r * polynomial(c, r);
    return scale(1.0 + (r + tail), k + extra_power);
}

// e^x / 2, which is finite a little longer than e^x.
double half_exponential(double x)
{
    return x > 720 ? infinity : exponential(x, -1);
}

} // namespace

double sin(double x)
{
    if (!std::isfinite(x)) {
        return quiet_nan;
    }
    if (std::fabs(x) < 0x1p-27) {
        return x; // keeps the sign of zero; x^3/6 is below half a unit
    }
    const Reduced reduced = reduce(x);
    return of_quadrant(reduced.r, reduced.quadrant);
}

double cos(double x)
{
    if (!std::isfinite(x)) {
        return quiet_nan;
    }
    const Reduced reduced = reduce(x);
    return of_quadrant(reduced.r, reduced.quadrant + 1);
}

double exp(double x)
{
    if (std::isnan(x)) {
        return quiet_nan;
    }
    if (x > 710) {
        return infinity;
    }
    if (x < -746) {
        return 0.0;
    }
    return exponential(x, 0);
}

// With s = (m - 1) / (m + 1), log m = 2 (s + s^3/3 + s^5/5 + ...); |s| < 0.172.
double log(double x)
{
    static constexpr auto c = reciprocal_odd_numbers<11>(3, false);
    if (std::isnan(x) || x < 0) {
        return quiet_nan;
    }
    if (x == 0) {
        return -infinity;
    }
    if (x == infinity) {
        return x;
    }
    int e = 0;
    if (x < std::numeric_limits<double>::min()) {
        x *= 0x1p54;
        e = -54;
    }
    // m in [sqrt(1/2), sqrt(2)), as near as 32 bits of it tell
    auto bits = std::bit_cast<std::uint64_t>(x);
    constexpr std::uint64_t root_half = 0x3FE6A09E00000000;
    const std::uint64_t exponent = (bits - root_half) >> 52; // of two's complement, 12 bits
    e += static_cast<int>(exponent ^ 0x800U) - 0x800;
    bits -= exponent << 52;
    const double f = std::bit_cast<double>(bits) - 1.0;
    const double s = f / (2.0 + f);
    const double z = s * s;
    // 2 s = f - s f, which keeps f's exact leading part
    const double rest = s * (2.0 * z * polynomial(c, z) - f) + e * ln2_low;
    return e * ln2_high + (f + rest);
}

double sinh(double x)
{
    static constexpr auto c = reciprocal_factorials<9>(3, 2, false);
    if (std::isnan(x)) {
        return quiet_nan;
    }
    const double size = std::fabs(x);
    if (size < 1.0) {
        const double z = x * x;
        return x + x * z * polynomial(c, z);
    }
    const double half = half_exponential(size);
    return std::copysign(size > 25 ? half : half - 0.25 / half, x);
}

double cosh(double x)
{
    if (std::isnan(x)) {
        return quiet_nan;
    }
    const double size = std::fabs(x);
    const double half = half_exponential(size);
    return size > 25 ? half : half + 0.25 / half;
}

// With t = smaller / larger size and c the nearest eighth,
// atan t = atan c + atan((t - c) / (1 + t c)); the last argument is within 1/16.
double atan2(double y, double x)
{
    static constexpr auto c = reciprocal_odd_numbers<7>(3, true);
    if (std::isnan(x) || std::isnan(y)) {
        return quiet_nan;
    }
    double across = std::fabs(x);
    double up = std::fabs(y);
    if (across == infinity || up == infinity) { // only the direction counts
        across = across == infinity ? 1.0 : 0.0;
        up = up == infinity ? 1.0 : 0.0;
    }
    const bool steep = up > across;
    const double larger = steep ? up : across;
    const double smaller = steep ? across : up;
    double angle = 0.0;
    if (smaller > 0) {
        const int eighths = nearest_int(8.0 * (smaller / larger));
        const double at = eighths * 0.125;
        const double u = eighths == 0 ? smaller / larger : (smaller - at * larger) / (larger + at * smaller);
        const double z = u * u;
        angle = atan_of_eighths[static_cast<std::size_t>(eighths)] + (u - u * z * polynomial(c, z));
    }
    const bool left = std::signbit(x);
    if (steep) {
        angle = half_pi_high + ((left ? angle : -angle) + half_pi_low);
    } else if (left) {
        angle = pi_high - (angle - pi_low);
    }
    return std::copysign(angle, y);
}

} // namespace zavo::core::elementary

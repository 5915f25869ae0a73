// Elementary functions of doubles, a vector of arguments at a time, with the same
// bits on every target. Errors are stated in units in the last place (ulp) of a
// double; tests/unit/zavox/functions_test.cpp holds them. Special values are
// those of C's <math.h>.
//
// Methods: argument reduction, then the Taylor series of the function, cut where
// the first term left out is below a tenth of an ulp. Sine, cosine and tangent are
// reduced by pi/16 or pi/2 in three parts (W. Cody and W. Waite, "Software Manual for
// the Elementary Functions", 1980), sine and cosine then go by tables (P. Tang,
// "Table-lookup algorithms for elementary functions and their error analysis", 1991).
// Logarithms go by the series of artanh, angles by
// eighths, powers by a logarithm of twice the precision (sums and products with
// their errors after T. Dekker, "A floating-point technique for extending the
// available precision", 1971).
#pragma once

#include "core/kernels/pi_parts.hpp"
#include "core/kernels/series.hpp"
#include "zavox/wide/lanes.hpp"

#include <array>
#include <limits>

namespace zavox::wide {

namespace pi = zavo::core::pi_parts;
namespace series = zavo::core::series;

template <class L>
struct Functions : Ops<L> {
    using Base = Ops<L>;
    using D = typename Base::D;
    using I = typename Base::I;
    using U = typename Base::U;
    using Base::abs;
    using Base::all;
    using Base::all_integers;
    using Base::bits;
    using Base::nearest;
    using Base::number;
    using Base::select;
    using Base::with_sign;

    static constexpr double infinity = std::numeric_limits<double>::infinity();
    static constexpr double quiet_nan = std::numeric_limits<double>::quiet_NaN();

    // From this size on sine, cosine and tangent are left to the engine, which reduces
    // by long multiplication.
    static constexpr double largest_angle = 0x1p20;

    // ---- Series ----------------------------------------------------------------

    // c[0] + c[1] x + c[2] x^2 + ..., by halves, whose operations overlap.
    template <std::size_t Count>
    static ZAVO_INLINE D polynomial(const std::array<double, Count>& c, D x)
    {
        const D square = x * x;
        D even = all(c[(Count - 1) / 2 * 2]);
        for (std::size_t i = (Count - 1) / 2 * 2; i >= 2; i -= 2) {
            even = even * square + all(c[i - 2]);
        }
        if constexpr (Count == 1) {
            return even;
        } else {
            D odd = all(c[(Count - 2) / 2 * 2 + 1]);
            for (std::size_t i = (Count - 2) / 2 * 2 + 1; i >= 3; i -= 2) {
                odd = odd * square + all(c[i - 2]);
            }
            return even + odd * x;
        }
    }

    // ---- Twice the precision ---------------------------------------------------

    struct Pair {
        D high;
        D low;
    };
    // For |a| >= |b|.
    static ZAVO_INLINE Pair quick_sum(D a, D b)
    {
        const D sum = a + b;
        return {sum, b - (sum - a)};
    }
    static ZAVO_INLINE Pair sum(D a, D b)
    {
        const D total = a + b;
        const D part = total - a;
        return {total, (a - (total - part)) + (b - part)};
    }
    static ZAVO_INLINE Pair split(D a)
    {
        const D scaled = a * all(0x1p27 + 1);
        const D high = scaled - (scaled - a);
        return {high, a - high};
    }
    // Exact unless it overflows or falls below the normal range.
    static ZAVO_INLINE Pair product(D a, D b)
    {
        const D whole = a * b;
#if defined(__AVX512F__)
        if constexpr (L::count == 8) { // the same, since the error of a product is a double
            return {whole, _mm512_fmsub_pd(a, b, whole)};
        }
#endif
        const Pair p = split(a);
        const Pair q = split(b);
        return {whole, ((p.high * q.high - whole) + p.high * q.low + p.low * q.high) + p.low * q.low};
    }

    // ---- Whole numbers -----------------------------------------------------------

    // Numbers of 2^52 and more are whole, and so are Inf and NaN.
    static ZAVO_INLINE D near_whole(D x)
    {
        const D magic = with_sign(all(0x1p52), x);
        return abs(x) < all(0x1p52) ? (x + magic) - magic : x;
    }
    static ZAVO_INLINE D floor(D x)
    {
        const D whole = near_whole(x);
        return with_sign_of_zero(whole - (whole > x ? all(1.0) : all(0.0)), x);
    }
    static ZAVO_INLINE D ceil(D x)
    {
        return -floor(-x);
    }
    static ZAVO_INLINE D trunc(D x)
    {
        const D size = abs(x);
        return with_sign(floor(size), x);
    }
    // Halves away from zero.
    static ZAVO_INLINE D round(D x)
    {
        const D size = abs(x);
        const D whole = floor(size);
        return with_sign(whole + (size - whole >= all(0.5) ? all(1.0) : all(0.0)), x);
    }
    static ZAVO_INLINE D with_sign_of_zero(D value, D sign)
    {
        return value == all(0.0) ? with_sign(value, sign) : value;
    }

    // ---- Sine, cosine, tangent ---------------------------------------------------

    // Sine and cosine go by sixteenths of a half turn: x = k pi/16 + r for whole k,
    // |r| <= pi/32 or a little more, and
    //     sin x = S + (C r - (S (1 - cos r) - C (sin r - r))), S = sin k pi/16, C = cos k pi/16.
    // pi/16 stands in three parts of 29, 20 and 53 bits. Products of the first two
    // with k < 2^23 are exact, and so are both differences; the third rounds r once.
    struct Turn {
        D rest;
        D count; // k in the last bits of its pattern
    };
    // For a sine; with k moved on by a quarter turn, for a cosine.
    static ZAVO_INLINE Turn turn(D x, int sixteenths)
    {
        const D magic = all(0x1.8p52 + sixteenths);
        const D count = x * all(0x1.45f306dc9c883p+2) + magic;
        const D k = count - magic;
        const D first = Base::minus_exact_product(x, k, all(0x1.921fb54000000p-3));
        const D second = Base::minus_exact_product(first, k, all(0x1.10b4600000000p-33));
        return {second - k * all(0x1.1a62633145c07p-57), count};
    }
    static ZAVO_INLINE Turn sine_turn(D x)
    {
        return turn(x, 0);
    }
    static ZAVO_INLINE Turn cosine_turn(D x)
    {
        return turn(x, 8);
    }

    // Sine and cosine of k pi/16. The zero at the start is negative: it leaves a sum
    // its sign.
    static constexpr TableOfPairs sixteenths_of_half_turn = [] {
        constexpr double sine[] = {-0.0,
                                   0x1.8f8b83c69a60bp-3,
                                   0x1.87de2a6aea963p-2,
                                   0x1.1c73b39ae68c8p-1,
                                   0x1.6a09e667f3bcdp-1,
                                   0x1.a9b66290ea1a3p-1,
                                   0x1.d906bcf328d46p-1,
                                   0x1.f6297cff75cb0p-1,
                                   1.0};
        TableOfPairs table{};
        for (int k = 0; k < 16; ++k) {
            table.first[k] = sine[k <= 8 ? k : 16 - k];
            table.second[k] = k < 8 ? sine[8 - k] : k == 8 ? 0.0 : -sine[k - 8];
            table.pairs[k][0] = table.first[k];
            table.pairs[k][1] = table.second[k];
        }
        return table;
    }();
    // 2.5 ulp for floats; other doubles beside a zero lose some of their last bits, as
    // pi/16 has 111. The series for (sin r - r) / r^3 and (1 - cos r) / r^2 interpolate in the
    // zeros of a Chebyshev polynomial of r^2; they move the sine by less than 2^-60.
    static ZAVO_INLINE D sine_of_turn(Turn at)
    {
        const I k = bits(at.count);
        D s{};
        D c{};
        Base::pick(sixteenths_of_half_turn, k, &s, &c);
        const D z = at.rest * at.rest;
        const D fourth = z * z;
        const D sine = (z * all(0x1.71cd9a65dc975p-19) + all(-0x1.a01a0139596a4p-13)) * fourth +
                       (z * all(0x1.111111111045dp-7) + all(-0x1.5555555555555p-3));
        const D cosine = (z * all(-0x1.a00325cde39c8p-16) + all(0x1.6c16c0deceacep-10)) * fourth +
                         (z * all(-0x1.5555555553267p-5) + all(0x1p-1));
        const D along = c * at.rest;
        // the sum with zero makes a negative zero positive
        const D value = s + (along - z * ((s + all(0.0)) * cosine - along * sine));
        // bit 4 of k: the other half turn
        return number(bits(value) ^ ((k << 59) & all_integers(INT64_MIN)));
    }

    // x = k pi/2 + r with |r| <= pi/4 or a little more, for the tangent, in the same
    // way; what the rounding of the second difference loses is put back.
    struct Reduced {
        D r;
        I k;
    };
    static ZAVO_INLINE Reduced reduce(D x)
    {
        I k;
        const D whole = nearest(x * all(pi::two_over_pi), &k);
        const D t = x - whole * all(pi::half_pi_first);
        const D w = whole * all(pi::half_pi_second);
        const D high = t - w;
        const D back = t - high;
        const D lost = (t - (high + back)) + (back - w);
        return {high + (lost - whole * all(pi::half_pi_third)), k};
    }
    static ZAVO_INLINE D sine_series(D r)
    {
        constexpr auto c = series::reciprocal_factorials<8>(3, 2, true);
        const D z = r * r;
        return r - r * z * polynomial(c, z);
    }
    static ZAVO_INLINE D cosine_series(D r)
    {
        constexpr auto c = series::reciprocal_factorials<8>(4, 2, true);
        const D z = r * r;
        const D half = all(0.5) * z;
        const D high = all(1.0) - half;
        return high + ((all(1.0) - high) - half + z * z * polynomial(c, z));
    }
    // 3 ulp for |x| < largest_angle.
    static ZAVO_INLINE D tan(D x)
    {
        const Reduced reduced = reduce(x);
        const D s = sine_series(reduced.r);
        const D c = cosine_series(reduced.r);
        const I odd = (reduced.k & 1) != 0;
        const D value = select(odd, -c, s) / select(odd, s, c);
        return with_sign_of_zero(value, x);
    }

    // ---- Exponential -------------------------------------------------------------

    // x + tail = k ln 2 + high - low for a tail far below x, with |high - low| <= ln 2 / 2;
    // k ln2_high is exact.
    struct Exponent {
        D k;
        D high;
        D low;
    };
    static ZAVO_INLINE Exponent exponent(D x, D tail)
    {
        const D bounded = x > all(760.0) ? all(760.0) : x < all(-800.0) ? all(-800.0) : x;
        const D k = nearest(bounded * all(series::one_over_ln2));
        return {k, Base::minus_exact_product(bounded, k, all(series::ln2_high)),
                k * all(series::ln2_low) - tail};
    }
    // e^(x + tail) 2^extra.
    static ZAVO_INLINE D power_of(const Exponent& at, double extra)
    {
        constexpr auto c = series::reciprocal_factorials<12>(2, 1, false);
        const D r = at.high - at.low;
        const D rest = ((at.high - r) - at.low) + r * r * polynomial(c, r);
        return Base::scale(all(1.0) + (r + rest), at.k + all(extra));
    }
    static ZAVO_INLINE D exponential(D x, D tail, double extra)
    {
        return power_of(exponent(x, tail), extra);
    }
    // 1 ulp where the result is a normal number, 1 unit of the smallest below.
    static ZAVO_INLINE Exponent exp_first(D x)
    {
        return exponent(x, all(0.0));
    }
    static ZAVO_INLINE D exp_second(D, const Exponent& at)
    {
        return power_of(at, 0);
    }
    static ZAVO_INLINE D exp(D x)
    {
        return exp_second(x, exp_first(x));
    }
    // e^x / 2, which is finite a little longer than e^x.
    static ZAVO_INLINE D half_exp(D x)
    {
        return exponential(x, all(0.0), -1);
    }

    // ---- Logarithms ----------------------------------------------------------------

    // x = 2^e m with m between sqrt(1/2) and sqrt(2), for finite x > 0.
    struct Scaled {
        D e;
        D m;
    };
    static ZAVO_INLINE Scaled take_apart(D x)
    {
        const I small = x < all(0x1p-1022);
        const D grown = select(small, x * all(0x1p54), x);
        const U pattern = Base::natural(bits(grown));
        // biased so that the field of the exponent steps at sqrt(1/2)
        constexpr std::uint64_t root_half = 0x3FE6A09E00000000;
        constexpr std::uint64_t bias = 1024;
        const U field = (pattern - root_half + (bias << 52)) >> 52;
        const I e = Base::integer_of(field) - static_cast<std::int64_t>(bias);
        const D m = number(Base::integer_of(pattern - ((field - bias) << 52)));
        return {Base::to_double(e) - select(small, all(54.0), all(0.0)), m};
    }
    static ZAVO_INLINE D at_ends_of_log(D x, D value)
    {
        value = x == all(0.0) ? all(-infinity) : value;
        value = x == all(infinity) ? x : value;
        return x >= all(0.0) ? value : all(quiet_nan);
    }
    // 1 ulp. log m = f + rest, s = f / (2 + f).
    struct LogArgument {
        D e;
        D f;
        D s;
    };
    static ZAVO_INLINE LogArgument log_first(D x)
    {
        const Scaled scaled = take_apart(x);
        const D f = scaled.m - all(1.0);
        return {scaled.e, f, f / (all(2.0) + f)};
    }
    static ZAVO_INLINE D log_second(D x, const LogArgument& at)
    {
        constexpr auto c = series::reciprocal_odd_numbers<11>(3, false);
        const D z = at.s * at.s;
        const D rest = at.s * (all(2.0) * z * polynomial(c, z) - at.f) + at.e * all(series::ln2_low);
        return at_ends_of_log(x, at.e * all(series::ln2_high) + (at.f + rest));
    }
    // 1 ulp.
    static ZAVO_INLINE D log10(D x)
    {
        const Pair natural = log_pair(x);
        // 1 / ln 10 in two parts, the first of 24 bits
        const D first = all(0x1.bcb7bp-2);
        const D second = all(0x1.526e50e32a6abp-26);
        const Pair high = split(natural.high);
        const D lead = high.high * first;
        const D rest = high.low * first + (natural.low * first + natural.high * second);
        return at_ends_of_log(x, lead + rest);
    }
    // log x to about 2^-66 of itself, for pow.
    static ZAVO_INLINE Pair log_pair(D x)
    {
        const Scaled scaled = take_apart(x);
        const D f = scaled.m - all(1.0); // exact
        // s = f / (2 + f) with its error
        const Pair below = quick_sum(all(2.0), f);
        const D s = f / below.high;
        const Pair back = product(s, below.high);
        const D s_low = (((f - back.high) - back.low) - s * below.low) / below.high;
        // z = s^2
        const Pair square = product(s, s);
        const D z = square.high;
        const D z_low = square.low + all(2.0) * s * s_low;
        // log m = 2 s + 2 s (z/3 + z^2 (1/5 + z/7 + ...))
        constexpr auto c = series::reciprocal_odd_numbers<10>(5, false);
        const D third = all(1.0 / 3);
        const D third_low = all(0x1.5555555555555p-56); // 1/3 - (1/3 rounded)
        const Pair thirds = product(z, third);
        const D thirds_low = thirds.low + (z * third_low + z_low * third);
        const D more = z * z * polynomial(c, z);
        const Pair factor = quick_sum(thirds.high, more);
        const D factor_low = factor.low + thirds_low;
        const Pair tail = product(s, factor.high);
        const D tail_low = tail.low + (s * factor_low + s_low * factor.high);
        const Pair half = quick_sum(s, tail.high);
        const D half_low = half.low + (s_low + tail_low);
        // + e ln 2, whose first part is exact
        const Pair total = sum(scaled.e * all(series::ln2_high), all(2.0) * half.high);
        const Pair ln2_rest = product(scaled.e, all(series::ln2_low));
        const D low = total.low + (all(2.0) * half_low + ln2_rest.high) + ln2_rest.low;
        return quick_sum(total.high, low);
    }

    // ---- Powers --------------------------------------------------------------------

    // 1.5 ulp where the result is a normal number.
    static ZAVO_INLINE Pair pow_first(D x, D)
    {
        return log_pair(abs(x));
    }
    static ZAVO_INLINE D pow_second(D x, D y, const Pair& log_size)
    {
        const D size = abs(x);
        // e^y is Inf, 1 or 0 to all digits long before these sizes of y
        const D huge = all(0x1p80);
        const D exponent = y > huge ? huge : y < -huge ? -huge : y;
        const Pair whole = product(log_size.high, exponent);
        const D tail = whole.low + log_size.low * exponent;
        const I moderate = abs(whole.high) < all(2000.0);
        const D value = exponential(whole.high, select(moderate, tail, all(0.0)), 0);
        // a negative base has powers to whole numbers only, odd ones negative
        const D half = y * all(0.5);
        const I is_whole = near_whole(y) == y;
        const I is_odd = is_whole & (near_whole(half) != half);
        const I negative = Base::sign_bit(x) != 0;
        const D signed_value = select(negative & is_odd, -value, value);
        D result = select((x < all(0.0)) & ~is_whole, all(quiet_nan), signed_value);
        // 0 and Inf as base: Inf or 0 by the sign of y
        const I grows = (y > all(0.0)) ^ (size == all(0.0));
        const D end = select(grows, all(infinity), all(0.0));
        const D signed_end = select(negative & is_odd, -end, end);
        result = select((size == all(0.0)) | (size == all(infinity)), signed_end, result);
        // an infinite exponent
        const I to_infinity = (size > all(1.0)) == (y > all(0.0));
        const D limit = select(size == all(1.0), all(1.0), select(to_infinity, all(infinity), all(0.0)));
        result = select(abs(y) == all(infinity), limit, result);
        result = select((x != x) | (y != y), all(quiet_nan), result);
        return select((y == all(0.0)) | (x == all(1.0)), all(1.0), result);
    }

    // ---- Hyperbolic functions --------------------------------------------------------

    static ZAVO_INLINE D sinh_series(D x)
    {
        constexpr auto c = series::reciprocal_factorials<9>(3, 2, false);
        const D z = x * x;
        return x + x * z * polynomial(c, z);
    }
    // 2 ulp.
    static ZAVO_INLINE D sinh(D x)
    {
        const D size = abs(x);
        const D half = half_exp(size);
        const D far = with_sign(half - all(0.25) / half, x);
        return size < all(1.0) ? sinh_series(x) : far;
    }
    // 2 ulp.
    static ZAVO_INLINE D cosh(D x)
    {
        const D half = half_exp(abs(x));
        return half + all(0.25) / half;
    }
    // 3 ulp: s / sqrt(1 + s^2) of s = sinh x below 1/2, 1 - 2 / (e^2x + 1) beyond.
    static ZAVO_INLINE D tanh(D x)
    {
        const D size = abs(x);
        const D s = sinh_series(x);
        const D near = s / Base::sqrt(all(1.0) + s * s);
        const D far = all(1.0) - all(2.0) / (exp(all(2.0) * size) + all(1.0));
        return size < all(0.5) ? near : with_sign(far, x);
    }

    // ---- Angles ----------------------------------------------------------------------

    // With t = smaller / larger and c the nearest eighth,
    // atan t = atan c + atan((t - c) / (1 + t c)); the last argument is within 1/16.
    // 2 ulp.
    static ZAVO_INLINE D atan2(D y, D x)
    {
        constexpr auto c = series::reciprocal_odd_numbers<7>(3, true);
        D across = abs(x);
        D up = abs(y);
        const I endless = (across == all(infinity)) | (up == all(infinity)); // only the direction counts
        across = select(endless, across == all(infinity) ? all(1.0) : all(0.0), across);
        up = select(endless, up == all(infinity) ? all(1.0) : all(0.0), up);
        const I steep = up > across;
        D larger = select(steep, up, across);
        D smaller = select(steep, across, up);
        // by powers of two into a range where no product leaves the normal numbers
        const D factor = larger > all(0x1p900)    ? all(0x1p-200)
                         : larger < all(0x1p-800) ? all(0x1p200)
                                                  : all(1.0);
        larger = larger * factor;
        smaller = smaller * factor;
        larger = larger == all(0.0) ? all(1.0) : larger;
        const D t = smaller / larger;
        const D eighths = nearest(all(8.0) * t);
        const D at = eighths * all(0.125);
        const D shifted = (smaller - at * larger) / (larger + at * smaller);
        const D u = eighths == all(0.0) ? t : shifted;
        D start = all(0.0);
        for (int i = 1; i <= 8; ++i) {
            start = eighths == all(static_cast<double>(i))
                        ? all(series::atan_of_eighths[static_cast<std::size_t>(i)])
                        : start;
        }
        const D z = u * u;
        D angle = start + (u - u * z * polynomial(c, z));
        const I left = Base::sign_bit(x) != 0;
        const D upright = all(pi::half_pi_high) + (select(left, angle, -angle) + all(pi::half_pi_low));
        const D turned = all(pi::pi_high) - (angle - all(pi::pi_low));
        angle = select(steep, upright, select(left, turned, angle));
        return select((x != x) | (y != y), all(quiet_nan), with_sign(angle, y));
    }
    static ZAVO_INLINE D atan(D x)
    {
        return atan2(x, all(1.0));
    }
    // 3 ulp each.
    static ZAVO_INLINE D asin(D x)
    {
        const D other = Base::sqrt((all(1.0) - x) * (all(1.0) + x));
        return atan2(x, other);
    }
    static ZAVO_INLINE D acos(D x)
    {
        const D other = Base::sqrt((all(1.0) - x) * (all(1.0) + x));
        return atan2(other, x);
    }

    // ---- Lengths, extrema, remainders ------------------------------------------------

    // 1.5 ulp.
    static ZAVO_INLINE D hypot(D x, D y)
    {
        const D a = abs(x);
        const D b = abs(y);
        const D larger = a > b ? a : b;
        const D up = larger > all(0x1p500) ? all(0x1p-600) : larger < all(0x1p-450) ? all(0x1p600) : all(1.0);
        const D back = larger > all(0x1p500)    ? all(0x1p600)
                       : larger < all(0x1p-450) ? all(0x1p-600)
                                                : all(1.0);
        const D p = a * up;
        const D q = b * up;
        const D value = Base::sqrt(p * p + q * q) * back;
        return select((a == all(infinity)) | (b == all(infinity)), all(infinity), value);
    }
    static ZAVO_INLINE D max(D x, D y)
    {
        const D larger = x > y ? x : y;
        return select(x != x, x, select(y != y, y, larger));
    }
    static ZAVO_INLINE D min(D x, D y)
    {
        const D smaller = x < y ? x : y;
        return select(x != x, x, select(y != y, y, smaller));
    }

    // Where fmod_near holds: x - trunc(x / y) y is then exact, step by step.
    static ZAVO_INLINE I fmod_is_near(D x, D y)
    {
        const D a = abs(x);
        const D b = abs(y);
        return (a < all(0x1p900)) & (b > all(0x1p-400)) & (b < all(0x1p900)) & (a < b * all(0x1p50));
    }
    static ZAVO_INLINE D fmod_near(D x, D y)
    {
        const D a = abs(x);
        const D b = abs(y);
        const D quotient = floor(a / b);
        const Pair whole = product(quotient, b);
        D rest = (a - whole.high) - whole.low;
        rest = rest < all(0.0) ? rest + b : rest; // the quotient was rounded up to a whole number
        return with_sign(rest, x);
    }
    // The remainder with the sign of the divisor, from that of fmod.
    static ZAVO_INLINE D modulo(D rest, D y)
    {
        const I other_side = (Base::sign_bit(rest) ^ Base::sign_bit(y)) != 0;
        const D moved = rest + y;
        const D value = select(other_side & (rest != all(0.0)), moved, rest);
        return value == all(0.0) ? with_sign(value, y) : value;
    }
};

} // namespace zavox::wide

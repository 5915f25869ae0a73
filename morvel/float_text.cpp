// The shortest decimals of a float, after R. Giulietti, "The Schubfach way to
// render doubles" (2020), for single precision: with v = c 2^q and k the greatest
// integer for which 10^k <= 2^q, V = v 10^-k is computed to two bits behind the
// point and rounded to odd, which keeps every comparison that follows true. Of
// the decimals that round to v the shortest is a multiple of 10^(k+1), if there
// is one, and otherwise the multiple of 10^k next to V.
#include "float_text.hpp"

#include <array>
#include <bit>
#include <cassert>
#include <cmath>
#include <cstdint>

namespace morvel {

namespace {

// A natural number of up to 192 bits; limb[0] is the lowest.
struct Natural {
    std::array<std::uint32_t, 6> limb{};

    constexpr void multiply_by(std::uint32_t factor)
    {
        std::uint64_t carry = 0;
        for (std::uint32_t& part : limb) {
            carry += static_cast<std::uint64_t>(part) * factor;
            part = static_cast<std::uint32_t>(carry);
            carry >>= 32;
        }
    }
    constexpr int bit_length() const
    {
        for (std::size_t i = limb.size(); i > 0; --i) {
            if (limb[i - 1] != 0) {
                return static_cast<int>(32 * i) - std::countl_zero(limb[i - 1]);
            }
        }
        return 0;
    }
    constexpr bool bit(int place) const
    {
        return place >= 0 &&
               (limb[static_cast<std::size_t>(place) / 32] >> (static_cast<unsigned>(place) % 32) & 1) != 0;
    }
    constexpr bool at_least(const Natural& other) const
    {
        for (std::size_t i = limb.size(); i > 0; --i) {
            if (limb[i - 1] != other.limb[i - 1]) {
                return limb[i - 1] > other.limb[i - 1];
            }
        }
        return true;
    }
    constexpr void subtract(const Natural& other)
    {
        std::uint32_t borrow = 0;
        for (std::size_t i = 0; i < limb.size(); ++i) {
            const std::uint64_t difference = static_cast<std::uint64_t>(limb[i]) - other.limb[i] - borrow;
            limb[i] = static_cast<std::uint32_t>(difference);
            borrow = static_cast<std::uint32_t>(difference >> 63);
        }
    }
};

constexpr int lowest_power = -31;
constexpr int highest_power = 45;

constexpr Natural power_of_ten(int exponent)
{
    Natural power;
    power.limb[0] = 1;
    for (int i = 0; i < exponent; ++i) {
        power.multiply_by(10);
    }
    return power;
}

// The 64 leading bits of 10^exponent, truncated, plus 1: above the power by at most one
// unit of the last bit.
constexpr std::uint64_t leading_bits(int exponent)
{
    const Natural power = power_of_ten(exponent < 0 ? -exponent : exponent);
    const int length = power.bit_length();
    std::uint64_t bits = 0;
    if (exponent >= 0) {
        for (int i = 1; i <= 64; ++i) {
            bits = bits << 1 | static_cast<std::uint64_t>(power.bit(length - i));
        }
        return bits + 1;
    }
    Natural rest; // 2^(length - 1), at most the power; then long division
    rest.limb[static_cast<std::size_t>(length - 1) / 32] = 1U << (static_cast<unsigned>(length - 1) % 32);
    for (int i = 0; i < 64; ++i) {
        rest.multiply_by(2);
        const bool fits = rest.at_least(power);
        if (fits) {
            rest.subtract(power);
        }
        bits = bits << 1 | static_cast<std::uint64_t>(fits);
    }
    return bits + 1;
}

constexpr auto powers_of_ten = [] {
    std::array<std::uint64_t, highest_power - lowest_power + 1> table{};
    for (int e = lowest_power; e <= highest_power; ++e) {
        table[static_cast<std::size_t>(e - lowest_power)] = leading_bits(e);
    }
    return table;
}();

// Greatest integers not above e log10(2), log10(3/4 2^e) and e log2(10), for the
// exponents that floats have.
constexpr int floor_log10_of_power_of_2(int e)
{
    return (e * 1262611) >> 22;
}
constexpr int floor_log10_of_three_quarters(int e)
{
    return (e * 1262611 - 524031) >> 22;
}
constexpr int floor_log2_of_power_of_10(int e)
{
    return (e * 1741647) >> 19;
}

// g n / 2^64, rounded to odd: the lowest bit is set when anything was cut. g may
// be too large by one unit, which moves the product by less than 2^32.
std::uint32_t multiply_to_odd(std::uint64_t g, std::uint32_t n)
{
    const std::uint64_t low = (g & 0xFFFFFFFFU) * n;
    const std::uint64_t high = (g >> 32) * n + (low >> 32);
    const auto whole = static_cast<std::uint32_t>(high >> 32);
    const bool cut = static_cast<std::uint32_t>(high) > 1;
    return whole | static_cast<std::uint32_t>(cut);
}

// digits 10^exponent
struct Decimal {
    std::uint32_t digits;
    int exponent;
};

// For a finite float above zero.
Decimal shortest(float number)
{
    const auto bits = std::bit_cast<std::uint32_t>(number);
    const std::uint32_t fraction = bits & 0x7FFFFFU;
    const std::uint32_t biased = bits >> 23;
    const std::uint32_t c = biased != 0 ? fraction | 0x800000U : fraction;
    const int q = biased != 0 ? static_cast<int>(biased) - 150 : -149;
    // below a power of two the next float is only half as far away
    const bool closer_below = fraction == 0 && biased > 1;
    const std::uint32_t open = c & 1; // the ends of the interval round to an even c

    const int k = closer_below ? floor_log10_of_three_quarters(q) : floor_log10_of_power_of_2(q);
    const int h = q + floor_log2_of_power_of_10(-k) + 1;
    const std::uint64_t g = powers_of_ten[static_cast<std::size_t>(-k - lowest_power)];
    // four times V and the ends of its interval
    const std::uint32_t middle = multiply_to_odd(g, (4 * c) << h);
    const std::uint32_t lower = multiply_to_odd(g, (4 * c - (closer_below ? 1 : 2)) << h) + open;
    const std::uint32_t upper = multiply_to_odd(g, (4 * c + 2) << h) - open;

    const std::uint32_t s = middle / 4;
    if (s >= 10) {
        const std::uint32_t ten = s / 10;
        const bool below_fits = lower <= 40 * ten;
        const bool above_fits = 40 * ten + 40 <= upper;
        if (below_fits != above_fits) {
            return {ten + static_cast<std::uint32_t>(above_fits), k + 1};
        }
    }
    const bool below_fits = lower <= 4 * s;
    const bool above_fits = 4 * s + 4 <= upper;
    if (below_fits != above_fits) {
        return {s + static_cast<std::uint32_t>(above_fits), k};
    }
    const std::uint32_t half = 4 * s + 2;
    const bool up = middle > half || (middle == half && (s & 1) != 0);
    return {s + static_cast<std::uint32_t>(up), k};
}

char* write_word(char* out, const char* word)
{
    while (*word != '\0') {
        *out++ = *word++;
    }
    return out;
}

char* write_zeros(char* out, int count)
{
    for (int i = 0; i < count; ++i) {
        *out++ = '0';
    }
    return out;
}

char* write_digits(char* out, const char* digits, int count)
{
    for (int i = 0; i < count; ++i) {
        *out++ = digits[i];
    }
    return out;
}

// 0.digits * 10^point in Tcl's layout.
char* lay_out(char* out, const char* digits, int count, int point)
{
    const int exponent = point - 1;
    if (exponent < -4 || exponent > 16) {
        *out++ = digits[0];
        if (count > 1) {
            *out++ = '.';
            out = write_digits(out, digits + 1, count - 1);
        }
        *out++ = 'e';
        *out++ = exponent < 0 ? '-' : '+';
        const int size = exponent < 0 ? -exponent : exponent;
        if (size >= 10) {
            *out++ = static_cast<char>('0' + size / 10);
        }
        *out++ = static_cast<char>('0' + size % 10);
        return out;
    }
    if (point <= 0) {
        out = write_zeros(write_word(out, "0."), -point);
        return write_digits(out, digits, count);
    }
    if (count <= point) {
        out = write_zeros(write_digits(out, digits, count), point - count);
        return write_word(out, ".0");
    }
    out = write_digits(out, digits, point);
    *out++ = '.';
    return write_digits(out, digits + point, count - point);
}

} // namespace

char* write_float(char* out, float number)
{
    if (std::isnan(number)) {
        return write_word(out, "NaN");
    }
    if (std::signbit(number)) {
        *out++ = '-';
        number = -number;
    }
    if (std::isinf(number)) {
        return write_word(out, "Inf");
    }
    if (number == 0) {
        return write_word(out, "0.0");
    }
    Decimal decimal = shortest(number);
    constexpr int max_digits = 10;
    char digits[max_digits];
    char* first = digits + max_digits;
    while (decimal.digits % 10 == 0) {
        decimal.digits /= 10;
        ++decimal.exponent;
    }
    for (; decimal.digits != 0; decimal.digits /= 10) {
        *--first = static_cast<char>('0' + decimal.digits % 10);
    }
    const int count = static_cast<int>(digits + max_digits - first);
    assert(count >= 1 && count <= 9); // what max_float_text reckons with
    return lay_out(out, first, count, decimal.exponent + count);
}

} // namespace morvel

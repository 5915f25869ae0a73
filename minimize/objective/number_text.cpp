#include "minimize/objective/number_text.hpp"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fast_float/fast_float.h>
#include <limits>

namespace zavo::minimize {
namespace {

// ---- Writing --------------------------------------------------------------------
//
// A float is m * 2^e with a whole m below 2^24. From e = 0 on it is a whole number
// of up to 128 bits, kept in limbs; below, m * 10^6 / 2^-e fits 64 bits and only
// needs rounding.

// Decimal digits of m * 2^e, 0 <= e <= 104, at `text`; returns their count.
int write_whole(std::uint32_t m, int e, char* text)
{
    assert(e >= 0 && e <= 104 && m < (1U << 24));
    std::uint32_t limbs[4] = {};
    const std::uint64_t shifted = static_cast<std::uint64_t>(m) << (e % 32);
    limbs[e / 32] = static_cast<std::uint32_t>(shifted);
    if (e / 32 < 3) { // the greatest float ends within the last limb
        limbs[e / 32 + 1] = static_cast<std::uint32_t>(shifted >> 32);
    }
    char reversed[40];
    int count = 0;
    bool left = true;
    while (left) { // nine digits at a time
        std::uint64_t rest = 0;
        left = false;
        for (int i = 3; i >= 0; --i) {
            rest = (rest << 32) | limbs[i];
            limbs[i] = static_cast<std::uint32_t>(rest / 1000000000U);
            rest %= 1000000000U;
            left = left || limbs[i] != 0;
        }
        auto digits = static_cast<std::uint32_t>(rest);
        for (int i = 0; i < 9 && (left || digits != 0 || count == 0); ++i) {
            reversed[count++] = static_cast<char>('0' + digits % 10);
            digits /= 10;
        }
    }
    for (int i = 0; i < count; ++i) {
        text[i] = reversed[count - 1 - i];
    }
    return count;
}

// m * 10^6 / 2^bits, rounded, halves to even.
std::uint64_t millionths(std::uint32_t m, int bits)
{
    assert(bits >= 1);
    const std::uint64_t scaled = static_cast<std::uint64_t>(m) * 1000000U; // below 2^44
    if (bits > 45) {
        return 0;
    }
    const std::uint64_t whole = scaled >> bits;
    const std::uint64_t rest = scaled - (whole << bits);
    const std::uint64_t half = std::uint64_t{1} << (bits - 1);
    return whole + (rest > half || (rest == half && whole % 2 != 0) ? 1 : 0);
}

// ---- Reading --------------------------------------------------------------------

bool is_space(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool is_hexadecimal(const char* text)
{
    const auto is_digit = [](char c) {
        return (c >= '0' && c <= '9') || ((c | 0x20) >= 'a' && (c | 0x20) <= 'f');
    };
    return text[0] == '0' && (text[1] | 0x20) == 'x' &&
           (is_digit(text[2]) || (text[2] == '.' && is_digit(text[3])));
}

int hexadecimal_digit(char c)
{
    return c >= '0' && c <= '9'                     ? c - '0'
           : (c | 0x20) >= 'a' && (c | 0x20) <= 'f' ? (c | 0x20) - 'a' + 10
                                                    : -1;
}

// The power of two behind a hexadecimal number, "p" and digits; 0 without one. Far
// beyond the range of double all are alike.
long binary_exponent(const char* text)
{
    if ((*text | 0x20) != 'p') {
        return 0;
    }
    const bool negative = text[1] == '-';
    const char* digit = text + (text[1] == '-' || text[1] == '+' ? 2 : 1);
    long exponent = 0;
    for (; *digit >= '0' && *digit <= '9'; ++digit) {
        exponent = exponent < 100000000L ? 10 * exponent + (*digit - '0') : exponent;
    }
    return negative ? -exponent : exponent;
}

// "hhh.hhhp+dd", rounded once: 60 bits are kept, and whether anything was cut off
// stands in the last of them. (Doubles below the least normal one may be rounded a
// second time; as floats they are all 0.)
double read_hexadecimal(const char* text)
{
    std::uint64_t digits = 0;
    double exponent = 0.0; // counts digits of texts of any length
    bool after_point = false;
    for (;; ++text) {
        const int digit = hexadecimal_digit(*text);
        if (*text == '.' && !after_point) {
            after_point = true;
            continue;
        }
        if (digit < 0) {
            break;
        }
        if (digits >> 56 == 0) {
            digits = digits * 16 + static_cast<std::uint64_t>(digit);
            exponent -= after_point ? 4.0 : 0.0;
        } else {
            digits |= digit != 0 ? 1 : 0;
            exponent += after_point ? 0.0 : 4.0;
        }
    }
    exponent = std::clamp(exponent + static_cast<double>(binary_exponent(text)), -5000.0, 5000.0);
    return std::ldexp(static_cast<double>(digits), static_cast<int>(exponent)); // exact
}

// Negative when the text does not begin with a number; infinite, or 0, beyond the
// range of double.
double read_unsigned(const char* text)
{
    if (is_hexadecimal(text)) {
        return read_hexadecimal(text + 2);
    }
    double value = 0.0;
    const auto [end, error] = fast_float::from_chars(text, text + std::strlen(text), value);
    return error == std::errc::invalid_argument ? -1.0 : value;
}

// A value that is not negative, to the nearest float, also beyond their range.
float nearest_float(double value)
{
    constexpr double greatest = std::numeric_limits<float>::max();
    constexpr double halfway = 0x1.ffffffp127; // from here on the nearest is infinity
    if (!(value > greatest)) {
        return static_cast<float>(value);
    }
    return value < halfway ? std::numeric_limits<float>::max() : std::numeric_limits<float>::infinity();
}

} // namespace

int format_fixed(float value, char* text)
{
    const auto bits = std::bit_cast<std::uint32_t>(value);
    const std::uint32_t fraction = bits & 0x7FFFFFU;
    const int exponent = static_cast<int>(bits >> 23 & 0xFFU);
    if (exponent == 255 && fraction != 0) {
        std::memcpy(text, "nan", 4);
        return 3;
    }
    int length = 0;
    if (bits >> 31 != 0) {
        text[length++] = '-';
    }
    if (exponent == 255) {
        std::memcpy(text + length, "inf", 4);
        return length + 3;
    }
    const std::uint32_t m = exponent == 0 ? fraction : fraction | 0x800000U;
    const int e = (exponent == 0 ? 1 : exponent) - 150;
    std::uint64_t decimals = 0;
    if (e >= 0) {
        length += write_whole(m, e, text + length);
    } else {
        const std::uint64_t scaled = millionths(m, -e);
        length += write_whole(static_cast<std::uint32_t>(scaled / 1000000U), 0, text + length);
        decimals = scaled % 1000000U;
    }
    text[length] = '.';
    for (int i = 6; i >= 1; --i) {
        text[length + i] = static_cast<char>('0' + decimals % 10);
        decimals /= 10;
    }
    text[length + 7] = '\0';
    return length + 7;
}

// With at most 15 digits both the digits and the million are exact, and the quotient
// of the two is rounded once.
bool number_of_fixed(const char* text, double* number)
{
    constexpr int most_digits = 15;
    const bool negative = text[0] == '-';
    double digits = 0.0;
    int count = 0;
    for (const char* at = text + (negative ? 1 : 0); *at != '\0'; ++at) {
        if (*at == '.') {
            continue;
        }
        if (*at < '0' || *at > '9' || ++count > most_digits) {
            return false;
        }
        digits = 10.0 * digits + (*at - '0');
    }
    *number = negative ? -(digits / 1e6) : digits / 1e6;
    return true;
}

float read_float(const char* text)
{
    while (is_space(*text)) {
        ++text;
    }
    const bool negative = *text == '-';
    text += *text == '-' || *text == '+' ? 1 : 0;
    // A second sign is no number, though from_chars would take it.
    const double value = *text == '-' ? -1.0 : read_unsigned(text);
    if (value < 0.0) {
        return 0.0F;
    }
    return negative ? -nearest_float(value) : nearest_float(value);
}

} // namespace zavo::minimize

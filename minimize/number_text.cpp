#include "minimize/number_text.hpp"

#include <bit>
#include <charconv>
#include <cstdint>
#include <cstring>
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
    std::uint32_t limbs[4] = {};
    const std::uint64_t shifted = static_cast<std::uint64_t>(m) << (e % 32);
    limbs[e / 32] = static_cast<std::uint32_t>(shifted);
    if (e / 32 < 3) { // the greatest float ends within the last limb
        limbs[e / 32 + 1] = static_cast<std::uint32_t>(shifted >> 32);
    }
    char reversed[40];
    int count = 0;
    bool left = true;
    while (left) { // nine digits a turn
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

// A number beyond the range of double: did it overflow? Otherwise it vanished.
// Counts where its first digit that is not 0 stands.
bool is_huge(const char* first, const char* last, bool hexadecimal)
{
    const char mark = hexadecimal ? 'p' : 'e';
    long place = 0; // digits before the point, or minus the zeros behind it
    bool started = false;
    bool after_point = false;
    const char* at = first;
    for (; at != last && (*at | 0x20) != mark; ++at) {
        if (*at == '.') {
            after_point = true;
            continue;
        }
        started = started || *at != '0';
        place += !after_point && started ? 1 : (after_point && !started ? -1 : 0);
    }
    const bool negative = at != last && at + 1 != last && at[1] == '-';
    double exponent = 0.0; // of any length
    for (at += at != last ? 1 : 0; at != last; ++at) {
        exponent = *at >= '0' && *at <= '9' ? 10.0 * exponent + (*at - '0') : exponent;
    }
    const double digits = static_cast<double>(place) * (hexadecimal ? 4.0 : 1.0);
    return (negative ? -exponent : exponent) + digits > 0.0;
}

// Negative when the text does not begin with a number.
double read_unsigned(const char* text)
{
    const bool hexadecimal = is_hexadecimal(text);
    const char* const first = hexadecimal ? text + 2 : text;
    const char* const last = first + std::strlen(first);
    double value = 0.0;
    const auto [end, error] = std::from_chars(
        first, last, value, hexadecimal ? std::chars_format::hex : std::chars_format::general);
    if (error == std::errc::result_out_of_range) {
        return is_huge(first, end, hexadecimal) ? std::numeric_limits<double>::infinity() : 0.0;
    }
    return error == std::errc{} ? value : -1.0;
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

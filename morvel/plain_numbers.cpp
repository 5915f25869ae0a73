#include "plain_numbers.hpp"

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstddef>
#include <fast_float/fast_float.h>

namespace morvel {

namespace {

bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

// What sets the elements of a Tcl list apart.
bool is_blank(char c)
{
    return (c == ' ') | ((c >= '\t') & (c <= '\r'));
}

// Zero written with a point or an exponent and nothing but zeros before it; an
// underflow has another digit.
bool is_written_zero(const char* text, const char* end)
{
    for (; text != end && (is_digit(*text) || *text == '.'); ++text) {
        if (*text != '0' && *text != '.') {
            return false;
        }
    }
    return true;
}

bool is_integer(const char* text, const char* end)
{
    while (text != end && is_digit(*text)) {
        ++text;
    }
    return text == end;
}

// Reads a plain number at the start of [text, end); null when there is none, else
// its end.
const char* read_number_at(const char* text, const char* end, double* number)
{
    constexpr int safe_integer_digits = 18;
    const char* const first = text != end && *text == '-' ? text + 1 : text;
    if (first == end || (!is_digit(*first) && *first != '.')) {
        return nullptr; // words, signs, prefixes
    }
    if (*first == '0' && end - first > 1 && is_digit(first[1])) {
        return nullptr; // octal for some, decimal for others
    }
    double value = 0.0;
    const auto [stop, error] = fast_float::from_chars(text, end, value);
    if (error != std::errc{}) {
        return nullptr;
    }
    const double size = std::fabs(value);
    if (!(size >= DBL_MIN && size <= DBL_MAX) && !(value == 0 && is_written_zero(first, stop))) {
        return nullptr;
    }
    if ((size == 0 && first != text) || stop - first > safe_integer_digits) {
        if (is_integer(first, stop)) {
            return nullptr; // -0 is an integer without a sign; long ones are Tcl's
        }
    }
    *number = value;
    return stop;
}

} // namespace

bool read_plain_number(const char* text, const char* end, double* number)
{
    return read_number_at(text, end, number) == end;
}

bool count_words(const char* text, const char* end, int* count)
{
    while (text != end && is_blank(*text)) {
        ++text;
    }
    *count = 0;
    if (text == end) {
        return true;
    }
    if (!is_digit(*text) && *text != '-' && *text != '.') {
        return false;
    }
    long long words = 1;
    const std::ptrdiff_t length = end - text;
    for (std::ptrdiff_t i = 1; i < length; ++i) { // no branch: the compiler takes many bytes at a time
        words += static_cast<int>(is_blank(text[i - 1])) & static_cast<int>(!is_blank(text[i]));
    }
    *count = static_cast<int>(words);
    return words <= INT_MAX;
}

const char* read_plain_floats(const char* text, const char* end, int count, float* numbers)
{
    for (int i = 0; i < count; ++i) {
        while (is_blank(*text)) {
            ++text;
        }
        double wide = 0.0;
        text = read_number_at(text, end, &wide);
        if (text == nullptr || (text != end && !is_blank(*text))) {
            return nullptr;
        }
        numbers[i] = static_cast<float>(wide);
        if (std::isinf(numbers[i])) {
            return nullptr;
        }
    }
    return text;
}

} // namespace morvel

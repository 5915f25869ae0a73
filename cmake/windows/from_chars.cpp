// std::from_chars for double, in place of the standard library's, which would
// bring strings, exceptions and with them threads into the DLL. The number's
// extent is found here; its value comes from the compiler's strtod, which rounds
// correctly, as the standard library's does.

#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace {

bool is_digit(char c, bool hexadecimal)
{
    return (c >= '0' && c <= '9') || (hexadecimal && (c | 0x20) >= 'a' && (c | 0x20) <= 'f');
}

const char* skip_digits(const char* at, const char* last, bool hexadecimal)
{
    while (at != last && is_digit(*at, hexadecimal)) {
        ++at;
    }
    return at;
}

// End of "digits.digits" with an exponent, or `at` where no number begins.
const char* end_of_number(const char* at, const char* last, bool hexadecimal)
{
    const char* const whole_end = skip_digits(at, last, hexadecimal);
    const char* end = whole_end;
    std::ptrdiff_t digits = whole_end - at;
    if (end != last && *end == '.') {
        const char* const fraction_end = skip_digits(end + 1, last, hexadecimal);
        digits += fraction_end - end - 1;
        end = fraction_end;
    }
    if (digits == 0) {
        return at;
    }
    if (end != last && (*end | 0x20) == (hexadecimal ? 'p' : 'e')) {
        const char* exponent = end + 1;
        if (exponent != last && (*exponent == '+' || *exponent == '-')) {
            ++exponent;
        }
        const char* const exponent_end = skip_digits(exponent, last, false);
        end = exponent_end != exponent ? exponent_end : end;
    }
    return end;
}

// "inf", "infinity" or "nan", in any case of letters; null when none of them.
const char* end_of_word(const char* at, const char* last)
{
    for (const char* word : {"infinity", "inf", "nan"}) {
        const char* c = at;
        const char* w = word;
        while (*w != '\0' && c != last && (*c | 0x20) == *w) {
            ++c;
            ++w;
        }
        if (*w == '\0') {
            return c;
        }
    }
    return nullptr;
}

bool has_nonzero_digit(const char* at, const char* end, bool hexadecimal)
{
    for (; at != end && (*at | 0x20) != (hexadecimal ? 'p' : 'e'); ++at) {
        if (*at != '0' && *at != '.') {
            return true;
        }
    }
    return false;
}

} // namespace

std::from_chars_result std::from_chars(const char* first, const char* last, double& value,
                                       chars_format format) noexcept
{
    const bool hexadecimal = format == chars_format::hex;
    const char* const start = first != last && *first == '-' ? first + 1 : first;
    const bool negative = start != first;
    if (const char* const word_end = end_of_word(start, last); word_end != nullptr) {
        const double word = (*start | 0x20) == 'i' ? HUGE_VAL : NAN;
        value = negative ? -word : word;
        return {word_end, errc{}};
    }
    const char* const end = end_of_number(start, last, hexadecimal);
    if (end == start) {
        return {first, errc::invalid_argument};
    }
    // strtod wants a terminating zero, and a prefix before hexadecimal digits.
    const auto length = static_cast<size_t>(end - start);
    char room[128];
    char* const text = length + 3 <= sizeof room ? room : static_cast<char*>(std::malloc(length + 3));
    if (text == nullptr) {
        return {end, errc::result_out_of_range};
    }
    char* const digits = hexadecimal ? text + 2 : text;
    std::memcpy(text, "0x", 2);
    std::memcpy(digits, start, length);
    digits[length] = '\0';
    const double result = __mingw_strtod(text, nullptr);
    if (text != room) {
        std::free(text);
    }
    if (result > DBL_MAX || (result == 0.0 && has_nonzero_digit(start, end, hexadecimal))) {
        return {end, errc::result_out_of_range};
    }
    value = negative ? -result : result;
    return {end, errc{}};
}

#include "vector.hpp"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace morvel {

namespace {

char* write_word(char* out, const char* word)
{
    while (*word != '\0') {
        *out++ = *word++;
    }
    return out;
}

// number = 0.d1 d2 ... * 10^point
struct Decimal {
    char digits[12];
    int count;
    int point;
};

Decimal shortest(float number)
{
    Decimal result{};
    char text[32];
    for (int precision = 0; precision < 9; ++precision) {
        std::snprintf(text, sizeof text, "%.*e", precision, static_cast<double>(number));
        if (std::strtof(text, nullptr) == number) {
            break;
        }
    }
    const char* const exponent = std::strchr(text, 'e');
    for (const char* c = text; c != exponent; ++c) {
        if (*c >= '0' && *c <= '9') {
            result.digits[result.count++] = *c;
        }
    }
    while (result.count > 1 && result.digits[result.count - 1] == '0') {
        --result.count;
    }
    result.point = std::atoi(exponent + 1) + 1;
    return result;
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
    const Decimal decimal = shortest(number);
    const int exponent = decimal.point - 1;
    if (exponent < -4 || exponent > 16) { // as Tcl does
        *out++ = decimal.digits[0];
        if (decimal.count > 1) {
            *out++ = '.';
            std::memcpy(out, decimal.digits + 1, static_cast<std::size_t>(decimal.count - 1));
            out += decimal.count - 1;
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
    if (decimal.point <= 0) {
        out = write_word(out, "0.");
        for (int i = decimal.point; i < 0; ++i) {
            *out++ = '0';
        }
        std::memcpy(out, decimal.digits, static_cast<std::size_t>(decimal.count));
        return out + decimal.count;
    }
    for (int i = 0; i < decimal.point; ++i) {
        *out++ = i < decimal.count ? decimal.digits[i] : '0';
    }
    *out++ = '.';
    if (decimal.count <= decimal.point) {
        *out++ = '0';
    }
    for (int i = decimal.point; i < decimal.count; ++i) {
        *out++ = decimal.digits[i];
    }
    return out;
}

} // namespace morvel

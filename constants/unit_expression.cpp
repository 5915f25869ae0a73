// The parser of unit expressions.
//
//   expression  =  factor { ("*" | "/") factor }
//   factor      =  [prefix] unit { "^" exponent }
//
// "/" inverts the one factor behind it: J/mole/K is J * mole^-1 * K^-1, and
// W/K^4/m^2 is W * K^-4 * m^-2. An exponent applies to the factor before it.
//   N*m^2/kg^2:  factors N, m (power 2), kilo g (power -2);
//                dimensions 3 -1 -2 0 0, factor 1

#include "constants/units.h"

#include "constants/name_key.hpp"
#include "constants/tables.hpp"
#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"
#include "core/kernels/vector_kernels.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace zavo::constants {
namespace {

constexpr std::size_t max_expression_length = 255;
constexpr int max_factors = 10;

// Compared with the beginning of a factor in this order.
struct Prefix {
    std::string_view text;
    float factor;
};
// clang-format off
constexpr std::array<Prefix, 14> long_prefixes{{
    {"ATTO",  1e-18F},
    {"FEMTO", 1e-15F},
    {"PICO",  1e-12F},
    {"NANO",  1e-09F},
    {"MICRO", 1e-06F},
    {"MILLI", 0.001F},
    {"CENTI", 0.01F},
    {"DECI",  0.1F},
    {"DECA",  10.0F},
    {"KILO",  1e+03F},
    {"MYRIA", 1e+04F},
    {"MEGA",  1e+06F},
    {"GIGA",  1e+09F},
    {"TERA",  1e+12F},
}};
// clang-format on
static_assert(!long_prefixes.back().text.empty(), "every row is filled in");

// The letter at place p stands for 10^(3p - 18), C and D for 10^-2 and 10^-1.
// Kept: a blank stands for 10^6 (unit_expression.blank_is_mega), and the power is
// that of a float, so that CM is not to the last bit what CENTIM is
// (unit_expression.letter_prefixes).
constexpr std::string_view letter_prefixes = "AFPNUMCK GTD";

int power_of_letter(std::size_t place)
{
    switch (const int power = 3 * static_cast<int>(place) - 18) {
    case 0:
        return -2;
    case 15:
        return -1;
    default:
        return power;
    }
}

struct Factor {
    char* text; // within the upper-case copy; ends at a separator
    std::size_t length;
    int power;
    float scale;

    std::string_view name() const { return {text, length}; }
    void drop(std::size_t count, float prefix_factor)
    {
        text += count;
        length -= count;
        scale *= prefix_factor;
    }
};

struct Factors {
    std::array<Factor, max_factors> list;
    int count = 0;
};

// Symmetrical, so that the absolute value of a power is an int.
int saturated(std::int64_t value)
{
    constexpr std::int64_t limit = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(value, -limit, limit));
}

// What atoi() gives, 0 where no number stands, but saturated at the limits of an int.
int leading_int(std::string_view text)
{
    std::size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || (text[i] >= '\t' && text[i] <= '\r'))) {
        ++i;
    }
    const bool negative = i < text.size() && text[i] == '-';
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) {
        ++i;
    }
    std::int64_t value = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        value = saturated(10 * value + (text[i] - '0'));
    }
    return static_cast<int>(negative ? -value : value);
}

// False when the expression does not fit.
bool copy_in_capitals(const char* unit, char (&text)[max_expression_length + 1])
{
    for (std::size_t i = 0; i <= max_expression_length; ++i) {
        text[i] = capital(unit[i]);
        if (unit[i] == '\0') {
            return true;
        }
    }
    return false;
}

bool is_separator(char c)
{
    return c == '*' || c == '/' || c == '^';
}

// Splits as strtok() does: separators in a row count as one. False when there
// are more factors than fit.
//
// Kept: the separator before a token is read at a cursor that moves one place
// past each token, so a leading or doubled separator shifts it and it may be a
// letter, which means "*" (unit_expression.doubled_separators_shift). The cursor is
// never ahead of the tokens: it stays in the text.
//
//   text      m / / s * k g        m: cursor 0 -> 2, separator behind it "/"
//   tokens    m     s   k g        s: cursor 2 -> 4, separator behind it "s"
bool split(char* text, Factors& factors)
{
    char separator = '*';
    const char* cursor = text;
    for (char* token = text;;) {
        while (is_separator(*token)) {
            ++token;
        }
        if (*token == '\0') {
            return true;
        }
        char* end = token;
        while (*end != '\0' && !is_separator(*end)) {
            ++end;
        }
        const std::size_t length = static_cast<std::size_t>(end - token);
        if (separator == '^') { // never the first token
            int& power = factors.list[factors.count - 1].power;
            power = saturated(std::int64_t{power} * leading_int({token, length}));
        } else if (factors.count == max_factors) {
            return false;
        } else {
            factors.list[factors.count++] = {token, length, separator == '/' ? -1 : 1, 1.0F};
        }
        cursor += length;
        separator = *cursor++;
        token = end;
    }
}

// At most one prefix is taken off.
// Kept: two characters are a letter prefix and a unit of one letter wherever
// the first can be one (AU is atto-U, FT femto-T), and a long prefix is taken
// off whatever remains (MICRON is MICRO and N); pinned by
// unit_expression.prefixes_come_first.
void strip_prefix(Factor& factor)
{
    const std::string_view name = factor.name();
    if (name.size() == 2) {
        const std::size_t place = letter_prefixes.find(name[0]);
        if (place != std::string_view::npos) {
            factor.drop(1, l_fpowi(10.0F, power_of_letter(place)));
        }
        return;
    }
    if (name.size() == 3 && name.starts_with("DK")) {
        factor.drop(2, 10.0F);
        return;
    }
    for (const Prefix& prefix : long_prefixes) {
        if (name.front() == prefix.text.front() && name.starts_with(prefix.text)) { // front: saves the calls
            factor.drop(prefix.text.size(), prefix.factor);
            return;
        }
    }
}

void post_unknown(const char* text)
{
    zavo_error_set_string(1, text);
    zavo_error_post(ZAVO_TERMINAL, core::code::unknown_unit);
}

// Every product is rounded to float.
void parse(const char* unit, int dims[dimension_count], float* factor)
{
    char text[max_expression_length + 1];
    Factors factors;
    if (!copy_in_capitals(unit, text) || !split(text, factors)) {
        post_unknown(unit);
        return;
    }
    for (int i = 0; i < factors.count; ++i) {
        Factor& f = factors.list[i];
        strip_prefix(f);
        const UnitRow* const row = find_unit(f.name());
        if (row == nullptr) {
            f.text[f.length] = '\0';
            post_unknown(f.text);
            return;
        }
        f.scale *= row->factor;
        for (int k = 0; k < dimension_count; ++k) {
            dims[k] = saturated(dims[k] + std::int64_t{f.power} * row->dims[k]);
        }
        *factor *= f.power != 1 && f.scale != 1.0F ? l_fpowi(f.scale, f.power) : f.scale;
    }
}

} // namespace
} // namespace zavo::constants

void l_c3nit(const char* unit, int dims[5], float* factor)
{
    zavo_error_push("l_c3nit");
    std::fill_n(dims, zavo::constants::dimension_count, 0);
    *factor = 1.0F;
    zavo::constants::parse(unit, dims, factor);
    zavo_error_pop("l_c3nit");
}

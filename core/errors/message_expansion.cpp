// Message parameters and their place in a message text:
//   %(I1)      integer parameter 1; R real, C complex, S string, by kind
//   %(I1%05d)  the same in a format of the text's own; of a complex parameter it
//              has one conversion, for either part, or two, for the pair
//   %/         a line feed
// An unknown kind stays visible: "%(Q1)" gives "%(Q1)".

#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"
#include "core/errors/error_state.hpp"
#include "core/system/float_control.hpp"

#include <clocale>
#include <cstring>
#include <span>

namespace zavo::core {

namespace {

constexpr std::size_t longest_format = 63; // of a text's own

enum class Kind { complex, real, integer, string, unknown };

Kind kind_of(char letter)
{
    switch (letter) {
    case 'C':
    case 'Z':
    case 'c':
    case 'z':
        return Kind::complex;
    case 'D':
    case 'F':
    case 'R':
    case 'd':
    case 'f':
    case 'r':
        return Kind::real;
    case 'I':
    case 'i':
        return Kind::integer;
    case 'L':
    case 'S':
    case 'l':
    case 's':
        return Kind::string;
    default:
        return Kind::unknown;
    }
}

const char* conversions_of(Kind kind)
{
    switch (kind) {
    case Kind::integer:
        return "dixXuoc";
    case Kind::string:
        return "s";
    default:
        return "eEfFgGaA";
    }
}

// Digits of a width or precision; false when there are more than three, which
// no message needs and which would ask for a text of any size.
bool skip_number(const char*& at)
{
    const std::size_t digits = std::strspn(at, "0123456789");
    at += digits;
    return digits <= 3;
}

// How many conversions `format` holds; 0 when one of them is not of the kind.
int conversions_in(const char* format, Kind kind)
{
    int conversions = 0;
    for (const char* at = format; *at != '\0'; ++at) {
        if (*at != '%') {
            continue;
        }
        ++at;
        if (*at == '%') {
            continue;
        }
        at += std::strspn(at, "-+ #0");
        if (!skip_number(at)) {
            return 0;
        }
        if (*at == '.') {
            ++at;
            if (!skip_number(at)) {
                return 0;
            }
        }
        if (*at == '\0' || std::strchr(conversions_of(kind), *at) == nullptr) {
            return 0;
        }
        ++conversions;
    }
    return conversions;
}

bool fits(const char* format, Kind kind)
{
    const int conversions = conversions_in(format, kind);
    return conversions == 1 || (conversions == 2 && kind == Kind::complex);
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

// A number by one conversion, with a point for the decimal point of the locale.
void append_number(const char* conversion, double value, TextBuffer& out)
{
    const std::size_t start = out.size();
    {
        const platform::UsualPrinting usual;
        out.format(conversion, value);
    }
    const char* const point = std::localeconv()->decimal_point;
    if (std::strcmp(point, ".") != 0) {
        std::size_t at = start;
        while (at < out.size() && !out.replace_at(at, point, '.')) {
            ++at;
        }
    }
}

// The text of `format`, which has as many conversions as there are values.
void append_numbers(const char* format, std::span<const double> values, TextBuffer& out)
{
    while (*format != '\0') {
        const std::size_t plain = std::strcspn(format, "%");
        out.append(format, plain);
        format += plain;
        if (format[0] == '%' && format[1] == '%') {
            out.append('%');
            format += 2;
        } else if (format[0] == '%' && !values.empty()) {
            char conversion[longest_format + 1];
            const std::size_t length = 2 + std::strspn(format + 1, "-+ #.0123456789");
            std::memcpy(conversion, format, length);
            conversion[length] = '\0';
            append_number(conversion, values.front(), out);
            values = values.subspan(1);
            format += length;
        }
    }
}

// format: one that fits() has accepted, or the kind's ordinary one.
void append_value(Kind kind, int i, const char* format, TextBuffer& out)
{
    const MessageParameters& parameters = message_parameters();
    switch (kind) {
    case Kind::integer:
        out.format(format, parameters.integer[i]);
        break;
    case Kind::real:
        append_numbers(format, {&parameters.real[i], 1}, out);
        break;
    case Kind::complex: {
        const double parts[] = {parameters.complex[i].re, parameters.complex[i].im};
        if (conversions_in(format, kind) == 2) {
            append_numbers(format, parts, out);
        } else {
            out.append('(');
            append_numbers(format, {&parts[0], 1}, out);
            out.append(',');
            append_numbers(format, {&parts[1], 1}, out);
            out.append(')');
        }
        break;
    }
    case Kind::string:
        out.format(format, parameters.string[i].c_str());
        break;
    case Kind::unknown:
        break;
    }
}

#pragma GCC diagnostic pop

const char* ordinary_format(Kind kind)
{
    return kind == Kind::integer ? "%d" : kind == Kind::string ? "%s" : "%e";
}

// text: behind "%("; returns the place behind the closing ")".
const char* append_parameter(const char* text, TextBuffer& out)
{
    const Kind kind = kind_of(text[0]);
    const int i = text[1] - '1';
    const char* const behind = text + 2;
    const std::size_t length = std::strcspn(behind, ")");
    if (kind == Kind::unknown || i < 0) {
        out.format("%%(%c%c)", text[0], text[1]);
    } else {
        char own[longest_format + 1] = "";
        if (*behind == '%' && length <= longest_format) {
            std::memcpy(own, behind, length);
        }
        append_value(kind, i, fits(own, kind) ? own : ordinary_format(kind), out);
    }
    return behind + length + (behind[length] == ')' ? 1 : 0);
}

bool is_letter(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

template <class T, class Value>
void set_parameter(T (&kind)[parameter_count], int n, const Value& value)
{
    if (n >= 1 && n <= parameter_count) {
        kind[n - 1] = value;
    }
}

} // namespace

void expand_message(const char* text, TextBuffer& out)
{
    while (*text != '\0') {
        if (text[0] == '%' && text[1] == '(' && is_letter(text[2]) && is_digit(text[3])) {
            text = append_parameter(text + 2, out);
        } else if (text[0] == '%' && text[1] == '/') {
            out.append('\n');
            text += 2;
        } else {
            const std::size_t plain = 1 + std::strcspn(text + 1, "%");
            out.append(text, plain);
            text += plain;
        }
    }
    if (out.out_of_memory()) {
        static const char complaint[] = "Out of memory in error handler.";
        out.set_static(complaint);
    }
}

} // namespace zavo::core

using namespace zavo::core;

void zavo_error_set_int(int n, int value)
{
    set_parameter(message_parameters().integer, n, value);
}

void zavo_error_set_real(int n, double value)
{
    set_parameter(message_parameters().real, n, value);
}

void zavo_error_set_complex(int n, double re, double im)
{
    set_parameter(message_parameters().complex, n, ComplexParameter{re, im});
}

void zavo_error_set_f_complex(int n, float re, float im)
{
    zavo_error_set_complex(n, static_cast<double>(re), static_cast<double>(im));
}

void zavo_error_set_string(int n, const char* text)
{
    // Not abs(): the smallest int has no positive twin.
    const int i = n < 0 ? -1 - n : n - 1;
    if (i >= 0 && i < parameter_count) {
        TextBuffer& parameter = message_parameters().string[i];
        parameter.clear();
        parameter.append(text != nullptr ? text : "(null)");
    }
}

// The text of a float beside that of the C++ library.
#pragma once

#include "morvel/float_text.hpp"

#include <bit>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace support {

inline std::string text_of(float number)
{
    char text[morvel::max_float_text];
    return {text, morvel::write_float(text, number)};
}

// The significant digits and the power of ten of the last of them: 1.50e3 gives
// 15e2. Of zeros at either end only the value counts.
inline std::string significant(const std::string& text)
{
    std::string digits;
    int exponent = 0;
    bool behind_point = false;
    for (const char c : text) {
        if (c == 'e') {
            exponent += std::atoi(text.c_str() + text.find('e') + 1);
            break;
        }
        behind_point = behind_point || c == '.';
        if (c != '.') {
            digits += c;
            exponent -= static_cast<int>(behind_point);
        }
    }
    while (digits.size() > 1 && digits.back() == '0') {
        digits.pop_back();
        ++exponent;
    }
    const std::size_t first = digits.find_first_not_of('0');
    return (first == std::string::npos ? "0" : digits.substr(first)) + "e" + std::to_string(exponent);
}

// For positive finite floats: whether the text has the shortest digits that read
// back as the float, the nearest ones where several do.
inline bool has_shortest_text(std::uint32_t bits)
{
    const float number = std::bit_cast<float>(bits);
    char text[64];
    const std::to_chars_result end =
        std::to_chars(text, text + sizeof text, number, std::chars_format::scientific);
    return significant(text_of(number)) == significant(std::string(text, end.ptr));
}

} // namespace support

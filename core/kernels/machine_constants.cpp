// What the machine's integer, single and double precision arithmetic is like
// (two's complement, IEEE 754 binary32 and binary64): table look-ups, nothing is
// measured. The floating-point tables hold bit patterns, so that the NaN keeps
// its exact significand on every compiler.
#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace {

using zavo::core::code::ErrorCode;

// clang-format off
constexpr std::array<int, 13> integer_table = {
    8,          // 0 bits in a character
    2,          // 1 base of the integers
    15,         // 2 value bits of a short integer
    32767,      // 3 largest short integer
    31,         // 4 value bits of a long integer (32 bits wide)
    2147483647, // 5 largest long integer
    2,          // 6 base of the floating-point numbers
    24,         // 7 single precision: digits of the significand
    -125,       // 8                   smallest exponent
    128,        // 9                   largest exponent
    53,         // 10 double precision: digits of the significand
    -1021,      // 11                   smallest exponent
    1024,       // 12                   largest exponent
};

constexpr std::array<std::uint32_t, 8> single_table = {
    0x00800000, // 1 smallest normalised number    2^-126 = 1.1754944e-38
    0x7F7FFFFF, // 2 largest finite number         3.4028235e+38
    0x33800000, // 3 smallest relative spacing     2^-24 = 5.9604645e-08
    0x34000000, // 4 largest relative spacing      2^-23 = 1.1920929e-07
    0x3E9A209B, // 5 log10 of the base             0.30103001
    0x7FFFFFFF, // 6 not a number
    0x7F800000, // 7 positive infinity
    0xFF800000, // 8 negative infinity
};

constexpr std::array<std::uint64_t, 8> double_table = {
    0x0010000000000000, // 1 smallest normalised number    2^-1022 = 2.2250738585072014e-308
    0x7FEFFFFFFFFFFFFF, // 2 largest finite number         1.7976931348623157e+308
    0x3CA0000000000000, // 3 smallest relative spacing     2^-53 = 1.1102230246251565e-16
    0x3CB0000000000000, // 4 largest relative spacing      2^-52 = 2.220446049250313e-16
    // Kept: the upper half of log10(2) stands in both halves of the word, which
    // is not the nearest double (machine_constants.keeps_its_odd_log10_of_two).
    0x3FD344133FD34413, // 5 log10 of the base             0.30102998001990605
    0x7FFFFFFFFFFFFFFF, // 6 not a number
    0x7FF0000000000000, // 7 positive infinity
    0xFFF0000000000000, // 8 negative infinity
};
// clang-format on

static_assert(std::bit_cast<float>(single_table[0]) == std::numeric_limits<float>::min());
static_assert(std::bit_cast<float>(single_table[1]) == std::numeric_limits<float>::max());
static_assert(std::bit_cast<float>(single_table[3]) == std::numeric_limits<float>::epsilon());
static_assert(std::bit_cast<double>(double_table[0]) == std::numeric_limits<double>::min());
static_assert(std::bit_cast<double>(double_table[1]) == std::numeric_limits<double>::max());
static_assert(std::bit_cast<double>(double_table[3]) == std::numeric_limits<double>::epsilon());
static_assert(integer_table[5] == std::numeric_limits<int>::max());

// The public routines name the range in their message.
void post_out_of_range(const char* routine, int low, int high, int n)
{
    zavo_error_push(routine);
    zavo_error_set_int(1, low);
    zavo_error_set_int(2, high);
    zavo_error_set_int(3, n);
    zavo_error_set_string(1, "n");
    zavo_error_post(ZAVO_TERMINAL, ErrorCode::out_of_range);
    zavo_error_pop(routine);
}

void post_bad_index(const char* routine, int n)
{
    zavo_error_push(routine);
    zavo_error_set_int(1, n);
    zavo_error_post(ZAVO_TERMINAL, ErrorCode::bad_machine_index);
    zavo_error_pop(routine);
}

template <class Table>
constexpr bool has_entry(const Table& table, int entry_no)
{
    return entry_no >= 1 && entry_no <= static_cast<int>(table.size());
}

template <class Table>
constexpr auto entry(const Table& table, int entry_no)
{
    return table[static_cast<std::size_t>(entry_no) - 1];
}

} // namespace

extern "C" {

int zavo_i_machine(int n)
{
    constexpr int last = static_cast<int>(integer_table.size()) - 1;
    if (n < 0 || n > last) {
        post_out_of_range("zavo_i_machine", 0, last, n);
        return 0;
    }
    return integer_table[static_cast<std::size_t>(n)];
}

float zavo_f_machine(int n)
{
    if (!has_entry(single_table, n)) {
        post_out_of_range("zavo_f_machine", 1, static_cast<int>(single_table.size()), n);
        return 0.0F;
    }
    return std::bit_cast<float>(entry(single_table, n));
}

float zavo_amach(int n)
{
    if (!has_entry(single_table, n)) {
        post_bad_index("zavo_amach", n);
        return 0.0F;
    }
    return std::bit_cast<float>(entry(single_table, n));
}

double zavo_dmach(int n)
{
    if (!has_entry(double_table, n)) {
        post_bad_index("zavo_dmach", n);
        return 0.0;
    }
    return std::bit_cast<double>(entry(double_table, n));
}

} // extern "C"

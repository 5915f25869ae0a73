#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"
#include "tests/support/captured_errors.hpp"

#include <gtest/gtest.h>

#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>

namespace {

using zavo::test::CapturedErrors;
using Float = std::numeric_limits<float>;
using Double = std::numeric_limits<double>;

std::uint32_t bits(float x)
{
    return std::bit_cast<std::uint32_t>(x);
}
std::uint64_t bits(double x)
{
    return std::bit_cast<std::uint64_t>(x);
}

TEST(machine_constants, integers_describe_this_compiler)
{
    EXPECT_EQ(zavo_i_machine(0), CHAR_BIT);
    EXPECT_EQ(zavo_i_machine(1), 2);
    EXPECT_EQ(zavo_i_machine(2), std::numeric_limits<short>::digits);
    EXPECT_EQ(zavo_i_machine(3), SHRT_MAX);
    EXPECT_EQ(zavo_i_machine(4), std::numeric_limits<std::int32_t>::digits);
    EXPECT_EQ(zavo_i_machine(5), INT_MAX);
    EXPECT_EQ(zavo_i_machine(6), Float::radix);
    EXPECT_EQ(zavo_i_machine(7), Float::digits);
    EXPECT_EQ(zavo_i_machine(8), Float::min_exponent);
    EXPECT_EQ(zavo_i_machine(9), Float::max_exponent);
    EXPECT_EQ(zavo_i_machine(10), Double::digits);
    EXPECT_EQ(zavo_i_machine(11), Double::min_exponent);
    EXPECT_EQ(zavo_i_machine(12), Double::max_exponent);
}

TEST(machine_constants, single_precision_has_these_bits)
{
    const std::uint32_t expected[] = {0x00800000, 0x7F7FFFFF, 0x33800000, 0x34000000,
                                      0x3E9A209B, 0x7FFFFFFF, 0x7F800000, 0xFF800000};
    for (int n = 1; n <= 8; ++n) {
        EXPECT_EQ(bits(zavo_f_machine(n)), expected[n - 1]) << n;
        EXPECT_EQ(bits(zavo_amach(n)), expected[n - 1]) << n;
    }
}

TEST(machine_constants, single_precision_means_what_it_says)
{
    EXPECT_EQ(zavo_amach(1), std::ldexp(1.0F, -126));
    EXPECT_EQ(zavo_amach(2), Float::max());
    EXPECT_EQ(zavo_amach(3), std::ldexp(1.0F, -24));
    EXPECT_EQ(1.0F + zavo_amach(4), std::nextafter(1.0F, 2.0F));
    EXPECT_EQ(zavo_amach(5), static_cast<float>(std::log10(2.0)));
    EXPECT_TRUE(std::isnan(zavo_amach(6)));
    EXPECT_EQ(zavo_amach(7), Float::infinity());
    EXPECT_EQ(zavo_amach(8), -Float::infinity());
}

TEST(machine_constants, double_precision_has_these_bits)
{
    const std::uint64_t expected[] = {0x0010000000000000, 0x7FEFFFFFFFFFFFFF, 0x3CA0000000000000,
                                      0x3CB0000000000000, 0x3FD344133FD34413, 0x7FFFFFFFFFFFFFFF,
                                      0x7FF0000000000000, 0xFFF0000000000000};
    for (int n = 1; n <= 8; ++n) {
        EXPECT_EQ(bits(zavo_dmach(n)), expected[n - 1]) << n;
    }
}

TEST(machine_constants, keeps_its_odd_log10_of_two)
{
    EXPECT_EQ(zavo_dmach(5), 0.30102998001990605);
    EXPECT_NE(zavo_dmach(5), std::log10(2.0));
}

TEST(machine_constants, public_routines_post_the_range)
{
    struct Row {
        int (*call)(int);
        const char* routine;
        const char* range;
        int bad[4];
    };
    const Row rows[] = {
        {zavo_i_machine, "zavo_i_machine", "0 12", {-1, 13, INT_MIN, INT_MAX}},
        {[](int n) { return static_cast<int>(zavo_f_machine(n)); },
         "zavo_f_machine",
         "1 8",
         {0, 9, INT_MIN, INT_MAX}},
    };
    CapturedErrors errors;
    for (const Row& row : rows) {
        for (const int n : row.bad) {
            errors.clear();
            EXPECT_EQ(row.call(n), 0);
            ASSERT_EQ(errors.all().size(), 1U) << row.routine << n;
            EXPECT_EQ(errors.all()[0].type, ZAVO_TERMINAL);
            EXPECT_EQ(errors.all()[0].code, 132);
            EXPECT_EQ(errors.all()[0].routine, row.routine);
            EXPECT_EQ(zavo_error_code(1), 132);
            EXPECT_EQ(errors.expand("%(I1) %(I2)"), row.range);
            EXPECT_EQ(errors.expand("%(I3) %(S1)"), std::to_string(n) + " n");
        }
    }
}

TEST(machine_constants, internal_routines_post_the_index)
{
    CapturedErrors errors;
    for (const int n : {0, 9, -3, INT_MIN, INT_MAX}) {
        errors.clear();
        EXPECT_EQ(bits(zavo_amach(n)), 0U);
        EXPECT_EQ(bits(zavo_dmach(n)), 0U);
        ASSERT_EQ(errors.codes(), "5/12009 5/12009") << n;
        EXPECT_EQ(errors.all()[0].routine, "zavo_amach");
        EXPECT_EQ(errors.all()[1].routine, "zavo_dmach");
        EXPECT_EQ(errors.expand("%(I1)"), std::to_string(n));
    }
}

TEST(machine_constants, good_calls_leave_the_error_queries_alone)
{
    CapturedErrors errors;
    (void)zavo_amach(0);
    EXPECT_EQ(zavo_error_code(1), 12009);
    (void)zavo_amach(1);
    (void)zavo_dmach(1);
    (void)zavo_i_machine(0);
    (void)zavo_f_machine(1);
    EXPECT_EQ(zavo_error_code(1), 12009);
    zavo::core::clear_queries();
    EXPECT_EQ(zavo_error_code(1), 0);
}

} // namespace

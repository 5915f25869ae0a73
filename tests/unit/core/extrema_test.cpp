#include "core/errors/error_stack.h"
#include "tests/support/captured_errors.hpp"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(extrema, smallest_and_largest_of_integers)
{
    EXPECT_EQ(zavo_i_vmin(5, 3, -7, 12, -7, 0), -7);
    EXPECT_EQ(zavo_i_vmax(5, 3, -7, 12, -7, 0), 12);
    EXPECT_EQ(zavo_i_vmin(1, 42), 42);
    EXPECT_EQ(zavo_i_vmax(1, 42), 42);
    EXPECT_EQ(zavo_i_vmin(3, INT_MAX, INT_MIN, 0), INT_MIN);
    EXPECT_EQ(zavo_i_vmax(3, INT_MAX, INT_MIN, 0), INT_MAX);
}

TEST(extrema, many_integers_beyond_the_argument_registers)
{
    EXPECT_EQ(zavo_i_vmin(12, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1), 1);
    EXPECT_EQ(zavo_i_vmax(12, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12), 12);
}

TEST(extrema, smallest_and_largest_of_floats)
{
    EXPECT_EQ(zavo_f_vmin(4, 2.5, -1.25, 8.0, 0.0), -1.25F);
    EXPECT_EQ(zavo_f_vmax(4, 2.5, -1.25, 8.0, 0.0), 8.0F);
    EXPECT_EQ(zavo_f_vmin(3, inf, 1.0, -inf), -std::numeric_limits<float>::infinity());
    EXPECT_EQ(zavo_f_vmax(3, -inf, 1.0, inf), std::numeric_limits<float>::infinity());
    EXPECT_EQ(zavo_f_vmin(10, 9.5, 8.5, 7.5, 6.5, 5.5, 4.5, 3.5, 2.5, 1.5, 0.5), 0.5F);
    EXPECT_EQ(zavo_f_vmax(10, 0.5, 1.5, 2.5, 3.5, 4.5, 5.5, 6.5, 7.5, 8.5, 9.5), 9.5F);
}

TEST(extrema, nothing_gives_zero)
{
    EXPECT_EQ(zavo_i_vmin(0), 0);
    EXPECT_EQ(zavo_i_vmax(-1), 0);
    EXPECT_EQ(zavo_f_vmin(0), 0.0F);
    EXPECT_EQ(zavo_f_vmax(INT_MIN), 0.0F);
    // ... also when an earlier call left another value behind
    EXPECT_EQ(zavo_i_vmax(1, 9), 9);
    EXPECT_EQ(zavo_i_vmax(0), 0);
}

TEST(extrema, minimum_passes_over_a_later_nan)
{
    EXPECT_EQ(zavo_f_vmin(3, 2.0, nan, 3.0), 2.0F);
    EXPECT_EQ(zavo_f_vmin(3, 2.0, nan, 1.0), 1.0F);
    EXPECT_TRUE(std::isnan(zavo_f_vmin(3, nan, 2.0, 1.0))); // nothing is less than NaN
}

TEST(extrema, maximum_takes_a_nan_and_leaves_it_again)
{
    EXPECT_TRUE(std::isnan(zavo_f_vmax(2, 2.0, nan)));
    EXPECT_TRUE(std::isnan(zavo_f_vmax(3, 1.0, 2.0, nan)));
    EXPECT_EQ(zavo_f_vmax(3, 9.0, nan, 1.0), 1.0F); // not >= 1, so 1 goes in
}

TEST(extrema, ties_keep_the_first_zero_sign)
{
    EXPECT_FALSE(std::signbit(zavo_f_vmin(2, 0.0, -0.0)));
    EXPECT_TRUE(std::signbit(zavo_f_vmin(2, -0.0, 0.0)));
    EXPECT_TRUE(std::signbit(zavo_f_vmax(2, -0.0, 0.0)));
}

TEST(extrema, enter_under_their_own_name)
{
    zavo::test::CapturedErrors errors;
    (void)zavo_amach(0);
    ASSERT_NE(zavo_error_code(1), 0);
    EXPECT_EQ(zavo_i_vmin(1, 1), 1); // the push clears the queries
    EXPECT_EQ(zavo_error_code(1), 0);
}

} // namespace

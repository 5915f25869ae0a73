#include "tests/unit/core/elementary_reference.hpp"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>

namespace zavo::test {

namespace {

TEST(elementary, within_the_promised_error_for_floats)
{
    check_floats(100003);
}

TEST(elementary, angle_within_the_promised_error)
{
    std::mt19937_64 source(1);
    double worst = 0;
    for (int i = 0; i < 100000; ++i) {
        const std::uint64_t word = source();
        // every other pair of like size, between 1/8 and 8
        const auto low = static_cast<std::uint32_t>(word);
        const auto high = static_cast<std::uint32_t>(word >> 32);
        const float y = std::bit_cast<float>(i % 2 == 0 ? low : low % 0x03000000U + 0x3E000000U);
        const float x = std::bit_cast<float>(i % 2 == 0 ? high : high % 0x03000000U + 0x3E000000U);
        worst = std::fmax(worst, ulps(elementary::atan2(y, x), atan2l(y, x)));
    }
    EXPECT_LT(worst, elementary::max_error_ulp);
}

// Worked out in fractions with 1600 binary digits of pi. The last row but one is
// the double that comes nearest to a multiple of pi/2; no float comes so near.
TEST(elementary, sine_and_cosine_of_large_arguments)
{
    struct Row {
        double x, sine, cosine;
    };
    // clang-format off
    const Row rows[] = {
        {0x1.0000000000000p+20, 0x1.526ccb2fc8656p-2, 0x1.e33ada92fe2aep-1},
        {0x1.e848080000000p+19, -0x1.b7bbd56f648b8p-4, 0x1.fd0a79db83ee8p-1},
        {0x1.312d000000000p+22, -0x1.f3fd5fdc1315ep-1, -0x1.b8fc4119417b9p-3}, // digits of 2/pi from a
        {0x1.4cccccccccccdp+54, 0x1.ffe7201c77109p-1, 0x1.3f2e5a5baf4b7p-6},   // whole word on
        {0x1.8000000000000p+31, -0x1.d267a039a0c50p-1, -0x1.a66c9f31fc0f1p-2},
        {0x1.0f0cf064dd592p+73, -0x1.b453ab76bf397p-1, 0x1.0be2cef01c8f4p-1},
        {0x1.0000000000000p+100, -0x1.be8ed97ac1f59p-1, 0x1.f4eb3ff66e36dp-2},
        {0x1.fffffe0000000p+127, -0x1.0b33665089575p-1, 0x1.b4bf2c79bdfcep-1},
        {0x1.43089a0000000p+95, 0x1.fc6abfe1870b2p-3, 0x1.eff8e7da115a2p-1},
        {0x1.0000000000000p+1023, 0x1.205248cbdb760p-1, -0x1.a719f26c232bfp-1},
        {0x1.fffffffffffffp+1023, 0x1.452fc98b34e97p-8, -0x1.fffe62ecfab75p-1},
        {0x1.6ac5b262ca1ffp+849, 0x1.0000000000000p+0, -0x1.14ae72e6ba22fp-61},
        {0x1.7e43c8800759cp+996, -0x1.a2c16b010e385p-1, -0x1.2699022adc4c1p-1},
    };
    // clang-format on
    constexpr double tolerance = 6;
    for (const Row& row : rows) {
        EXPECT_LT(ulps(elementary::sin(row.x), row.sine), tolerance) << row.x;
        EXPECT_LT(ulps(elementary::cos(row.x), row.cosine), tolerance) << row.x;
        EXPECT_LT(ulps(elementary::sin(-row.x), -static_cast<long double>(row.sine)), tolerance) << row.x;
        EXPECT_EQ(elementary::cos(-row.x), elementary::cos(row.x)) << row.x;
    }
}

TEST(elementary, both_reductions_agree_where_they_meet)
{
    for (double x = 0x1p20 - 40; x < 0x1p20 + 40; x += 0.37) {
        const double s = elementary::sin(x);
        const double c = elementary::cos(x);
        EXPECT_NEAR(s * s + c * c, 1.0, 1e-15) << x;
        EXPECT_NEAR(s, static_cast<double>(sinl(x)), 1e-13) << x;
        EXPECT_NEAR(c, static_cast<double>(cosl(x)), 1e-13) << x;
    }
}

TEST(elementary, special_values)
{
    for (const Function& function : functions) {
        EXPECT_TRUE(std::isnan(function.ours(nan))) << function.name;
    }
    for (const double x : {inf, -inf}) {
        EXPECT_TRUE(std::isnan(elementary::sin(x)) && std::isnan(elementary::cos(x)));
        EXPECT_EQ(elementary::sinh(x), x);
        EXPECT_EQ(elementary::cosh(x), inf);
    }
    EXPECT_EQ(elementary::exp(inf), inf);
    EXPECT_EQ(elementary::exp(-inf), 0.0);
    EXPECT_EQ(elementary::exp(0.0), 1.0);
    EXPECT_EQ(elementary::log(0.0), -inf);
    EXPECT_EQ(elementary::log(-0.0), -inf);
    EXPECT_EQ(elementary::log(1.0), 0.0);
    EXPECT_EQ(elementary::log(inf), inf);
    EXPECT_TRUE(std::isnan(elementary::log(-1.0)));
    EXPECT_TRUE(std::signbit(elementary::sin(-0.0)));
    EXPECT_TRUE(std::signbit(elementary::sinh(-0.0)));
}

TEST(elementary, ends_of_the_exponential)
{
    for (const double x : {709.0, 709.78271289338397, -708.0, -708.5, -720.0, -745.13321910194110}) {
        EXPECT_LT(ulps(elementary::exp(x), expl(x)), 3.0) << x;
    }
    EXPECT_EQ(elementary::exp(709.7827128933841), inf);
    EXPECT_EQ(elementary::exp(-745.2), 0.0);
    EXPECT_LT(ulps(elementary::cosh(710.0), coshl(710.0)), 3.0);
    EXPECT_LT(ulps(elementary::sinh(-710.4), sinhl(-710.4)), 3.0);
    EXPECT_EQ(elementary::cosh(710.5), inf);
    EXPECT_EQ(elementary::sinh(-1e4), -inf);
    for (const double x : {5e-324, 1e-310, 0x1p-1022}) {
        EXPECT_LT(ulps(elementary::log(x), logl(x)), 3.0) << x;
    }
}

TEST(elementary, angle_of_zeros_and_infinities)
{
    for (const double x : {0.0, -0.0, 1.0, -1.0, inf, -inf}) {
        for (const double y : {0.0, -0.0, 1.0, -1.0, inf, -inf}) {
            const double expected = std::atan2(y, x);
            EXPECT_EQ(elementary::atan2(y, x), expected) << y << " " << x;
            EXPECT_EQ(std::signbit(elementary::atan2(y, x)), std::signbit(expected)) << y << " " << x;
        }
    }
    EXPECT_TRUE(std::isnan(elementary::atan2(nan, 1)));
    EXPECT_TRUE(std::isnan(elementary::atan2(1, nan)));
}

} // namespace

} // namespace zavo::test

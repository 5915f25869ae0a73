#include "core/kernels/vector_kernels.h"

#include <gtest/gtest.h>

#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace {

constexpr float inf = std::numeric_limits<float>::infinity();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float epsilon = std::numeric_limits<float>::epsilon();

std::vector<float> random_vector(std::size_t n, std::mt19937& source, float scale = 1.0F)
{
    std::uniform_real_distribution<float> uniform(-1.0F, 1.0F);
    std::vector<float> x(n);
    for (float& value : x) {
        value = scale * uniform(source);
    }
    return x;
}

// Place of element i of a strided vector, by the definition.
int place(int i, int n, int inc)
{
    return inc < 0 ? (i - (n - 1)) * inc : i * inc;
}

TEST(vector_kernels, integer_minimum_and_maximum)
{
    EXPECT_EQ(l_imin(2, 3), 2);
    EXPECT_EQ(l_imin(3, 2), 2);
    EXPECT_EQ(l_imax(2, 3), 3);
    EXPECT_EQ(l_imax(-2, -3), -2);
    EXPECT_EQ(l_imin(INT_MIN, INT_MAX), INT_MIN);
    EXPECT_EQ(l_imax(INT_MIN, INT_MAX), INT_MAX);
}

TEST(vector_kernels, float_minimum_and_maximum)
{
    EXPECT_EQ(l_fmax(1.0F, 2.0F), 2.0F);
    EXPECT_EQ(l_fmax(2.0F, 1.0F), 2.0F);
    EXPECT_EQ(l_fmin(1.0F, 2.0F), 1.0F);
    EXPECT_EQ(l_fmin(2.0F, 1.0F), 1.0F);
}

TEST(vector_kernels, ties_give_the_second)
{
    EXPECT_TRUE(std::signbit(l_fmax(0.0F, -0.0F)));
    EXPECT_FALSE(std::signbit(l_fmax(-0.0F, 0.0F)));
    EXPECT_TRUE(std::signbit(l_fmin(0.0F, -0.0F)));
    EXPECT_FALSE(std::signbit(l_fmin(-0.0F, 0.0F)));
}

TEST(vector_kernels, unordered_maximum_gives_the_second_and_minimum_the_first)
{
    EXPECT_EQ(l_fmax(nan, 1.0F), 1.0F);
    EXPECT_TRUE(std::isnan(l_fmax(1.0F, nan)));
    EXPECT_TRUE(std::isnan(l_fmin(nan, 1.0F)));
    EXPECT_EQ(l_fmin(1.0F, nan), 1.0F);
}

TEST(vector_kernels, integer_power_of_exact_cases)
{
    EXPECT_EQ(l_fpowi(2.0F, -3), 0.125F);
    for (const float x : {0.0F, -0.0F, 1.5F, -7.0F, inf, nan}) {
        EXPECT_EQ(l_fpowi(x, 0), 1.0F);
    }
    for (int k = -126; k <= 127; ++k) {
        EXPECT_EQ(l_fpowi(2.0F, k), std::ldexp(1.0F, k)) << k;
        EXPECT_EQ(l_fpowi(-1.0F, k), k % 2 == 0 ? 1.0F : -1.0F) << k;
    }
    EXPECT_EQ(l_fpowi(3.0F, 13), 1594323.0F);
    EXPECT_EQ(l_fpowi(0.0F, 5), 0.0F);
    EXPECT_EQ(l_fpowi(0.0F, -5), inf);
    EXPECT_EQ(l_fpowi(-0.0F, -5), -inf);
    EXPECT_EQ(l_fpowi(1.0F, INT_MAX), 1.0F);
    EXPECT_EQ(l_fpowi(1.0F, INT_MIN), 1.0F);
    EXPECT_EQ(l_fpowi(-1.0F, INT_MIN), 1.0F);
    EXPECT_EQ(l_fpowi(2.0F, INT_MIN), 0.0F);
    EXPECT_TRUE(std::isnan(l_fpowi(nan, 3)));
}

TEST(vector_kernels, integer_power_up_to_six_rounds_as_defined)
{
    std::mt19937 source(20261120);
    for (const float x : random_vector(2000, source, 3.0F)) {
        const double d = x;
        const double f = static_cast<float>(d * d);
        EXPECT_EQ(l_fpowi(x, 1), x);
        EXPECT_EQ(l_fpowi(x, 2), static_cast<float>(d * d));
        EXPECT_EQ(l_fpowi(x, 3), static_cast<float>(d * d * d));
        EXPECT_EQ(l_fpowi(x, 4), static_cast<float>(d * d * f));
        EXPECT_EQ(l_fpowi(x, 5), static_cast<float>(d * f * f));
        EXPECT_EQ(l_fpowi(x, 6), static_cast<float>(d * d * f * f));
        // 11 = 1011 in binary: x * x^2 * x^8, every product in float
        const float x2 = x * x;
        const float x4 = x2 * x2;
        const float x8 = x4 * x4;
        EXPECT_EQ(l_fpowi(x, 11), (x * x2) * x8);
        EXPECT_EQ(l_fpowi(x, -2), l_fpowi(1.0F / x, 2));
    }
}

TEST(vector_kernels, integer_power_is_near_the_power)
{
    std::mt19937 source(7);
    for (const float x : random_vector(500, source, 2.0F)) {
        for (int k = 7; k <= 40; ++k) {
            const double exact = std::pow(static_cast<double>(x), k);
            if (std::fabs(exact) > 1e-30) {
                // k rounding errors at most, one for each factor
                EXPECT_NEAR(l_fpowi(x, k) / exact, 1.0, k * epsilon) << x << " " << k;
            }
        }
    }
}

TEST(vector_kernels, copy_reverses_with_a_negative_increment)
{
    const float x[] = {1, 2, 3, 4};
    float y[] = {0, 0, 0, 0};
    l_vcopy(4, x, -1, y, 1);
    EXPECT_EQ(std::vector<float>(y, y + 4), (std::vector<float>{4, 3, 2, 1}));
    l_vcopy(4, x, -1, y, -1); // both backwards is forwards again
    EXPECT_EQ(std::vector<float>(y, y + 4), (std::vector<float>{1, 2, 3, 4}));
}

TEST(vector_kernels, copy_walks_every_pair_of_increments)
{
    constexpr int n = 7;
    std::mt19937 source(1);
    for (const int incx : {-3, -1, 0, 1, 2}) {
        for (const int incy : {-2, -1, 0, 1, 3}) {
            const std::vector<float> x = random_vector(32, source);
            std::vector<float> y(32, 99.0F);
            std::vector<float> expected = y;
            for (int i = 0; i < n; ++i) {
                expected[static_cast<std::size_t>(place(i, n, incy))] =
                    x[static_cast<std::size_t>(place(i, n, incx))];
            }
            l_vcopy(n, x.data(), incx, y.data(), incy);
            EXPECT_EQ(y, expected) << incx << " " << incy;
        }
    }
}

TEST(vector_kernels, copy_in_one_block_may_overlap)
{
    std::vector<float> x = {1, 2, 3, 4, 5};
    l_vcopy(4, x.data(), 1, x.data() + 1, 1);
    EXPECT_EQ(x, (std::vector<float>{1, 1, 2, 3, 4}));
}

TEST(vector_kernels, empty_vectors_are_left_alone)
{
    float x = 1.0F;
    float y = 2.0F;
    for (const int n : {0, -1, INT_MIN}) {
        l_vcopy(n, &x, 1, &y, 1);
        l_vcopy(n, &x, -1, &y, 2);
        l_vrot(n, &x, 1, &y, 1, 0.0F, 1.0F);
        EXPECT_EQ(l_vdot(n, &x, 1, &y, 1), 0.0F);
        EXPECT_EQ(l_vnrm2(n, &x, 1), 0.0F);
    }
    EXPECT_EQ(x, 1.0F);
    EXPECT_EQ(y, 2.0F);
}

TEST(vector_kernels, dot_product_adds_from_the_first_element_on)
{
    // 2^24 + 1 is lost, 1 + 1 + 2^24 is not: the order shows.
    const float big = 16777216.0F;
    const float ones[] = {1, 1, 1};
    const float down[] = {big, 1, 1};
    const float up[] = {1, 1, big};
    EXPECT_EQ(l_vdot(3, down, 1, ones, 1), big);
    EXPECT_EQ(l_vdot(3, up, 1, ones, 1), big + 2.0F);
    EXPECT_EQ(l_vdot(3, down, -1, ones, 1), big + 2.0F);
}

TEST(vector_kernels, dot_product_forms_products_in_double)
{
    // (1 + 2^-12)^2 - 1 = 2^-11 + 2^-24: a product rounded to float loses the end.
    const float a = 1.0F + std::ldexp(1.0F, -12);
    const float x[] = {-1.0F, a};
    const float y[] = {1.0F, a};
    EXPECT_EQ(l_vdot(2, x, 1, y, 1), std::ldexp(1.0F, -11) + std::ldexp(1.0F, -24));
}

TEST(vector_kernels, dot_product_of_every_pair_of_increments)
{
    std::mt19937 source(2);
    for (const int n : {1, 2, 5, 13}) {
        for (const int incx : {-3, -1, 0, 1, 2}) {
            for (const int incy : {-2, -1, 0, 1, 3}) {
                const std::vector<float> x = random_vector(64, source);
                const std::vector<float> y = random_vector(64, source);
                long double exact = 0;
                long double size = 0;
                for (int i = 0; i < n; ++i) {
                    const long double product =
                        static_cast<long double>(x[static_cast<std::size_t>(place(i, n, incx))]) *
                        y[static_cast<std::size_t>(place(i, n, incy))];
                    exact += product;
                    size += std::fabs(product);
                }
                // one float rounding a step, none larger than eps/2 of the sum of sizes
                const long double bound = n * (epsilon / 2) * size * 1.001L;
                EXPECT_LE(std::fabs(l_vdot(n, x.data(), incx, y.data(), incy) - exact), bound)
                    << n << " " << incx << " " << incy;
            }
        }
    }
}

TEST(vector_kernels, norm_of_small_ordinary_and_large_vectors)
{
    const float ordinary[] = {3, 4};
    const float small[] = {3e-30F, 4e-30F};
    const float large[] = {3e30F, 4e30F};
    EXPECT_EQ(l_vnrm2(2, ordinary, 1), 5.0F);
    EXPECT_EQ(l_vnrm2(2, small, 1), 5e-30F);
    EXPECT_EQ(l_vnrm2(2, large, 1), 5e30F);
}

TEST(vector_kernels, norm_across_the_whole_range)
{
    std::mt19937 source(3);
    for (int exponent = -140; exponent <= 124; ++exponent) {
        const int n = 1 + exponent % 7 + (exponent < 0 ? 7 : 0);
        std::vector<float> x = random_vector(static_cast<std::size_t>(n), source);
        long double sum = 0;
        for (float& value : x) {
            value = std::ldexp(value, exponent);
            sum += static_cast<long double>(value) * value;
        }
        const double exact = static_cast<double>(std::sqrt(sum));
        const double spacing = std::fmax(exact * epsilon, std::numeric_limits<float>::denorm_min());
        EXPECT_NEAR(l_vnrm2(n, x.data(), 1), exact, (n + 1) * spacing) << exponent;
    }
}

TEST(vector_kernels, norm_of_extreme_elements)
{
    const float largest = std::numeric_limits<float>::max();
    const float least = std::numeric_limits<float>::denorm_min();
    EXPECT_EQ(l_vnrm2(1, &largest, 1), largest);
    EXPECT_EQ(l_vnrm2(1, &least, 1), least);
    const float overflowing[] = {largest, largest, largest};
    EXPECT_EQ(l_vnrm2(3, overflowing, 1), inf);
    const float zeros[] = {0.0F, -0.0F};
    EXPECT_EQ(l_vnrm2(2, zeros, 1), 0.0F);
    const float with_nan[] = {1.0F, nan};
    EXPECT_TRUE(std::isnan(l_vnrm2(2, with_nan, 1)));
    const float with_inf[] = {1.0F, -inf};
    EXPECT_EQ(l_vnrm2(2, with_inf, 1), inf);
}

TEST(vector_kernels, norm_ignores_its_increment)
{
    const float x[] = {3, 4, 12, 1000, 1000};
    for (const int inc : {1, 2, 0, -1}) {
        EXPECT_EQ(l_vnrm2(3, x, inc), 13.0F) << inc;
    }
}

TEST(vector_kernels, rotation_uses_both_old_values)
{
    float x[] = {1, 2};
    float y[] = {10, 20};
    l_vrot(2, x, 1, y, 1, 0.0F, 1.0F); // a quarter turn
    EXPECT_EQ(std::vector<float>(x, x + 2), (std::vector<float>{10, 20}));
    EXPECT_EQ(std::vector<float>(y, y + 2), (std::vector<float>{-1, -2}));
}

TEST(vector_kernels, rotation_of_every_pair_of_increments)
{
    constexpr int n = 6;
    std::mt19937 source(4);
    for (const int incx : {-2, -1, 1, 3}) {
        for (const int incy : {-3, -1, 1, 2}) {
            std::vector<float> x = random_vector(32, source);
            std::vector<float> y = random_vector(32, source);
            std::vector<float> ex = x;
            std::vector<float> ey = y;
            const float c = 0.6F;
            const float s = -0.8F;
            for (int i = 0; i < n; ++i) {
                const auto px = static_cast<std::size_t>(place(i, n, incx));
                const auto py = static_cast<std::size_t>(place(i, n, incy));
                const double p = ex[px];
                const double q = ey[py];
                ex[px] = static_cast<float>(p * c + q * s);
                ey[py] = static_cast<float>(q * c - p * s);
            }
            l_vrot(n, x.data(), incx, y.data(), incy, c, s);
            EXPECT_EQ(x, ex) << incx << " " << incy;
            EXPECT_EQ(y, ey) << incx << " " << incy;
        }
    }
}

struct Rotation {
    float a, b, c, s;
    Rotation(float p, float q) : a(p), b(q), c(-9.0F), s(-9.0F) { l_vrotg(&a, &b, &c, &s); }
};

TEST(vector_kernels, rotation_of_nothing_is_the_identity)
{
    for (const float zero : {0.0F, -0.0F}) {
        const Rotation r(zero, zero);
        EXPECT_EQ(r.c, 1.0F);
        EXPECT_EQ(r.s, 0.0F);
        EXPECT_EQ(r.a, 0.0F);
        EXPECT_EQ(r.b, 0.0F);
        EXPECT_FALSE(std::signbit(r.a) || std::signbit(r.b));
    }
}

TEST(vector_kernels, rotation_worked_by_hand)
{
    const Rotation r(3, 4);
    EXPECT_EQ(r.a, 5.0F);
    EXPECT_EQ(r.c, 0.6F);
    EXPECT_EQ(r.s, 0.8F);
    EXPECT_EQ(r.b, static_cast<float>(1.0 / 0.6));
    const Rotation q(4, 3); // |a| > |b|: b keeps s
    EXPECT_EQ(q.a, 5.0F);
    EXPECT_EQ(q.c, 0.8F);
    EXPECT_EQ(q.s, 0.6F);
    EXPECT_EQ(q.b, 0.6F);
    const Rotation vertical(0, -2); // c = 0: b is 1
    EXPECT_EQ(vertical.a, -2.0F);
    EXPECT_EQ(vertical.c, 0.0F);
    EXPECT_EQ(vertical.s, 1.0F);
    EXPECT_EQ(vertical.b, 1.0F);
    const Rotation level(-2, 0);
    EXPECT_EQ(level.a, -2.0F);
    EXPECT_EQ(level.c, 1.0F);
    EXPECT_EQ(level.s, 0.0F);
    EXPECT_EQ(level.b, 0.0F);
}

TEST(vector_kernels, rotation_turns_the_second_component_to_zero)
{
    std::mt19937 source(5);
    for (const float scale : {1e-30F, 1.0F, 1e30F}) {
        const std::vector<float> values = random_vector(400, source, scale);
        for (std::size_t i = 0; i + 1 < values.size(); i += 2) {
            const float p = values[i];
            const float q = values[i + 1];
            const Rotation r(p, q);
            const double norm = std::sqrt(static_cast<double>(p) * p + static_cast<double>(q) * q);
            EXPECT_NEAR(std::fabs(r.a) / norm, 1.0, epsilon);
            EXPECT_EQ(std::signbit(r.a), std::signbit(std::fabs(q) >= std::fabs(p) ? q : p));
            EXPECT_NEAR(static_cast<double>(r.c) * r.c + static_cast<double>(r.s) * r.s, 1.0, 3 * epsilon);
            EXPECT_NEAR((static_cast<double>(r.c) * q - static_cast<double>(r.s) * p) / norm, 0.0,
                        2 * epsilon);
            // c and s come back from b alone
            const double b = r.b;
            const double c = std::fabs(b) > 1 ? 1 / b : std::sqrt(1 - b * b);
            EXPECT_NEAR(std::fabs(r.c), std::fabs(c), 4 * epsilon);
        }
    }
}

#ifndef ZAVO_WITHOUT_ASSERTS
TEST(vector_kernels_death_test, asserts_of_the_library_stop_a_call_without_an_array)
{
    EXPECT_DEATH(l_vdot(1, nullptr, 1, nullptr, 1), "x != nullptr");
}
#endif

} // namespace

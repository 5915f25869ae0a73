#include "core/errors/error_stack.h"
#include "core/kernels/complex.h"
#include "tests/support/captured_errors.hpp"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace {

constexpr float inf = std::numeric_limits<float>::infinity();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float largest = std::numeric_limits<float>::max();
constexpr float least = std::numeric_limits<float>::denorm_min();
constexpr double epsilon = std::numeric_limits<float>::epsilon();
constexpr float pi = 3.14159274F; // the float nearest to pi, a little above it

using Wide = std::complex<long double>;

Wide wide(f_complex z)
{
    return {z.re, z.im};
}

std::uint32_t bits(float x)
{
    return std::bit_cast<std::uint32_t>(x);
}

// Equal to the bit, signs of zeros included.
void expect_bits(f_complex z, float re, float im, const char* what = "")
{
    EXPECT_EQ(bits(z.re), bits(re)) << what << " re " << z.re << " instead of " << re;
    EXPECT_EQ(bits(z.im), bits(im)) << what << " im " << z.im << " instead of " << im;
}

std::vector<f_complex> random_values(std::size_t n, unsigned seed, float scale = 1.0F)
{
    std::mt19937 source(seed);
    std::uniform_real_distribution<float> uniform(-1.0F, 1.0F);
    std::vector<f_complex> values(n);
    for (f_complex& z : values) {
        z.re = scale * uniform(source);
        z.im = scale * uniform(source);
    }
    return values;
}

// |z - exact| in units of the float spacing at |exact|.
double error_in_spacings(f_complex z, Wide exact)
{
    return static_cast<double>(std::abs(wide(z) - exact) /
                               (std::abs(exact) * static_cast<long double>(epsilon)));
}

TEST(complex, parts_and_signs)
{
    const f_complex z = l_c_make(1.5F, -0.0F);
    expect_bits(z, 1.5F, -0.0F);
    EXPECT_EQ(l_c_real(z), 1.5F);
    EXPECT_TRUE(std::signbit(l_c_imag(z)));
    expect_bits(l_c_conj(z), 1.5F, 0.0F);
    expect_bits(l_c_neg(z), -1.5F, 0.0F);
    expect_bits(l_c_make_d(0.1, 1e300), 0.1F, inf);
    expect_bits(l_c_make_d(1.0 + 0x1p-24, -1e-300), 1.0F, -0.0F);
}

TEST(complex, addition_and_subtraction_by_component)
{
    expect_bits(l_c_add({1, 2}, {0.5F, -8}), 1.5F, -6);
    expect_bits(l_c_sub({1, 2}, {0.5F, -8}), 0.5F, 10);
    expect_bits(l_c_add({largest, 1}, {largest, 0x1p-24F}), inf, 1);
}

TEST(complex, product_is_rounded_once_from_double)
{
    expect_bits(l_c_mul({1, 2}, {3, 4}), -5, 10);
    // (1+e)^2 - 1 = 2e + e^2 is lost when products are rounded to float
    const float a = 1.0F + 0x1p-12F;
    expect_bits(l_c_mul({a, 1}, {a, 1}), 0x1p-11F + 0x1p-24F, 2 * a);
    for (std::size_t i = 0; i < 1000; ++i) {
        const auto v = random_values(2, static_cast<unsigned>(i));
        const double ar = v[0].re;
        const double ai = v[0].im;
        const double br = v[1].re;
        const double bi = v[1].im;
        expect_bits(l_c_mul(v[0], v[1]), static_cast<float>(ar * br - ai * bi),
                    static_cast<float>(ar * bi + ai * br));
    }
}

TEST(complex, quotient_worked_by_hand)
{
    expect_bits(l_c_div({-5, 10}, {3, 4}), 1, 2);
    expect_bits(l_c_div({-5, 10}, {4, 3}), 0.4F, 2.2F);
    expect_bits(l_c_div({1, 0}, {0, 1}), 0, -1);
    expect_bits(l_c_div({1, 1}, {2, 0}), 0.5F, 0.5F);
}

TEST(complex, quotient_is_accurate_over_the_whole_range)
{
    for (const float scale : {1e-18F, 1.0F, 1e18F, 1e37F}) {
        const auto a = random_values(500, 1, scale);
        const auto b = random_values(500, 2, scale);
        for (std::size_t i = 0; i < a.size(); ++i) {
            EXPECT_LT(error_in_spacings(l_c_div(a[i], b[i]), wide(a[i]) / wide(b[i])), 4.0);
        }
    }
}

TEST(complex, division_by_zero_is_posted)
{
    zavo::test::CapturedErrors errors;
    for (const f_complex zero : {f_complex{0, 0}, f_complex{-0.0F, 0}, f_complex{0, -0.0F}}) {
        errors.clear();
        zavo_error_push("caller");
        const f_complex q = l_c_div({1, 2}, zero);
        EXPECT_EQ(zavo_error_pop("caller"), 607);
        EXPECT_EQ(bits(q.re), 0x7FFFFFFFU);
        EXPECT_EQ(bits(q.im), 0x7FFFFFFFU);
        EXPECT_EQ(errors.codes(), "5/607");
    }
    errors.clear();
    EXPECT_TRUE(std::isnan(l_c_div({1, 2}, {nan, 0}).re));
    EXPECT_TRUE(errors.empty());
}

TEST(complex, equality_compares_both_parts)
{
    EXPECT_EQ(l_c_eq({1, 2}, {1, 2}), 1);
    EXPECT_EQ(l_c_eq({1, 2}, {1, 3}), 0);
    EXPECT_EQ(l_c_eq({0, 2}, {1, 2}), 0);
    EXPECT_EQ(l_c_eq({0, -0.0F}, {-0.0F, 0}), 1);
    EXPECT_EQ(l_c_eq({nan, 0}, {nan, 0}), 0);
}

TEST(complex, modulus_neither_overflows_nor_underflows)
{
    EXPECT_EQ(l_c_abs({3, -4}), 5.0F);
    EXPECT_EQ(l_c_abs({-0.0F, 0}), 0.0F);
    EXPECT_EQ(l_c_abs({least, 0}), least);
    EXPECT_EQ(l_c_abs({largest, 0}), largest);
    EXPECT_EQ(l_c_abs({3e38F, 3e38F}), inf);
    EXPECT_EQ(l_c_abs({3e-39F, 4e-39F}), static_cast<float>(std::hypot(3e-39F, 4e-39F)));
    EXPECT_EQ(l_c_abs({nan, -inf}), inf);
    EXPECT_EQ(l_c_abs({inf, nan}), inf);
    EXPECT_TRUE(std::isnan(l_c_abs({nan, 1})));
    for (const f_complex z : random_values(20000, 3)) {
        EXPECT_EQ(l_c_abs(z), static_cast<float>(std::abs(wide(z))));
    }
}

TEST(complex, argument_knows_all_quadrants)
{
    EXPECT_EQ(l_c_arg({1, 0}), 0.0F);
    EXPECT_EQ(l_c_arg({0, 1}), pi / 2);
    EXPECT_EQ(l_c_arg({0, -1}), -pi / 2);
    EXPECT_EQ(l_c_arg({-1, 0}), pi);
    EXPECT_EQ(l_c_arg({-1, -0.0F}), -pi);
    EXPECT_EQ(l_c_arg({1, 1}), pi / 4);
    EXPECT_EQ(l_c_arg({-inf, inf}), static_cast<float>(0.75 * 3.14159265358979));
    EXPECT_EQ(l_c_arg({inf, -5}), 0.0F);
    for (const f_complex zero : {f_complex{0, 0}, f_complex{-0.0F, 0}, f_complex{-0.0F, -0.0F}}) {
        EXPECT_EQ(bits(l_c_arg(zero)), 0U); // where atan2 would give pi or a signed zero
    }
    EXPECT_TRUE(std::isnan(l_c_arg({nan, 1})));
    for (const f_complex z : random_values(20000, 4)) {
        EXPECT_EQ(l_c_arg(z), static_cast<float>(std::arg(wide(z))));
    }
}

TEST(complex, logarithm_of_known_and_random_values)
{
    expect_bits(l_c_log({1, 0}), 0, 0);
    expect_bits(l_c_log({-1, 0}), 0, pi);
    expect_bits(l_c_log({0, 0}), -inf, 0);
    for (const f_complex z : random_values(2000, 5, 100.0F)) {
        const f_complex w = l_c_log(z);
        EXPECT_EQ(w.im, l_c_arg(z));
        // the modulus is rounded to float first
        EXPECT_EQ(w.re, static_cast<float>(std::log(static_cast<long double>(l_c_abs(z)))));
    }
}

TEST(complex, exponential_of_known_and_random_values)
{
    expect_bits(l_c_exp({0, 0}), 1, 0);
    expect_bits(l_c_exp({0, -0.0F}), 1, -0.0F);
    expect_bits(l_c_exp({1, -0.0F}), 2.71828175F, -0.0F);
    expect_bits(l_c_exp({100, 0}), inf, 0);
    expect_bits(l_c_exp({-200, 0}), 0, 0);
    expect_bits(l_c_exp({-0.0F, pi}), -1, static_cast<float>(std::sin(static_cast<long double>(pi))));
    // the factor overflows a float, its product with the cosine does not
    const f_complex z = l_c_exp({89, 1.5707964F});
    EXPECT_EQ(z.re, static_cast<float>(std::exp(Wide(89.0L, 1.5707964F)).real()));
    EXPECT_EQ(z.im, inf);
    for (const f_complex v : random_values(2000, 6, 50.0F)) {
        const Wide exact = std::exp(wide(v));
        const f_complex w = l_c_exp(v);
        EXPECT_EQ(w.re, static_cast<float>(exact.real())) << v.re << " " << v.im;
        EXPECT_EQ(w.im, static_cast<float>(exact.imag())) << v.re << " " << v.im;
    }
}

TEST(complex, sine_and_cosine)
{
    expect_bits(l_c_sin({0, 0}), 0, 0);
    expect_bits(l_c_sin({-0.0F, -0.0F}), -0.0F, -0.0F);
    expect_bits(l_c_cos({0, 0}), 1, -0.0F);
    for (const f_complex v : random_values(2000, 7, 30.0F)) {
        const long double re = v.re;
        const long double im = v.im;
        const f_complex s = l_c_sin(v);
        const f_complex c = l_c_cos(v);
        EXPECT_EQ(s.re, static_cast<float>(std::sin(re) * std::cosh(im)));
        EXPECT_EQ(s.im, static_cast<float>(std::cos(re) * std::sinh(im)));
        EXPECT_EQ(c.re, static_cast<float>(std::cos(re) * std::cosh(im)));
        EXPECT_EQ(c.im, static_cast<float>(-std::sin(re) * std::sinh(im)));
    }
}

TEST(complex, half_angle)
{
    float c = 0;
    float s = 0;
    l_c_halfangle(1, 0, &c, &s);
    EXPECT_EQ(c, 1.0F);
    EXPECT_EQ(s, 0.0F);
    l_c_halfangle(1, 1e-4F, &c, &s); // below the threshold: 1 and half the ratio
    EXPECT_EQ(c, 1.0F);
    EXPECT_EQ(s, 0.5F * 1e-4F);
    l_c_halfangle(4, -3, &c, &s); // cos = 4/5, so cos of the half is 3/sqrt(10)
    EXPECT_EQ(c, static_cast<float>(3 / std::sqrt(10.0L)));
    EXPECT_EQ(s, static_cast<float>(-1 / std::sqrt(10.0L)));
    for (int i = -1000; i <= 1000; ++i) {
        const float q = 1e-3F * static_cast<float>(i);
        l_c_halfangle(1, q, &c, &s);
        const long double half = std::atan(static_cast<long double>(q)) / 2;
        EXPECT_NEAR(c, static_cast<double>(std::cos(half)), epsilon / 2 + 1e-8);
        EXPECT_NEAR(s, static_cast<double>(std::sin(half)), std::fabs(q) * epsilon / 2 + 1e-15);
    }
}

TEST(complex, half_angle_threshold_is_half_the_root_of_epsilon)
{
    // the 2 is ten to the power log10(2) in float
    EXPECT_EQ(static_cast<float>(std::pow(10.0, static_cast<double>(zavo_amach(5)))), 2.0F);
    const float threshold = static_cast<float>(std::sqrt(epsilon)) / 2.0F;
    float c = 0;
    float s = 0;
    l_c_halfangle(1, threshold, &c, &s);
    EXPECT_EQ(s, threshold / 2);
}

TEST(complex, square_root_worked_by_hand)
{
    expect_bits(l_c_sqrt({4, 0}), 2, 0);
    expect_bits(l_c_sqrt({-4, 0}), 0, 2);
    expect_bits(l_c_sqrt({-4, -0.0F}), 0, 2); // a zero counts as positive
    expect_bits(l_c_sqrt({0, 2}), 1, 1);
    expect_bits(l_c_sqrt({0, -2}), 1, -1);
    expect_bits(l_c_sqrt({3, 4}), 2, 1);
    expect_bits(l_c_sqrt({-3, -4}), 1, -2);
    expect_bits(l_c_sqrt({-0.0F, 0}), -0.0F, 0); // z itself
    EXPECT_TRUE(std::isnan(l_c_sqrt({nan, 0}).re));
}

TEST(complex, square_root_is_principal_and_accurate)
{
    for (const float scale : {1e-30F, 1.0F, 1e30F}) {
        for (const f_complex z : random_values(3000, 8, scale)) {
            const f_complex root = l_c_sqrt(z);
            EXPECT_GE(root.re, 0.0F);
            EXPECT_LT(error_in_spacings(root, std::sqrt(wide(z))), 2.0) << z.re << " " << z.im;
        }
    }
}

TEST(complex, square_root_near_the_axes)
{
    for (const float small : {1e-3F, 1e-4F, 1e-5F, 1e-10F, 1e-38F, least}) {
        for (const f_complex z : {f_complex{1, small}, f_complex{-1, small}, f_complex{1, -small},
                                  f_complex{-1, -small}, f_complex{small, 1}, f_complex{-small, -1}}) {
            const Wide exact = std::sqrt(wide(z));
            const f_complex root = l_c_sqrt(z);
            EXPECT_NEAR(root.re, static_cast<double>(exact.real()),
                        2 * epsilon * std::abs(exact.real()) + least);
            EXPECT_NEAR(root.im, static_cast<double>(exact.imag()),
                        2 * epsilon * std::abs(exact.imag()) + least);
        }
    }
}

} // namespace

#include "core/errors/error_stack.h"
#include "minimize/minimize.h"
#include "tests/support/captured_errors.hpp"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace {

const float eps = zavo_f_machine(4);

std::vector<std::vector<float>> probes;

// f = x0^2 + 3 x1, remembering where it was asked.
float remember(int n, float* x)
{
    probes.emplace_back(x, x + n);
    return x[0] * x[0] + 3.0F * x[1];
}

void remember_constrained(int n, float* x, float* f)
{
    *f = remember(n, x);
}

TEST(difference_gradient, forward_probes_each_coordinate_once_in_order)
{
    probes.clear();
    const int n = 2;
    float x[] = {-3, 0};
    const float scale[] = {1, 0.25F};
    const float f0 = 9;
    const float noise = eps;
    float grad[2] = {};
    FDGRD(remember, &n, x, scale, &f0, &noise, grad);
    ASSERT_EQ(probes.size(), 2U);
    const float root = std::sqrt(eps);
    // Away from zero; a zero steps upwards by its typical size.
    EXPECT_EQ(probes[0], (std::vector<float>{-3.0F + -(root * 3.0F), 0}));
    EXPECT_EQ(probes[1], (std::vector<float>{-3, root * 4.0F}));
    EXPECT_NEAR(grad[0], -6, 2e-3);
    EXPECT_NEAR(grad[1], 3, 2e-3);
    EXPECT_EQ(grad[1], (9.0F + 3.0F * (root * 4.0F) - 9.0F) / (root * 4.0F));
}

TEST(difference_gradient, central_probes_upwards_before_downwards)
{
    probes.clear();
    const int n = 2;
    float x[] = {2, 5};
    const float scale[] = {1, 1};
    const float noise = 1e-4F;
    float grad[2] = {};
    CDGRD(remember, &n, x, scale, &noise, grad);
    ASSERT_EQ(probes.size(), 4U);
    const float root = std::sqrt(1e-4F);
    EXPECT_EQ(probes[0], (std::vector<float>{2.0F + root * 2.0F, 5}));
    EXPECT_EQ(probes[1], (std::vector<float>{2.0F - root * 2.0F, 5}));
    EXPECT_EQ(probes[2], (std::vector<float>{2, 5.0F + root * 5.0F}));
    EXPECT_EQ(probes[3], (std::vector<float>{2, 5.0F - root * 5.0F}));
    EXPECT_NEAR(grad[0], 4, 1e-4);
    EXPECT_NEAR(grad[1], 3, 1e-4);
}

TEST(difference_gradient, x_is_bit_identical_afterwards)
{
    const int n = 2;
    float x[] = {0.1F, -1e-20F};
    float before[2];
    std::memcpy(before, x, sizeof x);
    const float scale[] = {1, 1};
    const float noise = 0;
    const float f0 = remember(n, x);
    float grad[2];
    FDGRD(remember, &n, x, scale, &f0, &noise, grad);
    EXPECT_EQ(std::memcmp(before, x, sizeof x), 0);
    CDGRD(remember, &n, x, scale, &noise, grad);
    EXPECT_EQ(std::memcmp(before, x, sizeof x), 0);
    L21NF(remember_constrained, &n, x, &f0, grad);
    EXPECT_EQ(std::memcmp(before, x, sizeof x), 0);
}

TEST(difference_gradient, noise_of_zero_means_eps)
{
    probes.clear();
    const int n = 2;
    float x[] = {1, 1};
    const float scale[] = {1, 1};
    const float noise = 0;
    const float f0 = 4;
    float grad[2];
    FDGRD(remember, &n, x, scale, &f0, &noise, grad);
    EXPECT_EQ(probes[0][0], 1.0F + std::sqrt(eps));
}

TEST(difference_gradient, noise_outside_its_range_is_an_error_and_leaves_the_gradient)
{
    const int n = 2;
    const float scale[] = {1, 1};
    const float f0 = 1;
    for (const float noise : {0.10001F, -1e-30F, std::numeric_limits<float>::quiet_NaN()}) {
        for (const bool central : {false, true}) {
            zavo::test::CapturedErrors errors;
            probes.clear();
            float x[] = {1, 1};
            float grad[] = {7, 8};
            if (central) {
                CDGRD(remember, &n, x, scale, &noise, grad);
            } else {
                FDGRD(remember, &n, x, scale, &f0, &noise, grad);
            }
            EXPECT_EQ(errors.codes(), "5/8052");
            EXPECT_TRUE(probes.empty());
            EXPECT_EQ(grad[0], 7);
            EXPECT_EQ(grad[1], 8);
            EXPECT_EQ(errors.last().routine, central ? "CDGRD " : "FDGRD ");
        }
    }
}

TEST(difference_gradient, noise_of_a_tenth_is_accepted)
{
    zavo::test::CapturedErrors errors;
    probes.clear();
    const int n = 2;
    float x[] = {1, 1};
    const float scale[] = {1, 1};
    const float f0 = 4;
    const float noise = 0.1F;
    float grad[2];
    FDGRD(remember, &n, x, scale, &f0, &noise, grad);
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(probes.size(), 2U);
}

float asks_library(int, float* x)
{
    zavo_i_machine(99); // an error of the user's own
    return x[0];
}

TEST(difference_gradient, errors_in_the_function_are_reported_as_the_users)
{
    zavo::test::CapturedErrors errors;
    const int n = 1;
    float x[] = {1};
    const float scale[] = {1};
    const float f0 = 1;
    const float noise = 0;
    float grad[1];
    FDGRD(asks_library, &n, x, scale, &f0, &noise, grad);
    EXPECT_EQ(errors.codes(), "5/132");
    EXPECT_NEAR(grad[0], 1, 1e-3);
}

TEST(difference_gradient, without_scales_steps_go_by_the_size_of_x_or_one)
{
    probes.clear();
    const int n = 2;
    float x[] = {-30, 0.5F};
    const float f0 = 901.5F;
    float grad[2];
    L21NF(remember_constrained, &n, x, &f0, grad);
    const float root = std::sqrt(eps);
    ASSERT_EQ(probes.size(), 2U);
    EXPECT_EQ(probes[0][0], -30.0F - root * 30.0F);
    EXPECT_EQ(probes[1][1], 0.5F + root);
    EXPECT_NEAR(grad[0], -60, 0.05);
    EXPECT_NEAR(grad[1], 3, 0.3);
}

TEST(difference_gradient, without_variables_is_an_error)
{
    zavo::test::CapturedErrors errors;
    const int n = 0;
    const float f0 = 0;
    L21NF(remember_constrained, &n, nullptr, &f0, nullptr);
    EXPECT_EQ(errors.codes(), "5/8020");
}

void warns(int, float* x, float* f)
{
    zavo_error_push("inner");
    zavo_error_post(ZAVO_WARNING, 8049);
    zavo_error_pop("inner");
    *f = x[0];
}

TEST(difference_gradient, without_marks_errors_are_the_routines)
{
    zavo::test::CapturedErrors errors;
    const int n = 1;
    float x[] = {1};
    const float f0 = 1;
    float grad[1];
    L21NF(warns, &n, x, &f0, grad);
    ASSERT_EQ(errors.codes(), "3/8049"); // reported when the routine ends, and as its own
    EXPECT_EQ(errors.last().routine, "L21NF");
}

} // namespace

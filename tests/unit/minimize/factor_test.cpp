// The factored BFGS update against the formula for the full matrix.
#include "minimize/free/cholesky_factor.hpp"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

using namespace zavo::minimize;
using Matrix = std::vector<double>;

Matrix product(int n, const std::vector<float>& l)
{
    Matrix h(static_cast<std::size_t>(n * n), 0.0);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
            for (int k = 0; k < n; ++k) {
                h[i * n + j] += static_cast<double>(l[i * n + k]) * l[j * n + k];
            }
        }
    }
    return h;
}

// H + y y' / y's - H s s'H / s'Hs
Matrix bfgs(int n, const Matrix& h, const std::vector<float>& s, const std::vector<float>& y)
{
    std::vector<double> hs(static_cast<std::size_t>(n), 0.0);
    double sy = 0.0;
    double shs = 0.0;
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
            hs[i] += h[i * n + j] * s[j];
        }
        sy += static_cast<double>(s[i]) * y[i];
        shs += s[i] * hs[i];
    }
    Matrix updated = h;
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
            updated[i * n + j] += static_cast<double>(y[i]) * y[j] / sy - hs[i] * hs[j] / shs;
        }
    }
    return updated;
}

class factor_updates : public ::testing::TestWithParam<int> {};

TEST_P(factor_updates, agree_with_the_formula)
{
    const int n = GetParam();
    const auto size = static_cast<std::size_t>(n);
    std::mt19937 random(7);
    std::uniform_real_distribution<float> uniform(-1.0F, 1.0F);
    std::vector<float> l(size * size);
    std::vector<float> scale(size, 2.0F);
    start_factor(n, 4.0F, scale.data(), 1.0F, true, l.data());
    EXPECT_EQ(l[0], 4.0F); // sqrt(4) * 2
    for (int round = 0; round < 20; ++round) {
        std::vector<float> s(size), y(size), g(size, 1.0F), t(size), w(size);
        float greatest = 0.0F;
        for (int i = 0; i < n; ++i) {
            s[i] = uniform(random);
            greatest = std::max(greatest, std::fabs(s[i]));
        }
        for (int i = 0; i < n; ++i) {
            y[i] = 3.0F * s[i] + 0.3F * greatest * uniform(random);
        }
        const Matrix wanted = bfgs(n, product(n, l), s, y);
        update_factor(n, l.data(), s.data(), y.data(), g.data(), g.data(), 1e-7F, t.data(), w.data());
        const Matrix found = product(n, l);
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < n; ++j) {
                ASSERT_NEAR(found[i * n + j], wanted[i * n + j], 2e-4) << "round " << round;
                if (j > i) {
                    ASSERT_EQ(l[i * n + j], 0.0F);
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(factor, factor_updates, ::testing::Values(1, 2, 3, 8, 11));

TEST(factor, solves_for_the_step)
{
    const float l[] = {2, 0, 1, 3};
    const float g[] = {-4, -11}; // H = {{4, 2}, {2, 10}}
    float p[2];
    solve_step(2, l, g, p);
    EXPECT_FLOAT_EQ(p[0], 0.5F);
    EXPECT_FLOAT_EQ(p[1], 1.0F);
}

TEST(factor, stays_without_curvature_or_news)
{
    const std::vector<float> start = {1, 0, 0, 1};
    const float g[] = {1, 1};
    float t[2], w[2];
    const float cases[][4] = {
        {1, 0, -1, 0},      // s.y < 0
        {0, 0, 0, 0},       // nothing moved
        {1, 0, 0, 1},       // s.y = 0
        {1, 0, 1, 0},       // y = H s already
        {1, 1, 1.0001F, 1}, // ... up to the tolerance
    };
    for (const auto& c : cases) {
        std::vector<float> l = start;
        update_factor(2, l.data(), c, c + 2, g, g, 3e-4F, t, w);
        EXPECT_EQ(l, start);
    }
}

// What the formula divides by has vanished: L' s, or its product with the root of s'y.
TEST(factor, is_left_alone_where_the_update_is_not_finite)
{
    const struct {
        float l, s, y;
    } rows[] = {{0, 1, 1}, {1, 1e-25F, 1e-5F}};
    for (const auto& row : rows) {
        float l[] = {row.l};
        const float g[] = {0};
        float t[1];
        float w[1];
        update_factor(1, l, &row.s, &row.y, g, &row.y, 1e-3F, t, w);
        EXPECT_EQ(l[0], row.l);
    }
}

} // namespace

// The arithmetic that every definition relies on: what is rounded to float is
// rounded, also when the optimiser works on several values at once. With GCC 12
// and its vectoriser of straight-line code these fail (see cmake/options.cmake).
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

namespace {

// Called through volatile pointers, so that nothing is worked out beforehand.
void pair(const double* x, double* y, double factor)
{
    const float a = static_cast<float>(x[0]);
    const float b = static_cast<float>(x[1]);
    y[0] = factor * a;
    y[1] = factor * b;
}

struct Two {
    double first;
    double second;
};
Two pair_by_value(double x, double y, double factor)
{
    const float a = static_cast<float>(x);
    const float b = static_cast<float>(y);
    return {factor * a, factor * b};
}

void pairs(const double* x, double* y, double factor, int n)
{
    for (int i = 0; i < n; ++i) {
        pair(x + 2 * i, y + 2 * i, factor);
    }
}

void rotate(const float* x, float* y, float c, float s, int n)
{
    for (int i = 0; i < n; ++i) {
        const double p = x[2 * i];
        const double q = x[2 * i + 1];
        const float u = static_cast<float>(p * c + q * s);
        const float v = static_cast<float>(q * c - p * s);
        y[2 * i] = static_cast<float>(static_cast<double>(u) * p);
        y[2 * i + 1] = static_cast<float>(static_cast<double>(v) * q);
    }
}

// Rounding that the optimiser cannot see through.
float rounded(double x)
{
    volatile float kept = static_cast<float>(x);
    return kept;
}

constexpr double third = 1.0 / 3.0; // no float

TEST(rounding, of_a_pair)
{
    auto* volatile call = &pair;
    const double x[2] = {third, 0x1p-170};
    double y[2];
    call(x, y, 1.5);
    EXPECT_EQ(y[0], 1.5 * rounded(third));
    EXPECT_EQ(y[1], 0.0);
}

TEST(rounding, of_a_pair_by_value)
{
    auto* volatile call = &pair_by_value;
    const Two y = call(third, -third / 5, 1.5);
    EXPECT_EQ(y.first, 1.5 * rounded(third));
    EXPECT_EQ(y.second, 1.5 * rounded(-third / 5));
}

TEST(rounding, of_pairs_in_a_loop)
{
    auto* volatile call = &pairs;
    std::vector<double> x(66);
    for (std::size_t i = 0; i < x.size(); ++i) {
        x[i] = 1.0 / (static_cast<double>(i) + 3.1);
    }
    std::vector<double> y(x.size());
    call(x.data(), y.data(), 1.5, 33);
    for (std::size_t i = 0; i < x.size(); ++i) {
        EXPECT_EQ(y[i], 1.5 * rounded(x[i])) << i;
    }
}

TEST(rounding, of_rotated_pairs)
{
    auto* volatile call = &rotate;
    std::vector<float> x(66);
    for (std::size_t i = 0; i < x.size(); ++i) {
        x[i] = rounded(1.0 / (static_cast<double>(i) + 3.1));
    }
    std::vector<float> y(x.size());
    call(x.data(), y.data(), 0.6F, 0.8F, 33);
    for (std::size_t i = 0; i < x.size(); i += 2) {
        const double p = x[i];
        const double q = x[i + 1];
        EXPECT_EQ(y[i], rounded(rounded(p * 0.6F + q * 0.8F) * p)) << i;
        EXPECT_EQ(y[i + 1], rounded(rounded(q * 0.6F - p * 0.8F) * q)) << i;
    }
}

} // namespace

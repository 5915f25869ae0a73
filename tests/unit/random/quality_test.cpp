// Statistical tests of the three distributions, with fixed seeds. Each statistic
// is held to a limit that a good generator exceeds once in about a thousand
// seeds, so a failure means a fault: these seeds pass.

#include "core/zavo.h"
#include "tests/support/captured_errors.hpp"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <vector>

namespace {

namespace test = zavo::test;

constexpr int seed = 20250103;
constexpr int sample = 1000000;

// Three standard deviations of a normal variable are exceeded, on one side, once
// in 741 times.
constexpr double three_sigma = 3.0;
// Kolmogorov's distribution: exceeded by sqrt(n) D once in a thousand times.
constexpr double kolmogorov_limit = 1.95;

enum class Kind { uniform, normal, exponential };

std::vector<float> draw(Kind kind, int option, int n)
{
    std::vector<float> r(static_cast<std::size_t>(n));
    const float empty[128] = {};
    zavo_rnses(empty);
    zavo_random_option(option);
    zavo_random_seed_set(seed);
    auto* const routine = kind == Kind::uniform  ? zavo_f_random_uniform
                          : kind == Kind::normal ? zavo_f_random_normal
                                                 : zavo_f_random_exponential;
    const test::CapturedErrors errors;
    EXPECT_EQ(routine(n, ZAVO_RETURN_USER, r.data(), 0), r.data());
    EXPECT_TRUE(errors.empty()) << errors.codes(); // this seed draws no uniform deviate of 1
    zavo_random_option(1);
    return r;
}

double distribution(Kind kind, double x)
{
    switch (kind) {
    case Kind::uniform:
        return x;
    case Kind::normal:
        return 0.5 * std::erfc(-x * std::sqrt(0.5));
    default:
        return -std::expm1(-x);
    }
}

// chi-square of counts that should be equal, as a standard normal variable
// (Wilson and Hilferty).
double chi_square_deviate(const std::vector<int>& counts)
{
    double total = 0.0;
    for (int count : counts) {
        total += count;
    }
    const double expected = total / static_cast<double>(counts.size());
    double chi_square = 0.0;
    for (int count : counts) {
        chi_square += (count - expected) * (count - expected) / expected;
    }
    const double freedom = static_cast<double>(counts.size()) - 1.0;
    const double spread = 2.0 / (9.0 * freedom);
    return (std::cbrt(chi_square / freedom) - (1.0 - spread)) / std::sqrt(spread);
}

class deviate_quality : public testing::TestWithParam<std::tuple<Kind, int>> {
protected:
    Kind kind = std::get<0>(GetParam());
    int option = std::get<1>(GetParam());
    std::vector<float> r = draw(kind, option, sample);

    // Which of `cells` equally probable cells x lies in.
    int cell(double x, int cells) const
    {
        return std::min(static_cast<int>(distribution(kind, x) * cells), cells - 1);
    }
};

INSTANTIATE_TEST_SUITE_P(all, deviate_quality,
                         testing::Combine(testing::Values(Kind::uniform, Kind::normal, Kind::exponential),
                                          testing::Range(1, 7)));

TEST_P(deviate_quality, chi_square_of_a_thousand_cells)
{
    std::vector<int> counts(1000);
    for (float x : r) {
        ++counts[static_cast<std::size_t>(cell(x, 1000))];
    }
    // Too even is as suspect as too uneven.
    EXPECT_LT(std::fabs(chi_square_deviate(counts)), three_sigma);
}

TEST_P(deviate_quality, chi_square_of_pairs)
{
    constexpr int side = 32;
    std::vector<int> counts(side * side);
    for (std::size_t i = 0; i + 1 < r.size(); i += 2) {
        ++counts[static_cast<std::size_t>(cell(r[i], side) * side + cell(r[i + 1], side))];
    }
    EXPECT_LT(std::fabs(chi_square_deviate(counts)), three_sigma);
}

TEST_P(deviate_quality, kolmogorov_smirnov)
{
    std::sort(r.begin(), r.end());
    double distance = 0.0;
    for (std::size_t i = 0; i < r.size(); ++i) {
        const double f = distribution(kind, r[i]);
        distance = std::max(
            {distance, f - static_cast<double>(i) / sample, static_cast<double>(i + 1) / sample - f});
    }
    EXPECT_LT(std::sqrt(double{sample}) * distance, kolmogorov_limit);
    EXPECT_GT(std::sqrt(double{sample}) * distance, 0.3); // and not suspiciously well: once in 10^5 times
}

TEST_P(deviate_quality, serial_correlation)
{
    double mean = 0.0;
    double square = 0.0;
    for (float x : r) {
        mean += x;
        square += double{x} * x;
    }
    mean /= sample;
    const double variance = square / sample - mean * mean;
    for (std::size_t lag : {1U, 2U, 3U, 7U, 31U, 32U, 63U, 64U, 128U}) {
        double sum = 0.0;
        for (std::size_t i = lag; i < r.size(); ++i) {
            sum += (r[i] - mean) * (r[i - lag] - mean);
        }
        const double correlation = sum / (static_cast<double>(r.size() - lag) * variance);
        EXPECT_LT(std::fabs(correlation) * std::sqrt(double{sample}), three_sigma + 0.5) << "lag " << lag;
    }
}

// Standard deviations of the sample moments of n normal deviates: 1, sqrt(2),
// sqrt(6), sqrt(24) over sqrt(n).
TEST(random_quality, moments_of_ten_million_normals)
{
    constexpr int n = 10000000;
    for (int option = 1; option <= 6; ++option) {
        const std::vector<float> r = draw(Kind::normal, option, n);
        double sum = 0.0;
        for (float x : r) {
            sum += x;
        }
        const double mean = sum / n;
        double m2 = 0.0;
        double m3 = 0.0;
        double m4 = 0.0;
        for (float x : r) {
            const double d = x - mean;
            m2 += d * d;
            m3 += d * d * d;
            m4 += d * d * d * d;
        }
        m2 /= n;
        m3 /= n;
        m4 /= n;
        const double root_n = std::sqrt(double{n});
        EXPECT_LT(std::fabs(mean) * root_n, three_sigma) << option;
        EXPECT_LT(std::fabs(m2 - 1.0) * root_n / std::sqrt(2.0), three_sigma) << option;
        EXPECT_LT(std::fabs(m3 / std::pow(m2, 1.5)) * root_n / std::sqrt(6.0), three_sigma) << option;
        EXPECT_LT(std::fabs(m4 / (m2 * m2) - 3.0) * root_n / std::sqrt(24.0), three_sigma) << option;
    }
}

// Spacings and largest value of the exponential: mean 1, variance 1.
TEST(random_quality, moments_of_ten_million_exponentials)
{
    constexpr int n = 10000000;
    const std::vector<float> r = draw(Kind::exponential, 1, n);
    double sum = 0.0;
    double square = 0.0;
    for (float x : r) {
        ASSERT_GE(x, 0.0F);
        sum += x;
        square += double{x} * x;
    }
    const double mean = sum / n;
    const double variance = square / n - mean * mean;
    EXPECT_LT(std::fabs(mean - 1.0) * std::sqrt(double{n}), three_sigma);
    EXPECT_LT(std::fabs(variance - 1.0) * std::sqrt(n / 8.0), three_sigma);
}

} // namespace

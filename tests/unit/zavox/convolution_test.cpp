// Convolution and correlation against their sums in double precision.

#include "zavox/convolution.hpp"

#include "core/system/memory.hpp"
#include "tests/support/captured_errors.hpp"
#include "tests/support/covered_paths.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

using zavo::test::CapturedErrors;
using zavox::Fourier;
using zavox::Part;

constexpr Part parts[] = {Part::full, Part::same, Part::valid, Part::circular};

std::vector<float> noise(int n, unsigned seed)
{
    std::mt19937 generator(seed);
    std::uniform_real_distribution<float> uniform(-1.0F, 1.0F);
    std::vector<float> values(static_cast<std::size_t>(n));
    for (float& x : values) {
        x = uniform(generator);
    }
    return values;
}

// x[j + k - shift] y[+-j] summed over j, for the k of the part.
std::vector<double> definition(bool correlation, Part part, const std::vector<float>& x,
                               const std::vector<float>& y)
{
    const auto nx = static_cast<int>(x.size());
    const auto ny = static_cast<int>(y.size());
    const int most = std::max(nx, ny);
    const int least = std::min(nx, ny);
    std::vector<double> full(static_cast<std::size_t>(nx + ny - 1), 0.0);
    std::vector<double> circular(static_cast<std::size_t>(most), 0.0);
    for (int i = 0; i < nx; ++i) {
        for (int j = 0; j < ny; ++j) {
            const double term = double{x[static_cast<std::size_t>(i)]} * y[static_cast<std::size_t>(j)];
            const int lag = correlation ? i - j : i + j;
            full[static_cast<std::size_t>(correlation ? lag + ny - 1 : lag)] += term;
            circular[static_cast<std::size_t>((lag + most) % most)] += term;
        }
    }
    switch (part) {
    case Part::full:
        return full;
    case Part::same:
        return {full.begin() + (least - 1) / 2, full.begin() + (least - 1) / 2 + most};
    case Part::valid:
        return {full.begin() + least - 1, full.begin() + most};
    default:
        return circular;
    }
}

void expect_right(bool correlation, Part part, int nx, int ny)
{
    Fourier fourier;
    const std::vector<float> x = noise(nx, 1);
    const std::vector<float> y = noise(ny, 2);
    const std::vector<double> right = definition(correlation, part, x, y);
    ASSERT_EQ(static_cast<std::int64_t>(right.size()), zavox::part_length(part, nx, ny));
    std::vector<float> z(right.size() + 1, 77.0F);
    const auto work = correlation ? zavox::correlate : zavox::convolve;
    ASSERT_TRUE(work(fourier, part, nx, x.data(), ny, y.data(), z.data()));
    EXPECT_EQ(z.back(), 77.0F);
    double error = 0.0;
    for (std::size_t i = 0; i < right.size(); ++i) {
        error += std::pow(z[i] - right[i], 2);
    }
    double x2 = 0.0;
    double y2 = 0.0;
    for (const float v : x) {
        x2 += double{v} * v;
    }
    for (const float v : y) {
        y2 += double{v} * v;
    }
    // The norm of the whole full result is about |x| |y|.
    EXPECT_LE(std::sqrt(error / (x2 * y2)), 4e-7 * std::log2(nx + ny + 1.0))
        << nx << ' ' << ny << ' ' << static_cast<int>(part) << ' ' << correlation;
}

TEST(zavox_convolution, all_parts_of_all_short_lengths)
{
    for (int nx = 1; nx <= 12; ++nx) {
        for (int ny = 1; ny <= 12; ++ny) {
            for (const Part part : parts) {
                expect_right(false, part, nx, ny);
                expect_right(true, part, nx, ny);
            }
        }
    }
}

// 1100 and 926 values have 2025 sums, in one transform of that odd length.
TEST(zavox_convolution, direct_sums_and_pieces_of_transforms)
{
    const std::pair<int, int> lengths[] = {{1000, 64}, {64, 1000}, {1000, 65}, {65, 1000},
                                           {200, 190}, {3000, 70}, {70, 3000}, {2000, 700},
                                           {997, 991}, {4000, 66}, {1100, 926}};
    for (const auto& [nx, ny] : lengths) {
        for (const Part part : parts) {
            expect_right(false, part, nx, ny);
            expect_right(true, part, nx, ny);
        }
    }
}

// Whole numbers small enough for floats are exact in the direct sums.
TEST(zavox_convolution, direct_sums_of_whole_numbers_are_exact)
{
    Fourier fourier;
    std::vector<float> x;
    for (int i = 0; i < 500; ++i) {
        x.push_back(static_cast<float>(i % 17 - 8));
    }
    const std::vector<float> y = {1, -2, 3, 0, 5};
    for (const Part part : parts) {
        const std::vector<double> right = definition(false, part, x, y);
        std::vector<float> z(right.size());
        ASSERT_TRUE(zavox::convolve(fourier, part, 500, x.data(), 5, y.data(), z.data()));
        for (std::size_t i = 0; i < z.size(); ++i) {
            EXPECT_EQ(z[i], right[i]) << i;
        }
    }
}

// The order of the terms is that of j, whatever path computes them.
TEST(zavox_convolution, direct_sums_have_the_bits_of_the_plain_loop)
{
    const std::vector<float> a = noise(1000, 5);
    for (const int nh : {1, 2, 16, 33, 64}) {
        const std::vector<float> h = noise(nh, 6);
        const int all = 1000 + nh - 1;
        std::vector<float> out(static_cast<std::size_t>(all));
        zavo::test::on_each_path([&] {
            ASSERT_TRUE(zavox::direct_sums(1000, a.data(), nh, h.data(), 0, all, out.data()));
            for (int k = 0; k < all; ++k) {
                float sum = 0.0F;
                for (int j = 0; j < nh; ++j) {
                    if (k - j >= 0 && k - j < 1000) {
                        const float term =
                            a[static_cast<std::size_t>(k - j)] * h[static_cast<std::size_t>(j)];
                        sum += term;
                    }
                }
                ASSERT_EQ(out[static_cast<std::size_t>(k)], sum) << nh << ' ' << k;
            }
        });
    }
}

TEST(zavox_convolution, every_allocation_may_fail)
{
    const CapturedErrors errors;
    const std::vector<float> x = noise(300, 1);
    const std::vector<float> y = noise(100, 2);
    for (const Part part : parts) {
        bool done = false;
        for (long nth = 1; !done; ++nth) {
            Fourier fourier;
            std::vector<float> z(400);
            zavo_fail_allocation(nth);
            done = zavox::correlate(fourier, part, 300, x.data(), 100, y.data(), z.data());
            zavo_fail_allocation(0);
            ASSERT_LT(nth, 20);
        }
    }
}

} // namespace

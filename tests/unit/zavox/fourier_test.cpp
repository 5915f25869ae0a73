// Transforms of every length against the definition in double precision.

#include "zavox/fourier.hpp"

#include "core/system/memory.hpp"
#include "fft/real_fft.h"
#include "tests/support/captured_errors.hpp"
#include "tests/support/long_work.hpp"

#include <cmath>
#include <complex>
#include <gtest/gtest.h>
#include <numbers>
#include <random>
#include <vector>

namespace {

using zavo::test::CapturedErrors;
using zavox::Fourier;
using zavox::Sign;
using Complex = std::complex<double>;

std::vector<f_complex> noise(int n, unsigned seed)
{
    std::mt19937 generator(seed);
    std::uniform_real_distribution<float> uniform(-1.0F, 1.0F);
    std::vector<f_complex> values(static_cast<std::size_t>(n));
    for (f_complex& z : values) {
        z.re = uniform(generator);
        z.im = uniform(generator);
    }
    return values;
}

Complex root(long long k, long long n)
{
    const double angle = 2.0 * std::numbers::pi * static_cast<double>(k % n) / static_cast<double>(n);
    return {std::cos(angle), std::sin(angle)};
}

// The sums as they are defined.
std::vector<Complex> definition(Sign sign, const std::vector<f_complex>& x)
{
    const auto n = static_cast<long long>(x.size());
    std::vector<Complex> roots;
    for (long long k = 0; k < n; ++k) {
        roots.push_back(sign == Sign::minus ? std::conj(root(k, n)) : root(k, n));
    }
    std::vector<Complex> result;
    for (long long k = 0; k < n; ++k) {
        Complex sum = 0.0;
        for (long long j = 0; j < n; ++j) {
            const f_complex z = x[static_cast<std::size_t>(j)];
            sum += Complex{z.re, z.im} * roots[static_cast<std::size_t>(j * k % n)];
        }
        result.push_back(sum);
    }
    return result;
}

double relative_error(const std::vector<f_complex>& found, const std::vector<Complex>& right)
{
    double error = 0.0;
    double size = 0.0;
    for (std::size_t k = 0; k < right.size(); ++k) {
        error += std::norm(Complex{found[k].re, found[k].im} - right[k]);
        size += std::norm(right[k]);
    }
    return std::sqrt(error / size);
}

double bound(int n)
{
    return zavox::error_bound * std::log2(static_cast<double>(n));
}

std::vector<f_complex> from_packed(const std::vector<float>& packed)
{
    const auto n = packed.size();
    std::vector<f_complex> z(n);
    z[0] = {packed[0], 0.0F};
    for (std::size_t k = 1; k < n; ++k) {
        const std::size_t low = std::min(k, n - k);
        z[k].re = packed[2 * low - 1];
        z[k].im = 2 * low == n ? 0.0F : (k <= n - k ? packed[2 * low] : -packed[2 * low]);
    }
    return z;
}

TEST(zavox_sizes, smooth_means_factors_up_to_13)
{
    for (int n = 1; n <= 3000; ++n) {
        int rest = n;
        for (int p = 2; p <= 13; ++p) {
            while (rest % p == 0) {
                rest /= p;
            }
        }
        EXPECT_EQ(zavox::is_smooth(n), rest == 1) << n;
    }
}

TEST(zavox_sizes, the_least_product_of_2_3_and_5)
{
    int expected = 1;
    for (int n = 5000; n >= 1; --n) {
        int rest = n;
        for (const int p : {2, 3, 5}) {
            while (rest % p == 0) {
                rest /= p;
            }
        }
        expected = rest == 1 ? n : expected;
        if (n <= 4800) { // 5000 itself is one, and so the first to be known
            ASSERT_EQ(zavox::smooth_size(n), expected) << n;
        }
    }
    EXPECT_EQ(zavox::smooth_size(2147483647), 0);
    EXPECT_EQ(zavox::smooth_size(2000000000), 2000000000);
}

TEST(zavox_sizes, fast_sizes_are_long_enough)
{
    for (int n = 1; n < 3000; ++n) {
        const int size = zavox::fast_size(n);
        EXPECT_GE(size, n);
        EXPECT_LE(size, 1.34 * n + 1) << n;
    }
    EXPECT_EQ(zavox::fast_size(20013), 20480);
    EXPECT_EQ(zavox::fast_size(2147483648LL), 0);
}

TEST(zavox_fourier, every_short_length_is_within_the_bound)
{
    Fourier fourier;
    for (int n = 1; n <= 260; ++n) {
        const std::vector<f_complex> x = noise(n, static_cast<unsigned>(n));
        for (const Sign sign : {Sign::minus, Sign::plus}) {
            std::vector<f_complex> y(x.size());
            ASSERT_TRUE(fourier.complex(sign, n, x.data(), y.data()));
            EXPECT_LE(relative_error(y, definition(sign, x)), bound(n)) << n;
        }
        std::vector<float> reals;
        std::vector<f_complex> as_complex;
        for (const f_complex z : x) {
            reals.push_back(z.re);
            as_complex.push_back({z.re, 0.0F});
        }
        std::vector<float> packed(reals.size());
        ASSERT_TRUE(fourier.real_forward(n, reals.data(), packed.data()));
        EXPECT_LE(relative_error(from_packed(packed), definition(Sign::minus, as_complex)), bound(n)) << n;
        std::vector<float> back(reals.size());
        ASSERT_TRUE(fourier.real_backward(n, packed.data(), back.data()));
        double error = 0.0;
        double size = 0.0;
        for (std::size_t i = 0; i < reals.size(); ++i) {
            error += std::pow(back[i] / n - reals[i], 2);
            size += std::pow(reals[i], 2);
        }
        EXPECT_LE(std::sqrt(error / size), 2.0 * bound(n) + 1e-7) << n;
    }
}

// Long lengths of all kinds: smooth ones, primes, primes times small numbers. The
// sums take n^2 steps, so only some of the frequencies are looked at; the error's
// share of the whole is estimated from them.
TEST(zavox_fourier, long_lengths_are_within_the_bound)
{
    Fourier fourier;
    for (const int n : {2401, 14641, 28561, 16807, 30030, 65536, 59049, 15625, 10007, 20014, 9973, 30031,
                        65537, 44521, 100003}) {
        const std::vector<f_complex> x = noise(n, static_cast<unsigned>(n));
        std::vector<f_complex> y(x.size());
        ASSERT_TRUE(fourier.complex(Sign::minus, n, x.data(), y.data()));
        double error = 0.0;
        double size = 0.0;
        constexpr int looked_at = 61;
        for (int i = 0; i < looked_at; ++i) {
            const long long k = static_cast<long long>(i) * n / looked_at + i % 7;
            Complex sum = 0.0;
            Complex turn = 1.0;
            const Complex step = std::conj(root(k, n));
            for (int j = 0; j < n; ++j) {
                if (j % 512 == 0) {
                    turn = std::conj(root(k * j, n));
                }
                sum += Complex{x[static_cast<std::size_t>(j)].re, x[static_cast<std::size_t>(j)].im} * turn;
                turn *= step;
            }
            const f_complex found = y[static_cast<std::size_t>(k)];
            error += std::norm(Complex{found.re, found.im} - sum);
            size += std::norm(sum);
        }
        EXPECT_LE(std::sqrt(error / size), bound(n)) << n;
    }
}

// A pure tone concentrates the spectrum in one value, an impulse spreads it evenly.
TEST(zavox_fourier, a_tone_and_an_impulse_of_a_prime_length)
{
    Fourier fourier;
    constexpr int n = 10007;
    std::vector<f_complex> x(n);
    for (int j = 0; j < n; ++j) {
        const Complex z = root(1234LL * j, n);
        x[static_cast<std::size_t>(j)] = {static_cast<float>(z.real()), static_cast<float>(z.imag())};
    }
    std::vector<f_complex> y(n);
    ASSERT_TRUE(fourier.complex(Sign::minus, n, x.data(), y.data()));
    double stray = 0.0;
    for (int k = 0; k < n; ++k) {
        const f_complex z = y[static_cast<std::size_t>(k)];
        stray += std::norm(Complex{z.re, z.im} - (k == 1234 ? double{n} : 0.0));
    }
    EXPECT_LE(std::sqrt(stray) / n, bound(n));
    x.assign(n, {0.0F, 0.0F});
    x[0] = {1.0F, 0.0F};
    ASSERT_TRUE(fourier.complex(Sign::minus, n, x.data(), y.data()));
    for (const f_complex z : y) {
        EXPECT_NEAR(z.re, 1.0, 1e-5);
        EXPECT_NEAR(z.im, 0.0, 1e-5);
    }
}

TEST(zavox_fourier, smooth_lengths_have_the_librarys_bits)
{
    Fourier fourier;
    for (const int n : {1, 2, 7, 26, 91, 143, 1024, 1001, 5005}) {
        const std::vector<f_complex> x = noise(n, 3);
        std::vector<float> reals;
        for (const f_complex z : x) {
            reals.push_back(z.re);
        }
        std::vector<float> found(reals.size());
        ASSERT_TRUE(fourier.real_forward(n, reals.data(), found.data()));
        float* const library = zavo_f_fft_real(n, reals.data(), 0);
        EXPECT_EQ(std::vector<float>(library, library + n), found) << n;
        std::free(library);
        std::vector<f_complex> z(x.size());
        ASSERT_TRUE(fourier.complex(Sign::plus, n, x.data(), z.data()));
        f_complex* const other = zavo_c_fft_complex(n, x.data(), ZAVO_BACKWARD, 0);
        for (int k = 0; k < n; ++k) {
            EXPECT_EQ(other[k].re, z[static_cast<std::size_t>(k)].re);
            EXPECT_EQ(other[k].im, z[static_cast<std::size_t>(k)].im);
        }
        std::free(other);
    }
}

TEST(zavox_fourier, a_plane_is_rows_and_columns_of_any_length)
{
    Fourier fourier;
    for (const auto& [rows, columns] : {std::pair{1, 17}, std::pair{19, 1}, std::pair{4, 6}, std::pair{17, 6},
                                        std::pair{5, 23}, std::pair{17, 19}}) {
        const std::vector<f_complex> x = noise(rows * columns, 9);
        std::vector<f_complex> y(x.size());
        ASSERT_TRUE(fourier.plane(Sign::minus, rows, columns, x.data(), y.data()));
        std::vector<Complex> right(x.size());
        for (int k = 0; k < rows; ++k) {
            for (int l = 0; l < columns; ++l) {
                Complex sum = 0.0;
                for (int i = 0; i < rows; ++i) {
                    for (int j = 0; j < columns; ++j) {
                        const f_complex z = x[static_cast<std::size_t>(i * columns + j)];
                        sum += Complex{z.re, z.im} * std::conj(root(i * k, rows) * root(j * l, columns));
                    }
                }
                right[static_cast<std::size_t>(k * columns + l)] = sum;
            }
        }
        EXPECT_LE(relative_error(y, right), bound(rows * columns)) << rows << ' ' << columns;
        std::vector<f_complex> in_place = x;
        ASSERT_TRUE(fourier.plane(Sign::minus, rows, columns, in_place.data(), in_place.data()));
        for (std::size_t i = 0; i < y.size(); ++i) {
            EXPECT_EQ(in_place[i].re, y[i].re);
        }
    }
}

TEST(zavox_fourier, more_lengths_than_tables_are_kept)
{
    Fourier fourier;
    for (int round = 0; round < 3; ++round) {
        for (const int n : {8, 9, 10, 12, 15, 16, 17, 19, 23, 29}) {
            std::vector<f_complex> x(static_cast<std::size_t>(n), {0.0F, 0.0F});
            x[1] = {1.0F, 0.0F};
            ASSERT_TRUE(fourier.complex(Sign::minus, n, x.data(), x.data()));
            for (int k = 0; k < n; ++k) {
                EXPECT_NEAR(x[static_cast<std::size_t>(k)].re, root(k, n).real(), 2e-6);
                EXPECT_NEAR(x[static_cast<std::size_t>(k)].im, -root(k, n).imag(), 2e-6);
            }
        }
        fourier.release();
    }
}

TEST(zavox_fourier, every_allocation_may_fail)
{
    const CapturedErrors errors;
    for (const int n : {16, 17}) {
        const std::vector<f_complex> x = noise(n * n, 1);
        std::vector<f_complex> y(x.size());
        bool done = false;
        for (long nth = 1; !done; ++nth) {
            Fourier fourier;
            zavo_fail_allocation(nth);
            done = fourier.plane(Sign::minus, n, n, x.data(), y.data());
            zavo_fail_allocation(0);
            if (!done) { // and the next attempt is not misled by what was left
                std::vector<f_complex> again(x.size());
                ASSERT_TRUE(fourier.plane(Sign::minus, n, n, x.data(), again.data()));
            }
            ASSERT_LT(nth, 40);
        }
    }
}

// The table of a chirp's own length may have made room for others in the meantime.
TEST(zavox_fourier, the_table_of_a_chirp_that_is_kept_is_made_again)
{
    const CapturedErrors errors;
    Fourier fourier;
    constexpr int prime = 17;
    const std::vector<f_complex> x = noise(32, 1);
    std::vector<f_complex> wanted(prime), y(x.size());
    ASSERT_TRUE(fourier.complex(Sign::minus, prime, x.data(), wanted.data()));
    for (const int n : {20, 21, 22, 24, 25, 26, 27, 28, 30}) {
        ASSERT_TRUE(fourier.complex(Sign::minus, n, x.data(), y.data()));
    }
    zavo_fail_allocation(1);
    EXPECT_FALSE(fourier.complex(Sign::minus, prime, x.data(), y.data()));
    zavo_fail_allocation(0);
    ASSERT_TRUE(fourier.complex(Sign::minus, prime, x.data(), y.data()));
    for (std::size_t k = 0; k < prime; ++k) {
        EXPECT_EQ(y[k].re, wanted[k].re);
        EXPECT_EQ(y[k].im, wanted[k].im);
    }
}

// What was ended leaves nothing half made behind.
TEST(zavox_fourier, may_be_ended_at_every_question)
{
    constexpr int n = 17;
    const std::vector<f_complex> x = noise(n, 1);
    const std::vector<Complex> wanted = definition(Sign::minus, x);
    Fourier fourier;
    std::vector<f_complex> y(n);
    const int endings =
        support::endings_until_done([&] { return fourier.complex(Sign::minus, n, x.data(), y.data()); });
    EXPECT_GT(endings, 0);
    for (std::size_t k = 0; k < n; ++k) {
        EXPECT_NEAR(y[k].re, wanted[k].real(), 1e-5);
        EXPECT_NEAR(y[k].im, wanted[k].imag(), 1e-5);
    }
}

} // namespace

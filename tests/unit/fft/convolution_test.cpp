#include "fft/convolution.h"

#include "core/errors/error_codes.hpp"
#include "core/system/memory.hpp"
#include "core/zavo.h"
#include "fft/tables/padded_length.hpp"
#include "tests/support/captured_errors.hpp"
#include "tests/unit/fft/reference.hpp"

#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>

namespace {

using namespace zavo::test;
using zavo::fft::padded_length;

struct Free {
    void operator()(void* p) const { std::free(p); }
};
using Floats = std::unique_ptr<float, Free>;

// z[k] = sum of x[j] y[(k - j) mod nz], or of x[(j + k) mod nz] y[j].
std::vector<double> direct(const std::vector<float>& x, const std::vector<float>& y, int nz, bool correlate)
{
    std::vector<double> z(static_cast<std::size_t>(nz), 0.0);
    for (int i = 0; i < static_cast<int>(x.size()); ++i) {
        for (int j = 0; j < static_cast<int>(y.size()); ++j) {
            const int k = correlate ? (i - j + nz) % nz : (i + j) % nz;
            z[static_cast<std::size_t>(k)] +=
                static_cast<double>(x[static_cast<std::size_t>(i)]) * y[static_cast<std::size_t>(j)];
        }
    }
    return z;
}

TEST(padded_length, worked_values)
{
    EXPECT_EQ(padded_length(0), 0); // a worker may ask before anything checked the lengths
    EXPECT_EQ(padded_length(1), 1);
    EXPECT_EQ(padded_length(6), 6);
    EXPECT_EQ(padded_length(7), 8);
    EXPECT_EQ(padded_length(10), 10);
    EXPECT_EQ(padded_length(11), 12);
    EXPECT_EQ(padded_length(17), 18);
    EXPECT_EQ(padded_length(4096), 4096);
}

TEST(padded_length, is_smooth_and_not_far_above_its_target)
{
    for (int m = 1; m <= 20000; ++m) {
        const int length = static_cast<int>(padded_length(m));
        EXPECT_GE(length, m);
        EXPECT_LE(length, 2 * m);
        EXPECT_TRUE(length == 2 * m || is_smooth(length)) << m;
    }
}

TEST(convolution, is_the_definition_in_all_four_forms)
{
    for (const int nx : {1, 2, 3, 4, 5, 8, 16, 31, 60, 100}) {
        for (const int ny : {1, 3, 4, 7, 16, 61, 100}) {
            const auto x = noise(nx, 1), y = noise(ny, 2);
            int nz = 0;
            Floats z{zavo_f_convolution(nx, x.data(), ny, y.data(), &nz, ZAVO_CIRCULAR, 0)};
            EXPECT_EQ(nz, std::max(nx, ny));
            EXPECT_LE(relative_error(z.get(), direct(x, y, nz, false)), 5e-5) << nx << ' ' << ny;
            z.reset(zavo_f_convolution(nx, x.data(), ny, y.data(), &nz, 0));
            EXPECT_EQ(nz, padded_length(nx + ny - 1));
            EXPECT_LE(relative_error(z.get(), direct(x, y, nz, false)), 5e-6) << nx << ' ' << ny;
            if (ny >= nx) {
                const std::vector<float> head(y.begin(), y.begin() + nx);
                z.reset(
                    zavo_f_convolution(nx, x.data(), ny, y.data(), &nz, ZAVO_CORRELATE, ZAVO_CIRCULAR, 0));
                EXPECT_EQ(nz, nx);
                EXPECT_LE(relative_error(z.get(), direct(x, head, nz, true)), 5e-5) << nx << ' ' << ny;
                z.reset(zavo_f_convolution(nx, x.data(), ny, y.data(), &nz, ZAVO_CORRELATE, 0));
                EXPECT_EQ(nz, padded_length(2 * nx - 1));
                EXPECT_LE(relative_error(z.get(), direct(x, head, nz, true)), 5e-6) << nx << ' ' << ny;
            }
        }
    }
}

TEST(convolution, hand_worked)
{
    const float x[] = {1, 2, 3}, y[] = {1, 1, 1, 1};
    int nz = 0;
    const Floats z{zavo_f_convolution(3, x, 4, y, &nz, 0)};
    ASSERT_EQ(nz, 6);
    const float expected[] = {1, 3, 6, 6, 5, 3};
    for (int i = 0; i < 6; ++i) {
        EXPECT_NEAR(z.get()[i], expected[i], 1e-5);
    }
    const float a = 3, b = -2;
    for (const int code : {0, static_cast<int>(ZAVO_CIRCULAR)}) {
        const Floats one{zavo_f_convolution(1, &a, 1, &b, &nz, code, 0)};
        EXPECT_EQ(nz, 1);
        EXPECT_EQ(*one, -6.0F);
    }
}

TEST(convolution, autocorrelation_spectrum_is_real_and_agrees_with_two_equal_sequences)
{
    for (const int code : {0, static_cast<int>(ZAVO_CIRCULAR)}) {
        const auto x = noise(30, 5);
        const auto twin = x;
        int nz = 0;
        float* zhat_address = nullptr;
        const Floats one{zavo_f_convolution(30, x.data(), 30, x.data(), &nz, ZAVO_CORRELATE, ZAVO_Z_TRANS,
                                            &zhat_address, code, 0)};
        const Floats zhat{zhat_address};
        ASSERT_TRUE(zhat);
        for (int i = 2; i + 1 < nz; i += 2) {
            EXPECT_EQ(zhat.get()[i], 0.0F);
        }
        const Floats two{zavo_f_convolution(30, x.data(), 30, twin.data(), &nz, ZAVO_CORRELATE, code, 0)};
        EXPECT_EQ(std::memcmp(one.get(), two.get(), static_cast<std::size_t>(nz) * sizeof(float)), 0);
    }
}

TEST(convolution, spectrum_is_that_of_the_result_times_its_length)
{
    const auto x = noise(20, 1), y = noise(20, 2);
    int nz = 0;
    std::vector<float> zhat(20), z(20);
    EXPECT_EQ(zavo_f_convolution(20, x.data(), 20, y.data(), &nz, ZAVO_CIRCULAR, ZAVO_Z_TRANS_USER,
                                 zhat.data(), ZAVO_RETURN_USER, z.data(), 0),
              z.data());
    const auto expected = pack(naive_dft(to_complex(z), -1));
    EXPECT_LE(relative_error(zhat.data(), expected), 5e-6);
}

TEST(convolution, arrays_of_the_caller_may_be_one)
{
    for (const int n : {20, 13}) { // without padding and with
        const auto x = noise(n, 1), y = noise(20, 2);
        int nz = 0;
        const Floats plain{zavo_f_convolution(n, x.data(), 20, y.data(), &nz, ZAVO_CIRCULAR, 0)};
        for (int shared = 0; shared < 4; ++shared) {
            std::vector<float> a(20), b = y, z(20), zhat(20);
            std::copy(x.begin(), x.end(), a.begin());
            float* const to = shared == 0 ? a.data() : shared == 1 ? b.data() : z.data();
            float* const spectrum = shared == 2 ? a.data() : shared == 3 ? b.data() : zhat.data();
            zavo_f_convolution(n, a.data(), 20, b.data(), &nz, ZAVO_CIRCULAR, ZAVO_RETURN_USER, to,
                               ZAVO_Z_TRANS_USER, spectrum, 0);
            EXPECT_EQ(std::memcmp(to, plain.get(), 20 * sizeof(float)), 0) << n << ' ' << shared;
        }
    }
}

TEST(convolution, a_series_gives_the_same_bits_as_single_calls)
{
    const auto y = noise(50, 2);
    const int modes[] = {ZAVO_SERIES_FIRST, ZAVO_SERIES_NEXT, ZAVO_SERIES_NEXT, ZAVO_SERIES_LAST};
    for (int i = 0; i < 4; ++i) {
        const auto x = noise(40, static_cast<std::uint64_t>(i) + 10);
        int nz = 0;
        const long before = zavo_allocation_count();
        std::vector<float> z(200), zhat(200);
        zavo_f_convolution(40, x.data(), 50, y.data(), &nz, modes[i], ZAVO_RETURN_USER, z.data(),
                           ZAVO_Z_TRANS_USER, zhat.data(), 0);
        EXPECT_EQ(zavo_allocation_count() - before, i == 0 ? 1 : 0);
        if (i == 3) {
            const Floats single{zavo_f_convolution(40, x.data(), 50, y.data(), &nz, 0)};
            EXPECT_EQ(std::memcmp(single.get(), z.data(), static_cast<std::size_t>(nz) * sizeof(float)), 0);
        }
    }
}

// The last call gives the storage back, so that a next one has to ask for its own.
TEST(convolution, a_series_ends_with_its_last_call)
{
    const auto x = noise(40, 3);
    int nz = 0;
    std::vector<float> z(200);
    const auto allocations = [&](int mode) {
        const long before = zavo_allocation_count();
        EXPECT_EQ(zavo_f_convolution(40, x.data(), 40, x.data(), &nz, mode, ZAVO_RETURN_USER, z.data(), 0),
                  z.data());
        return zavo_allocation_count() - before;
    };
    const long at_first = allocations(ZAVO_SERIES_FIRST);
    const long within = allocations(ZAVO_SERIES_NEXT);
    allocations(ZAVO_SERIES_LAST);
    EXPECT_GT(at_first, within);
    EXPECT_EQ(allocations(ZAVO_SERIES_NEXT), at_first);
    allocations(ZAVO_SERIES_LAST);
}

TEST(convolution, a_series_that_lacks_its_first_call_or_changes_its_length_still_works)
{
    const auto x = noise(64, 1);
    int nz = 0;
    for (const int n : {32, 64, 16}) {
        const Floats single{zavo_f_convolution(n, x.data(), n, x.data(), &nz, ZAVO_CIRCULAR, 0)};
        const Floats next{
            zavo_f_convolution(n, x.data(), n, x.data(), &nz, ZAVO_CIRCULAR, ZAVO_SERIES_NEXT, 0)};
        EXPECT_EQ(std::memcmp(single.get(), next.get(), static_cast<std::size_t>(n) * sizeof(float)), 0);
        const Floats other{zavo_f_convolution(8, x.data(), 8, x.data(), &nz, ZAVO_SERIES_NEXT, 0)};
        EXPECT_TRUE(other);
    }
    const Floats last{
        zavo_f_convolution(8, x.data(), 8, x.data(), &nz, ZAVO_SERIES_FIRST, ZAVO_SERIES_LAST, 0)};
    EXPECT_TRUE(last);
}

TEST(convolution, bad_arguments_are_answered_with_their_codes)
{
    CapturedErrors errors;
    const float x[4] = {1, 2, 3, 4};
    const float* const none = nullptr;
    float* const no_array = nullptr;
    int nz = 0;
    const auto codes_of = [&](auto... arguments) {
        errors.clear();
        EXPECT_EQ(zavo_f_convolution(arguments...), nullptr);
        return errors.codes();
    };
    const float* const px = x;
    EXPECT_EQ(codes_of(4, px, 4, px, &nz, 4711, 0), "5/103");
    EXPECT_EQ(codes_of(0, none, 4, px, &nz, ZAVO_RETURN_USER, no_array, ZAVO_Z_TRANS_USER, no_array, 0),
              "5/104");
    EXPECT_EQ(codes_of(0, none, 4, px, &nz, ZAVO_Z_TRANS_USER, no_array, 0), "5/104");
    float** const no_address = nullptr;
    EXPECT_EQ(codes_of(4, px, 4, px, &nz, ZAVO_Z_TRANS, no_address, 0), "5/104");
    EXPECT_EQ(codes_of(0, none, 0, none, &nz, 0), "5/6002");
    EXPECT_EQ(codes_of(0, px, 0, none, &nz, 0), "5/6002");
    EXPECT_EQ(codes_of(0, px, 0, px, &nz, 0), "5/3111 5/3112");
    EXPECT_EQ(codes_of(4, px, -1, px, &nz, 0), "5/3112");
    EXPECT_EQ(codes_of(2147483647, px, 2147483647, px, &nz, 0), "5/201");
    const int zero = 0;
    FFTRI(&zero, nullptr);
    EXPECT_EQ(errors.last().routine, "FFTRI ");
    EXPECT_EQ(errors.last().code, 6001);
    const int one = 1;
    FFTRI(&one, nullptr);
}

// The first call of a series, mode 1, makes the table that the later ones read.
TEST(convolution, workers_make_the_table_in_the_first_call_of_a_series)
{
    const float x[3] = {1, 2, 3};
    const float y[3] = {4, 5, 6};
    const int n = 3;
    float table[64] = {};
    for (const int mode : {1, 2, 3}) {
        float z[8] = {};
        float zhat[8];
        float xwork[8];
        float ywork[8];
        int nz = 0;
        const int pad = 1;
        R2ONV(&mode, &n, x, &n, y, &pad, &nz, z, zhat, xwork, ywork, table);
        ASSERT_GE(nz, 5);
        const float wanted[5] = {4, 13, 28, 27, 18};
        for (int i = 0; i < 5; ++i) {
            EXPECT_NEAR(z[i], wanted[i], 1e-4) << mode << ' ' << i;
        }
    }
}

// A single call makes its table too. ipad 2 and 3 leave y out.
TEST(convolution, correlation_by_its_fixed_name)
{
    constexpr int n = 3;
    const float x[n] = {1, 2, 3};
    const float y[n] = {4, 5, 7};
    for (const int pad : {0, 1, 2, 3}) {
        const float* const second = pad >= 2 ? x : y;
        const int period = pad % 2 == 0 ? n : 5; // of the sums; lags below 0 stand behind
        for (const int mode : {0, 1, 2, 3}) {
            float z[8] = {}, zhat[8], xwork[8], ywork[8];
            float table[2 * 8 + 15] = {};
            int nz = 0;
            if (mode >= 2) {
                const int first = 1;
                R2ORL(&first, &n, x, y, &pad, &nz, z, zhat, xwork, ywork, table);
            }
            R2ORL(&mode, &n, x, y, &pad, &nz, z, zhat, xwork, ywork, table);
            ASSERT_GE(nz, period);
            ASSERT_LE(nz, 8);
            for (int lag = pad % 2 == 0 ? 0 : 1 - n; lag < n; ++lag) {
                float sum = 0;
                for (int i = 0; i < n; ++i) {
                    const int j = pad % 2 == 0 ? (i + lag) % n : i + lag;
                    sum += j >= 0 && j < n ? x[j] * second[i] : 0.0F;
                }
                EXPECT_NEAR(z[(lag + nz) % nz], sum, 1e-4)
                    << "pad " << pad << " mode " << mode << " lag " << lag;
            }
        }
    }
}

TEST(convolution, every_allocation_may_fail)
{
    CapturedErrors errors;
    const auto x = noise(24, 1);
    int nz = 0;
    for (const bool keep_spectrum : {false, true}) {
        long k = 1;
        for (;; ++k) {
            float* zhat = nullptr;
            zavo_fail_allocation(k);
            const Floats r{keep_spectrum
                               ? zavo_f_convolution(24, x.data(), 24, x.data(), &nz, ZAVO_Z_TRANS, &zhat, 0)
                               : zavo_f_convolution(24, x.data(), 24, x.data(), &nz, ZAVO_CORRELATE, 0)};
            zavo_fail_allocation(0);
            const Floats spectrum{zhat};
            if (r) {
                break;
            }
            EXPECT_FALSE(spectrum);
            EXPECT_EQ(zavo_error_code(1), zavo::core::code::no_memory_for_array);
        }
        // the work area, the result and, where it is wanted, the spectrum were asked for
        EXPECT_GE(k, keep_spectrum ? 4 : 3);
    }
}

// A later call of a series finds all that it needs in the work area.
TEST(convolution, later_calls_of_a_series_allocate_nothing)
{
    const auto x = noise(600, 1), y = noise(500, 2);
    std::vector<float> z(1200), zhat(1200);
    int nz = 0;
    zavo_f_convolution(600, x.data(), 500, y.data(), &nz, ZAVO_SERIES_FIRST, ZAVO_RETURN_USER, z.data(), 0);
    const std::vector<float> first = z;
    for (const bool spectrum : {false, true}) {
        zavo_fail_allocation(0);
        if (spectrum) {
            zavo_f_convolution(600, x.data(), 500, y.data(), &nz, ZAVO_SERIES_NEXT, ZAVO_RETURN_USER,
                               z.data(), ZAVO_Z_TRANS_USER, zhat.data(), 0);
        } else {
            zavo_f_convolution(600, x.data(), 500, y.data(), &nz, ZAVO_SERIES_NEXT, ZAVO_RETURN_USER,
                               z.data(), 0);
        }
        EXPECT_EQ(zavo_allocation_count(), 0);
        EXPECT_EQ(z, first);
    }
    zavo_f_convolution(600, x.data(), 500, y.data(), &nz, ZAVO_SERIES_LAST, ZAVO_RETURN_USER, z.data(), 0);
}

// z and zhat may lie over the sequences, and z over zhat: what is written last is right.
TEST(convolution, overlapping_arrays_give_the_results_of_disjoint_ones)
{
    constexpr int nx = 90, ny = 60;
    const auto x = noise(nx, 3), y = noise(ny, 4);
    int nz = 0;
    std::vector<float> z(400), zhat(400);
    zavo_f_convolution(nx, x.data(), ny, y.data(), &nz, ZAVO_RETURN_USER, z.data(), ZAVO_Z_TRANS_USER,
                       zhat.data(), 0);
    const auto count = static_cast<std::size_t>(nz);
    for (const int z_at : {0, 7, 80, 130, 500}) {
        for (const int zhat_at : {0, 13, 95, 160, 700}) {
            // x at 0, y at 100
            std::vector<float> all(1000);
            std::copy(x.begin(), x.end(), all.begin());
            std::copy(y.begin(), y.end(), all.begin() + 100);
            const float* const there =
                zavo_f_convolution(nx, all.data(), ny, all.data() + 100, &nz, ZAVO_RETURN_USER,
                                   all.data() + z_at, ZAVO_Z_TRANS_USER, all.data() + zhat_at, 0);
            EXPECT_EQ(std::memcmp(there, z.data(), count * sizeof(float)), 0) << z_at << ' ' << zhat_at;
            if (z_at == 500 && zhat_at + nz <= z_at) {
                EXPECT_EQ(std::memcmp(all.data() + zhat_at, zhat.data(), count * sizeof(float)), 0)
                    << zhat_at;
            }
        }
    }
}

} // namespace

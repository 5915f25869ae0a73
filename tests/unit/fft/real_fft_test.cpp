#include "fft/real_fft.h"

#include "core/errors/error_codes.hpp"
#include "core/system/memory.hpp"
#include "core/zavo.h"
#include "tests/support/captured_errors.hpp"
#include "tests/unit/fft/reference.hpp"

#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <memory>

namespace {

using namespace zavo::test;
using zavo::test::CapturedErrors;

struct Free {
    void operator()(float* p) const { std::free(p); }
};
using Floats = std::unique_ptr<float, Free>;

std::vector<float> forward(const std::vector<float>& x)
{
    const Floats r{zavo_f_fft_real(static_cast<int>(x.size()), x.data(), 0)};
    return r ? std::vector<float>(r.get(), r.get() + x.size()) : std::vector<float>{};
}

std::vector<float> backward(const std::vector<float>& x)
{
    const Floats r{zavo_f_fft_real(static_cast<int>(x.size()), x.data(), ZAVO_BACKWARD, 0)};
    return r ? std::vector<float>(r.get(), r.get() + x.size()) : std::vector<float>{};
}

// Lengths with a prime factor above 5 go through the rotation by recurrence,
// whose error grows with the factor.
double limit_for(int n)
{
    return is_smooth(n) ? error_limit(n) : 4e-5;
}

TEST(real_fft, forward_is_the_definition_for_every_small_length)
{
    for (int n = 1; n <= 128; ++n) {
        const auto x = noise(n, static_cast<std::uint64_t>(n));
        const auto found = forward(x);
        ASSERT_EQ(found.size(), x.size());
        EXPECT_LE(relative_error(found.data(), pack(naive_dft(to_complex(x), -1))), limit_for(n)) << n;
    }
}

TEST(real_fft, backward_is_the_definition_for_every_small_length)
{
    for (int n = 1; n <= 128; ++n) {
        const auto r = noise(n, static_cast<std::uint64_t>(n) + 1000);
        const auto found = backward(r);
        ASSERT_EQ(found.size(), r.size());
        EXPECT_LE(relative_error(found.data(), real_parts(naive_dft(unpack(r), +1))), limit_for(n)) << n;
    }
}

TEST(real_fft, backward_of_forward_is_n_times_x)
{
    for (const int n : {1, 2, 3, 4, 5, 6, 7, 8, 12, 14, 49, 77, 120, 243, 1000, 1024, 2310, 4096, 12000}) {
        const auto x = noise(n, 7);
        std::vector<float> back = backward(forward(x));
        for (float& value : back) {
            value /= static_cast<float>(n);
        }
        EXPECT_LE(relative_error(back.data(), x), 2 * limit_for(n)) << n;
    }
}

TEST(real_fft, hand_worked_spectra)
{
    EXPECT_EQ(forward({5}), (std::vector<float>{5}));
    EXPECT_EQ(backward({5}), (std::vector<float>{5}));
    EXPECT_EQ(forward({3, 5}), (std::vector<float>{8, -2}));
    EXPECT_EQ(backward({8, -2}), (std::vector<float>{6, 10}));
    EXPECT_EQ(forward({1, 2, 3, 4}), (std::vector<float>{10, -2, 2, -2}));
    EXPECT_EQ(backward({10, -2, 2, -2}), (std::vector<float>{4, 8, 12, 16}));
}

TEST(real_fft, pulse_has_a_flat_spectrum_and_constant_only_frequency_zero)
{
    for (int n = 1; n <= 128; ++n) {
        std::vector<float> pulse(static_cast<std::size_t>(n), 0.0F);
        pulse[0] = 1.0F;
        const auto flat = forward(pulse);
        const auto zero = forward(std::vector<float>(static_cast<std::size_t>(n), 1.0F));
        for (int i = 0; i < n; ++i) {
            const bool imaginary = i > 0 && i % 2 == 0 && !(n % 2 == 0 && i == n - 1);
            EXPECT_FLOAT_EQ(flat[static_cast<std::size_t>(i)], imaginary ? 0.0F : 1.0F) << n << ' ' << i;
            EXPECT_NEAR(zero[static_cast<std::size_t>(i)], i == 0 ? n : 0, n * 4e-5) << n << ' ' << i;
        }
    }
}

TEST(real_fft, cosine_and_sine_stand_at_their_frequency)
{
    for (const int n : {16, 60, 63, 100, 121}) {
        for (int k = 1; 2 * k < n; ++k) {
            std::vector<float> x;
            for (int j = 0; j < n; ++j) {
                const Complex root = unit_root(static_cast<std::int64_t>(j) * k, n, 1);
                x.push_back(static_cast<float>(2.0 * root.real() + 3.0 * root.imag()));
            }
            std::vector<double> expected(static_cast<std::size_t>(n), 0.0);
            expected[static_cast<std::size_t>(2 * k - 1)] = n;
            expected[static_cast<std::size_t>(2 * k)] = -1.5 * n;
            EXPECT_LE(relative_error(forward(x).data(), expected), 1e-5) << n << ' ' << k;
        }
    }
}

TEST(real_fft, table_holds_factors_in_order_and_twiddles_of_its_definition)
{
    const struct {
        int n;
        std::vector<float> factors;
    } rows[] = {{2, {2}},        {8, {2, 4}},
                {12, {4, 3}},    {14, {2, 7}},
                {30, {2, 3, 5}}, {1000, {2, 4, 5, 5, 5}},
                {1009, {1009}},  {12000, {2, 4, 4, 3, 5, 5, 5}}};
    for (const auto& row : rows) {
        const Floats table{zavo_f_fft_real_init(row.n)};
        ASSERT_NE(table.get(), nullptr);
        const float* const record = table.get() + 2 * row.n;
        EXPECT_EQ(record[0], static_cast<float>(row.n));
        EXPECT_EQ(record[1], static_cast<float>(row.factors.size()));
        EXPECT_EQ(std::vector<float>(record + 2, record + 2 + row.factors.size()), row.factors) << row.n;
    }
    // 12 = 4 * 3: one block of three values for each of the slots 1, 2, 3 of the 4
    const Floats table{zavo_f_fft_real_init(12)};
    const float argh = 6.2831855F / 12.0F;
    for (int j = 1; j <= 3; ++j) {
        const double angle = static_cast<float>(j) * argh;
        const float* const block = table.get() + 12 + 3 * (j - 1);
        EXPECT_EQ(block[0], static_cast<float>(std::cos(angle)));
        EXPECT_EQ(block[1], static_cast<float>(std::sin(angle)));
        EXPECT_EQ(block[2], 0.0F);
    }
}

TEST(real_fft, record_with_more_factors_than_it_has_room_for)
{
    const int n = 4782969; // 3 to the 14th
    const Floats table{zavo_f_fft_real_init(n)};
    ASSERT_NE(table.get(), nullptr);
    std::vector<float> x(static_cast<std::size_t>(n), 0.0F);
    x[1] = 1.0F;
    const Floats r{zavo_f_fft_real(n, x.data(), ZAVO_PARAMS, table.get(), 0)};
    ASSERT_NE(r.get(), nullptr);
    double worst = 0.0;
    for (int k = 1; k <= (n - 1) / 2; ++k) {
        const Complex root = unit_root(k, n, -1);
        worst = std::max(
            {worst, std::abs(r.get()[2 * k - 1] - root.real()), std::abs(r.get()[2 * k] - root.imag())});
    }
    EXPECT_LT(worst, 1e-5);
}

// A record that cannot be one of the length is not followed: the factors are found anew.
TEST(real_fft, a_record_of_another_length_or_of_none_is_not_followed)
{
    constexpr int n = 60; // 4 * 3 * 5
    const auto x = noise(n, 7);
    const auto plain = forward(x);
    const struct {
        int place;
        float value;
    } changes[] = {
        {1, 0.0F}, {1, -1.0F}, {1, 99.0F}, {1, 3e9F},  {1, std::numeric_limits<float>::quiet_NaN()},
        {1, 2.0F}, {1, 4.0F},  {2, 0.0F},  {2, 1.0F},  {2, 6.0F},
        {2, 8.0F}, {2, 2.0F},  {2, 7.0F},  {2, -4.0F}, {2, 2147483648.0F},
        {3, 2e9F},
    };
    for (const auto& change : changes) {
        const Floats table{zavo_f_fft_real_init(n)};
        ASSERT_NE(table.get(), nullptr);
        table.get()[2 * n + change.place] = change.value;
        const Floats r{zavo_f_fft_real(n, x.data(), ZAVO_PARAMS, table.get(), 0)};
        ASSERT_NE(r.get(), nullptr);
        EXPECT_EQ(std::vector<float>(r.get(), r.get() + n), plain) << change.place << ": " << change.value;
    }
}

TEST(real_fft, own_table_users_array_and_in_place_give_the_same_bits)
{
    for (int n = 2; n <= 300; ++n) {
        const auto x = noise(n, 3);
        const auto plain = forward(x);
        const auto plain_back = backward(x);
        const Floats table{zavo_f_fft_real_init(n)};
        std::vector<float> q(x.size());
        EXPECT_EQ(zavo_f_fft_real(n, x.data(), ZAVO_PARAMS, table.get(), ZAVO_RETURN_USER, q.data(), 0),
                  q.data());
        EXPECT_EQ(q, plain) << n;
        q = x;
        zavo_f_fft_real(n, q.data(), ZAVO_RETURN_USER, q.data(), ZAVO_PARAMS, table.get(), 0);
        EXPECT_EQ(q, plain) << n;
        q = x;
        zavo_f_fft_real(n, q.data(), ZAVO_BACKWARD, ZAVO_RETURN_USER, q.data(), ZAVO_PARAMS, table.get(), 0);
        EXPECT_EQ(q, plain_back) << n;
    }
}

TEST(real_fft, workers_transform_with_a_table_and_check_the_length)
{
    CapturedErrors errors;
    const int n = 60;
    const auto x = noise(n, 5);
    const Floats table{zavo_f_fft_real_init(n)};
    std::vector<float> q(x.size());
    l_f2trf(&n, x.data(), q.data(), table.get());
    EXPECT_EQ(q, forward(x));
    l_f2trb(&n, x.data(), q.data(), table.get());
    EXPECT_EQ(q, backward(x));
    const int one = 1;
    l_f2trb(&one, x.data(), q.data(), nullptr);
    EXPECT_EQ(q[0], x[0]);
    EXPECT_TRUE(errors.empty());
    const int none = 0;
    l_f2trb(&none, x.data(), q.data(), table.get());
    EXPECT_EQ(errors.codes(), "5/6001");
    EXPECT_EQ(errors.last().routine, "l_f2trb");
}

// Errors of the arguments, in the order in which they are looked for. The
// caller's array is released by each, so it comes from malloc.
float* users_array(int n)
{
    return static_cast<float*>(std::malloc(static_cast<std::size_t>(n) * sizeof(float)));
}

TEST(real_fft, failure_releases_the_callers_array)
{
    CapturedErrors errors;
    const float x[4] = {1, 2, 3, 4};
    EXPECT_EQ(zavo_f_fft_real(0, x, ZAVO_RETURN_USER, users_array(4), 0), nullptr);
    EXPECT_EQ(zavo_f_fft_real(4, nullptr, ZAVO_RETURN_USER, users_array(4), 0), nullptr);
    EXPECT_EQ(zavo_f_fft_real(4, x, ZAVO_RETURN_USER, users_array(4), ZAVO_PARAMS, nullptr, 0), nullptr);
    EXPECT_EQ(zavo_f_fft_real(4, x, ZAVO_RETURN_USER, users_array(4), 4711, 0), nullptr);
    EXPECT_EQ(errors.codes(), "5/6001 5/6002 5/104 5/103");
    zavo_fail_allocation(1);
    EXPECT_EQ(zavo_f_fft_real(4, x, ZAVO_RETURN_USER, users_array(4), 0), nullptr);
    zavo_fail_allocation(0);
}

TEST(real_fft, bad_arguments_are_answered_with_their_codes)
{
    CapturedErrors errors;
    const float x[4] = {1, 2, 3, 4};
    EXPECT_EQ(zavo_f_fft_real(4, x, 4711, 0), nullptr);
    EXPECT_EQ(zavo_f_fft_real(4, x, ZAVO_BACKWARD, 4712, 0), nullptr);
    EXPECT_EQ(zavo_f_fft_real(0, nullptr, ZAVO_RETURN_USER, nullptr, ZAVO_PARAMS, nullptr, 0), nullptr);
    EXPECT_EQ(zavo_f_fft_real(0, nullptr, ZAVO_PARAMS, nullptr, 0), nullptr);
    EXPECT_EQ(zavo_f_fft_real(0, nullptr, 0), nullptr);
    EXPECT_EQ(zavo_f_fft_real(-3, x, 0), nullptr);
    EXPECT_EQ(zavo_f_fft_real_init(0), nullptr);
    EXPECT_EQ(errors.codes(), "5/103 5/103 5/104 5/104 5/6002 5/6001 5/6001");
    EXPECT_EQ(errors.last().routine, "zavo_f_fft_real_init");
    EXPECT_EQ(zavo_f_fft_real_init(1), nullptr);
    EXPECT_EQ(zavo_error_code(1), 0);
}

TEST(real_fft, every_allocation_may_fail)
{
    CapturedErrors errors;
    const auto x = noise(24, 1);
    long k = 1;
    for (;; ++k) {
        zavo_fail_allocation(k);
        const Floats r{zavo_f_fft_real(24, x.data(), 0)};
        zavo_fail_allocation(0);
        if (r) {
            break;
        }
        EXPECT_EQ(zavo_error_code(1), zavo::core::code::no_memory_for_array);
    }
    EXPECT_GE(k, 3); // at least the result and the table were asked for
}

TEST(real_fft, accuracy_promise_holds_up_to_a_million)
{
    for (const int n : {256, 1000, 1024, 2187, 3125, 4096, 12000, 15625, 65536, 100000, 1 << 20}) {
        // against a double transform by the same splitting: sums of a few cosines
        std::vector<float> x(static_cast<std::size_t>(n), 0.0F);
        const int places[] = {0, 1, n / 3, n / 2, n - 1};
        const float heights[] = {0.25F, 1.0F, -0.5F, 0.75F, 2.0F};
        for (int t = 0; t < 5; ++t) {
            x[static_cast<std::size_t>(places[t])] += heights[t];
        }
        const auto found = forward(x);
        std::vector<double> expected(static_cast<std::size_t>(n));
        for (int k = 0; k <= n / 2; ++k) {
            Complex sum = 0;
            for (int t = 0; t < 5; ++t) {
                sum += static_cast<double>(heights[t]) *
                       unit_root(static_cast<std::int64_t>(places[t]) * k, n, -1);
            }
            if (k == 0) {
                expected[0] = sum.real();
            } else if (2 * k == n) {
                expected[static_cast<std::size_t>(n - 1)] = sum.real();
            } else {
                expected[static_cast<std::size_t>(2 * k - 1)] = sum.real();
                expected[static_cast<std::size_t>(2 * k)] = sum.imag();
            }
        }
        EXPECT_LE(relative_error(found.data(), expected), error_limit(n)) << n;
    }
}

TEST(real_fft, large_prime_error_is_as_documented)
{
    const auto error_of = [](int n) {
        std::vector<float> x(static_cast<std::size_t>(n), 0.0F);
        std::vector<double> expected(static_cast<std::size_t>(n));
        const auto values = noise(8, 99);
        for (int t = 0; t < 8; ++t) {
            x[static_cast<std::size_t>((t * n) / 8 + t)] = values[static_cast<std::size_t>(t)];
        }
        for (int k = 0; k <= (n - 1) / 2; ++k) {
            Complex sum = 0;
            for (int t = 0; t < 8; ++t) {
                const std::int64_t j = (t * n) / 8 + t;
                sum += static_cast<double>(values[static_cast<std::size_t>(t)]) * unit_root(j * k, n, -1);
            }
            expected[static_cast<std::size_t>(k == 0 ? 0 : 2 * k - 1)] = sum.real();
            if (k > 0) {
                expected[static_cast<std::size_t>(2 * k)] = sum.imag();
            }
        }
        return relative_error(forward(x).data(), expected);
    };
    const double near_1000 = error_of(1009);
    EXPECT_GT(near_1000, 1e-5);
    EXPECT_LT(near_1000, 1e-2);
    const double near_10000 = error_of(10007);
    EXPECT_GT(near_10000, 1e-3);
    EXPECT_LT(near_10000, 1.0);
    RecordProperty("error_1009", std::to_string(near_1000));
    RecordProperty("error_10007", std::to_string(near_10000));
}

// The forward worker does nothing with a length below 1 and copies a single value.
TEST(real_fft, forward_worker_touches_nothing_below_length_1)
{
    const float p[2] = {3.0F, 4.0F};
    float q[2] = {1.0F, 2.0F};
    for (const int n : {0, -1}) {
        l_f2trf(&n, p, q, nullptr);
        EXPECT_EQ(q[0], 1.0F);
    }
    const int one = 1;
    l_f2trf(&one, p, q, nullptr);
    EXPECT_EQ(q[0], 3.0F);
    EXPECT_EQ(q[1], 2.0F);
}

} // namespace

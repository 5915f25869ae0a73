#include "fft/complex_fft.h"

#include "core/errors/error_codes.hpp"
#include "core/system/memory.hpp"
#include "tests/support/captured_errors.hpp"
#include "tests/unit/fft/reference.hpp"

#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>

namespace {

using namespace zavo::test;

struct Free {
    void operator()(void* p) const { std::free(p); }
};
using Values = std::unique_ptr<f_complex, Free>;
using Table = std::unique_ptr<float, Free>;

std::vector<f_complex> complex_noise(int n, std::uint64_t seed)
{
    const auto parts = noise(2 * n, seed);
    std::vector<f_complex> z(static_cast<std::size_t>(n));
    std::memcpy(z.data(), parts.data(), z.size() * sizeof(f_complex));
    return z;
}

std::vector<Complex> widen(const std::vector<f_complex>& z)
{
    std::vector<Complex> w;
    for (const f_complex& value : z) {
        w.emplace_back(value.re, value.im);
    }
    return w;
}

std::vector<double> parts(const std::vector<Complex>& z)
{
    std::vector<double> p;
    for (const Complex& value : z) {
        p.push_back(value.real());
        p.push_back(value.imag());
    }
    return p;
}

std::vector<f_complex> transform(const std::vector<f_complex>& z, bool backward)
{
    const int n = static_cast<int>(z.size());
    const Values r{backward ? zavo_c_fft_complex(n, z.data(), ZAVO_BACKWARD, 0)
                            : zavo_c_fft_complex(n, z.data(), 0)};
    return r ? std::vector<f_complex>(r.get(), r.get() + n) : std::vector<f_complex>{};
}

const float* floats(const std::vector<f_complex>& z)
{
    return reinterpret_cast<const float*>(z.data());
}

bool same_bits(const std::vector<f_complex>& a, const std::vector<f_complex>& b)
{
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(f_complex)) == 0;
}

TEST(complex_fft, both_directions_are_the_definition_for_every_small_length)
{
    for (int n = 1; n <= 128; ++n) {
        const auto z = complex_noise(n, static_cast<std::uint64_t>(n));
        for (const bool backward : {false, true}) {
            const auto found = transform(z, backward);
            ASSERT_EQ(found.size(), z.size());
            // the rotation of large radices is looked up: no extra loss
            EXPECT_LE(relative_error(floats(found), parts(naive_dft(widen(z), backward ? 1 : -1))),
                      error_limit(n))
                << n << ' ' << backward;
        }
    }
}

TEST(complex_fft, backward_of_forward_is_n_times_z)
{
    for (const int n : {1, 2, 3, 4, 5, 6, 7, 8, 12, 49, 77, 243, 1000, 1009, 1024, 4096, 12000}) {
        const auto z = complex_noise(n, 3);
        auto back = transform(transform(z, false), true);
        for (f_complex& value : back) {
            value.re /= static_cast<float>(n);
            value.im /= static_cast<float>(n);
        }
        EXPECT_LE(relative_error(floats(back), parts(widen(z))), 2 * error_limit(n)) << n;
    }
}

TEST(complex_fft, impulse_constant_and_wave)
{
    for (int n = 1; n <= 128; ++n) {
        std::vector<f_complex> z(static_cast<std::size_t>(n), f_complex{0, 0});
        z[0] = {1, 0};
        for (const f_complex& value : transform(z, false)) {
            EXPECT_EQ(value.re, 1.0F) << n;
            EXPECT_EQ(value.im, 0.0F) << n;
        }
        const auto spectrum =
            transform(std::vector<f_complex>(static_cast<std::size_t>(n), f_complex{1, 0}), false);
        for (int k = 0; k < n; ++k) {
            EXPECT_NEAR(spectrum[static_cast<std::size_t>(k)].re, k == 0 ? n : 0, n * 1e-6);
            EXPECT_NEAR(spectrum[static_cast<std::size_t>(k)].im, 0, n * 1e-6);
        }
    }
    const auto turn = transform({{1, 0}, {0, 1}, {-1, 0}, {0, -1}}, false);
    EXPECT_EQ(turn[1].re, 4.0F);
    EXPECT_EQ(turn[0].re, 0.0F);
    EXPECT_EQ(turn[3].re, 0.0F);
}

TEST(complex_fft, table_holds_factors_in_order_and_the_rotation_of_large_radices)
{
    const struct {
        int n;
        std::vector<float> factors;
    } rows[] = {{2, {2}},
                {6, {2, 3}},
                {8, {2, 4}},
                {12, {3, 4}},
                {7, {7}},
                {1000, {2, 4, 5, 5, 5}},
                {12000, {2, 3, 4, 4, 5, 5, 5}}};
    for (const auto& row : rows) {
        const Table table{zavo_c_fft_complex_init(row.n)};
        ASSERT_NE(table.get(), nullptr);
        const float* const record = table.get() + 4 * row.n;
        EXPECT_EQ(record[0], static_cast<float>(row.n));
        EXPECT_EQ(record[1], static_cast<float>(row.factors.size()));
        EXPECT_EQ(std::vector<float>(record + 2, record + 2 + row.factors.size()), row.factors) << row.n;
    }
    const auto expect_pair = [](const float* pair, double angle) {
        EXPECT_EQ(pair[0], static_cast<float>(std::cos(angle)));
        EXPECT_EQ(pair[1], static_cast<float>(std::sin(angle)));
    };
    // 12 = 3 * 4: blocks of 4 pairs for the 3, the first pair (1, 0)
    const Table twelve{zavo_c_fft_complex_init(12)};
    const float* const w = twelve.get() + 24;
    EXPECT_EQ(w[0], 1.0F);
    EXPECT_EQ(w[1], 0.0F);
    expect_pair(w + 2, 6.2831855F / 12.0F);
    EXPECT_EQ(w[8], 1.0F); // overwrote the fourth multiple of block 1
    // 7: the first pair of block j is the rotation by j / 7
    const Table seven{zavo_c_fft_complex_init(7)};
    for (int j = 1; j < 7; ++j) {
        expect_pair(seven.get() + 14 + 2 * (j - 1), static_cast<float>(j) * (6.2831855F / 7.0F));
    }
    expect_pair(seven.get() + 14 + 12, 6.0F * (6.2831855F / 7.0F)); // one pair hangs over the end
}

TEST(complex_fft, own_table_users_array_and_in_place_give_the_same_bits)
{
    for (int n = 1; n <= 200; ++n) {
        const auto z = complex_noise(n, 5);
        const Table table{zavo_c_fft_complex_init(n)};
        for (const bool backward : {false, true}) {
            const auto plain = transform(z, backward);
            auto q = z;
            const int code = backward ? ZAVO_BACKWARD : 0;
            f_complex* const r = n == 1 ? zavo_c_fft_complex(n, q.data(), ZAVO_RETURN_USER, q.data(), code, 0)
                                        : zavo_c_fft_complex(n, q.data(), ZAVO_PARAMS, table.get(),
                                                             ZAVO_RETURN_USER, q.data(), code, 0);
            EXPECT_EQ(r, q.data());
            EXPECT_TRUE(same_bits(q, plain)) << n;
        }
    }
}

TEST(complex_fft, bad_arguments_are_answered_with_their_codes_and_leave_the_callers_array)
{
    CapturedErrors errors;
    const f_complex z[4] = {{1, 2}, {3, 4}, {5, 6}, {7, 8}};
    f_complex q[4] = {};
    EXPECT_EQ(zavo_c_fft_complex(4, z, ZAVO_RETURN_USER, q, 4711, 0), nullptr);
    EXPECT_EQ(zavo_c_fft_complex(4, z, ZAVO_RETURN_USER, nullptr, 0), nullptr);
    EXPECT_EQ(zavo_c_fft_complex(4, z, ZAVO_PARAMS, nullptr, 0), nullptr);
    EXPECT_EQ(zavo_c_fft_complex(4, nullptr, ZAVO_RETURN_USER, q, 0), nullptr);
    EXPECT_EQ(zavo_c_fft_complex(0, z, ZAVO_RETURN_USER, q, 0), nullptr);
    EXPECT_EQ(errors.codes(), "5/103 5/104 5/104 5/6002 5/6001");
    errors.clear();
    // with a table of the caller's the worker reports the length
    float table[31] = {};
    EXPECT_EQ(zavo_c_fft_complex(0, z, ZAVO_PARAMS, table, 0), nullptr);
    EXPECT_EQ(errors.codes(), "5/6001");
    EXPECT_EQ(errors.last().routine, "l_f2tcf");
    EXPECT_EQ(zavo_c_fft_complex_init(-1), nullptr);
    EXPECT_EQ(zavo_error_code(1), 6001);
    EXPECT_EQ(zavo_c_fft_complex_init(1), nullptr);
    EXPECT_EQ(zavo_error_code(1), 0);
}

TEST(complex_fft, workers_transform_with_a_table_and_check_the_length)
{
    CapturedErrors errors;
    const int n = 60, none = 0;
    const auto z = complex_noise(n, 8);
    const Table table{zavo_c_fft_complex_init(n)};
    std::vector<f_complex> q(z.size()), work(z.size());
    l_f2tcf(&n, z.data(), q.data(), table.get(), work.data());
    EXPECT_TRUE(same_bits(q, transform(z, false)));
    l_f2tcb(&n, z.data(), q.data(), table.get(), work.data());
    EXPECT_TRUE(same_bits(q, transform(z, true)));
    l_f2tcf(&none, z.data(), q.data(), table.get(), work.data());
    EXPECT_EQ(errors.last().routine, "l_f2tcf");
    l_f2tcb(&none, z.data(), q.data(), table.get(), work.data());
    EXPECT_EQ(errors.last().routine, "l_f2tcb");
    EXPECT_EQ(errors.codes(), "5/6001 5/6001");
}

TEST(complex_fft, every_allocation_may_fail)
{
    CapturedErrors errors;
    const auto z = complex_noise(24, 1);
    long k = 1;
    for (;; ++k) {
        zavo_fail_allocation(k);
        const Values r{zavo_c_fft_complex(24, z.data(), 0)};
        zavo_fail_allocation(0);
        if (r) {
            break;
        }
        EXPECT_EQ(zavo_error_code(1), zavo::core::code::no_memory_for_array);
    }
    EXPECT_GE(k, 4); // the table, the work storage and the result were asked for
}

TEST(complex_fft, accuracy_promise_holds_up_to_a_million)
{
    for (const int n : {256, 1000, 4096, 12000, 65536, 100000, 1 << 20}) {
        std::vector<f_complex> z(static_cast<std::size_t>(n), f_complex{0, 0});
        const int places[] = {0, 1, n / 3, n / 2, n - 1};
        const f_complex heights[] = {
            {0.25F, 1.0F}, {1.0F, -0.5F}, {-0.5F, 0.0F}, {0.75F, 0.1F}, {2.0F, -1.0F}};
        for (int t = 0; t < 5; ++t) {
            z[static_cast<std::size_t>(places[t])] = heights[t];
        }
        const auto found = transform(z, false);
        std::vector<Complex> expected(z.size());
        for (int k = 0; k < n; ++k) {
            for (int t = 0; t < 5; ++t) {
                expected[static_cast<std::size_t>(k)] +=
                    Complex(heights[t].re, heights[t].im) *
                    unit_root(static_cast<std::int64_t>(places[t]) * k, n, -1);
            }
        }
        EXPECT_LE(relative_error(floats(found), parts(expected)), error_limit(n)) << n;
    }
}

} // namespace

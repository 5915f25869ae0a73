#include "fft/fft_2d.h"

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

std::vector<f_complex> matrix_noise(int count, std::uint64_t seed)
{
    const auto parts = noise(2 * count, seed);
    std::vector<f_complex> z(static_cast<std::size_t>(count));
    std::memcpy(static_cast<void*>(z.data()), parts.data(), z.size() * sizeof(f_complex));
    return z;
}

// By rows and columns of the naive transform, as (re, im) pairs.
std::vector<double> naive_2d(int m, int n, const std::vector<f_complex>& p, int sign)
{
    std::vector<std::vector<Complex>> rows;
    for (int r = 0; r < m; ++r) {
        std::vector<Complex> row;
        for (int c = 0; c < n; ++c) {
            const f_complex z = p[static_cast<std::size_t>(r * n + c)];
            row.emplace_back(z.re, z.im);
        }
        rows.push_back(naive_dft(row, sign));
    }
    std::vector<double> result(static_cast<std::size_t>(2 * m * n));
    for (int c = 0; c < n; ++c) {
        std::vector<Complex> column;
        for (int r = 0; r < m; ++r) {
            column.push_back(rows[static_cast<std::size_t>(r)][static_cast<std::size_t>(c)]);
        }
        column = naive_dft(column, sign);
        for (int r = 0; r < m; ++r) {
            result[static_cast<std::size_t>(2 * (r * n + c))] = column[static_cast<std::size_t>(r)].real();
            result[static_cast<std::size_t>(2 * (r * n + c) + 1)] =
                column[static_cast<std::size_t>(r)].imag();
        }
    }
    return result;
}

const float* floats(const f_complex* z)
{
    return reinterpret_cast<const float*>(z);
}

TEST(fft_2d, both_directions_are_the_definition)
{
    for (const int m : {1, 2, 3, 5, 7, 8, 12, 17, 20, 33}) {
        for (const int n : {2, 3, 4, 6, 7, 16, 18, 35, 40}) {
            const auto p = matrix_noise(m * n, static_cast<std::uint64_t>(m * 100 + n));
            const Values forward{zavo_c_fft_2d_complex(m, n, p.data(), 0)};
            const Values backward{zavo_c_fft_2d_complex(m, n, p.data(), ZAVO_BACKWARD, 0)};
            ASSERT_TRUE(forward && backward);
            EXPECT_LE(relative_error(floats(forward.get()), naive_2d(m, n, p, -1)), 2e-6) << m << ' ' << n;
            EXPECT_LE(relative_error(floats(backward.get()), naive_2d(m, n, p, +1)), 2e-6) << m << ' ' << n;
        }
    }
}

TEST(fft_2d, backward_of_one_column_is_the_input)
{
    const auto p = matrix_noise(9, 4);
    const Values forward{zavo_c_fft_2d_complex(9, 1, p.data(), 0)};
    EXPECT_LE(relative_error(floats(forward.get()), naive_2d(9, 1, p, -1)), 2e-6);
    const Values backward{zavo_c_fft_2d_complex(9, 1, p.data(), ZAVO_BACKWARD, 0)};
    EXPECT_EQ(std::memcmp(backward.get(), p.data(), sizeof(f_complex) * 9), 0);
    const f_complex one = {3, -4};
    for (const int code : {0, static_cast<int>(ZAVO_BACKWARD)}) {
        const Values same{zavo_c_fft_2d_complex(1, 1, &one, code, 0)};
        EXPECT_EQ(same.get()->re, 3.0F);
        EXPECT_EQ(same.get()->im, -4.0F);
    }
}

TEST(fft_2d, one_row_is_the_one_dimensional_transform)
{
    const auto p = matrix_noise(24, 6);
    const Values row{zavo_c_fft_2d_complex(1, 24, p.data(), 0)};
    const Values line{zavo_c_fft_complex(24, p.data(), 0)};
    EXPECT_EQ(std::memcmp(row.get(), line.get(), sizeof(f_complex) * 24), 0);
}

TEST(fft_2d, column_dimensions_trade_roles_between_the_directions)
{
    const int m = 5, n = 6, wide = 9;
    const auto p = matrix_noise(m * n, 8);
    std::vector<f_complex> padded(static_cast<std::size_t>(m * wide), f_complex{99, 99});
    for (int r = 0; r < m; ++r) {
        std::copy_n(p.begin() + r * n, n, padded.begin() + r * wide);
    }
    for (const bool backward : {false, true}) {
        const Values plain{backward ? zavo_c_fft_2d_complex(m, n, p.data(), ZAVO_BACKWARD, 0)
                                    : zavo_c_fft_2d_complex(m, n, p.data(), 0)};
        // read wide, write narrow
        const int input_code = backward ? ZAVO_RESULT_COL_DIM : ZAVO_INPUT_COL_DIM;
        const Values from_wide{
            backward ? zavo_c_fft_2d_complex(m, n, padded.data(), ZAVO_BACKWARD, input_code, wide, 0)
                     : zavo_c_fft_2d_complex(m, n, padded.data(), input_code, wide, 0)};
        EXPECT_EQ(
            std::memcmp(from_wide.get(), plain.get(), sizeof(f_complex) * static_cast<std::size_t>(m * n)),
            0);
        // read narrow, write wide
        const int output_code = backward ? ZAVO_INPUT_COL_DIM : ZAVO_RESULT_COL_DIM;
        const Values to_wide{backward
                                 ? zavo_c_fft_2d_complex(m, n, p.data(), ZAVO_BACKWARD, output_code, wide, 0)
                                 : zavo_c_fft_2d_complex(m, n, p.data(), output_code, wide, 0)};
        for (int r = 0; r < m; ++r) {
            EXPECT_EQ(std::memcmp(to_wide.get() + r * wide, plain.get() + r * n, sizeof(f_complex) * n), 0);
            EXPECT_EQ(to_wide.get()[r * wide + n].re, 0.0F);
        }
    }
}

// The result before the input and behind it.
TEST(fft_2d, input_and_result_may_lie_anywhere_in_one_array)
{
    constexpr int m = 6;
    constexpr int n = 10;
    const auto p = matrix_noise(m * n, 9);
    const Values plain{zavo_c_fft_2d_complex(m, n, p.data(), 0)};
    ASSERT_TRUE(plain);
    for (const bool before : {true, false}) {
        std::vector<f_complex> array(2 * m * n);
        f_complex* const from = array.data() + (before ? m * n : 0);
        f_complex* const to = array.data() + (before ? 0 : m * n);
        std::copy(p.begin(), p.end(), from);
        EXPECT_EQ(zavo_c_fft_2d_complex(m, n, from, ZAVO_RETURN_USER, to, 0), to);
        EXPECT_EQ(std::memcmp(to, plain.get(), sizeof(f_complex) * m * n), 0) << before;
        EXPECT_EQ(std::memcmp(from, p.data(), sizeof(f_complex) * m * n), 0) << before;
    }
}

// Rows of one array that move apart or together: none may be overwritten before it is read
// where they are taken in their order.
TEST(fft_2d, rows_may_move_together_in_place)
{
    constexpr int m = 5;
    constexpr int n = 8;
    constexpr int wide = 11;
    const auto p = matrix_noise(m * n, 12);
    const Values plain{zavo_c_fft_2d_complex(m, n, p.data(), 0)};
    ASSERT_TRUE(plain);
    std::vector<f_complex> array(m * wide);
    for (int r = 0; r < m; ++r) {
        std::copy_n(p.data() + r * n, n, array.data() + r * wide);
    }
    EXPECT_EQ(zavo_c_fft_2d_complex(m, n, array.data(), ZAVO_INPUT_COL_DIM, wide, ZAVO_RETURN_USER,
                                    array.data(), 0),
              array.data());
    EXPECT_EQ(std::memcmp(array.data(), plain.get(), sizeof(f_complex) * m * n), 0);
}

TEST(fft_2d, in_place_gives_the_same_bits)
{
    for (const int m : {1, 4, 7, 16, 33}) {
        for (const int n : {1, 4, 9, 16, 50}) {
            const auto p = matrix_noise(m * n, 10);
            for (const int code : {0, static_cast<int>(ZAVO_BACKWARD)}) {
                const Values plain{zavo_c_fft_2d_complex(m, n, p.data(), code, 0)};
                auto q = p;
                EXPECT_EQ(zavo_c_fft_2d_complex(m, n, q.data(), ZAVO_RETURN_USER, q.data(), code, 0),
                          q.data());
                EXPECT_EQ(std::memcmp(q.data(), plain.get(), sizeof(f_complex) * q.size()), 0)
                    << m << ' ' << n;
            }
        }
    }
}

TEST(fft_2d, forward_makes_no_test_of_narrow_column_dimensions)
{
    // rows that overlap in the result: row r is written at 2 r, then the columns
    // are transformed where they lie, one after the other
    CapturedErrors errors;
    const auto p = matrix_noise(12, 3);
    std::vector<f_complex> q(12, f_complex{0, 0});
    EXPECT_EQ(zavo_c_fft_2d_complex(3, 4, p.data(), ZAVO_RESULT_COL_DIM, 2, ZAVO_RETURN_USER, q.data(), 0),
              q.data());
    EXPECT_TRUE(errors.empty());
    std::vector<f_complex> expected(12, f_complex{0, 0});
    for (int r = 0; r < 3; ++r) {
        const Values row{zavo_c_fft_complex(4, p.data() + 4 * r, 0)};
        std::copy_n(row.get(), 4, expected.begin() + 2 * r);
    }
    for (int c = 0; c < 4; ++c) {
        const std::size_t at = static_cast<std::size_t>(c);
        const f_complex column[3] = {expected[at], expected[at + 2], expected[at + 4]};
        const Values t{zavo_c_fft_complex(3, column, 0)};
        for (std::size_t r = 0; r < 3; ++r) {
            expected[at + 2 * r] = t.get()[r];
        }
    }
    EXPECT_EQ(std::memcmp(q.data(), expected.data(), sizeof(f_complex) * 12), 0);
}

TEST(fft_2d, bad_arguments_are_answered_with_their_codes)
{
    CapturedErrors errors;
    const auto p = matrix_noise(12, 1);
    f_complex q[12] = {};
    const auto codes_of = [&](auto... arguments) {
        errors.clear();
        const f_complex* const result = zavo_c_fft_2d_complex(arguments...);
        EXPECT_TRUE(result == nullptr || result == q);
        return errors.codes() + (result == q ? " returned" : "");
    };
    const f_complex* const none = nullptr;
    f_complex* const no_result = nullptr;
    EXPECT_EQ(codes_of(3, 4, p.data(), 4711, 0), "5/103");
    EXPECT_EQ(codes_of(3, 0, p.data(), 0), "5/6003");
    EXPECT_EQ(codes_of(0, 4, p.data(), 0), "5/6004");
    EXPECT_EQ(codes_of(0, -1, p.data(), 0), "5/6003 5/6004");
    EXPECT_EQ(codes_of(3, 4, none, 0), "5/6002");
    EXPECT_EQ(codes_of(3, 4, none, ZAVO_RETURN_USER, no_result, 0), "5/104");
    EXPECT_EQ(codes_of(0, 4, p.data(), ZAVO_RETURN_USER, static_cast<f_complex*>(q), 0), "5/6004 returned");
    EXPECT_EQ(codes_of(3, 4, p.data(), ZAVO_BACKWARD, ZAVO_INPUT_COL_DIM, 3, 0), "5/6007");
    EXPECT_EQ(codes_of(3, 4, p.data(), ZAVO_BACKWARD, ZAVO_RESULT_COL_DIM, 3, 0), "5/6008");
    EXPECT_EQ(codes_of(3, 4, p.data(), ZAVO_BACKWARD, ZAVO_RESULT_COL_DIM, 3, ZAVO_INPUT_COL_DIM, 3, 0),
              "5/6007");
    EXPECT_EQ(codes_of(3, 4, p.data(), ZAVO_RESULT_COL_DIM, -4, 0), "5/6007");
    EXPECT_EQ(codes_of(3, 4, p.data(), ZAVO_INPUT_COL_DIM, -4, 0), "5/6008");
}

TEST(fft_2d, workers_check_with_their_own_codes)
{
    CapturedErrors errors;
    f_complex z[4] = {};
    const int good = 2, bad = 0;
    l_f2t2d(&bad, &good, z, &good, z, &good, nullptr, nullptr, z, z);
    l_f2t2d(&good, &bad, z, &good, z, &good, nullptr, nullptr, z, z);
    l_f2t2b(&bad, &bad, z, &good, z, &good, nullptr, nullptr, z, z);
    l_f2t2b(&good, &bad, z, &good, z, &good, nullptr, nullptr, z, z);
    EXPECT_EQ(errors.codes(), "5/6004 5/6003 5/6005 5/6006");
}

// Fails the first allocation, the second one and so on, to the first call that gets
// all; its number.
long fail_every_allocation(int m, int n)
{
    CapturedErrors errors;
    const auto p = matrix_noise(m * n, 1);
    const Values plain{zavo_c_fft_2d_complex(m, n, p.data(), 0)};
    long k = 1;
    for (;; ++k) {
        zavo_fail_allocation(k);
        const Values r{zavo_c_fft_2d_complex(m, n, p.data(), 0)};
        const bool failed_once = zavo_allocation_count() >= k;
        zavo_fail_allocation(0);
        if (r) {
            // storage that only saves time may be missing
            EXPECT_EQ(std::memcmp(r.get(), plain.get(), p.size() * sizeof(f_complex)), 0);
            if (!failed_once) {
                break;
            }
        } else {
            EXPECT_EQ(zavo_error_code(1), zavo::core::code::no_memory_for_array);
        }
    }
    return k;
}

TEST(fft_2d, every_allocation_may_fail)
{
    const long calls = fail_every_allocation(24, 20);
    EXPECT_GE(calls, 6); // two tables, two work blocks and the result were asked for
    EXPECT_EQ(fail_every_allocation(24, 24), calls - 1); // rows and columns have one table
}

} // namespace

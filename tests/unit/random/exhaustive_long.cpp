// The long checks of the deviates, about a quarter of an hour together; run them
// with
//   ./zavo test long random
// after any change of the kernels or of their compiler settings.

#include "random/random.h"
#include "tests/unit/random/kernel_sets.hpp"
#include "tests/unit/random/serial_definition.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

using zavo::test::bits_of;
using zavo::test::float_of;
using zavo::test::serial_exponential;
using zavo::test::serial_normal;
using zavo::test::SerialStream;
using zavo::test::with_each_kernel_set;

constexpr std::size_t block = 1 << 16;

// The place where two arrays differ in a bit; n when nowhere.
std::size_t first_difference(const std::vector<float>& a, const std::vector<float>& b, std::size_t n)
{
    std::size_t i = 0;
    while (i < n && bits_of(a[i]) == bits_of(b[i])) {
        ++i;
    }
    return i;
}

// 10^8 deviates of each option, in batches of any length, by every kernel set.
// The sets take turns over one sequence, so each goes on from any other's state.
using zavo::test::LimitedPath;

// The processor's paths in turn.
zavo::simd::Path path_of_turn(int turn)
{
    const int count = static_cast<int>(zavo::simd::best_path()) + 1;
    return zavo::simd::all_paths[turn % count];
}
const char* name_of_path()
{
    return zavo::simd::name_of(zavo::simd::path_in_use());
}

TEST(random_long, hundred_million_deviates_of_each_option_are_the_serial_sequence)
{
    constexpr long deviates = 100000000;
    std::mt19937 lengths{17};
    std::vector<float> r(block);
    std::vector<float> serial_values(block);
    const float empty[128] = {};
    for (int option = 1; option <= 6; ++option) {
        zavo_rnses(empty);
        zavo_random_option(option);
        zavo_random_seed_set(3 * option);
        SerialStream serial{option, 3 * option};
        int turn = 0;
        for (long done = 0; done < deviates;) {
            const LimitedPath limited{path_of_turn(turn++)};
            const std::size_t n = 1 + lengths() % block;
            zavo_rnun(static_cast<int>(n), r.data());
            std::generate_n(serial_values.begin(), n, [&] { return serial.next(); });
            ASSERT_EQ(first_difference(r, serial_values, n), n) << name_of_path() << ", option " << option;
            ASSERT_EQ(zavo_random_seed_get(), serial.state());
            done += static_cast<long>(n);
        }
    }
    zavo_random_option(1);
}

// Calls check(u, n) for all floats from `low` to below `high`, block by block.
template <class Check>
void for_all_floats(float low, float high, Check&& check)
{
    std::vector<float> u(block);
    for (std::uint32_t next = bits_of(low); next < bits_of(high);) {
        const std::size_t n = std::min<std::size_t>(block, bits_of(high) - next);
        for (std::size_t i = 0; i < n; ++i) {
            u[i] = float_of(next++);
        }
        check(u, n);
        if (testing::Test::HasFatalFailure()) {
            return;
        }
    }
}

constexpr float smallest = 0x1p-149F;

// All of them, though the generator gives no deviate below 2^-31: a shuffle table
// may hold any.
TEST(random_long, exponential_of_every_float_up_to_1_is_the_definition)
{
    std::vector<float> expected(block);
    for_all_floats(smallest, 0x1.000002p0F, [&](const std::vector<float>& u, std::size_t n) {
        std::transform(u.begin(), u.begin() + static_cast<long>(n), expected.begin(), serial_exponential);
        with_each_kernel_set([&](const auto& set) {
            std::vector<float> r = u;
            set.minus_log(n, r.data());
            const std::size_t i = first_difference(r, expected, n);
            ASSERT_EQ(i, n) << u[i];
        });
    });
}

constexpr float lower_tail = 0x1p-23F;

TEST(random_long, normal_of_every_float_above_the_lower_tail_is_the_definition)
{
    std::vector<float> expected(block);
    for_all_floats(lower_tail, 1.0F, [&](const std::vector<float>& u, std::size_t n) {
        std::transform(u.begin(), u.begin() + static_cast<long>(n), expected.begin(), serial_normal);
        with_each_kernel_set([&](const auto& set) {
            std::vector<float> r = u;
            ASSERT_FALSE(set.normal(n, r.data()));
            const std::size_t i = first_difference(r, expected, n);
            ASSERT_EQ(i, n) << u[i];
        });
    });
}

// Every set leaves the tail to the same routine, so they take turns.
TEST(random_long, normal_of_every_float_in_the_lower_tail_is_the_definition)
{
    std::vector<float> expected(block);
    int turn = 0;
    for_all_floats(smallest, lower_tail, [&](const std::vector<float>& u, std::size_t n) {
        std::transform(u.begin(), u.begin() + static_cast<long>(n), expected.begin(), serial_normal);
        const LimitedPath limited{path_of_turn(turn++)};
        std::vector<float> r = u;
        ASSERT_FALSE(zavo::random::kernels().normal(n, r.data()));
        const std::size_t i = first_difference(r, expected, n);
        ASSERT_EQ(i, n) << name_of_path() << ' ' << u[i];
    });
}

// What the kernels fall back on, for every float that the generator can give.
TEST(random_long, routines_of_every_uniform_deviate_are_the_definition)
{
    for_all_floats(0x1p-31F, 1.0F, [&](const std::vector<float>& u, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) {
            ASSERT_EQ(bits_of(l_minus_log(u[i])), bits_of(serial_exponential(u[i]))) << u[i];
            ASSERT_EQ(bits_of(zavo_f_normal_inverse_cdf(u[i])), bits_of(serial_normal(u[i]))) << u[i];
        }
    });
}

} // namespace

// The stream's state as a value, jumps, and the deviates that cannot fail.

#include "core/zavo.h"
#include "random/random.h"
#include "tests/support/captured_errors.hpp"
#include "tests/unit/random/kernel_sets.hpp"
#include "tests/unit/random/serial_definition.hpp"

#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <thread>
#include <vector>

namespace {

using zavo::test::bits_of;
using zavo::test::CapturedErrors;
using zavo::test::serial_exponential;
using zavo::test::serial_normal;
using zavo::test::with_each_kernel_set;

constexpr float largest_below_one = 1.0F - 0x1p-24F;

void start(int option, int seed)
{
    const float none[128] = {};
    zavo_rnses(none);
    zavo_random_option(option);
    zavo_random_seed_set(seed);
}

std::vector<float> uniforms(int n)
{
    std::vector<float> r(static_cast<std::size_t>(n));
    zavo_rnun(n, r.data());
    return r;
}

TEST(random_state, a_restored_state_continues_alike)
{
    for (int option = 1; option <= 6; ++option) {
        start(option, 4711 + option);
        uniforms(1000);
        zavo_random_state state;
        zavo_random_state_get(&state);
        EXPECT_EQ(state.option, option);
        EXPECT_EQ(state.filled, option % 2 == 0 ? 1 : 0);
        const std::vector<float> first = uniforms(500);
        start(7 - option, 1); // another option, another seed, no table
        uniforms(10);
        ASSERT_EQ(zavo_random_state_set(&state), 1);
        EXPECT_EQ(zavo_random_option_get(), option);
        EXPECT_EQ(uniforms(500), first) << option;
    }
}

TEST(random_state, a_table_of_another_option_stays_part_of_the_state)
{
    start(2, 99);
    uniforms(5);
    zavo_random_option(1);
    zavo_random_state state;
    zavo_random_state_get(&state);
    EXPECT_EQ(state.filled, 1);
    zavo_random_option(4);
    const std::vector<float> first = uniforms(300);
    start(1, 5);
    ASSERT_EQ(zavo_random_state_set(&state), 1);
    zavo_random_option(4);
    EXPECT_EQ(uniforms(300), first);
}

TEST(random_state, a_bad_state_changes_nothing)
{
    start(4, 77);
    uniforms(3);
    zavo_random_state before;
    zavo_random_state_get(&before);
    const auto refused = [&](auto&& spoil) {
        zavo_random_state bad = before;
        spoil(bad);
        EXPECT_EQ(zavo_random_state_set(&bad), 0);
        zavo_random_state now;
        zavo_random_state_get(&now);
        EXPECT_EQ(now.option, before.option);
        EXPECT_EQ(now.seed, before.seed);
        EXPECT_EQ(now.filled, before.filled);
        for (int i = 0; i < 128; ++i) {
            EXPECT_EQ(now.table[i], before.table[i]);
        }
    };
    refused([](zavo_random_state& s) { s.option = 0; });
    refused([](zavo_random_state& s) { s.option = 7; });
    refused([](zavo_random_state& s) { s.seed = 0; });
    refused([](zavo_random_state& s) { s.seed = -1; });
    refused([](zavo_random_state& s) { s.seed = 2147483647; });
    refused([](zavo_random_state& s) { s.table[127] = 0.0F; });
    refused([](zavo_random_state& s) { s.table[0] = 1.5F; });
    refused([](zavo_random_state& s) { s.table[5] = std::numeric_limits<float>::quiet_NaN(); });
    zavo_random_state unread = before;
    unread.filled = 0;
    unread.table[5] = -1.0F; // not looked at
    EXPECT_EQ(zavo_random_state_set(&unread), 1);
}

TEST(random_jump, equals_drawing)
{
    for (const int option : {1, 3, 5}) {
        for (const int count : {0, 1, 2, 63, 64, 65, 9999, 100003}) {
            start(option, 20261122);
            uniforms(count);
            const int drawn = zavo_random_seed_get();
            start(option, 20261122);
            ASSERT_EQ(zavo_random_jump(count), 1);
            EXPECT_EQ(zavo_random_seed_get(), drawn) << option << ' ' << count;
        }
    }
}

// S. K. Park, K. W. Miller (1988): the 10,000th state behind 1.
TEST(random_jump, reaches_the_published_state)
{
    start(1, 1);
    ASSERT_EQ(zavo_random_jump(9999), 1);
    uniforms(1);
    EXPECT_EQ(zavo_random_seed_get(), 1043618065);
}

TEST(random_jump, goes_round_and_adds_up)
{
    for (const int option : {1, 3, 5}) {
        start(option, 123456789);
        ASSERT_EQ(zavo_random_jump(2147483646), 1); // the whole period
        EXPECT_EQ(zavo_random_seed_get(), 123456789);
        ASSERT_EQ(zavo_random_jump(std::numeric_limits<long long>::max()), 1);
        const int far = zavo_random_seed_get();
        start(option, 123456789);
        ASSERT_EQ(zavo_random_jump(4611686018427387904LL), 1);
        ASSERT_EQ(zavo_random_jump(4611686018427387903LL), 1);
        EXPECT_EQ(zavo_random_seed_get(), far);
    }
}

TEST(random_jump, refuses_what_it_cannot_do)
{
    for (const int option : {2, 4, 6}) {
        start(option, 31);
        EXPECT_EQ(zavo_random_jump(5), 0);
        EXPECT_EQ(zavo_random_seed_get(), 31);
    }
    start(1, 31);
    EXPECT_EQ(zavo_random_jump(-1), 0);
    EXPECT_EQ(zavo_random_seed_get(), 31);
}

// The inverse of 16807 leads to the state before the largest one, whose deviate
// rounds to 1.
int seed_before(std::uint32_t state)
{
    constexpr std::uint64_t m = 2147483647;
    std::uint64_t power = 16807;
    std::uint64_t result = state;
    for (std::uint64_t e = m - 2; e != 0; e /= 2) { // a^(m-2) is 1/a
        if (e % 2 != 0) {
            result = result * power % m;
        }
        power = power * power % m;
    }
    return static_cast<int>(result);
}

TEST(random_without_failure, a_uniform_of_one_counts_as_the_largest_below)
{
    with_each_kernel_set([](const auto&) {
        for (const std::uint32_t state : {2147483584U, 2147483646U}) {
            start(1, seed_before(state));
            EXPECT_EQ(uniforms(1)[0], 1.0F);
            const CapturedErrors errors;
            start(1, seed_before(state));
            float r = 0.0F;
            zavo_random_normals(1, &r);
            EXPECT_EQ(bits_of(r), bits_of(zavo_f_normal_inverse_cdf(largest_below_one)));
            start(1, seed_before(state));
            zavo_random_exponentials(1, &r);
            EXPECT_EQ(bits_of(r), bits_of(serial_exponential(largest_below_one)));
            EXPECT_TRUE(errors.all().empty());
        }
    });
}

// Zeros come out of a shuffle table loaded with gaps, in a thread whose table was empty.
std::vector<float> drawn_through_gaps(void (*draw)(int n, float* r))
{
    std::vector<float> r(5000); // enough to come by every gap
    std::thread([&] {
        const CapturedErrors errors;
        const float gaps[128] = {0.5F};
        zavo_rnses(gaps);
        EXPECT_EQ(errors.all().size(), 127U);
        zavo_random_option(2);
        zavo_random_seed_set(8);
        draw(5000, r.data());
        EXPECT_EQ(errors.all().size(), 127U);
    }).join();
    return r;
}

TEST(random_without_failure, a_uniform_of_zero_counts_as_the_smallest_above)
{
    const std::vector<float> u = drawn_through_gaps(zavo_rnun);
    const std::vector<float> normals = drawn_through_gaps(zavo_random_normals);
    const std::vector<float> exponentials = drawn_through_gaps(zavo_random_exponentials);
    int zeros = 0;
    for (std::size_t i = 0; i < u.size(); ++i) {
        zeros += u[i] == 0.0F ? 1 : 0;
        const float inside = std::fmin(std::fmax(u[i], 0x1p-31F), largest_below_one);
        ASSERT_EQ(bits_of(normals[i]), bits_of(zavo_f_normal_inverse_cdf(inside))) << i;
        ASSERT_EQ(bits_of(exponentials[i]), bits_of(serial_exponential(inside))) << i;
    }
    EXPECT_EQ(zeros, 127);
}

TEST(random_without_failure, everything_else_is_the_librarys)
{
    for (const int option : {1, 2, 5}) {
        constexpr int n = 70001;
        start(option, 8);
        const std::vector<float> u = uniforms(n);
        std::vector<float> r(n);
        start(option, 8);
        zavo_random_normals(n, r.data());
        for (std::size_t i = 0; i < n; ++i) {
            ASSERT_EQ(bits_of(r[i]), bits_of(zavo_f_normal_inverse_cdf(std::fmin(u[i], largest_below_one))));
        }
        start(option, 8);
        zavo_random_exponentials(n, r.data());
        for (std::size_t i = 0; i < n; ++i) {
            ASSERT_EQ(bits_of(r[i]), bits_of(serial_exponential(std::fmin(u[i], largest_below_one))));
        }
        zavo_random_normals(0, nullptr);
        zavo_random_exponentials(0, nullptr);
    }
}

} // namespace

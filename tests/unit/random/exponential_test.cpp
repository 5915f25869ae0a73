#include "random/exact_log.hpp"
#include "random/random.h"
#include "tests/support/captured_errors.hpp"
#include "tests/unit/random/batches.hpp"
#include "tests/unit/random/kernel_sets.hpp"
#include "tests/unit/random/serial_definition.hpp"

#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

namespace {

const auto* const environment = zavo::test::cover_paths(zavo::simd::all_paths);

using zavo::random::exact_log;
using zavo::test::bits_of;
using zavo::test::CapturedErrors;
using zavo::test::expect_batches_follow;
using zavo::test::float_of;
using zavo::test::serial_exponential;
using zavo::test::with_each_kernel_set;

// From a calculation with 120 digits, rounded once. The last four lie within
// 2^-21 ulp of the midpoint of two doubles.
TEST(random_exact_log, rounds_correctly)
{
    constexpr struct {
        double x, log;
    } known[] = {
        {0x1.999999999999ap-4, -0x1.26bb1bbb55515p+1},  {0x1.0000000000000p-1, -0x1.62e42fefa39efp-1},
        {0x1.0000000000000p+1, 0x1.62e42fefa39efp-1},   {0x1.4000000000000p+3, 0x1.26bb1bbb55516p+1},
        {0x1.ffffde7210be9p-1, -0x1.0c6f82d74d230p-20}, {0x1.000001ad7f29bp+0, 0x1.ad7f2847b6492p-24},
        {0x1.069bff70020c5p-17, -0x1.7841a223e1433p+3}, {0x1.fffffffffffffp+1023, 0x1.62e42fefa39efp+9},
        {0x1.6bdaf7606ebcep-13, -0x1.15194483edf50p+3}, {0x1.b9ec8ddb1839dp-1, -0x1.2d702ceacf8d0p-3},
        {0x1.ab3c879423c01p-15, -0x1.3c524f42ee614p+3}, {0x1.0d439a9856bf0p-9, -0x1.8c051202ee309p+2},
    };
    for (const auto& row : known) {
        EXPECT_EQ(exact_log(row.x), row.log) << row.x;
    }
    EXPECT_EQ(exact_log(1.0), 0.0);
    EXPECT_EQ(exact_log(0.0), -std::numeric_limits<double>::infinity());
}

TEST(random_exact_log, is_within_one_place_of_the_library)
{
    std::mt19937_64 bits{3};
    for (int i = 0; i < 20000; ++i) {
        const double x = std::ldexp(1.0 + static_cast<double>(bits() >> 12) * 0x1p-52,
                                    static_cast<int>(bits() % 2000) - 1000);
        const double exact = exact_log(x);
        const double next = std::nextafter(exact, std::log(x));
        ASSERT_TRUE(std::log(x) == exact || std::log(x) == next) << x;
    }
}

TEST(random_exponential, first_deviate_of_seed_1)
{
    zavo_random_option(1);
    zavo_random_seed_set(1);
    float r[1];
    l_rnexp(1, r);
    EXPECT_NEAR(r[0], 11.758, 5e-4);
    EXPECT_EQ(zavo_random_seed_get(), 16807);
}

// Every third uniform deviate that options 1, 3, 5 can give below 2^-20, and a
// sample above; the exhaustive test of the long suite takes them all.
TEST(random_exponential, is_minus_log_of_the_uniform_deviate_in_every_kernel_set)
{
    std::vector<float> u;
    for (int x = 1; x < 2048; ++x) {
        u.push_back(static_cast<float>(x) * 0x1p-31F);
    }
    for (std::uint32_t bits = bits_of(0x1p-31F); bits <= bits_of(1.0F); bits += 1009) {
        u.push_back(float_of(bits));
    }
    for (std::uint32_t back = 0; back < 20000; ++back) {
        u.push_back(float_of(bits_of(1.0F) - back));
    }
    // Out of a loaded shuffle table also what is smaller, and 0 out of its gaps.
    for (std::uint32_t bits = 1; bits < bits_of(0x1p-31F); bits += 100003) {
        u.push_back(float_of(bits));
    }
    u.push_back(0.0F);
    with_each_kernel_set([&](const auto& set) {
        std::vector<float> r = u;
        set.minus_log(r.size(), r.data());
        for (std::size_t i = 0; i < u.size(); ++i) {
            ASSERT_EQ(bits_of(r[i]), bits_of(serial_exponential(u[i]))) << u[i];
        }
    });
}

// The kernels' logarithm rounds this float otherwise than the definition; only the look
// at the bits behind the float's last tells, lane by lane.
TEST(random_exponential, a_deviate_near_the_middle_of_two_floats_is_careful_in_every_lane)
{
    constexpr float near_middle = 0x1.827a74p-7F;
    constexpr std::size_t lanes = 16; // of the widest set
    with_each_kernel_set([&](const auto& set) {
        for (std::size_t place = 0; place < 2 * lanes; ++place) {
            std::vector<float> r(2 * lanes + 1, 0.25F);
            r[place] = near_middle;
            set.minus_log(r.size(), r.data());
            for (std::size_t i = 0; i < r.size(); ++i) {
                ASSERT_EQ(bits_of(r[i]), bits_of(serial_exponential(i == place ? near_middle : 0.25F)))
                    << place << ' ' << i;
            }
        }
    });
}

TEST(random_exponential, every_length_up_to_100_in_every_kernel_set)
{
    with_each_kernel_set([](const auto& set) {
        for (std::size_t n = 0; n <= 100; ++n) {
            std::vector<float> r(n + 1, 0.25F);
            set.minus_log(n, r.data());
            for (std::size_t i = 0; i < n; ++i) {
                ASSERT_EQ(r[i], serial_exponential(0.25F));
            }
            ASSERT_EQ(r[n], 0.25F);
        }
    });
}

TEST(random_exponential, batches_follow_the_serial_definition_for_every_option)
{
    expect_batches_follow(zavo_f_random_exponential, [](float u) { return serial_exponential(u); });
}

TEST(random_exponential, uniform_deviate_of_one_gives_zero)
{
    EXPECT_EQ(l_minus_log(1.0F), 0.0F);
    zavo_random_option(1);
    zavo_random_seed_set(static_cast<int>(1407677000LL * 2147483646 % 2147483647)); // the next state is m - 1
    float* const r = zavo_f_random_exponential(1, 0);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r[0], 0.0F);
    std::free(r);
}

// Called directly the worker leaves the name of the routine that it draws by.
TEST(random_exponential, worker_draws_through_the_public_routine)
{
    CapturedErrors errors;
    float r[3];
    zavo_random_seed_set(5);
    l_rnexp(3, r);
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(zavo_error_code(1), 0);
}

// The worker's two names differ by two blanks, which the stack reports as an
// error of its own and ends the process.
TEST(random_exponential_death_test, worker_stops_the_process_for_a_count_below_1)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            zavo_error_options(ZAVO_SET_STOP, ZAVO_TERMINAL, 0, 0);
            float r[1];
            l_rnexp(0, r);
            std::_Exit(0);
        },
        testing::ExitedWithCode(ZAVO_INTERNAL), "INTERNAL Error from l_rnexp");
}

} // namespace

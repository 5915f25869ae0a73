#include "core/frame/entry_frame.hpp"
#include "core/system/memory.hpp"
#include "core/system/platform.hpp"
#include "random/random.h"
#include "tests/support/captured_errors.hpp"
#include "tests/unit/random/kernel_sets.hpp"
#include "tests/unit/random/serial_definition.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

using zavo::test::bits_of;
using zavo::test::CapturedErrors;
using zavo::test::SerialStream;
using zavo::test::with_each_kernel_set;

constexpr int modulus = 2147483647;

void empty_shuffle_table()
{
    const float table[128] = {};
    zavo_rnses(table);
}

// Option and seed, with an empty shuffle table.
void start(int option, int seed)
{
    empty_shuffle_table();
    zavo_random_option(option);
    zavo_random_seed_set(seed);
}

// The first difference between n deviates from r and the serial ones; -1 when
// there is none.
int first_difference(SerialStream& serial, const float* r, int n)
{
    for (int i = 0; i < n; ++i) {
        if (bits_of(serial.next()) != bits_of(r[i])) {
            return i;
        }
    }
    return -1;
}

TEST(random_uniform, first_deviates_of_seed_1)
{
    start(1, 1);
    float r[2];
    zavo_rnun(1, r);
    EXPECT_EQ(r[0], static_cast<float>(16807.0 * 0x1p-31));
    EXPECT_NEAR(r[0], 7.826369e-06, 5e-13);
    EXPECT_EQ(zavo_random_seed_get(), 16807);
    zavo_rnun(1, r);
    EXPECT_EQ(zavo_random_seed_get(), 282475249);
    EXPECT_EQ(r[0], static_cast<float>(282475249 * 0x1p-31));
}

// The states after 1 and 10000 steps from 1 are a and a^10000 mod 2^31 - 1, from
// a calculation in integers of any length. That of 16807 is also printed by Park
// and Miller (1988) as the test of an implementation.
TEST(random_uniform, known_states_of_each_multiplier)
{
    constexpr struct {
        int option, first, ten_thousandth;
    } known[] = {{1, 16807, 1043618065}, {3, 397204094, 10939054}, {5, 950706376, 525254243}};
    std::vector<float> r(10000);
    with_each_kernel_set([&](const auto&) {
        for (const auto& row : known) {
            start(row.option, 1);
            zavo_rnun(1, r.data());
            EXPECT_EQ(zavo_random_seed_get(), row.first) << row.option;
            zavo_random_seed_set(1);
            zavo_rnun(10000, r.data());
            EXPECT_EQ(zavo_random_seed_get(), row.ten_thousandth) << row.option;
        }
    });
}

TEST(random_uniform, every_length_up_to_300_is_the_serial_sequence)
{
    constexpr float untouched = -1.0F;
    with_each_kernel_set([&](const auto&) {
        for (int option = 1; option <= 6; ++option) {
            for (int n = 1; n <= 300; ++n) {
                std::vector<float> r(static_cast<std::size_t>(n) + 1, untouched);
                start(option, 1000 * n + option);
                zavo_rnun(n, r.data());
                SerialStream serial{option, 1000 * n + option};
                ASSERT_EQ(first_difference(serial, r.data(), n), -1) << "option " << option << ", n " << n;
                ASSERT_EQ(zavo_random_seed_get(), serial.state());
                ASSERT_EQ(r.back(), untouched);
            }
        }
    });
}

TEST(random_uniform, any_split_into_batches_is_the_serial_sequence)
{
    std::mt19937 lengths{20240229};
    with_each_kernel_set([&](const auto&) {
        for (int option = 1; option <= 6; ++option) {
            start(option, 777);
            SerialStream serial{option, 777};
            std::vector<float> r(5000);
            for (int done = 0; done < 100000;) {
                const int n = 1 + static_cast<int>(lengths() % 5000);
                zavo_rnun(n, r.data());
                ASSERT_EQ(first_difference(serial, r.data(), n), -1) << "option " << option;
                ASSERT_EQ(zavo_random_seed_get(), serial.state());
                done += n;
            }
        }
    });
}

// From 16 MB on, arrays of a caller are written past the cache, after a start up
// to the next cache line.
TEST(random_uniform, large_arrays_at_any_alignment_are_the_serial_sequence)
{
    constexpr int n = (4 << 20) + 5;
    SerialStream serial{1, 4711};
    std::vector<float> expected(n);
    std::generate(expected.begin(), expected.end(), [&] { return serial.next(); });
    std::vector<float> r(n + 20);
    with_each_kernel_set([&](const auto&) {
        for (int shift : {0, 1, 15, 16}) {
            std::fill(r.begin(), r.end(), -1.0F);
            start(1, 4711);
            ASSERT_EQ(zavo_f_random_uniform(n, ZAVO_RETURN_USER, &r[shift], 0), &r[shift]);
            ASSERT_TRUE(std::equal(expected.begin(), expected.end(), &r[shift]));
            ASSERT_EQ(zavo_random_seed_get(), serial.state());
            ASSERT_EQ(r[shift + n], -1.0F);
            ASSERT_TRUE(shift == 0 || r[shift - 1] == -1.0F);
        }
    });
}

TEST(random_uniform, new_large_array_holds_the_same_as_a_callers)
{
    constexpr int n = 4500000;
    start(3, 99);
    std::vector<float> users(n);
    zavo_f_random_uniform(n, ZAVO_RETURN_USER, users.data(), 0);
    zavo_random_seed_set(99);
    float* const made = zavo_f_random_uniform(n, 0);
    ASSERT_NE(made, nullptr);
    EXPECT_TRUE(std::equal(users.begin(), users.end(), made));
    std::free(made);
}

// States from 2^31 - 64 on are nearer to 1 than to the float below it.
TEST(random_uniform, largest_states_give_exactly_one)
{
    // 16807 * seed = state (mod m) for the seeds of the states around the limit.
    constexpr std::int64_t inverse_of_16807 = 1407677000;
    static_assert(inverse_of_16807 * 16807 % modulus == 1);
    with_each_kernel_set([&](const auto&) {
        for (std::int64_t state = modulus - 130; state < modulus; ++state) {
            start(1, static_cast<int>(inverse_of_16807 * state % modulus));
            float r[1];
            zavo_rnun(1, r);
            ASSERT_EQ(zavo_random_seed_get(), state);
            ASSERT_EQ(r[0] == 1.0F, state >= 2147483584) << state;
            ASSERT_EQ(r[0], static_cast<float>(static_cast<double>(state) * 0x1p-31));
        }
    });
}

TEST(random_uniform, shuffle_table_persists_over_batches_options_and_seeds)
{
    start(2, 5);
    std::vector<float> r(1000);
    zavo_rnun(1000, r.data());
    SerialStream serial{2, 5};
    ASSERT_EQ(first_difference(serial, r.data(), 1000), -1);
    const int state = zavo_random_seed_get();
    zavo_random_option(1);
    zavo_rnun(10, r.data());
    zavo_random_option(2);
    zavo_random_seed_set(state);
    zavo_rnun(1000, r.data());
    EXPECT_EQ(first_difference(serial, r.data(), 1000), -1);
    // The seed alone does not reset the table.
    zavo_random_seed_set(5);
    zavo_rnun(1, r.data());
    SerialStream afresh{2, 5};
    EXPECT_NE(r[0], afresh.next());
}

TEST(random_uniform, loaded_shuffle_table_is_what_is_drawn_first)
{
    float table[128];
    for (int i = 0; i < 128; ++i) {
        table[i] = static_cast<float>(i + 1) / 200.0F;
    }
    start(2, 1);
    zavo_rnses(table);
    float r[1];
    zavo_rnun(1, r);
    EXPECT_EQ(r[0], table[16807 % 128]);
    zavo_rnun(1, r);
    EXPECT_EQ(r[0], table[282475249 % 128]);
}

TEST(random_uniform, values_outside_the_table_are_left_out_and_reported_by_position)
{
    float table[128];
    std::fill(table, table + 128, 0.25F);
    start(2, 1);
    zavo_rnses(table);
    CapturedErrors errors;
    std::fill(table, table + 128, 0.75F);
    table[1] = 0.0F;
    table[126] = 1.0F;
    table[127] = std::numeric_limits<float>::quiet_NaN();
    zavo_rnses(table);
    EXPECT_EQ(errors.codes(), "5/11031 5/11031 5/11031");
    EXPECT_EQ(errors.last().routine, "zavo_rnses");
    // Entries 1, 126 and 127 still hold what they held.
    std::vector<float> r(2000);
    zavo_rnun(2000, r.data());
    int old_values = 0;
    int loaded_values = 0;
    for (float x : r) {
        old_values += x == 0.25F;
        loaded_values += x == 0.75F;
    }
    EXPECT_EQ(old_values, 3);
    EXPECT_EQ(loaded_values, 125);
    errors.clear();
    table[0] = std::numeric_limits<float>::quiet_NaN(); // not positive: empties the table
    zavo_rnses(table);
    EXPECT_TRUE(errors.empty());
    zavo_random_seed_set(5);
    zavo_rnun(1, r.data());
    SerialStream serial{2, 5};
    EXPECT_EQ(r[0], serial.next());
}

TEST(random_uniform, seed_is_read_back_until_something_is_drawn)
{
    start(1, 12345);
    EXPECT_EQ(zavo_random_seed_get(), 12345);
    zavo_random_seed_set(modulus - 1);
    EXPECT_EQ(zavo_random_seed_get(), modulus - 1);
}

TEST(random_uniform, seeds_out_of_range_change_nothing)
{
    CapturedErrors errors;
    start(1, 4321);
    for (int seed : {-1, std::numeric_limits<int>::min(), modulus}) {
        zavo_random_seed_set(seed);
        EXPECT_EQ(zavo_random_seed_get(), 4321);
    }
    EXPECT_TRUE(errors.empty());
}

int seed_of_the_clock_now()
{
    std::tm now{};
    EXPECT_TRUE(zavo::platform::clock_time(&now));
    return std::max(now.tm_hour * 10000 + now.tm_min * 100 + now.tm_sec + 1, 2);
}

// Twice, should the second change meanwhile.
template <class Draw>
bool takes_the_clock(Draw&& draw)
{
    for (int i = 0; i < 2; ++i) {
        const int before = seed_of_the_clock_now();
        const int seed = draw();
        if (seed == before) {
            return true;
        }
    }
    return false;
}

TEST(random_uniform, seed_0_takes_the_clock)
{
    start(1, 4321);
    EXPECT_TRUE(takes_the_clock([] {
        zavo_random_seed_set(0);
        return zavo_random_seed_get();
    }));
}

// First use: in a process of its own, where nothing has seeded the stream.
class random_first_use : public testing::Test {
protected:
    void SetUp() override { testing::FLAGS_gtest_death_test_style = "threadsafe"; }

    template <class Check>
    static void in_new_process(Check&& check)
    {
        EXPECT_EXIT(std::_Exit(check() ? 0 : 1), testing::ExitedWithCode(0), "");
    }
};

TEST_F(random_first_use, seed_get_takes_the_clock)
{
    in_new_process([] {
        const int before = seed_of_the_clock_now();
        const int seed = zavo_random_seed_get();
        return seed >= before && seed <= seed_of_the_clock_now();
    });
}

TEST_F(random_first_use, a_negative_seed_takes_the_clock)
{
    in_new_process([] {
        const int before = seed_of_the_clock_now();
        zavo_random_seed_set(-5);
        const int seed = zavo_random_seed_get();
        return seed >= before && seed <= seed_of_the_clock_now();
    });
}

TEST_F(random_first_use, the_first_deviate_follows_the_clock_with_option_1)
{
    in_new_process([] {
        const int before = seed_of_the_clock_now();
        float r[1];
        zavo_rnun(1, r);
        const int after = seed_of_the_clock_now();
        bool found = false;
        for (int seed = before; seed <= after; ++seed) {
            SerialStream serial{1, seed};
            found = found || (serial.next() == r[0] && serial.state() == zavo_random_seed_get());
        }
        return found;
    });
}

TEST_F(random_first_use, a_table_loaded_before_anything_else_is_kept)
{
    in_new_process([] {
        float table[128];
        std::fill(table, table + 128, 0.5F);
        zavo_rnses(table);
        zavo_random_option(2);
        zavo_random_seed_set(1);
        float r[1];
        zavo_rnun(1, r);
        return r[0] == 0.5F;
    });
}

TEST(random_uniform, options_outside_1_to_6_are_refused)
{
    start(3, 1);
    CapturedErrors errors;
    for (int option : {0, 7, -1}) {
        errors.clear();
        zavo_random_option(option);
        EXPECT_EQ(errors.codes(), "5/602");
        EXPECT_EQ(errors.last().routine, "zavo_random_option");
    }
    float r[1];
    zavo_rnun(1, r);
    EXPECT_EQ(zavo_random_seed_get(), 397204094); // still option 3
}

TEST(random_uniform, worker_draws_nothing_for_a_count_below_1)
{
    CapturedErrors errors;
    start(1, 31);
    zavo_rnun(0, nullptr);
    zavo_rnun(-3, nullptr);
    EXPECT_EQ(zavo_random_seed_get(), 31);
    EXPECT_TRUE(errors.empty());
}

// ---- What the three public routines share ----------------------------------

struct Routine {
    const char* name;
    float* (*call)(int n, ...);
};

constexpr Routine routines[] = {{"zavo_f_random_uniform", zavo_f_random_uniform},
                                {"zavo_f_random_normal", zavo_f_random_normal},
                                {"zavo_f_random_exponential", zavo_f_random_exponential}};

class random_routine : public testing::TestWithParam<Routine> {
protected:
    random_routine() { start(1, 100); }
    CapturedErrors errors;
};

INSTANTIATE_TEST_SUITE_P(all, random_routine, testing::ValuesIn(routines),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_P(random_routine, counts_below_1_are_refused)
{
    float array[1] = {7.0F};
    for (int n : {0, -1, std::numeric_limits<int>::min()}) {
        errors.clear();
        EXPECT_EQ(GetParam().call(n, 0), nullptr);
        EXPECT_EQ(GetParam().call(n, ZAVO_RETURN_USER, array, 0), nullptr);
        EXPECT_EQ(errors.codes(), "5/603 5/603");
        EXPECT_EQ(errors.last().routine, GetParam().name);
    }
    EXPECT_EQ(array[0], 7.0F);
    EXPECT_EQ(zavo_random_seed_get(), 100);
}

TEST_P(random_routine, unknown_options_are_refused_before_the_count_is_looked_at)
{
    EXPECT_EQ(GetParam().call(3, ZAVO_BACKWARD, 0), nullptr);
    EXPECT_EQ(GetParam().call(-3, 4711, 0), nullptr);
    EXPECT_EQ(errors.codes(), "5/11001 5/11001");
    EXPECT_EQ(zavo_random_seed_get(), 100);
}

TEST_P(random_routine, one_option_is_read_and_no_more)
{
    float array[4];
    EXPECT_EQ(GetParam().call(4, ZAVO_RETURN_USER, array, 4711, 0), array);
    EXPECT_TRUE(errors.empty());
}

TEST_P(random_routine, fills_and_returns_the_callers_array_and_no_more_of_it)
{
    std::vector<float> array(1001, -7.0F);
    EXPECT_EQ(GetParam().call(1000, ZAVO_RETURN_USER, array.data(), 0), array.data());
    EXPECT_EQ(array.back(), -7.0F);
    EXPECT_EQ(std::count(array.begin(), array.end(), -7.0F), 1);
    zavo_random_seed_set(100);
    float* const made = GetParam().call(1000, 0);
    ASSERT_NE(made, nullptr);
    EXPECT_TRUE(std::equal(made, made + 1000, array.begin()));
    std::free(made);
    EXPECT_TRUE(errors.empty());
}

TEST_P(random_routine, null_array_of_the_caller_counts_as_none)
{
    float* const made = GetParam().call(3, ZAVO_RETURN_USER, static_cast<float*>(nullptr), 0);
    EXPECT_NE(made, nullptr);
    std::free(made);
    EXPECT_TRUE(errors.empty());
}

TEST_P(random_routine, uses_one_uniform_deviate_each_whatever_the_batch)
{
    std::vector<float> whole(40000);
    std::vector<float> parts(40000);
    GetParam().call(40000, ZAVO_RETURN_USER, whole.data(), 0);
    const int last = zavo_random_seed_get();
    zavo_random_seed_set(100);
    for (int done = 0, n = 1; done < 40000; done += n, n = std::min(2 * n + 1, 40000 - done)) {
        GetParam().call(n, ZAVO_RETURN_USER, &parts[done], 0);
    }
    EXPECT_EQ(zavo_random_seed_get(), last);
    EXPECT_EQ(whole, parts);
    SerialStream serial{1, 100};
    for (int i = 0; i < 40000; ++i) {
        serial.next();
    }
    EXPECT_EQ(last, serial.state());
}

TEST_P(random_routine, each_allocation_that_fails_is_reported_and_leaves_nothing)
{
    long failures = 0;
    for (long nth = 1;; ++nth) {
        errors.clear();
        zavo_fail_allocation(nth);
        float* const made = GetParam().call(5000, 0);
        zavo_fail_allocation(0);
        if (made != nullptr) {
            EXPECT_TRUE(errors.empty());
            std::free(made);
            break;
        }
        ++failures;
        EXPECT_EQ(errors.codes(), "5/200");
        EXPECT_EQ(errors.last().routine, GetParam().name);
        EXPECT_EQ(zavo_random_seed_get(), 100);
    }
    EXPECT_EQ(failures, 1);
}

TEST_P(random_routine, an_array_that_cannot_be_written_is_a_trapped_fault)
{
    float* volatile nowhere = reinterpret_cast<float*>(std::uintptr_t{64});
    EXPECT_EQ(GetParam().call(1000, ZAVO_RETURN_USER, nowhere, 0), nullptr);
    EXPECT_NE(errors.codes().find("5/511 5/102"), std::string::npos) << errors.codes();
    EXPECT_EQ(zavo_random_seed_get(), 100);
    errors.clear();
    float array[3];
    EXPECT_EQ(GetParam().call(3, ZAVO_RETURN_USER, array, 0), array);
    EXPECT_TRUE(errors.empty());
}

// Stores that pass the cache by, of few and of many deviates, at every place of a line.
TEST(random_uniform, large_arrays_have_the_deviates_of_small_ones_wherever_they_lie)
{
    constexpr zavo::random::Multiplier multiplier = zavo::random::powers_of(16807);
    with_each_kernel_set([&](const auto& set) {
        alignas(64) float large[417];
        float small[400];
        for (const std::size_t n : {1U, 15U, 16U, 17U, 400U}) {
            const std::uint32_t last = set.uniform(multiplier, 12345, n, small);
            for (std::size_t offset = 0; offset < 16; ++offset) {
                large[offset + n] = -1.0F; // behind the end
                ASSERT_EQ(set.uniform_large(multiplier, 12345, n, large + offset), last)
                    << n << ' ' << offset;
                ASSERT_TRUE(std::equal(small, small + n, large + offset)) << n << ' ' << offset;
                ASSERT_EQ(large[offset + n], -1.0F) << n << ' ' << offset;
            }
        }
    });
}

} // namespace

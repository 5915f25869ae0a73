#include "core/frame/entry_frame.hpp"

#include "tests/support/captured_errors.hpp"

#include <csignal>
#include <gtest/gtest.h>

namespace {

using zavo::core::EntryFrame;
using zavo::test::CapturedErrors;

// Real faults, hidden from the optimiser and the sanitizers.
int* volatile nowhere = nullptr;

[[gnu::noinline, gnu::no_sanitize("all")]] void fault_by_memory()
{
    *nowhere = 1;
}

[[gnu::noinline, gnu::no_sanitize("all")]] void fault_by_instruction()
{
    asm volatile("ud2");
}

// A routine of the library in small: returns 1, or 0 after a failure.
template <class Body>
int routine(const char* name, Body&& body)
{
    int result = 0;
    EntryFrame frame{name};
    frame.run([&] {
        body();
        result = 1;
    });
    return result;
}

TEST(entry_frame, memory_fault_posts_the_signal_and_then_102_at_the_routine_that_was_called)
{
    CapturedErrors errors;
    EXPECT_EQ(routine("faulty", [] { fault_by_memory(); }), 0);
    EXPECT_EQ(errors.codes(), "5/511 5/102");
    EXPECT_EQ(errors.all()[0].routine, "faulty");
    EXPECT_EQ(errors.all()[1].routine, "faulty");
    EXPECT_EQ(zavo_error_type(1), ZAVO_TERMINAL);
    EXPECT_EQ(zavo_error_code(1), 102);
}

TEST(entry_frame, illegal_instruction_is_trapped_too)
{
    CapturedErrors errors;
    EXPECT_EQ(routine("faulty", [] { fault_by_instruction(); }), 0);
    EXPECT_EQ(errors.codes(), "5/504 5/102");
}

TEST(entry_frame, workers_entries_are_dropped_before_anything_is_posted)
{
    CapturedErrors errors;
    routine("called", [] {
        zavo_error_push("worker ");
        zavo_error_push("deeper");
        zavo_error_user_level("ON");
        fault_by_memory();
    });
    ASSERT_EQ(errors.codes(), "5/511 5/102");
    EXPECT_EQ(errors.all()[0].routine, "called");
    EXPECT_EQ(zavo_error_code(1), 102);
}

TEST(entry_frame, faults_are_trapped_any_number_of_times)
{
    CapturedErrors errors;
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(routine("faulty", [&] { i % 2 == 0 ? fault_by_memory() : fault_by_instruction(); }), 0);
        EXPECT_EQ(routine("sound", [] {}), 1);
    }
    EXPECT_EQ(errors.all().size(), 2000U);
}

TEST(entry_frame, a_fault_in_a_nested_routine_returns_to_that_one_only)
{
    CapturedErrors errors;
    int inner = -1;
    const int outer = routine("outer", [&] {
        zavo_error_user_level("ON");
        inner = routine("inner", [] { fault_by_memory(); });
        zavo_error_user_level("OFF");
    });
    EXPECT_EQ(outer, 1);
    EXPECT_EQ(inner, 0);
    EXPECT_EQ(errors.all()[1].routine, "inner");
}

TEST(entry_frame, a_fault_after_a_trapped_one_in_the_same_routine_is_trapped)
{
    CapturedErrors errors;
    const int outer = routine("outer", [&] {
        routine("inner", [] { fault_by_memory(); });
        fault_by_memory();
    });
    EXPECT_EQ(outer, 0);
    EXPECT_EQ(errors.codes(), "5/511 5/102 5/511 5/102");
}

TEST(entry_frame, work_storage_is_released_by_whichever_road)
{
    CapturedErrors errors;
    void* const before = zavo::core::work_mark();
    routine("faulty", [] {
        zavo_error_push("worker");
        ASSERT_NE(zavo::core::take_work<float>(1000), nullptr);
        ASSERT_NE(zavo::core::take_work<float>(10), nullptr);
        fault_by_memory();
    });
    EXPECT_EQ(zavo::core::work_mark(), before);
    routine("sound", [] { ASSERT_NE(zavo::core::take_work<int>(3), nullptr); });
    EXPECT_EQ(zavo::core::work_mark(), before);
}

TEST(entry_frame, a_fault_stops_the_process_when_type_5_stops)
{
    EXPECT_EXIT(routine("faulty", [] { fault_by_memory(); }), testing::ExitedWithCode(5),
                "TERMINAL Error from faulty");
}

TEST(entry_frame, nesting_beyond_the_trap_levels_runs_untrapped)
{
    CapturedErrors errors;
    struct Nest {
        static void down(int depth, int& reached)
        {
            EntryFrame frame{"nested"};
            frame.run([&] {
                reached = depth;
                if (depth < 150) {
                    down(depth + 1, reached);
                }
            });
        }
    };
    int reached = 0;
    Nest::down(1, reached);
    EXPECT_EQ(reached, 150);
    EXPECT_EQ(routine("faulty", [] { fault_by_memory(); }), 0);
}

void handler_of_the_host(int) {}

TEST(entry_frame, handlers_of_the_host_are_back_afterwards)
{
    CapturedErrors errors;
    const auto before = std::signal(SIGSEGV, handler_of_the_host);
    routine("sound", [] {});
    routine("faulty", [] { fault_by_memory(); });
    EXPECT_EQ(std::signal(SIGSEGV, before), handler_of_the_host);
}

TEST(entry_frame, switched_off_no_handler_is_installed)
{
    const auto before = std::signal(SIGSEGV, handler_of_the_host);
    zavo_error_options(ZAVO_SET_TRAPPING, 0, 0);
    routine("untrapped", [] {
        const auto inside = std::signal(SIGSEGV, handler_of_the_host);
        EXPECT_EQ(inside, handler_of_the_host);
    });
    zavo_error_options(ZAVO_SET_TRAPPING, 1, 0);
    routine("trapped", [] {
        const auto inside = std::signal(SIGSEGV, handler_of_the_host);
        EXPECT_NE(inside, handler_of_the_host);
    });
    std::signal(SIGSEGV, before);
}

TEST(entry_frame, pop_after_a_pending_fault_drops_to_the_routine_named)
{
    CapturedErrors errors;
    zavo_error_push("armed");
    zavo_entry_trap(1);
    zavo_entry_trap(0);
    EXPECT_EQ(zavo_error_pop("armed"), 0);
    EXPECT_TRUE(errors.empty());
}

TEST(argument_checks, bounds_and_positions)
{
    CapturedErrors errors;
    int position = 0;
    zavo_error_push("routine");
    zavo_arg_check_range(5, "n", 1, 6, &position);
    zavo_arg_check_range(1, "n", 1, 0, &position);
    zavo_arg_check_le(3, "n", 3, "m", &position);
    EXPECT_TRUE(errors.empty());
    zavo_arg_check_range(7, "n", 1, 6, &position);
    zavo_arg_check_range(0, "n", 1, 0, &position);
    zavo_arg_check_le(4, "n", 3, "m", &position);
    EXPECT_EQ(position, 6);
    EXPECT_EQ(errors.codes(), "5/602 5/603 5/601");
    zavo_e1mes(ZAVO_WARNING_IMMEDIATE, 1, "%(S1)=%(I1) over %(S2)=%(I2)");
    EXPECT_EQ(errors.last().message, "n=4 over m=3");
    zavo_error_pop("routine");
}

} // namespace

#include "core/frame/entry_frame.hpp"

#include "tests/support/captured_errors.hpp"
#include "tests/support/illegal_instruction.hpp"

#include <cfenv>
#include <csignal>
#include <cstdlib>
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

TEST(entry_frame, a_hook_that_faults_while_it_is_told_of_a_fault_is_not_told_again)
{
    CapturedErrors errors;
    static int told;
    told = 0;
    zavo_error_hook([](int, int code, const char*) {
        if (code == 511 && ++told == 1) {
            fault_by_memory();
        }
    });
    EXPECT_EQ(routine("faulty", [] { fault_by_memory(); }), 0);
    EXPECT_EQ(told, 1);
    EXPECT_EQ(errors.codes(), "5/102");
    EXPECT_EQ(routine("faulty", [] { fault_by_memory(); }), 0); // the next fault is posted
    zavo_error_hook(nullptr);
    EXPECT_EQ(told, 2);
    EXPECT_EQ(errors.codes(), "5/102 5/511 5/102");
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

// A handler of the library's user that faults when it is told of 102, so often.
int faults_to_come = 0;

void handler_that_faults(int, int code, const char*, const char*)
{
    if (code == 102 && faults_to_come > 0) {
        --faults_to_come;
        fault_by_memory();
    }
}

void exit_of_the_host(int)
{
    std::_Exit(77);
}

TEST(entry_frame, a_handler_that_faults_again_leaves_no_level_armed)
{
    // Once: the fault in the handler, told of 102 of "inner", is one of "outer".
    // Twice: told of 102 of "outer", too; then no level is left and it is the host's.
    for (const int times : {1, 2}) {
        EXPECT_EXIT(
            {
                CapturedErrors errors;
                std::signal(SIGSEGV, exit_of_the_host);
                faults_to_come = times;
                routine("outer", [] {
                    zavo_error_options(ZAVO_SET_ERROR_HANDLER, &handler_that_faults, 0);
                    routine("inner", [] { fault_by_memory(); });
                    std::_Exit(1); // not reached
                });
                fault_by_memory(); // the host's own: to its handler
                std::_Exit(2);
            },
            testing::ExitedWithCode(77), "");
    }
}

TEST(entry_frame, what_runs_at_exit_after_a_stop_has_the_hosts_handlers)
{
    EXPECT_EXIT(
        {
            std::signal(SIGSEGV, exit_of_the_host);
            std::atexit(fault_by_memory);
            routine("stopping", [] { zavo_e1mes(ZAVO_TERMINAL, 1, "stop"); });
        },
        testing::ExitedWithCode(77), "stop");
}

// The same when the stop comes while the trap is armed.
TEST(entry_frame, an_internal_error_in_a_routine_gives_the_host_its_handlers_back)
{
    EXPECT_EXIT(
        {
            std::signal(SIGSEGV, exit_of_the_host);
            std::atexit(fault_by_memory);
            routine("stopping", [] { zavo_e1mes(ZAVO_INTERNAL, 1, "stop"); });
        },
        testing::ExitedWithCode(77), "stop");
}

TEST(entry_frame, the_frame_knows_whether_the_worker_has_finished)
{
    CapturedErrors errors;
    EntryFrame frame{"routine"};
    EXPECT_FALSE(frame.finished());
    EXPECT_TRUE(frame.run([] {}));
    EXPECT_TRUE(frame.finished());
    EXPECT_FALSE(frame.run([] { fault_by_memory(); }));
    EXPECT_FALSE(frame.finished());
    EXPECT_TRUE(frame.failed());
}

TEST(entry_frame, a_result_may_be_handed_out_when_the_worker_has_finished_without_an_error)
{
    struct Case {
        int type;
        bool succeeded;
        bool terminated;
    };
    for (const Case& one : {Case{0, true, false}, Case{ZAVO_ALERT, true, false},
                            Case{ZAVO_FATAL, false, false}, Case{ZAVO_TERMINAL, false, true}}) {
        CapturedErrors errors;
        EntryFrame frame{"routine"};
        EXPECT_FALSE(frame.succeeded());
        EXPECT_TRUE(frame.run([&] {
            if (one.type != 0) {
                zavo_e1mes(one.type, 1, "posted");
            }
        }));
        EXPECT_EQ(frame.succeeded(), one.succeeded) << one.type;
        EXPECT_EQ(frame.terminated(), one.terminated) << one.type;
        zavo_e1mes(0, 0, "");
        EXPECT_FALSE(frame.run([] { fault_by_memory(); }));
        EXPECT_FALSE(frame.succeeded());
        EXPECT_TRUE(frame.terminated());
    }
}

TEST(entry_frame, while_the_trap_is_suspended_a_fault_is_the_hosts_but_routines_below_trap_theirs)
{
    EXPECT_EXIT(
        {
            CapturedErrors errors;
            std::signal(SIGSEGV, exit_of_the_host);
            routine("outer", [] {
                const zavo::core::SuspendedTrap suspended;
                if (routine("inner", [] { fault_by_memory(); }) != 0) {
                    std::_Exit(1);
                }
                fault_by_memory();
            });
            std::_Exit(2);
        },
        testing::ExitedWithCode(77), "");
    CapturedErrors errors;
    EXPECT_EQ(routine("outer",
                      [] {
                          {
                              const zavo::core::SuspendedTrap suspended;
                          }
                          fault_by_memory();
                      }),
              0);
}

TEST(entry_frame, a_trusted_caller_arms_nothing)
{
    const auto before = std::signal(SIGSEGV, handler_of_the_host);
    {
        const zavo::core::TrustedCaller trusted;
        routine("untrapped",
                [] { EXPECT_EQ(std::signal(SIGSEGV, handler_of_the_host), handler_of_the_host); });
    }
    std::signal(SIGSEGV, before);
}

#if !defined(_WIN32) && !defined(__SANITIZE_ADDRESS__)
// Frames of a kilobyte until the stack is used up.
[[gnu::noinline]] int use_up_stack(int depth)
{
    volatile char frame[1024];
    frame[0] = static_cast<char>(depth);
    return depth < 0 ? 0 : use_up_stack(depth + 1) + frame[0];
}

TEST(entry_frame, a_stack_that_is_used_up_is_trapped_where_user_functions_run)
{
    CapturedErrors errors;
    for (int i = 0; i < 3; ++i) {
        EntryFrame frame{"deep"};
        EXPECT_FALSE(frame.run([] { use_up_stack(0); }, zavo::core::Trapping::with_own_stack));
    }
    EXPECT_EQ(errors.codes(), "5/511 5/102 5/511 5/102 5/511 5/102");
    stack_t stack{};
    EXPECT_EQ(sigaltstack(nullptr, &stack), 0);
    EXPECT_NE(stack.ss_flags & SS_DISABLE, 0);
}

TEST(entry_frame, a_signal_stack_of_the_host_stays)
{
    static char memory[65536];
    stack_t own{};
    own.ss_sp = memory;
    own.ss_size = sizeof memory;
    ASSERT_EQ(sigaltstack(&own, nullptr), 0);
    EntryFrame frame{"routine"};
    frame.run([] {}, zavo::core::Trapping::with_own_stack);
    stack_t after{};
    EXPECT_EQ(sigaltstack(nullptr, &after), 0);
    EXPECT_EQ(after.ss_sp, memory);
    own.ss_flags = SS_DISABLE;
    sigaltstack(&own, nullptr);
}
#endif

// ---- Modes of floating-point results

// A sum that the mode decides: to nearest it is 1.
[[gnu::noinline]] bool rounds_upwards()
{
    volatile double large = 1.0;
    volatile double small = 1e-30;
    return large + small > 1.0;
}

TEST(entry_frame, routines_compute_with_the_usual_modes_and_put_the_hosts_back)
{
    CapturedErrors errors;
    ASSERT_EQ(std::fesetround(FE_UPWARD), 0);
    bool inside = true;
    bool in_user_code = false;
    bool in_nested_routine = true;
    bool after_user_code = true;
    routine("routine", [&] {
        inside = rounds_upwards();
        zavo_error_user_level("ON");
        in_user_code = rounds_upwards();
        routine("nested", [&] { in_nested_routine = rounds_upwards(); });
        const bool still = rounds_upwards();
        zavo_error_user_level("OFF");
        in_user_code = in_user_code && still;
        after_user_code = rounds_upwards();
    });
    EXPECT_TRUE(rounds_upwards());
    routine("faulty", [&] { fault_by_memory(); });
    EXPECT_TRUE(rounds_upwards());
    std::fesetround(FE_TONEAREST);
    EXPECT_FALSE(inside);
    EXPECT_TRUE(in_user_code);
    EXPECT_FALSE(in_nested_routine);
    EXPECT_FALSE(after_user_code);
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

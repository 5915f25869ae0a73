// Threads that use the library at the same time: each gets what it would get
// alone, and a fault goes to whom it belongs.

#include "core/errors/error_stack.h"
#include "core/frame/entry_frame.hpp"
#include "core/system/memory.hpp"
#include "core/zavo.h"
#include "tests/unit/threads/thread_work.hpp"

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace {

using zavo::core::EntryFrame;
using zavo::test::fault;
using zavo::test::run_script;

class threads : public zavo::test::ThreadedWork {};

TEST_F(threads, results_are_those_of_a_serial_run)
{
    for (const int count : {2, 4, 16}) {
        expect_the_same_together(count, 50);
    }
}

TEST_F(threads, handlers_of_the_host_are_back_when_the_last_thread_is_done)
{
    const auto host = [](int) {};
    const auto before = std::signal(SIGSEGV, host);
    std::vector<std::thread> workers;
    for (int i = 0; i < 4; ++i) {
        workers.emplace_back([i] { run_script(i, 5); });
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
    EXPECT_EQ(std::signal(SIGSEGV, before), static_cast<void (*)(int)>(host));
}

TEST_F(threads, settings_may_change_while_others_read_them)
{
    std::atomic<bool> done{false};
    std::thread setter([&] {
        while (!done) {
            zavo_error_options(ZAVO_SET_PRINT, ZAVO_ALERT, 1, ZAVO_SET_CATALOGUE_PATH, "here;there",
                               ZAVO_SET_CATALOGUE_NAME, "a.bin", ZAVO_TRACE_ALL_LEVELS, 1, 0);
            zavo_error_options(ZAVO_SET_PRINT, ZAVO_ALERT, 0, ZAVO_SET_CATALOGUE_PATH, "",
                               ZAVO_TRACE_ALL_LEVELS, 0, 0);
        }
    });
    run_script(1, 20);
    done = true;
    setter.join();
    zavo_error_options(ZAVO_SET_CATALOGUE_PATH, "", ZAVO_SET_CATALOGUE_NAME, "", 0);
}

TEST_F(threads, each_has_a_stream_of_its_own_that_nobody_seeded)
{
    std::vector<int> seeds(8);
    std::vector<std::thread> workers;
    for (int& seed : seeds) {
        workers.emplace_back([&seed] {
            std::free(zavo_f_random_uniform(1, 0));
            seed = zavo_random_seed_get();
        });
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
    for (std::size_t i = 0; i < seeds.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            EXPECT_NE(seeds[i], seeds[j]);
        }
    }
}

TEST_F(threads, a_later_thread_finds_nothing_of_an_earlier_one)
{
    for (int i = 0; i < 20; ++i) {
        std::thread([] {
            EXPECT_EQ(zavo_error_type(1), 0);
            EXPECT_EQ(zavo::core::stack_room(), 199);
            zavo_random_option(3);
            zavo_error_push("left");
            zavo_error_push("behind");
            EXPECT_NE(zavo::core::take_work(100, 4), nullptr);
            zavo_f_constant("nonsense", nullptr);
        }).join();
    }
}

// ---- A fault in a thread that has armed nothing, while another is armed

void fault_in_unrelated_thread(bool after_a_call)
{
    EntryFrame frame{"armed"};
    frame.run([&] {
        std::thread([&] {
            if (after_a_call) {
                zavo_f_constant("pi", nullptr);
            }
            fault();
        }).join();
    });
}

void exit_of_the_host(int)
{
    std::_Exit(77);
}

TEST_F(threads, a_fault_in_an_unrelated_thread_is_the_hosts)
{
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    for (const bool after_a_call : {false, true}) {
        EXPECT_EXIT(
            {
                std::signal(SIGSEGV, exit_of_the_host);
                fault_in_unrelated_thread(after_a_call);
            },
            testing::ExitedWithCode(77), "");
    }
}

#if !defined(_WIN32)
TEST_F(threads, without_a_handler_of_the_host_an_unrelated_fault_ends_the_process)
{
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    for (const bool after_a_call : {false, true}) {
        EXPECT_EXIT(
            {
                std::signal(SIGSEGV, SIG_DFL);
                fault_in_unrelated_thread(after_a_call);
            },
            testing::KilledBySignal(SIGSEGV), "");
    }
}
#endif

} // namespace

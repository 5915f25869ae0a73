// The threads of threads_test.cpp for half a minute each way.

#include "tests/unit/threads/thread_work.hpp"

#include <chrono>
#include <gtest/gtest.h>

namespace {

class threads_for_long : public zavo::test::ThreadedWork {};

TEST_F(threads_for_long, results_are_those_of_a_serial_run)
{
    using Clock = std::chrono::steady_clock;
    for (const int count : {2, 4, 16}) {
        const auto end = Clock::now() + std::chrono::seconds(30);
        for (int rounds = 50; Clock::now() < end && !HasFailure(); rounds += 50) {
            expect_the_same_together(count, rounds);
        }
    }
}

} // namespace

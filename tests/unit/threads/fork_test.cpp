// A process that forks while its threads use the library.

#if !defined(_WIN32)

#include "core/frame/entry_frame.hpp"
#include "core/zavo.h"

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using zavo::core::EntryFrame;

int* volatile nowhere = nullptr;

[[gnu::noinline, gnu::no_sanitize("all")]] void fault()
{
    *nowhere = 1;
}

void keep_quiet(int, int, const char*, const char*) {}
void handler_of_the_host(int) {}

// 0 when the child can work, trap a fault, and finds the host's handler afterwards.
int work_in_child()
{
    const float x[] = {1, 2, 3, 4};
    float* const spectrum = zavo_f_fft_real(4, x, 0);
    if (spectrum == nullptr || spectrum[0] != 10.0F) {
        return 1;
    }
    std::free(spectrum);
    {
        EntryFrame frame{"faulty"};
        if (frame.run([] { fault(); })) {
            return 2;
        }
    }
    return std::signal(SIGSEGV, SIG_DFL) == handler_of_the_host ? 0 : 3;
}

// Others use the library meanwhile. Not under AddressSanitizer: each jump of theirs asks its
// allocator for memory, whose lock may be held when the process forks, and then the child
// waits for it for ever.
#ifdef __SANITIZE_ADDRESS__
constexpr int worker_count = 0;
#else
constexpr int worker_count = 3;
#endif

TEST(fork, the_child_works_alone)
{
    const auto before = std::signal(SIGSEGV, handler_of_the_host);
    zavo_error_options(ZAVO_SET_ERROR_HANDLER, &keep_quiet, ZAVO_SET_STOP, ZAVO_TERMINAL, 0, 0);
    std::atomic<bool> done{false};
    std::vector<std::thread> workers;
    for (int i = 0; i < worker_count; ++i) {
        workers.emplace_back([&] {
            while (!done) {
                zavo_error_options(ZAVO_TRACE_ALL_LEVELS, 0, 0);
            }
        });
    }
    for (int i = 0; i < 15; ++i) {
        const pid_t child = ::fork();
        ASSERT_NE(child, -1);
        if (child == 0) {
            std::_Exit(work_in_child());
        }
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status));
        ASSERT_EQ(WEXITSTATUS(status), 0);
    }
    done = true;
    for (std::thread& worker : workers) {
        worker.join();
    }
    zavo_error_options(ZAVO_SET_ERROR_HANDLER, static_cast<zavo_error_handler_fn>(nullptr), ZAVO_SET_STOP,
                       ZAVO_TERMINAL, 1, 0);
    EXPECT_EQ(std::signal(SIGSEGV, before), handler_of_the_host);
}

// The thread that forks has never called the library, while another is in a routine.
TEST(fork, a_child_of_a_thread_without_a_state_is_unarmed)
{
    const auto before = std::signal(SIGSEGV, handler_of_the_host);
    int status = -1;
    {
        EntryFrame frame{"routine"};
        frame.run([&] {
            std::thread([&] {
                const pid_t child = ::fork();
                if (child == 0) {
                    std::_Exit(std::signal(SIGSEGV, SIG_DFL) == handler_of_the_host ? 0 : 3);
                }
                waitpid(child, &status, 0);
            }).join();
        });
    }
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(std::signal(SIGSEGV, before), handler_of_the_host);
}

} // namespace

#endif

// The system's services as POSIX has them.
#if !defined(_WIN32)

#include "core/frame/entry_frame.hpp"
#include "core/system/platform.hpp"
#include "tests/support/captured_errors.hpp"
#include "tests/support/catalogue_builder.hpp"
#include "tests/support/illegal_instruction.hpp"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

namespace platform = zavo::platform;
using zavo::test::CapturedErrors;
using zavo::test::ScratchFolder;

TEST(platform_posix, a_variable_that_is_unset_empty_or_too_long_is_none)
{
    char buffer[8] = "as it w";
    unsetenv("ZAVO_TEST_VARIABLE");
    EXPECT_EQ(platform::environment("ZAVO_TEST_VARIABLE", buffer, sizeof buffer), 0U);
    for (const char* value : {"", "eight ch"}) {
        setenv("ZAVO_TEST_VARIABLE", value, 1);
        EXPECT_EQ(platform::environment("ZAVO_TEST_VARIABLE", buffer, sizeof buffer), 0U) << value;
    }
    EXPECT_STREQ(buffer, "as it w");
    setenv("ZAVO_TEST_VARIABLE", "seven c", 1);
    EXPECT_EQ(platform::environment("ZAVO_TEST_VARIABLE", buffer, sizeof buffer), 7U);
    EXPECT_STREQ(buffer, "seven c");
    unsetenv("ZAVO_TEST_VARIABLE");
}

TEST(platform_posix, a_file_is_searched_in_the_folders_of_a_path)
{
    const ScratchFolder folder;
    folder.write("file", "content");
    char found[4096] = "";
    const std::string path = ";nowhere;;" + folder.path() + ";";
    EXPECT_TRUE(platform::search_path(path.c_str(), "file", found, sizeof found));
    EXPECT_EQ(found, folder.path() + "/file");
    EXPECT_FALSE(platform::search_path(path.c_str(), "other", found, sizeof found));
    EXPECT_FALSE(platform::search_path("", "file", found, sizeof found));
    char small[12]; // names that do not fit are passed over
    EXPECT_FALSE(platform::search_path(path.c_str(), "file", small, sizeof small));
}

TEST(platform_posix, folders_and_unreadable_files_are_passed_over)
{
    const ScratchFolder folder;
    folder.write("file", "content");
    const std::string file = folder.path() + "/file";
    char found[4096];
    EXPECT_FALSE(platform::find_in_folder("/", folder.path().c_str() + 1, found, sizeof found));
    EXPECT_TRUE(platform::find_in_folder(folder.path().c_str(), "file", found, sizeof found));
    ASSERT_EQ(chmod(file.c_str(), 0), 0);
    // Rights are asked of the real user, whom root may change for a while.
    const bool root = getuid() == 0;
    if (root) {
        ASSERT_EQ(setreuid(65534, static_cast<uid_t>(-1)), 0);
    }
    EXPECT_FALSE(platform::find_in_folder(folder.path().c_str(), "file", found, sizeof found));
    if (root) {
        ASSERT_EQ(setreuid(0, static_cast<uid_t>(-1)), 0);
    }
}

TEST(platform_posix, without_a_console_nothing_is_written)
{
    platform::write_console(nullptr, "text", 4);
    EXPECT_EXIT(
        {
            setsid(); // so that there is no terminal
            close(STDOUT_FILENO);
            std::exit(platform::console() == nullptr ? 3 : 4);
        },
        testing::ExitedWithCode(3), "");
}

// A process whose standard output is closed writes to the terminal that it belongs to.
TEST(platform_posix, the_console_is_the_terminal_when_standard_output_is_closed)
{
    EXPECT_EXIT(
        {
            setsid();
            const int master = posix_openpt(O_RDWR | O_NOCTTY);
            if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0 ||
                open(ptsname(master), O_RDWR) < 0) { // now the terminal of this session
                std::exit(9);
            }
            close(STDIN_FILENO); // the number that the terminal gets
            close(STDOUT_FILENO);
            void* const console = platform::console();
            platform::write_console(console, "words", 5);
            char read_back[16] = "";
            const bool same = platform::console() == console;
            const bool arrived =
                read(master, read_back, sizeof read_back) == 5 && std::strcmp(read_back, "words") == 0;
            std::exit(console != nullptr && same && arrived ? 3 : 4);
        },
        testing::ExitedWithCode(3), "");
}

int* volatile nowhere = nullptr;

[[gnu::noinline, gnu::no_sanitize("all")]] void fault_by_memory()
{
    *nowhere = 1;
}

// A routine that faults while its trap is suspended: the fault is the host's.
void fault_of_the_host()
{
    zavo::core::EntryFrame frame{"routine"};
    frame.run([] {
        const zavo::core::SuspendedTrap suspended;
        fault_by_memory();
    });
}

void set_action(int signal, int flags, void (*function)(int, siginfo_t*, void*))
{
    struct sigaction action {};
    action.sa_sigaction = function;
    action.sa_flags = SA_SIGINFO | flags;
    sigaction(signal, &action, nullptr);
}

bool is_blocked(int signal)
{
    sigset_t blocked;
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    return sigismember(&blocked, signal) == 1;
}

// The host's handler is called as the system would call it.
TEST(platform_posix, a_handler_with_details_gets_them_and_its_own_signal_is_blocked)
{
    EXPECT_EXIT(
        {
            set_action(SIGSEGV, 0, [](int signal, siginfo_t* details, void* context) {
                const bool good = signal == SIGSEGV && details->si_addr == nullptr && context != nullptr &&
                                  is_blocked(SIGSEGV);
                std::exit(good ? 3 : 4);
            });
            fault_of_the_host();
        },
        testing::ExitedWithCode(3), "");
}

TEST(platform_posix, a_handler_may_ask_for_its_signal_unblocked)
{
    EXPECT_EXIT(
        {
            set_action(SIGSEGV, SA_NODEFER,
                       [](int, siginfo_t*, void*) { std::exit(is_blocked(SIGSEGV) ? 4 : 3); });
            fault_of_the_host();
        },
        testing::ExitedWithCode(3), "");
}

// It returns, the fault strikes again, and by then the signal is the system's.
// (An emulator of processors adds words of its own.)
TEST(platform_posix, a_handler_that_is_reset_is_called_once)
{
    EXPECT_EXIT(
        {
            struct sigaction action {};
            action.sa_handler = [](int) { (void)!write(STDERR_FILENO, "called;", 7); };
            action.sa_flags = static_cast<int>(SA_RESETHAND);
            sigaction(SIGSEGV, &action, nullptr);
            fault_of_the_host();
        },
        testing::KilledBySignal(SIGSEGV), "^called;($|qemu: )");
}

TEST(platform_posix, a_fault_is_not_ignored_but_a_signal_that_was_sent_is)
{
    EXPECT_EXIT(
        {
            std::signal(SIGSEGV, SIG_IGN);
            fault_of_the_host();
        },
        testing::KilledBySignal(SIGSEGV), "");
    const auto ask = [] {
        zavo::core::EntryFrame frame{"routine"};
        frame.run([] {
            const zavo::core::SuspendedTrap suspended;
            kill(getpid(), SIGSEGV);
        });
    };
    EXPECT_EXIT(
        {
            std::signal(SIGSEGV, SIG_IGN);
            ask();
            std::exit(3);
        },
        testing::ExitedWithCode(3), "");
    EXPECT_EXIT(
        {
            std::signal(SIGSEGV, SIG_DFL);
            ask();
            std::exit(3);
        },
        testing::KilledBySignal(SIGSEGV), "");
}

// An instruction that there is none of, in a routine within a routine.
TEST(platform_posix, a_fault_below_several_levels_is_still_the_hosts)
{
    EXPECT_EXIT(
        {
            set_action(SIGILL, 0, [](int signal, siginfo_t*, void*) { std::exit(signal == SIGILL ? 3 : 4); });
            zavo::core::EntryFrame outer{"outer"};
            outer.run([] {
                zavo::core::EntryFrame inner{"inner"};
                inner.run([] {
                    const zavo::core::SuspendedTrap suspended;
                    fault_by_instruction();
                });
            });
        },
        testing::ExitedWithCode(3), "");
}

// Armed by hand, without a routine to return to.
TEST(platform_posix, a_fault_outside_routines_is_the_hosts)
{
    EXPECT_EXIT(
        {
            set_action(SIGSEGV, 0, [](int, siginfo_t*, void*) { std::exit(3); });
            zavo_entry_trap(1);
            fault_by_memory();
        },
        testing::ExitedWithCode(3), "");
}

void first_handler(int) {}
void second_handler(int) {}

// A thread that finds other handlers than the library's puts those back.
TEST(platform_posix, handlers_set_while_a_thread_is_armed_are_kept_by_the_next)
{
    const auto before = std::signal(SIGSEGV, first_handler);
    zavo::core::EntryFrame frame{"routine"};
    void (*after_thread)(int) = nullptr;
    frame.run([&] {
        std::signal(SIGSEGV, second_handler);
        const auto instruction = std::signal(SIGILL, SIG_DFL);
        std::thread([] {
            zavo::core::EntryFrame other{"other"};
            other.run([] {});
        }).join();
        after_thread = std::signal(SIGSEGV, second_handler);
        std::signal(SIGILL, instruction);
    });
    EXPECT_EQ(after_thread, second_handler);
    EXPECT_EQ(std::signal(SIGSEGV, before), first_handler);
}

// Levels that the host arms itself count as well; beyond the last a routine runs
// untrapped.
TEST(platform_posix, armed_levels_have_an_end)
{
    CapturedErrors errors;
    zavo_entry_trap(0); // with none armed, nothing happens
    for (int level = 0; level < 120; ++level) {
        zavo_entry_trap(1);
    }
    EXPECT_EXIT(
        {
            zavo::core::EntryFrame frame{"routine"};
            set_action(SIGSEGV, 0, [](int, siginfo_t*, void*) { std::exit(5); });
            frame.run([] { fault_by_memory(); });
        },
        testing::ExitedWithCode(5), "");
    for (int level = 0; level < 120; ++level) {
        zavo_entry_trap(0);
    }
    zavo::core::EntryFrame frame{"routine"};
    EXPECT_FALSE(frame.run([] { fault_by_memory(); })); // trapped again
    EXPECT_EQ(errors.codes(), "5/511 5/102");
}

} // namespace

#endif

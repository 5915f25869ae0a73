// Threads that use the library at the same time: each gets what it would get
// alone, and a fault goes to whom it belongs.

#include "core/errors/error_stack.h"
#include "core/frame/entry_frame.hpp"
#include "core/thread_state.hpp"
#include "core/zavo.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace {

using zavo::core::EntryFrame;

// What has been reported to this thread, and all that it has computed, in one
// number.
struct Record {
    std::uint64_t hash = 14695981039346656037U;
    int reported = 0;

    void add(const void* bytes, std::size_t n)
    {
        const auto* const at = static_cast<const unsigned char*>(bytes);
        for (std::size_t i = 0; i < n; ++i) {
            hash = (hash ^ at[i]) * 1099511628211U;
        }
    }
    void add_text(const char* text) { add(text, std::strlen(text)); }
    template <class T>
    void add_value(T value)
    {
        add(&value, sizeof value);
    }
    // Takes an array of the library's over.
    template <class T>
    void take(T* values, int n)
    {
        add_value(values != nullptr);
        if (values != nullptr) {
            add(values, static_cast<std::size_t>(n) * sizeof(T));
            std::free(values);
        }
    }
};

thread_local Record* record_of_thread = nullptr;

void note_error(int type, int code, const char* routine, const char* message)
{
    Record* const record = record_of_thread;
    if (record != nullptr) {
        ++record->reported;
        record->add_value(type);
        record->add_value(code);
        record->add_text(routine);
        record->add_text(message);
    }
}

// All threads share these settings.
class threads : public testing::Test {
protected:
    void SetUp() override
    {
        zavo_error_options(ZAVO_SET_ERROR_HANDLER, &note_error, ZAVO_SET_STOP, ZAVO_FATAL, 0, ZAVO_SET_STOP,
                           ZAVO_TERMINAL, 0, 0);
    }
    void TearDown() override
    {
        zavo_error_options(ZAVO_SET_ERROR_HANDLER, static_cast<zavo_error_handler_fn>(nullptr), ZAVO_SET_STOP,
                           ZAVO_FATAL, 1, ZAVO_SET_STOP, ZAVO_TERMINAL, 1, 0);
    }
};

int* volatile nowhere = nullptr;

[[gnu::noinline, gnu::no_sanitize("all")]] void fault()
{
    *nowhere = 1;
}

float bowl(int n, float* x)
{
    float sum = 0.0F;
    for (int i = 0; i < n; ++i) {
        const float t = x[i] - static_cast<float>(i);
        sum += t * t;
    }
    return sum;
}

void bowl_at(int n, float* x, float* f)
{
    // A routine of the library within another's user function.
    std::free(zavo_f_random_exponential(3, 0));
    *f = bowl(n, x);
}

// One round of everything, different for each script and round.
void one_round(int script, int round, Record& record)
{
    const int n = 8 + (script * 37 + round * 11) % 200;
    zavo_random_seed_set(1 + script * 1000 + round);
    zavo_random_option(1 + (script + round) % 6);
    float* const x = zavo_f_random_normal(n, 0);
    float* const y = zavo_f_random_uniform(n, 0);
    record.add(x, static_cast<std::size_t>(n) * sizeof(float));
    record.add(y, static_cast<std::size_t>(n) * sizeof(float));
    record.take(zavo_f_random_exponential(n, 0), n);
    record.take(zavo_f_fft_real(n, x, 0), n);
    record.take(zavo_f_fft_real(n, x, ZAVO_BACKWARD, 0), n);
    record.take(zavo_c_fft_2d_complex(2, n / 4, reinterpret_cast<const f_complex*>(x), 0), n / 4 * 2);
    int nz = 0;
    for (const int part : {ZAVO_SERIES_FIRST, ZAVO_SERIES_NEXT, ZAVO_SERIES_LAST}) {
        float* const z = zavo_f_convolution(n, x, n / 2, y, &nz, part, 0);
        record.take(z, nz);
    }
    record.add_value(zavo_f_constant("speedlight", "foot/s"));
    record.add_value(zavo_date_to_days(1 + round % 28, 1 + script % 12, 1900 + round));
    record.take(zavo_f_min_uncon_multivar(bowl, 3, 0), 3);
    const float low[] = {0.5F, -1.0F, 0.0F};
    const float high[] = {4.0F, 0.5F, 1.0F};
    record.take(zavo_f_min_con_gen_lin(bowl_at, 3, 0, 0, nullptr, nullptr, low, high, 0), 3);
    // Errors with parameters, and a fault.
    zavo_f_constant(script % 2 == 0 ? "nonsense" : "gibberish", nullptr);
    zavo_f_fft_real(-n, x, 0);
    zavo_f_random_uniform(-round, 0);
    {
        EntryFrame frame{script % 2 == 0 ? "even" : "odd"};
        frame.run([] { fault(); });
        record.add_value(frame.finished());
    }
    record.add_value(zavo_error_code(1));
    std::free(x);
    std::free(y);
}

std::uint64_t run_script(int script, int rounds)
{
    Record record;
    record_of_thread = &record;
    const float empty = 0.0F;
    zavo_rnses(&empty); // a serial run follows others in its thread
    for (int round = 1; round <= rounds; ++round) {
        one_round(script, round, record);
    }
    record_of_thread = nullptr;
    EXPECT_EQ(record.reported, rounds * 5) << "script " << script;
    return record.hash;
}

// Rounds enough for ZAVO_THREAD_SECONDS of this machine's time, few without it.
int rounds_wanted()
{
    const char* const seconds = std::getenv("ZAVO_THREAD_SECONDS");
    if (seconds == nullptr) {
        return 100;
    }
    const auto start = std::chrono::steady_clock::now();
    run_script(0, 20);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    return static_cast<int>(20 * std::atof(seconds) / taken.count()) / 11 + 20;
}

TEST_F(threads, results_are_those_of_a_serial_run)
{
    const int rounds = rounds_wanted();
    for (const int count : {2, 4, 16}) {
        SCOPED_TRACE(count);
        std::vector<std::uint64_t> alone(static_cast<std::size_t>(count));
        std::vector<std::uint64_t> together(alone.size());
        for (int i = 0; i < count; ++i) {
            alone[static_cast<std::size_t>(i)] = run_script(i, rounds);
        }
        std::vector<std::thread> workers;
        std::atomic<int> ready{0};
        for (int i = 0; i < count; ++i) {
            workers.emplace_back([&, i] {
                for (++ready; ready < count;) {
                    std::this_thread::yield();
                }
                together[static_cast<std::size_t>(i)] = run_script(i, rounds);
            });
        }
        for (std::thread& worker : workers) {
            worker.join();
        }
        EXPECT_EQ(alone, together);
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

// Work for threads: everything that the library does, in rounds, with all results
// and errors in one number.
#pragma once

#include "core/errors/error_stack.h"
#include "core/frame/entry_frame.hpp"
#include "core/zavo.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace zavo::test {

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

inline thread_local Record* record_of_thread = nullptr;

inline void note_error(int type, int code, const char* routine, const char* message)
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

inline int* volatile nowhere = nullptr;

[[gnu::noinline, gnu::no_sanitize("all")]] inline void fault()
{
    *nowhere = 1;
}

inline float bowl(int n, float* x)
{
    float sum = 0.0F;
    for (int i = 0; i < n; ++i) {
        const float t = x[i] - static_cast<float>(i);
        sum += t * t;
    }
    return sum;
}

inline void bowl_at(int n, float* x, float* f)
{
    // A routine of the library within another's user function.
    std::free(zavo_f_random_exponential(3, 0));
    *f = bowl(n, x);
}

// One round of everything, different for each script and round.
inline void one_round(int script, int round, Record& record)
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
        core::EntryFrame frame{script % 2 == 0 ? "even" : "odd"};
        frame.run([] {
        // ThreadSanitizer does not survive jumps out of its handlers for long.
#if !defined(__SANITIZE_THREAD__)
            fault();
#else
            zavo_e1mes(ZAVO_TERMINAL, 511, "in place of a fault");
            zavo_e1mes(ZAVO_TERMINAL, 102, "in place of a fault");
#endif
        });
        record.add_value(frame.finished());
    }
    record.add_value(zavo_error_code(1));
    std::free(x);
    std::free(y);
}

inline std::uint64_t run_script(int script, int rounds)
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

// Settings that all threads of a test share.
class ThreadedWork : public testing::Test {
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

    // Scripts 0 .. count - 1, one after the other and then each in a thread.
    static void expect_the_same_together(int count, int rounds)
    {
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
        EXPECT_EQ(alone, together) << count << " threads";
    }
};

} // namespace zavo::test

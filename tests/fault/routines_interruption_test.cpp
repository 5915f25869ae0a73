// Every routine that may work for long is interrupted at one place after the other, until
// it comes to its end: it gives null and keeps nothing, or the result that it has anyway.
#include "core/frame/entry_frame.hpp"
#include "core/frame/interruption.hpp"
#include "core/simd/path.hpp"
#include "core/system/memory.hpp"
#include "core/thread_state.hpp"
#include "core/zavo.h"
#include "tests/support/captured_errors.hpp"
#include "tests/support/covered_paths.hpp"

#include <cstdlib>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <vector>

namespace {

using zavo::core::Interruption;
using zavo::core::interruption;
using zavo::test::CapturedErrors;

// The question, which is answered with yes, while it lives: first after so many
// operations.
class Question {
public:
    explicit Question(std::int64_t operations, bool answer = true) : answer_(answer), outer_(interruption())
    {
        interruption() = {.ask = ask, .context = this, .left = operations};
    }
    ~Question() { interruption() = outer_; }
    Question(const Question&) = delete;
    Question& operator=(const Question&) = delete;
    int asked() const { return asked_; }

private:
    static bool ask(void* context)
    {
        auto& question = *static_cast<Question*>(context);
        ++question.asked_;
        EXPECT_EQ(interruption().ask, nullptr);
        return question.answer_;
    }
    bool answer_;
    int asked_ = 0;
    Interruption outer_;
};

using Result = std::vector<float>;

Result take(float* values, std::size_t n)
{
    const Result result(values, values != nullptr ? values + n : values);
    std::free(values);
    return result;
}
Result take(f_complex* values, std::size_t n)
{
    return take(reinterpret_cast<float*>(values), 2 * n);
}

std::vector<float> ramp(std::size_t n)
{
    std::vector<float> x(n);
    for (std::size_t i = 0; i < n; ++i) {
        x[i] = static_cast<float>(i % 97) - 48.0F;
    }
    return x;
}

constexpr int seed = 12345;

// The next number of operations before a question.
std::int64_t after(std::int64_t operations)
{
#ifdef __SANITIZE_ADDRESS__
    return operations * 5 / 2 + 1; // the same code, many times slower
#else
    return operations * 3 / 2 + 1;
#endif
}

void check(const char* name, const std::function<Result()>& call)
{
    CapturedErrors errors;
    zavo_random_seed_set(seed);
    const Result wanted = call();
    ASSERT_FALSE(wanted.empty()) << name;
    const int seed_after = zavo_random_seed_get();
    void* const mark = zavo::core::work_mark();
    int interrupted = 0;
    bool came_to_its_end = false;
    for (std::int64_t operations = 1; !came_to_its_end; operations = after(operations)) {
        zavo_random_seed_set(seed);
        const Question question{operations};
        const Result found = call();
        came_to_its_end = question.asked() == 0;
        ASSERT_LE(question.asked(), 1) << name;
        ASSERT_EQ(zavo::core::work_mark(), mark) << name;
        if (came_to_its_end) {
            ASSERT_EQ(found, wanted) << name;
            ASSERT_EQ(zavo_random_seed_get(), seed_after) << name;
        } else {
            ++interrupted;
            ASSERT_TRUE(found.empty()) << name << " after " << operations;
            ASSERT_EQ(zavo_random_seed_get(), seed) << name << " after " << operations;
        }
    }
    EXPECT_GT(interrupted, 10) << name;
    EXPECT_TRUE(errors.empty()) << name << ' ' << errors.codes();
}

// On every path that the processor has.
void check_paths(const char* name, const std::function<Result()>& call)
{
    for (const zavo::simd::Path path :
         {zavo::simd::Path::scalar, zavo::simd::Path::avx2, zavo::simd::Path::avx512}) {
        if (zavo::simd::has_path(path)) {
            SCOPED_TRACE(zavo::simd::name_of(path));
            const zavo::test::LimitedPath limited{path};
            check(name, call);
        }
    }
}

std::size_t count_of(int n)
{
    return static_cast<std::size_t>(n);
}

// A prime; a product of small factors; large factors and small ones.
constexpr int lengths[] = {10007, 1 << 18, 211 * 211, 5003 * 20};

TEST(routines_interruption, real_transforms_end_at_any_place)
{
    for (const int n : lengths) {
        SCOPED_TRACE(n);
        const std::vector<float> x = ramp(count_of(n));
        check_paths("forward", [&] { return take(zavo_f_fft_real(n, x.data(), 0), count_of(n)); });
        check_paths("backward",
                    [&] { return take(zavo_f_fft_real(n, x.data(), ZAVO_BACKWARD, 0), count_of(n)); });
    }
}

TEST(routines_interruption, complex_transforms_end_at_any_place)
{
    for (const int n : lengths) {
        SCOPED_TRACE(n);
        const std::vector<float> x = ramp(2 * count_of(n));
        const auto* const p = reinterpret_cast<const f_complex*>(x.data());
        check_paths("forward", [&] { return take(zavo_c_fft_complex(n, p, 0), count_of(n)); });
        check_paths("backward",
                    [&] { return take(zavo_c_fft_complex(n, p, ZAVO_BACKWARD, 0), count_of(n)); });
    }
}

TEST(routines_interruption, a_table_is_built_whole_or_not_at_all)
{
    constexpr int n = 1 << 18;
    check_paths("real", [] { return take(zavo_f_fft_real_init(n), 2 * count_of(n) + 15); });
    check_paths("complex", [] { return take(zavo_c_fft_complex_init(n), 4 * count_of(n) + 15); });
}

TEST(routines_interruption, the_callers_array_stays_the_callers)
{
    for (const int n : lengths) {
        SCOPED_TRACE(n);
        const std::vector<float> x = ramp(count_of(n));
        float* const table = zavo_f_fft_real_init(n);
        std::vector<float> q(count_of(n));
        check_paths("in place", [&] {
            q = x;
            float* const found =
                zavo_f_fft_real(n, q.data(), ZAVO_PARAMS, table, ZAVO_RETURN_USER, q.data(), 0);
            return found != nullptr ? q : Result{};
        });
        std::free(table);
    }
}

TEST(routines_interruption, planes_end_at_any_place)
{
    constexpr int m = 300, n = 256;
    const std::vector<float> x = ramp(2 * count_of(m) * count_of(n));
    const auto* const p = reinterpret_cast<const f_complex*>(x.data());
    check_paths("forward", [&] { return take(zavo_c_fft_2d_complex(m, n, p, 0), count_of(m * n)); });
    check_paths("backward",
                [&] { return take(zavo_c_fft_2d_complex(m, n, p, ZAVO_BACKWARD, 0), count_of(m * n)); });
    // Rows that overlap are taken one by one.
    check_paths("overlapping rows", [&] {
        return take(zavo_c_fft_2d_complex(m, n, p, ZAVO_INPUT_COL_DIM, n - 1, 0), count_of(m * n));
    });
    // So are columns of a result whose rows overlap.
    check_paths("overlapping rows of the result", [&] {
        return take(zavo_c_fft_2d_complex(m, n, p, ZAVO_RESULT_COL_DIM, n - 1, 0), count_of(m * (n - 1)));
    });
}

// Rotations of a long table are made a million at a time.
TEST(routines_interruption, a_long_table_is_not_made_to_its_end)
{
    for (const std::int64_t operations : {1, 5'000'000, 9'000'000}) {
        const Question question{operations};
        EXPECT_EQ(zavo_f_fft_real_init(1 << 23), nullptr);
        EXPECT_EQ(question.asked(), 1);
    }
}

TEST(routines_interruption, convolutions_end_at_any_place)
{
    const std::vector<float> x = ramp(100000);
    for (const int n : {10007, 100000}) {
        SCOPED_TRACE(n);
        int nz = 0;
        check_paths("convolution", [&] {
            float* const z = zavo_f_convolution(n, x.data(), n / 2, x.data(), &nz, ZAVO_CIRCULAR, 0);
            return take(z, count_of(nz));
        });
        check_paths("correlation", [&] {
            float* spectrum = nullptr;
            float* const z =
                zavo_f_convolution(n, x.data(), n, x.data(), &nz, ZAVO_CORRELATE, ZAVO_Z_TRANS, &spectrum, 0);
            EXPECT_EQ(z == nullptr, spectrum == nullptr);
            std::free(spectrum);
            return take(z, count_of(nz));
        });
    }
}

TEST(routines_interruption, a_series_goes_on_after_one_of_it_was_ended)
{
    const std::vector<float> x = ramp(30000);
    int nz = 0;
    const Result wanted =
        take(zavo_f_convolution(30000, x.data(), 10000, x.data(), &nz, ZAVO_CIRCULAR, 0), 30000);
    for (const std::int64_t operations : {1, 10000, 20000, 40000}) {
        {
            const Question question{operations};
            EXPECT_EQ(zavo_f_convolution(30000, x.data(), 10000, x.data(), &nz, ZAVO_CIRCULAR,
                                         ZAVO_SERIES_FIRST, 0),
                      nullptr);
            EXPECT_EQ(question.asked(), 1);
        }
        EXPECT_EQ(take(zavo_f_convolution(30000, x.data(), 10000, x.data(), &nz, ZAVO_CIRCULAR,
                                          ZAVO_SERIES_LAST, 0),
                       30000),
                  wanted);
    }
}

TEST(routines_interruption, batches_of_deviates_end_and_leave_the_stream)
{
    constexpr int n = 400000;
    check_paths("normal", [] { return take(zavo_f_random_normal(n, 0), count_of(n)); });
    check_paths("exponential", [] { return take(zavo_f_random_exponential(n, 0), count_of(n)); });
}

// A deviate that cannot be is not complained of when the batch is worth nothing anyway.
TEST(routines_interruption, a_batch_that_ended_posts_no_errors)
{
    CapturedErrors errors;
    zavo_random_option(1);
    zavo_random_seed_set(static_cast<int>(1407677000LL * 2147483646 % 2147483647)); // the next state is m - 1
    const int before = zavo_random_seed_get();
    const Question question{1};
    EXPECT_EQ(zavo_f_random_normal(100000, 0), nullptr);
    EXPECT_EQ(question.asked(), 1);
    EXPECT_TRUE(errors.empty()) << errors.codes();
    EXPECT_EQ(zavo_random_seed_get(), before);
}

TEST(routines_interruption, long_batches_of_uniform_deviates_end_too)
{
    constexpr int n = 9000000;
    for (const int option : {1, 2}) {
        zavo_random_option(option);
        zavo_random_seed_set(seed);
        std::free(zavo_f_random_uniform(10, 0)); // fills the table
        const zavo::core::StreamState before = zavo::core::thread_state().stream;
        const Question question{1};
        EXPECT_EQ(zavo_f_random_uniform(n, 0), nullptr);
        EXPECT_EQ(question.asked(), 1);
        const zavo::core::StreamState after = zavo::core::thread_state().stream;
        EXPECT_EQ(after.seed, before.seed);
        EXPECT_EQ(std::memcmp(after.table, before.table, sizeof after.table), 0);
    }
    zavo_random_option(1);
}

TEST(routines_interruption, a_question_that_is_answered_with_no_changes_nothing)
{
    constexpr int n = 20011;
    const std::vector<float> x = ramp(count_of(n));
    const Result wanted = take(zavo_f_fft_real(n, x.data(), 0), count_of(n));
    const zavo::test::LimitedPath limited{zavo::simd::Path::scalar};
    const Question question{1, false};
    EXPECT_EQ(take(zavo_f_fft_real(n, x.data(), 0), count_of(n)), wanted);
    EXPECT_GT(question.asked(), 2);
}

TEST(routines_interruption, a_frame_that_was_interrupted_has_neither_finished_nor_failed)
{
    CapturedErrors errors;
    void* const mark = zavo::core::work_mark();
    const Question question{10};
    {
        zavo::core::EntryFrame outer{"outer"};
        EXPECT_FALSE(outer.run([] {
            EXPECT_FALSE(zavo::core::interrupted(9));
            zavo::core::EntryFrame inner{"inner"};
            EXPECT_FALSE(inner.run([] {
                EXPECT_NE(zavo::core::take_work<float>(100), nullptr);
                EXPECT_TRUE(zavo::core::interrupted(1));
            }));
            EXPECT_TRUE(zavo::core::interrupted());
        }));
        EXPECT_FALSE(outer.finished());
        EXPECT_FALSE(outer.failed());
    }
    EXPECT_EQ(zavo::core::work_mark(), mark);
    EXPECT_EQ(question.asked(), 1);
    EXPECT_TRUE(errors.empty());
}

TEST(routines_interruption, nobody_is_asked_where_no_question_is_set)
{
    EXPECT_FALSE(zavo::core::interrupted(INT64_C(1) << 60));
    EXPECT_FALSE(zavo::core::interrupted());
}

} // namespace

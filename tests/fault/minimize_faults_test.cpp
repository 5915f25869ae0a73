// What goes wrong around the minimisers: memory that runs out at any place, and
// functions that fault.
#include "core/system/memory.hpp"
#include "core/zavo.h"
#include "tests/support/captured_errors.hpp"

#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <vector>

namespace {

using zavo::test::CapturedErrors;

int calls;
int fault_at; // 0: never

void maybe_fault()
{
    if (++calls == fault_at) {
        // As a wild pointer would, on every system and under every sanitizer.
        std::raise(SIGSEGV);
    }
}

float bowl(int, float* x)
{
    maybe_fault();
    return (x[0] - 1) * (x[0] - 1) + (x[1] - 2) * (x[1] - 2);
}

void constrained_bowl(int n, float* x, float* f)
{
    *f = bowl(n, x);
}

void bowl_gradient(int, float* x, float* g)
{
    maybe_fault();
    g[0] = 2 * (x[0] - 1);
    g[1] = 2 * (x[1] - 2);
}

const float lower[] = {0, 0};
const float upper[] = {10, 10};
const float right[] = {4, 5, 6};
const std::vector<float> rows = {1, 1, 2, -1, 0, 1};

TEST(minimize_faults, every_allocation_of_the_unconstrained_may_fail)
{
    for (const bool start_given : {false, true}) {
        const float start[] = {3, 3};
        int failures = 0;
        for (long nth = 1;; ++nth) {
            CapturedErrors errors;
            void* const mark = zavo::core::work_mark();
            fault_at = 0;
            float f = -1;
            zavo_fail_allocation(nth);
            float* const x = start_given ? zavo_f_min_uncon_multivar(bowl, 2, ZAVO_START_POINT, start,
                                                                     ZAVO_RESULT_VALUE, &f, 0)
                                         : zavo_f_min_uncon_multivar(bowl, 2, ZAVO_RESULT_VALUE, &f, 0);
            zavo_fail_allocation(0);
            EXPECT_EQ(zavo::core::work_mark(), mark);
            std::free(x);
            if (x != nullptr && errors.empty()) {
                break;
            }
            ASSERT_LT(nth, 20);
            if (x == nullptr) {
                EXPECT_EQ(errors.codes(), "5/201");
                EXPECT_EQ(errors.expand("%(I1)"), "2");
                EXPECT_EQ(f, -1);
                ++failures;
            }
        }
        EXPECT_EQ(failures, 4); // work, start, scales, solution
    }
}

TEST(minimize_faults, every_allocation_of_the_constrained_may_fail)
{
    int failures = 0;
    for (long nth = 1;; ++nth) {
        CapturedErrors errors;
        void* const mark = zavo::core::work_mark();
        fault_at = 0;
        std::vector<float> a = rows;
        int* list = nullptr;
        float* multipliers = nullptr;
        zavo_fail_allocation(nth);
        float* const x = zavo_f_min_con_gen_lin(constrained_bowl, 2, 3, 0, a.data(), right, lower, upper,
                                                ZAVO_ACTIVE_LIST, &list, ZAVO_MULTIPLIERS, &multipliers, 0);
        const bool any_failed = zavo_allocation_count() >= nth;
        zavo_fail_allocation(0);
        EXPECT_EQ(zavo::core::work_mark(), mark);
        EXPECT_EQ(a, rows);
        EXPECT_EQ(x == nullptr, list == nullptr);
        EXPECT_EQ(x == nullptr, multipliers == nullptr);
        std::free(x);
        std::free(list);
        std::free(multipliers);
        if (!any_failed) {
            EXPECT_NE(x, nullptr);
            break;
        }
        ASSERT_LT(nth, 30);
        if (x == nullptr) {
            const std::string codes = errors.codes();
            EXPECT_TRUE(codes == "5/202" || codes == "5/201") << codes;
            if (codes == "5/202") {
                EXPECT_EQ(errors.expand("%(S1) %(I1) %(S2) %(I2)"), "ncon 3 nvar 2");
            } else {
                EXPECT_EQ(errors.expand("%(S1) %(I1)"), "nvar 2");
            }
            ++failures;
        } // else the transposition went on without its scratch array
    }
    EXPECT_EQ(failures, 5); // work, start, multipliers, list, solution
}

TEST(minimize_faults, sizes_beyond_memory_are_refused)
{
    CapturedErrors errors;
    fault_at = 0;
    EXPECT_EQ(zavo_f_min_uncon_multivar(bowl, 2000000000, 0), nullptr);
    EXPECT_EQ(errors.codes(), "5/201");
    errors.clear();
    EXPECT_EQ(zavo_f_min_con_gen_lin(constrained_bowl, 2000000000, 0, 0, nullptr, nullptr, lower, upper, 0),
              nullptr);
    EXPECT_EQ(errors.codes(), "5/202");
}

TEST(minimize_faults, a_fault_in_the_function_ends_the_unconstrained_with_an_error)
{
    for (const bool user_gradient : {false, true}) {
        int faults = 0;
        for (int at = 1; at < 40; ++at) {
            CapturedErrors errors;
            void* const mark = zavo::core::work_mark();
            calls = 0;
            fault_at = at;
            float own[2];
            float f = -1;
            float* const x =
                zavo_f_min_uncon_multivar(bowl, 2, ZAVO_RETURN_USER, own, ZAVO_RESULT_VALUE, &f,
                                          ZAVO_GRADIENT_FUNCTION, user_gradient ? bowl_gradient : nullptr, 0);
            EXPECT_EQ(zavo::core::work_mark(), mark);
            if (x == nullptr) {
                EXPECT_EQ(errors.codes(), "5/511 5/102");
                EXPECT_EQ(errors.last().routine, "zavo_f_min_uncon_multivar");
                EXPECT_EQ(f, -1);
                ++faults;
            } else {
                EXPECT_LT(calls, at);
            }
        }
        EXPECT_GT(faults, 3);
        // The library works as before.
        fault_at = 0;
        CapturedErrors errors;
        std::free(zavo_f_min_uncon_multivar(bowl, 2, 0));
        EXPECT_TRUE(errors.empty());
    }
}

TEST(minimize_faults, a_fault_in_the_function_leaves_the_matrix_by_rows)
{
    for (const bool user_gradient : {false, true}) {
        int faults = 0;
        for (int at = 1; at < 40; ++at) {
            CapturedErrors errors;
            void* const mark = zavo::core::work_mark();
            std::vector<float> a = rows;
            int* list = nullptr;
            float* multipliers = nullptr;
            calls = 0;
            fault_at = at;
            float* const x = zavo_f_min_con_gen_lin(constrained_bowl, 2, 3, 0, a.data(), right, lower, upper,
                                                    ZAVO_ACTIVE_LIST, &list, ZAVO_MULTIPLIERS, &multipliers,
                                                    ZAVO_CON_GRADIENT_FUNCTION,
                                                    user_gradient ? bowl_gradient : nullptr, 0);
            EXPECT_EQ(zavo::core::work_mark(), mark);
            EXPECT_EQ(a, rows);
            if (x == nullptr) {
                EXPECT_EQ(errors.codes(), "5/511 5/102");
                EXPECT_EQ(list, nullptr);
                EXPECT_EQ(multipliers, nullptr);
                ++faults;
            }
            std::free(x);
            std::free(list);
            std::free(multipliers);
        }
        EXPECT_GT(faults, 3);
    }
    fault_at = 0;
}

float nested(int, float* x)
{
    fault_at = calls + 3;
    EXPECT_EQ(zavo_f_min_uncon_multivar(bowl, 2, 0), nullptr);
    fault_at = 0;
    return x[0] * x[0] + x[1] * x[1];
}

// The first answers are stored by then, and are taken back.
TEST(minimize_faults, a_fault_while_the_answers_are_stored_leaves_none)
{
    fault_at = 0;
    CapturedErrors errors;
    std::vector<float> a = rows;
    int nobody = 0;
    int* list = &nobody;
    float value = 77;
    float* multipliers = &value;
    int* const nowhere = reinterpret_cast<int*>(sizeof(int)); // on the page of the null pointer
    EXPECT_EQ(zavo_f_min_con_gen_lin(constrained_bowl, 2, 3, 0, a.data(), right, lower, upper,
                                     ZAVO_ACTIVE_LIST, &list, ZAVO_MULTIPLIERS, &multipliers,
                                     ZAVO_ACTIVE_COUNT, nowhere, 0),
              nullptr);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(multipliers, nullptr);
    EXPECT_EQ(a, rows);
    EXPECT_EQ(errors.last().type, ZAVO_TERMINAL);
}

TEST(minimize_faults, a_fault_in_a_nested_run_ends_that_run_alone)
{
    CapturedErrors errors;
    const float start[] = {0.25F, 0};
    zavo_error_options(ZAVO_SET_PRINT, ZAVO_TERMINAL, 0, 0);
    // The inner errors are carried to the outer run, which they end at its return.
    EXPECT_EQ(zavo_f_min_uncon_multivar(nested, 2, ZAVO_START_POINT, start, 0), nullptr);
    zavo_error_options(ZAVO_SET_PRINT, ZAVO_TERMINAL, 1, 0);
    fault_at = 0;
    errors.clear();
    std::free(zavo_f_min_uncon_multivar(bowl, 2, 0));
    EXPECT_TRUE(errors.empty());
}

} // namespace

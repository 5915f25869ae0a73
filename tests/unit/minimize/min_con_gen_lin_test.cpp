#include "core/zavo.h"
#include "minimize/minimize.h"
#include "tests/support/captured_errors.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

namespace {

using zavo::test::CapturedErrors;

constexpr float nan_value = std::numeric_limits<float>::quiet_NaN();
constexpr float infinite = std::numeric_limits<float>::infinity();

int evaluations;

// Least at (1, 2).
void bowl(int, float* x, float* f)
{
    ++evaluations;
    *f = (x[0] - 1) * (x[0] - 1) + (x[1] - 2) * (x[1] - 2);
}

void bowl_gradient(int, float* x, float* g)
{
    g[0] = 2 * (x[0] - 1);
    g[1] = 2 * (x[1] - 2);
}

// Least at 1, 2, ..., n.
void ramp(int n, float* x, float* f)
{
    *f = 0;
    for (int i = 0; i < n; ++i) {
        *f += (x[i] - static_cast<float>(i + 1)) * (x[i] - static_cast<float>(i + 1));
    }
}

// A call with its data and everything that it can answer.
struct Call {
    int n = 2;
    int ncon = 0;
    int neq = 0;
    std::vector<float> a, b;
    std::vector<float> xlb = {-10, -10};
    std::vector<float> xub = {10, 10};
    std::vector<float> start = {0, 0};
    zavo_constrained_objective_fn f = bowl;
    zavo_gradient_fn gradient = nullptr;
    double accuracy = 3.5e-4;
    int limit = 400;

    std::vector<float> x, multipliers;
    std::vector<int> active;
    float value = -99;
    int count = -1;

    bool run()
    {
        int* list = nullptr;
        float* u = nullptr;
        float* const solution = zavo_f_min_con_gen_lin(
            f, n, ncon, neq, a.data(), b.data(), xlb.data(), xub.data(), ZAVO_START_POINT, start.data(),
            ZAVO_ACCURACY, accuracy, ZAVO_FUNCTION_EVAL_LIMIT, limit, ZAVO_CON_GRADIENT_FUNCTION, gradient,
            ZAVO_OBJECTIVE_VALUE, &value, ZAVO_ACTIVE_LIST, &list, ZAVO_ACTIVE_COUNT, &count,
            ZAVO_MULTIPLIERS, &u, 0);
        EXPECT_EQ(solution == nullptr, list == nullptr);
        EXPECT_EQ(solution == nullptr, u == nullptr);
        if (solution != nullptr) {
            x.assign(solution, solution + n);
            active.assign(list, list + count);
            multipliers.assign(u, u + n);
        }
        std::free(solution);
        std::free(list);
        std::free(u);
        return !x.empty();
    }
};

TEST(min_con, bounds_alone)
{
    CapturedErrors errors;
    Call call;
    call.xub = {10, 1.5F};
    ASSERT_TRUE(call.run());
    EXPECT_NEAR(call.x[0], 1, 1e-3);
    EXPECT_EQ(call.x[1], 1.5F);
    EXPECT_NEAR(call.value, 0.25, 1e-4);
    EXPECT_EQ(call.active, (std::vector<int>{4})); // upper bound of the second variable
    EXPECT_NEAR(call.multipliers[0], 1, 1e-2);
    EXPECT_EQ(call.multipliers[1], 0);
    EXPECT_EQ(errors.codes(), "1/8088");
}

TEST(min_con, arrays_of_constraints_may_be_null_without_constraints)
{
    CapturedErrors errors;
    const float lower[] = {-1, -1};
    const float upper[] = {9, 9};
    float* const x = zavo_f_min_con_gen_lin(bowl, 2, 0, 0, nullptr, nullptr, lower, upper, 0);
    ASSERT_NE(x, nullptr);
    EXPECT_NEAR(x[1], 2, 1e-3);
    std::free(x);
}

TEST(min_con, start_outside_the_bounds_is_moved_in_first)
{
    CapturedErrors errors;
    Call call;
    call.xlb = {3, 3};
    call.start = {-5, 20};
    ASSERT_TRUE(call.run());
    EXPECT_EQ(call.x, (std::vector<float>{3, 3}));
    EXPECT_EQ(call.count, 2);
}

TEST(min_con, equality_and_inequality)
{
    CapturedErrors errors;
    Call call;
    call.ncon = 2;
    call.neq = 1;
    call.a = {1, 1, 1, 0}; // x + y = 1, x <= -1
    call.b = {1, -1};
    const std::vector<float> a = call.a;
    ASSERT_TRUE(call.run());
    EXPECT_NEAR(call.x[0], -1, 1e-5);
    EXPECT_NEAR(call.x[1], 2, 1e-5);
    EXPECT_EQ(call.a, a); // stands by rows again
    EXPECT_EQ(call.active, (std::vector<int>{1, 2}));
}

// The multipliers belong to f + sum of multiplier * (left - right): f falls by
// the multiplier per unit of the right-hand side.
TEST(min_con, multipliers_tell_how_the_least_value_changes)
{
    CapturedErrors errors;
    Call call;
    call.gradient = bowl_gradient;
    call.accuracy = 1e-5;
    call.ncon = 2;
    call.neq = 1;
    call.a = {2, 1, 1, 0};
    call.b = {5, -1};
    ASSERT_TRUE(call.run());
    ASSERT_EQ(call.active, (std::vector<int>{1, 2}));
    for (int k = 0; k < 2; ++k) {
        Call more = call;
        more.x.clear();
        more.b[k] += 0.01F;
        ASSERT_TRUE(more.run());
        EXPECT_NEAR((more.value - call.value) / 0.01, -call.multipliers[k],
                    0.1 + 0.02 * std::fabs(call.multipliers[k]));
    }
    EXPECT_GT(call.multipliers[1], 0.0F); // an inequality's is not negative
}

TEST(min_con, lower_bound_multipliers_are_not_negative)
{
    CapturedErrors errors;
    Call call;
    call.xlb = {4, 4};
    ASSERT_TRUE(call.run());
    EXPECT_EQ(call.count, 2);
    EXPECT_NEAR(call.multipliers[0] + call.multipliers[1], 6 + 4, 0.05);
    EXPECT_GT(call.multipliers[0], 0.0F);
    EXPECT_GT(call.multipliers[1], 0.0F);
}

TEST(min_con, equal_bounds_fix_a_variable_from_the_start)
{
    CapturedErrors errors;
    static std::vector<float> seen;
    seen.clear();
    Call call;
    call.f = [](int n, float* x, float* f) {
        if (seen.empty()) {
            seen.assign(x, x + n);
        }
        bowl(n, x, f);
    };
    call.xlb = {-10, 0.5F};
    call.xub = {10, 0.5F};
    call.start = {0, 7};
    ASSERT_TRUE(call.run());
    EXPECT_EQ(seen[1], 0.5F);
    EXPECT_EQ(call.x[1], 0.5F);
    EXPECT_NEAR(call.x[0], 1, 1e-3);
    EXPECT_EQ(call.active, (std::vector<int>{4})); // its upper bound, and no other
    EXPECT_NEAR(call.multipliers[0], 3, 1e-2);
}

TEST(min_con, equalities_that_fix_everything)
{
    for (const bool user_gradient : {false, true}) {
        CapturedErrors errors;
        Call call;
        call.gradient = user_gradient ? bowl_gradient : nullptr;
        call.ncon = call.neq = 2;
        call.a = {1, 1, 1, -1};
        call.b = {3, 1};
        evaluations = 0;
        ASSERT_TRUE(call.run());
        EXPECT_EQ(errors.codes(), user_gradient ? "4/8096" : "4/8095");
        EXPECT_FLOAT_EQ(call.x[0], 2);
        EXPECT_FLOAT_EQ(call.x[1], 1);
        EXPECT_EQ(evaluations, 1); // at the solution
        std::vector<float> solution = call.x;
        float value = 0;
        bowl(2, solution.data(), &value);
        EXPECT_EQ(call.value, value);
        EXPECT_EQ(call.count, 2);
    }
}

// A bound that is active without holding anything back.
TEST(min_con, no_multiplier_is_a_negative_zero)
{
    for (const bool user_gradient : {false, true}) {
        CapturedErrors errors;
        Call call;
        call.gradient = user_gradient ? bowl_gradient : nullptr;
        call.ncon = call.neq = 1;
        call.a = {0, 1};
        call.b = {2}; // where the free minimum is
        call.start = {1, 2};
        ASSERT_TRUE(call.run());
        for (const float u : call.multipliers) {
            EXPECT_FALSE(u == 0 && std::signbit(u));
        }
    }
}

TEST(min_con, all_variables_fixed_by_bounds)
{
    CapturedErrors errors;
    Call call;
    call.xlb = call.xub = {3, -4};
    ASSERT_TRUE(call.run());
    EXPECT_EQ(errors.codes(), "4/8095");
    EXPECT_EQ(call.x, (std::vector<float>{3, -4}));
}

TEST(min_con, argument_faults)
{
    const struct {
        const char* codes;
        const char* parameters;
        const char* text;
        void (*spoil)(Call&);
    } cases[] = {
        {"5/8080", "%(I1)", "0", [](Call& c) { c.n = 0; }},
        {"5/8082", "%(I1)", "-1", [](Call& c) { c.ncon = -1; }},
        {"5/8083", "%(I1)", "-2", [](Call& c) { c.neq = -2; }},
        {"5/8084", "%(I1) %(I2)", "1 0", [](Call& c) { c.neq = 1; }},
        {"5/8085", "%(R1)", "-5.000000e-01", [](Call& c) { c.accuracy = -0.5; }},
        {"5/8086", "%(I1) %(R1) %(R2)", "2 3.000000e+00 2.000000e+00",
         [](Call& c) { c.xlb[1] = 3, c.xub[1] = 2; }},
        {"5/8087", "%(I1)", "0", [](Call& c) { c.limit = 0; }},
    };
    for (const auto& row : cases) {
        for (const bool user_gradient : {false, true}) {
            CapturedErrors errors;
            Call call;
            call.gradient = user_gradient ? bowl_gradient : nullptr;
            row.spoil(call);
            EXPECT_FALSE(call.run());
            EXPECT_EQ(errors.codes(), row.codes);
            EXPECT_EQ(errors.expand(row.parameters), row.text);
            EXPECT_EQ(call.value, -99);
            EXPECT_EQ(call.count, -1);
        }
    }
}

TEST(min_con, crossing_bounds_are_named_by_their_place)
{
    CapturedErrors errors;
    Call call;
    call.n = 4;
    call.f = ramp;
    call.xlb = {0, 0, 5, 9};
    call.xub = {1, 1, 4, 8};
    call.start = {0, 0, 0, 0};
    EXPECT_FALSE(call.run());
    EXPECT_EQ(errors.codes(), "5/8086");
    EXPECT_EQ(errors.expand("%(I1)"), "3");
}

TEST(min_con, unknown_option_is_reported_and_the_rest_is_read)
{
    CapturedErrors errors;
    const float bound[] = {0, 0};
    EXPECT_EQ(zavo_f_min_con_gen_lin(bowl, 2, 0, 0, nullptr, nullptr, bound, bound, 10105, 10106, 0),
              nullptr);
    EXPECT_EQ(errors.codes(), "5/103 5/103");
    EXPECT_EQ(errors.expand("%(I1) at %(I2)"), "10106 at 10");
}

TEST(min_con, drivers_differ_in_who_posts_the_counts)
{
    const int zero = 0;
    const int limit = 5;
    const float accuracy = 1e-3F;
    float f = 0;
    int count = 0;
    int status = -1;
    CapturedErrors errors;
    L2ONF(bowl, &zero, &zero, &zero, nullptr, &zero, nullptr, nullptr, nullptr, nullptr, &accuracy, &limit,
          nullptr, &f, &count, nullptr, nullptr, &zero, &status, nullptr);
    EXPECT_EQ(errors.codes(), "5/8081"); // by the procedure behind it
    errors.clear();
    L2ONG(bowl, bowl_gradient, &zero, &zero, &zero, nullptr, &zero, nullptr, nullptr, nullptr, nullptr,
          &accuracy, &limit, nullptr, &f, &count, nullptr, nullptr, &zero, &status, nullptr);
    EXPECT_EQ(errors.codes(), "5/8080");
}

TEST(min_con, drivers_with_less_than_no_constraint_leave_their_answers)
{
    const int one = 1;
    const int zero = 0;
    const int none = -1;
    const int limit = 5;
    const float accuracy = 1e-3F;
    const float bound[] = {0};
    float x[] = {0};
    float f = 77;
    int count = 78;
    int status = -1;
    CapturedErrors errors;
    L2ONF(bowl, &one, &none, &none, nullptr, &zero, nullptr, bound, bound, x, &accuracy, &limit, x, &f,
          &count, nullptr, nullptr, &zero, &status, nullptr);
    EXPECT_EQ(errors.codes(), "5/8083"); // the count itself is the caller's to post
    errors.clear();
    L2ONG(bowl, bowl_gradient, &one, &none, &none, nullptr, &zero, nullptr, bound, bound, x, &accuracy,
          &limit, x, &f, &count, nullptr, nullptr, &zero, &status, nullptr);
    EXPECT_EQ(errors.codes(), "5/8082"); // which ends the checks
    EXPECT_EQ(f, 77.0F);
    EXPECT_EQ(count, 78);
    EXPECT_EQ(status, -1);
}

// x + y <= 2 cuts the way to the least value off at (0.5, 1.5).
TEST(min_con, drivers_hand_out_point_value_and_active_constraints)
{
    for (const bool with_gradient : {false, true}) {
        CapturedErrors errors;
        const int two = 2, one = 1, none = 0, limit = 400;
        const float a[] = {1, 1}, b[] = {2}, lower[] = {-10, -10}, upper[] = {10, 10}, start[] = {0, 0};
        const float accuracy = 3.5e-4F;
        float x[2], multipliers[2], work[2 * 2 + 11 * 2 + 1]; // n n + 11 n + m
        int active[1 + 2 * 2];                                // m + 2 n
        float f = -99;
        int count = -1;
        int status = -99;
        if (with_gradient) {
            L2ONG(bowl, bowl_gradient, &two, &one, &none, a, &one, b, lower, upper, start, &accuracy, &limit,
                  x, &f, &count, active, multipliers, &none, &status, work);
        } else {
            L2ONF(bowl, &two, &one, &none, a, &one, b, lower, upper, start, &accuracy, &limit, x, &f, &count,
                  active, multipliers, &none, &status, work);
        }
        EXPECT_NEAR(x[0], 0.5F, 2e-3F);
        EXPECT_NEAR(x[1], 1.5F, 2e-3F);
        EXPECT_NEAR(f, 0.5F, 2e-3F);
        EXPECT_EQ(count, 1);
        EXPECT_EQ(active[0], 1);
        EXPECT_NEAR(multipliers[0], 1.0F, 1e-2F);
        EXPECT_NE(status, -99);
        EXPECT_EQ(errors.codes(), "1/8088");
    }
}

TEST(min_con, inconsistent_constraints_are_told_apart)
{
    const struct {
        const char* codes;
        void (*spoil)(Call&);
    } cases[] = {
        {"4/8091",
         [](Call& c) {
             c.ncon = c.neq = 2, c.a = {1, 1, 2, 2}, c.b = {1, 3};
         }},
        {"4/8091",
         [](Call& c) {
             c.xlb[0] = c.xub[0] = 1, c.ncon = c.neq = 1, c.a = {1, 0}, c.b = {2};
         }},
        {"4/8092",
         [](Call& c) {
             c.ncon = c.neq = 1, c.a = {1, 1}, c.b = {50};
         }},
        {"4/8093",
         [](Call& c) {
             c.ncon = 1, c.a = {1, 1}, c.b = {-50};
         }},
        {"4/8093",
         [](Call& c) {
             c.ncon = 2, c.a = {1, 1, -1, -1}, c.b = {1, -2};
         }},
        {"4/8093",
         [](Call& c) {
             c.ncon = 2, c.neq = 1, c.a = {1, 1, 1, 1}, c.b = {1, 0.5F};
         }},
    };
    for (const auto& row : cases) {
        CapturedErrors errors;
        Call call;
        row.spoil(call);
        const std::vector<float> a = call.a;
        ASSERT_TRUE(call.run()); // type 4 leaves a vector
        EXPECT_EQ(errors.codes(), row.codes);
        EXPECT_EQ(call.a, a);
    }
}

TEST(min_con, equalities_that_repeat_each_other_are_no_error)
{
    CapturedErrors errors;
    Call call;
    call.ncon = call.neq = 3;
    call.a = {1, 1, 2, 2, -1, -1};
    call.b = {1, 2, -1};
    ASSERT_TRUE(call.run());
    EXPECT_NEAR(call.x[0], 0, 1e-3);
    EXPECT_NEAR(call.x[1], 1, 1e-3);
    EXPECT_EQ(call.count, 1);
}

TEST(min_con, degenerate_vertex)
{
    CapturedErrors errors;
    Call call; // five constraints through (0, 0), where the least value lies
    call.ncon = 5;
    call.a = {1, 1, 1, 2, 2, 1, 1, 0, 0, 1};
    call.b = {0, 0, 0, 0, 0};
    call.start = {-3, -4};
    ASSERT_TRUE(call.run());
    EXPECT_NEAR(call.x[0], 0, 1e-5);
    EXPECT_NEAR(call.x[1], 0, 1e-5);
}

TEST(min_con, redundant_constraints_do_not_stop_progress)
{
    CapturedErrors errors;
    Call call;
    call.ncon = 40; // the same half-plane, forty times with a little noise
    std::mt19937 random(1);
    for (int k = 0; k < 40; ++k) {
        const float noise = static_cast<float>(random() % 100) * 1e-5F;
        call.a.insert(call.a.end(), {1 + noise, 1});
        call.b.push_back(2);
    }
    ASSERT_TRUE(call.run());
    EXPECT_NEAR(call.x[0], 0.5, 2e-3);
    EXPECT_NEAR(call.x[1], 1.5, 2e-3);
}

TEST(min_con, evaluation_limit)
{
    for (const int limit : {1, 8, 15}) { // not one at which a search has found nothing better yet
        CapturedErrors errors;
        Call call;
        call.f = [](int, float* x, float* f) {
            *f = 100 * (x[1] - x[0] * x[0]) * (x[1] - x[0] * x[0]) + (1 - x[0]) * (1 - x[0]);
        };
        call.start = {-1.2F, 1};
        call.limit = limit;
        ASSERT_TRUE(call.run());
        EXPECT_EQ(errors.codes(), "4/8094");
        EXPECT_EQ(errors.expand("%(I1)"), std::to_string(limit));
        EXPECT_LE(call.value, limit == 1 ? 24.3F : 5.0F);
    }
}

TEST(min_con, outputs_may_live_with_the_caller)
{
    CapturedErrors errors;
    const float lower[] = {3, 3};
    const float upper[] = {9, 9};
    float x[2], u[2];
    int list[4];
    int count = 0;
    int* list_at = nullptr;
    float* u_at = nullptr;
    EXPECT_EQ(zavo_f_min_con_gen_lin(bowl, 2, 0, 0, nullptr, nullptr, lower, upper, ZAVO_RETURN_USER, x,
                                     ZAVO_ACTIVE_LIST_USER, list, ZAVO_MULTIPLIERS_USER, u, ZAVO_ACTIVE_COUNT,
                                     &count, ZAVO_ACTIVE_LIST, &list_at, ZAVO_MULTIPLIERS, &u_at, 0),
              x);
    EXPECT_EQ(list_at, list);
    EXPECT_EQ(u_at, u);
    EXPECT_EQ(count, 2);
    EXPECT_GT(u[0], 0);
}

TEST(min_con, infinite_bounds_are_no_bounds)
{
    CapturedErrors errors;
    Call call;
    call.xlb = {-infinite, -infinite};
    call.xub = {infinite, infinite};
    ASSERT_TRUE(call.run());
    EXPECT_NEAR(call.x[0], 1, 1e-3);
    EXPECT_EQ(call.count, 0);
}

TEST(min_con, trials_stay_within_the_bounds)
{
    CapturedErrors errors;
    static bool outside;
    outside = false;
    Call call;
    call.gradient = bowl_gradient;
    call.f = [](int n, float* x, float* f) {
        outside = outside || x[0] < 0.1F || x[0] > 0.7F || x[1] < 0.1F || x[1] > 0.3F;
        bowl(n, x, f);
    };
    call.xlb = {0.1F, 0.1F};
    call.xub = {0.7F, 0.3F};
    ASSERT_TRUE(call.run());
    EXPECT_FALSE(outside);
    EXPECT_EQ(call.x, (std::vector<float>{0.7F, 0.3F}));
}

TEST(min_con, data_that_are_no_numbers_end_the_run)
{
    for (const float bad : {nan_value, infinite, -infinite}) {
        for (int where = 0; where < 6; ++where) {
            CapturedErrors errors;
            Call call;
            call.ncon = 1;
            call.a = {1, 1};
            call.b = {1};
            (where == 0   ? call.a[0]
             : where == 1 ? call.b[0]
             : where == 2 ? call.xlb[1]
             : where == 3 ? call.xub[0]
             : where == 4 ? call.start[0]
                          : call.start[1]) = bad;
            call.run();
        }
        CapturedErrors errors;
        static float answer;
        answer = bad;
        Call call;
        call.f = [](int, float*, float* f) { *f = answer; };
        EXPECT_TRUE(call.run());
    }
}

TEST(min_con, function_without_a_least_value_ends)
{
    CapturedErrors errors;
    Call call;
    call.f = [](int, float* x, float* f) { *f = -x[0]; };
    call.xlb = {-infinite, -infinite};
    call.xub = {infinite, infinite};
    EXPECT_TRUE(call.run());
    EXPECT_FALSE(errors.empty());
}

TEST(min_con, a_hundred_variables_with_bounds_and_rows)
{
    CapturedErrors errors;
    Call call;
    call.n = 100;
    call.f = ramp;
    call.ncon = 20;
    call.neq = 3;
    call.xlb.assign(100, 0);
    call.xub.assign(100, 60);
    call.start.assign(100, 1);
    for (int k = 0; k < 20; ++k) {
        float right = 0;
        for (int j = 0; j < 100; ++j) {
            const float element = (j + k) % 7 == 0 ? 1 : 0;
            call.a.push_back(element);
            right += element * 30;
        }
        call.b.push_back(right);
    }
    call.limit = 1000;
    ASSERT_TRUE(call.run());
    for (int k = 0; k < 20; ++k) {
        float left = 0;
        for (int j = 0; j < 100; ++j) {
            left += call.a[k * 100 + j] * call.x[j];
        }
        EXPECT_LE(k < 3 ? std::fabs(left - call.b[k]) : left - call.b[k], 1e-2);
    }
    EXPECT_EQ(call.x[99], 60.0F);
}

TEST(min_con, a_thousand_variables_with_bounds)
{
    CapturedErrors errors;
    Call call;
    call.n = 1000;
    call.f = ramp;
    call.gradient = [](int n, float* x, float* g) {
        for (int i = 0; i < n; ++i) {
            g[i] = 2 * (x[i] - static_cast<float>(i + 1));
        }
    };
    call.xlb.assign(1000, 0);
    call.xub.assign(1000, 900);
    call.start.assign(1000, 450);
    ASSERT_TRUE(call.run());
    EXPECT_EQ(call.x[999], 900.0F);
    EXPECT_NEAR(call.x[9], 10, 0.1);
}

TEST(min_con, may_run_inside_a_function)
{
    CapturedErrors errors;
    Call call;
    call.f = [](int n, float* x, float* f) {
        const float lower[] = {0};
        const float upper[] = {5};
        float* const inner =
            zavo_f_min_con_gen_lin([](int, float* y, float* g) { *g = (y[0] - 3) * (y[0] - 3); }, 1, 0, 0,
                                   nullptr, nullptr, lower, upper, 0);
        bowl(n, x, f);
        *f += (inner[0] - 3) * (inner[0] - 3);
        std::free(inner);
    };
    ASSERT_TRUE(call.run());
    EXPECT_NEAR(call.x[1], 2, 1e-2);
}

// Random convex problems with a point that is known to be feasible, many of them
// degenerate: the result is feasible and the multipliers make the gradient of the
// Lagrangian vanish.
TEST(min_con, random_convex_problems_meet_the_conditions_of_kuhn_and_tucker)
{
    CapturedErrors errors;
    std::mt19937 random(3);
    const auto below = [&random](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    int refused = 0;
    int met = 0;
    constexpr int problems = 5000;
    for (int t = 0; t < problems; ++t) {
        Call call;
        call.n = 1 + below(8);
        call.ncon = below(10);
        call.neq = below(std::min(call.ncon, call.n) + 1);
        const int n = call.n;
        call.f = [](int m, float* x, float* f) {
            *f = 0;
            for (int i = 0; i < m; ++i) {
                const float away = x[i] - 0.3F * static_cast<float>(i);
                *f += away * away + 0.1F * x[i] * x[(i + 1) % m];
            }
        };
        call.gradient = [](int m, float* x, float* g) {
            for (int i = 0; i < m; ++i) {
                g[i] =
                    2 * (x[i] - 0.3F * static_cast<float>(i)) + 0.1F * (x[(i + 1) % m] + x[(i + m - 1) % m]);
            }
        };
        std::vector<float> feasible;
        call.xlb.clear();
        call.xub.clear();
        call.start.clear();
        for (int i = 0; i < n; ++i) {
            call.xlb.push_back(static_cast<float>(-1 - below(3)));
            call.xub.push_back(call.xlb[i] + static_cast<float>(below(5) == 0 ? 0 : 1 + below(4)));
            feasible.push_back(call.xlb[i] + (call.xub[i] - call.xlb[i]) * static_cast<float>(below(5)) / 4);
            call.start.push_back(static_cast<float>(below(2001) - 1000) / 100);
        }
        for (int k = 0; k < call.ncon; ++k) {
            float right = 0;
            for (int i = 0; i < n; ++i) {
                call.a.push_back(static_cast<float>(below(5) - 2));
                right += call.a.back() * feasible[i];
            }
            call.b.push_back(right +
                             (k >= call.neq && below(3) != 0 ? 0.5F * static_cast<float>(below(4)) : 0));
        }
        const std::vector<float> a = call.a;
        ASSERT_TRUE(call.run());
        ASSERT_EQ(call.a, a);
        const int code = zavo_error_code(1);
        if (code == 8096) {
            continue; // everything is fixed
        }
        if (code != 8088 && code != 8089 && code != 8090) {
            ++refused;
            continue;
        }
        ++met;
        std::vector<float> rest(static_cast<std::size_t>(n));
        call.gradient(n, call.x.data(), rest.data());
        for (int i = 0; i < call.count; ++i) {
            const int k = call.active[i];
            const float u = call.multipliers[i];
            for (int j = 0; j < n && k <= call.ncon; ++j) {
                rest[j] += u * a[(k - 1) * n + j];
            }
            if (k > call.ncon) {
                rest[(k - call.ncon - 1) % n] += k <= call.ncon + n ? -u : u;
            }
            const bool equality = k <= call.neq || (k > call.ncon + n && call.xlb[k - call.ncon - n - 1] ==
                                                                             call.xub[k - call.ncon - n - 1]);
            ASSERT_TRUE(equality || u >= -2e-3F) << "problem " << t;
        }
        for (int j = 0; j < n; ++j) {
            ASSERT_NEAR(rest[j], 0, 2e-2) << "problem " << t;
            ASSERT_GE(call.x[j], call.xlb[j]);
            ASSERT_LE(call.x[j], call.xub[j]);
        }
        for (int k = 0; k < call.ncon; ++k) {
            double left = -call.b[k];
            double size = 1 + std::fabs(call.b[k]);
            for (int j = 0; j < n; ++j) {
                left += static_cast<double>(a[k * n + j]) * call.x[j];
                size += std::fabs(a[k * n + j] * call.x[j]);
            }
            ASSERT_LE((k < call.neq ? std::fabs(left) : left) / size, 2e-5) << "problem " << t;
        }
    }
    // Rounding errors make a feasible problem look inconsistent now and then,
    // where normals are nearly parallel.
    EXPECT_LE(refused, problems / 500);
    EXPECT_GT(met, problems / 2);
}

} // namespace

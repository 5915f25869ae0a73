#include "core/zavo.h"
#include "minimize/control_arrays.hpp"
#include "minimize/free/line_search.hpp"
#include "minimize/minimize.h"
#include "tests/support/captured_errors.hpp"
#include "tests/support/line_search_call.hpp"

#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace {

using zavo::test::CapturedErrors;
using zavo::test::LineSearchCall;
using namespace zavo::minimize;
using namespace zavo::minimize::control_arrays;

constexpr float nan_value = std::numeric_limits<float>::quiet_NaN();
constexpr float infinite = std::numeric_limits<float>::infinity();

int evaluations;
int gradients;

// Least at (1, 2), value 3.
float bowl(int, float* x)
{
    ++evaluations;
    return (x[0] - 1) * (x[0] - 1) + 2 * (x[1] - 2) * (x[1] - 2) + 3;
}

void bowl_gradient(int, float* x, float* g)
{
    ++gradients;
    g[0] = 2 * (x[0] - 1);
    g[1] = 4 * (x[1] - 2);
}

float parabola(int, float* x)
{
    return (x[0] - 2) * (x[0] - 2);
}

std::vector<float> taken(float* x, int n)
{
    std::vector<float> values;
    if (x != nullptr) {
        values.assign(x, x + n);
    }
    std::free(x);
    return values;
}

TEST(min_uncon, finds_a_minimum_from_zeros)
{
    CapturedErrors errors;
    float f = 0;
    const auto x = taken(zavo_f_min_uncon_multivar(bowl, 2, ZAVO_RESULT_VALUE, &f, 0), 2);
    ASSERT_EQ(x.size(), 2U);
    EXPECT_NEAR(x[0], 1, 1e-3);
    EXPECT_NEAR(x[1], 2, 1e-3);
    EXPECT_NEAR(f, 3, 1e-5);
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(zavo_error_code(1), 0);
}

TEST(min_uncon, user_gradient_takes_the_place_of_differences)
{
    CapturedErrors errors;
    evaluations = gradients = 0;
    const auto x = taken(zavo_f_min_uncon_multivar(bowl, 2, ZAVO_GRADIENT_FUNCTION, bowl_gradient, 0), 2);
    EXPECT_NEAR(x[0], 1, 1e-4);
    EXPECT_NEAR(x[1], 2, 1e-4);
    EXPECT_GT(gradients, 1);
    EXPECT_LT(evaluations, 20);
}

TEST(min_uncon, one_variable_warns_and_minimises)
{
    CapturedErrors errors;
    const auto x = taken(zavo_f_min_uncon_multivar(parabola, 1, 0), 1);
    ASSERT_EQ(x.size(), 1U);
    EXPECT_NEAR(x[0], 2, 1e-3);
    EXPECT_EQ(errors.codes(), "6/8034");
}

TEST(min_uncon, less_than_one_variable_is_an_error)
{
    CapturedErrors errors;
    EXPECT_EQ(zavo_f_min_uncon_multivar(bowl, 0, 0), nullptr);
    EXPECT_EQ(errors.codes(), "5/8020");
    errors.clear();
    EXPECT_EQ(zavo_f_min_uncon_multivar(bowl, -5, 0), nullptr);
    EXPECT_EQ(errors.expand("%(I1)"), "-5");
}

TEST(min_uncon, start_at_the_minimum_stops_without_a_message)
{
    CapturedErrors errors;
    evaluations = gradients = 0;
    const float start[] = {1, 2};
    const auto x = taken(
        zavo_f_min_uncon_multivar(bowl, 2, ZAVO_START_POINT, start, ZAVO_GRADIENT_FUNCTION, bowl_gradient, 0),
        2);
    EXPECT_EQ(x, (std::vector<float>{1, 2}));
    EXPECT_EQ(evaluations, 1);
    EXPECT_EQ(gradients, 1);
    EXPECT_TRUE(errors.empty());
}

TEST(min_uncon, unknown_option_is_reported_and_the_rest_is_read)
{
    CapturedErrors errors;
    float f = -1;
    // Its value is not known to be one, so it counts as a code too.
    EXPECT_EQ(zavo_f_min_uncon_multivar(bowl, 2, 10104, ZAVO_RESULT_VALUE, &f, 10102, 0), nullptr);
    EXPECT_EQ(errors.codes(), "5/103 5/103");
    EXPECT_EQ(errors.expand("%(I1) at %(I2)"), "10102 at 6");
    EXPECT_EQ(f, -1);
}

TEST(min_uncon, borrowed_storage_is_filled_and_returned)
{
    CapturedErrors errors;
    float own[2] = {};
    EXPECT_EQ(zavo_f_min_uncon_multivar(bowl, 2, ZAVO_RETURN_USER, own, 0), own);
    EXPECT_NEAR(own[1], 2, 1e-3);
    EXPECT_EQ(zavo_f_min_uncon_multivar(bowl, 0, ZAVO_RETURN_USER, own, 0), nullptr);
}

TEST(min_uncon, start_and_result_may_share_storage)
{
    CapturedErrors errors;
    float own[2] = {5, 5};
    EXPECT_EQ(zavo_f_min_uncon_multivar(bowl, 2, ZAVO_START_POINT, own, ZAVO_RETURN_USER, own, 0), own);
    EXPECT_NEAR(own[0], 1, 1e-3);
}

TEST(min_uncon, options_by_address_mean_the_same_as_by_value)
{
    CapturedErrors errors;
    const float values[] = {10, 1e-2F, 1e-3F, 1e-4F, 0.5F};
    const auto by_value =
        taken(zavo_f_min_uncon_multivar(bowl, 2, ZAVO_FUNCTION_SCALE, 10.0, ZAVO_GRADIENT_TOLERANCE, 1e-2,
                                        ZAVO_STEP_TOLERANCE, 1e-3, ZAVO_RELATIVE_TOLERANCE, 1e-4,
                                        ZAVO_STEP_LIMIT, 0.5, 0),
              2);
    const auto by_address =
        taken(zavo_f_min_uncon_multivar(bowl, 2, ZAVO_FUNCTION_SCALE_ADR, &values[0],
                                        ZAVO_GRADIENT_TOLERANCE_ADR, &values[1], ZAVO_STEP_TOLERANCE_ADR,
                                        &values[2], ZAVO_RELATIVE_TOLERANCE_ADR, &values[3],
                                        ZAVO_STEP_LIMIT_ADR, &values[4], 0),
              2);
    EXPECT_EQ(by_value, by_address);
}

TEST(min_uncon, later_options_override_earlier_ones)
{
    CapturedErrors errors;
    const auto x =
        taken(zavo_f_min_uncon_multivar(bowl, 2, ZAVO_ITERATION_LIMIT, 1, ZAVO_ITERATION_LIMIT, 50, 0), 2);
    EXPECT_NEAR(x[0], 1, 1e-3);
    EXPECT_TRUE(errors.empty());
}

float rosenbrock(int, float* x)
{
    ++evaluations;
    const float a = x[1] - x[0] * x[0];
    const float b = 1 - x[0];
    return 100 * a * a + b * b;
}
const float rosenbrock_start[] = {-1.2F, 1};

TEST(min_uncon, limits_end_the_run_with_a_warning_and_a_vector)
{
    CapturedErrors errors;
    for (const auto& [option, code] : {std::pair{ZAVO_ITERATION_LIMIT, "3/8017"},
                                       {ZAVO_FUNCTION_EVAL_LIMIT, "3/8029"},
                                       {ZAVO_GRADIENT_EVAL_LIMIT, "3/8030"}}) {
        errors.clear();
        const auto x = taken(
            zavo_f_min_uncon_multivar(rosenbrock, 2, ZAVO_START_POINT, rosenbrock_start, option, 4, 0), 2);
        EXPECT_EQ(x.size(), 2U);
        EXPECT_EQ(errors.codes(), code);
    }
}

TEST(min_uncon, difference_evaluations_do_not_count_towards_the_limit)
{
    CapturedErrors errors;
    evaluations = 0;
    std::free(zavo_f_min_uncon_multivar(rosenbrock, 2, ZAVO_START_POINT, rosenbrock_start,
                                        ZAVO_FUNCTION_EVAL_LIMIT, 20, 0));
    EXPECT_EQ(errors.codes(), "3/8029");
    EXPECT_GT(evaluations, 30);
}

float slope(int, float* x)
{
    return -x[0] - x[1];
}

TEST(min_uncon, five_longest_steps_mean_no_minimum)
{
    CapturedErrors errors;
    const auto x = taken(zavo_f_min_uncon_multivar(slope, 2, 0), 2);
    EXPECT_EQ(errors.codes(), "3/8032");
    EXPECT_GT(x[0], 1000);
}

float parabola_of_one(int, float* x)
{
    return x[0] * x[0];
}

void slope_of_parabola(int, float* x, float* g)
{
    g[0] = 2 * x[0];
}

TEST(min_uncon, fixed_names_refuse_no_variable_and_leave_the_value)
{
    CapturedErrors errors;
    const int n = 0;
    float x[] = {1};
    float scale[] = {1};
    float fscale = 1;
    int integers[] = {1, 7, 100, 400, 400, 0, 100};
    float reals[] = {1e-3F, 1e-4F, 1e-5F, 1e-5F, 1e-5F, 1000, -1};
    float f = 77;
    float work[9];
    U3INF(parabola_of_one, &n, x, scale, &fscale, integers, reals, &f, work);
    U3ING(parabola_of_one, slope_of_parabola, &n, x, scale, &fscale, integers, reals, &f, work);
    U2INF(parabola_of_one, &n, x, scale, &fscale, &reals[0], &reals[1], &reals[2], &reals[5], &integers[1],
          &integers[2], &integers[3], &integers[4], &integers[5], x, &f, work);
    U2ING(parabola_of_one, slope_of_parabola, &n, x, scale, &fscale, &reals[0], &reals[1], &reals[2],
          &reals[5], &integers[1], &integers[2], &integers[3], &integers[4], &integers[5], x, &f, work);
    EXPECT_EQ(errors.codes(), "5/8020 5/8020 5/8020 5/8020");
    EXPECT_EQ(f, 77.0F);
}

TEST(min_uncon, fixed_name_drivers_hand_out_the_least_value)
{
    for (const bool with_gradient : {false, true}) {
        CapturedErrors errors;
        const int n = 1;
        const float start = 4;
        float scale = 1;
        const float fscale = 1, gradient_tol = 1e-3F, step_tol = 1e-5F, relative_tol = 1e-10F, limit = 1000;
        const int digits = 7, most = 100, hessian = 0;
        float x = -99;
        float f = -99;
        float work[9]; // n (n + 8)
        if (with_gradient) {
            U2ING(parabola_of_one, slope_of_parabola, &n, &start, &scale, &fscale, &gradient_tol, &step_tol,
                  &relative_tol, &limit, &digits, &most, &most, &most, &hessian, &x, &f, work);
        } else {
            U2INF(parabola_of_one, &n, &start, &scale, &fscale, &gradient_tol, &step_tol, &relative_tol,
                  &limit, &digits, &most, &most, &most, &hessian, &x, &f, work);
        }
        EXPECT_NEAR(x, 0.0F, 1e-3F);
        EXPECT_EQ(f, x * x);
        EXPECT_EQ(errors.codes(), "6/8034"); // one variable
    }
}

// From x = 4 along -8, which the limit cuts to -2.
TEST(min_uncon, fixed_name_search_tells_a_step_of_the_greatest_length)
{
    const CapturedErrors errors;
    LineSearchCall<1> search = {.x = {4}, .f = 16, .g = {8}, .p = {-8}, .scale = {1}, .limit = 2};
    search.run(parabola_of_one, slope_of_parabola);
    EXPECT_EQ(search.code, search_good);
    EXPECT_EQ(search.longest, 1);
    EXPECT_EQ(search.x_new[0], 2.0F);
}

// From x = 4 along -8 to -4, where the value is no less, and then back.
TEST(min_uncon, fixed_name_search_knows_no_limit_of_evaluations)
{
    const CapturedErrors errors;
    LineSearchCall<1> search = {.x = {4}, .f = 16, .g = {8}, .p = {-8}, .scale = {1}};
    search.evaluations = 1'000'000;
    search.run(parabola_of_one, slope_of_parabola);
    EXPECT_EQ(search.code, search_good);
    EXPECT_EQ(search.x_new[0], 0.0F);
    EXPECT_EQ(search.evaluations, 1'000'002);
}

// A slope or a relative length that is not finite is no direction.
TEST(min_uncon, fixed_name_search_fails_along_what_is_no_direction)
{
    const CapturedErrors errors;
    const float most = std::numeric_limits<float>::max();
    LineSearchCall<1> searches[] = {{.x = {4}, .f = 16, .g = {most}, .p = {-8}, .scale = {1}},
                                    {.x = {0}, .f = 16, .g = {1}, .p = {-1}, .scale = {most}}};
    for (LineSearchCall<1>& search : searches) {
        search.limit = most;
        search.run(parabola_of_one, slope_of_parabola);
        EXPECT_EQ(search.code, search_failed);
        EXPECT_EQ(search.x_new[0], search.x[0]);
        EXPECT_EQ(search.evaluations, 0);
    }
}

// What the stopping tests are asked with.
struct Stop {
    int n = 2;
    float x[2] = {1, 1};
    float step[2] = {1, 1};
    float g[2] = {1, 1};
    float scale[2] = {1, 1};
    float f = 1;
    float fscale = 1;
    int code = search_good;
    int iteration = 1;
    int evals = 1;
    int gradient_evals = 1;
    int integers[integer_count] = {1, 7, 100, 400, 400, 0, 100};
    float reals[real_count] = {1e-3F, 1e-4F, 1e-5F, 1e-5F, 1e-5F, 1000, compute};
    int longest = 0;
    int longest_count = 0;
    bool ask()
    {
        int converged = -1;
        U6INF(&n, x, step, &f, g, scale, &fscale, &code, &iteration, &evals, &gradient_evals, integers, reals,
              &longest, &longest_count, &converged);
        return converged == 1;
    }
};

TEST(min_uncon_stopping, longest_steps_are_counted_over_the_whole_run)
{
    CapturedErrors errors;
    Stop stop;
    stop.iteration = 0;
    stop.longest_count = 77;
    EXPECT_FALSE(stop.ask());
    EXPECT_EQ(stop.longest_count, 0); // reset at iteration 0 alone
    for (stop.iteration = 1; stop.iteration < 9; ++stop.iteration) {
        stop.longest = stop.iteration % 2; // every other step
        EXPECT_FALSE(stop.ask());
        EXPECT_TRUE(errors.empty());
    }
    stop.longest = 1;
    EXPECT_FALSE(stop.ask());
    EXPECT_EQ(errors.codes(), "3/8032");
    // Another ending comes first.
    errors.clear();
    stop.longest_count = 4;
    stop.iteration = 100;
    EXPECT_FALSE(stop.ask());
    EXPECT_EQ(stop.longest_count, 5);
    EXPECT_EQ(errors.codes(), "3/8017");
}

TEST(min_uncon_stopping, tests_come_in_their_order)
{
    CapturedErrors errors;
    Stop stop;
    stop.g[0] = stop.g[1] = 1e-3F; // at the tolerance
    stop.code = search_failed;
    EXPECT_TRUE(stop.ask());
    EXPECT_TRUE(errors.empty());
    stop.g[0] = 2e-3F;
    EXPECT_FALSE(stop.ask());
    EXPECT_EQ(errors.codes(), "3/8049");
    errors.clear();
    stop.code = search_stuck;
    stop.step[0] = stop.step[1] = 1e-4F;
    EXPECT_TRUE(stop.ask());
    EXPECT_EQ(errors.codes(), "1/8006");
    errors.clear();
    stop.step[0] = 1;
    EXPECT_FALSE(stop.ask());
    EXPECT_EQ(errors.codes(), "4/8051");
    errors.clear();
    stop.code = search_without_progress;
    stop.iteration = 100;
    EXPECT_FALSE(stop.ask());
    EXPECT_EQ(errors.codes(), "3/8050");
    errors.clear();
    stop.code = search_good;
    stop.evals = stop.gradient_evals = 400;
    EXPECT_FALSE(stop.ask());
    EXPECT_EQ(errors.codes(), "3/8017");
    errors.clear();
    stop.iteration = 99;
    EXPECT_FALSE(stop.ask());
    EXPECT_EQ(errors.codes(), "3/8029");
    errors.clear();
    stop.evals = 399;
    EXPECT_FALSE(stop.ask());
    EXPECT_EQ(errors.codes(), "3/8030");
}

TEST(min_uncon_stopping, nothing_but_the_gradient_is_tested_at_first)
{
    CapturedErrors errors;
    Stop stop;
    stop.iteration = 0;
    stop.code = search_failed;
    stop.step[0] = stop.step[1] = 0;
    stop.evals = 1000;
    EXPECT_FALSE(stop.ask());
    EXPECT_TRUE(errors.empty());
}

TEST(min_uncon_stopping, nan_meets_no_test)
{
    CapturedErrors errors;
    Stop stop;
    stop.g[1] = nan_value;
    EXPECT_FALSE(stop.ask());
    stop.g[1] = 1;
    stop.f = nan_value;
    EXPECT_FALSE(stop.ask());
}

// Controls as checked.
struct Check {
    int n = 2;
    float x[2] = {3, 4};
    float scale[2] = {1, 1};
    float fscale = 1;
    int hessian = 0;
    int integers[integer_count] = {1, 7, 100, 400, 400, 0, 100};
    float reals[real_count] = {1e-3F, 1e-4F, 1e-5F, 1e-5F, 1e-5F, 1000, compute};
    void ask() { U5INF(&n, x, scale, &fscale, &hessian, integers, reals); }
};

TEST(min_uncon_controls, good_ones_are_left_alone)
{
    CapturedErrors errors;
    Check check;
    check.ask();
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(check.reals[step_limit], 1000);
    EXPECT_EQ(check.reals[trust_radius], -1.0F); // computed without a warning
}

TEST(min_uncon_controls, each_bad_one_is_replaced_with_its_warning)
{
    CapturedErrors errors;
    const float eps = zavo_f_machine(4);
    const struct {
        int control;
        int replacement;
        const char* codes;
    } integers[] = {{good_digits, 24, "6/8068"},
                    {iteration_limit, 100, "6/8069"},
                    {eval_limit, 400, "6/8070"},
                    {gradient_limit, 400, "6/8039"},
                    {hessian_limit, 0, ""}};
    for (const auto& row : integers) {
        errors.clear();
        Check check;
        check.integers[row.control] = 0;
        check.ask();
        EXPECT_EQ(errors.codes(), row.codes);
        EXPECT_EQ(check.integers[row.control], row.replacement);
    }
    const auto two_thirds = static_cast<float>(std::pow(static_cast<double>(eps), 2.0 / 3.0));
    const struct {
        int control;
        float replacement;
        const char* codes;
    } reals[] = {{gradient_tol, two_thirds, "6/8072"}, {step_tol, two_thirds, "6/8058"},
                 {relative_tol, two_thirds, "6/8059"}, {absolute_tol, eps * eps, "6/8061"},
                 {false_tol, 100 * eps, "6/8060"},     {step_limit, 5000, "6/8062"},
                 {trust_radius, -1, "6/8063"}};
    for (const auto& row : reals) {
        errors.clear();
        Check check;
        check.reals[row.control] = -2;
        check.ask();
        EXPECT_EQ(errors.codes(), row.codes);
        EXPECT_EQ(check.reals[row.control], row.replacement);
    }
    Check check;
    check.integers[hessian_limit] = 0;
    check.hessian = 1;
    errors.clear();
    check.ask();
    EXPECT_EQ(errors.codes(), "6/8040");
}

TEST(min_uncon_controls, step_limit_is_computed_from_start_or_scales)
{
    CapturedErrors errors;
    Check check;
    check.reals[step_limit] = compute;
    check.ask();
    EXPECT_EQ(check.reals[step_limit], 5000.0F); // 1000 * |(3, 4)|
    EXPECT_TRUE(errors.empty());
    Check scales;
    scales.x[0] = scales.x[1] = 0;
    scales.scale[0] = 3;
    scales.scale[1] = 4;
    scales.reals[step_limit] = 0;
    scales.ask();
    EXPECT_EQ(scales.reals[step_limit], 5000.0F);
    EXPECT_EQ(errors.codes(), "6/8062");
}

// Squares that run over are formed in double; what is too long for a float is the
// longest float, and an infinite start has an infinite limit.
TEST(min_uncon_controls, step_limit_of_a_far_start)
{
    CapturedErrors errors;
    const float most = std::numeric_limits<float>::max();
    const struct {
        float start;
        float limit;
    } rows[] = {{1e25F, 1e28F}, {1e37F, most}, {infinite, infinite}};
    for (const auto& row : rows) {
        Check check;
        check.reals[step_limit] = compute;
        check.x[0] = row.start;
        check.x[1] = 0;
        check.ask();
        EXPECT_FLOAT_EQ(check.reals[step_limit], row.limit) << row.start;
    }
    EXPECT_TRUE(errors.empty());
}

TEST(min_uncon_controls, good_trust_radius_is_left_alone)
{
    const CapturedErrors errors;
    Check check;
    check.reals[trust_radius] = 5;
    check.ask();
    EXPECT_EQ(check.reals[trust_radius], 5.0F);
    EXPECT_TRUE(errors.empty());
}

TEST(min_uncon_controls, no_variable_is_a_terminal_error_and_nothing_more_is_checked)
{
    CapturedErrors errors;
    Check check;
    check.n = 0;
    check.fscale = -1;
    check.ask();
    EXPECT_EQ(errors.codes(), "5/8020");
    EXPECT_EQ(check.fscale, -1.0F);
}

TEST(min_uncon_controls, bad_scales_become_ones)
{
    CapturedErrors errors;
    Check check;
    check.scale[1] = 0;
    check.scale[0] = 9;
    check.fscale = 0;
    check.ask();
    EXPECT_EQ(errors.codes(), "6/8035 6/8041");
    EXPECT_EQ(check.scale[0], 1.0F);
    EXPECT_EQ(check.scale[1], 1.0F);
    EXPECT_EQ(check.fscale, 1.0F);
}

TEST(min_uncon, a_zero_scale_is_as_good_as_none)
{
    CapturedErrors errors;
    const float scale[] = {1, 0};
    const auto scaled = taken(zavo_f_min_uncon_multivar(bowl, 2, ZAVO_VARIABLE_SCALING, scale, 0), 2);
    EXPECT_EQ(errors.codes(), "6/8035");
    EXPECT_EQ(scale[0], 1.0F);
    EXPECT_EQ(scale[1], 0.0F); // the caller's array is his
    const auto plain = taken(zavo_f_min_uncon_multivar(bowl, 2, 0), 2);
    EXPECT_EQ(scaled, plain);
}

TEST(min_uncon, warnings_about_controls_do_not_stop_the_run)
{
    CapturedErrors errors;
    const auto x = taken(zavo_f_min_uncon_multivar(bowl, 2, ZAVO_GOOD_DIGITS, 0, ZAVO_ITERATION_LIMIT, 0,
                                                   ZAVO_FUNCTION_EVAL_LIMIT, -3, ZAVO_GRADIENT_EVAL_LIMIT, 0,
                                                   ZAVO_GRADIENT_TOLERANCE, -1.0, ZAVO_STEP_TOLERANCE, -1.0,
                                                   ZAVO_RELATIVE_TOLERANCE, -1.0, ZAVO_STEP_LIMIT, -1.0, 0),
                         2);
    EXPECT_EQ(errors.codes().substr(0, 55), "6/8068 6/8069 6/8070 6/8039 6/8072 6/8058 6/8059 6/8062");
    EXPECT_NEAR(x[0], 1, 1e-2);
}

TEST(min_uncon, hessian_start_from_the_scales)
{
    CapturedErrors errors;
    const auto x = taken(zavo_f_min_uncon_multivar(rosenbrock, 2, ZAVO_START_POINT, rosenbrock_start,
                                                   ZAVO_HESSIAN_START, 1, 0),
                         2);
    EXPECT_NEAR(x[0], 1, 1e-2);
    EXPECT_NEAR(x[1], 1, 2e-2);
}

// ---- Bad functions ---------------------------------------------------------------

float answer;
float constant(int, float*)
{
    ++evaluations;
    return answer;
}

float wall(int, float* x) // NaN beyond a wall that the first step crosses
{
    return x[0] > 3 ? nan_value : (x[0] - 2.5F) * (x[0] - 2.5F) * 40 + x[1] * x[1];
}

float cliff(int, float* x)
{
    return x[0] > 3 ? infinite : (x[0] - 2.5F) * (x[0] - 2.5F) * 40 + x[1] * x[1];
}

TEST(min_uncon, values_that_are_no_numbers_end_the_run_soon)
{
    CapturedErrors errors;
    for (const float value : {0.0F, 7.0F, nan_value, infinite, -infinite}) {
        answer = value;
        evaluations = 0;
        const auto x = taken(zavo_f_min_uncon_multivar(constant, 3, 0), 3);
        EXPECT_EQ(x.size(), 3U);
        EXPECT_LT(evaluations, 50);
    }
}

TEST(min_uncon, searches_back_from_nan_and_infinity)
{
    CapturedErrors errors;
    for (const auto f : {wall, cliff}) {
        const auto x = taken(zavo_f_min_uncon_multivar(f, 2, 0), 2);
        EXPECT_NEAR(x[0], 2.5, 1e-2);
    }
}

float noisy(int, float* x)
{
    return x[0] * x[0] + static_cast<float>(std::rand() % 1000) * 1e-3F;
}

TEST(min_uncon, random_values_and_zero_tolerances_end)
{
    CapturedErrors errors;
    std::srand(1);
    for (int i = 0; i < 20; ++i) {
        const float start[] = {3, 4};
        const auto x =
            taken(zavo_f_min_uncon_multivar(noisy, 2, ZAVO_START_POINT, start, ZAVO_STEP_TOLERANCE, 0.0,
                                            ZAVO_GRADIENT_TOLERANCE, 0.0, ZAVO_RELATIVE_TOLERANCE, 0.0, 0),
                  2);
        EXPECT_EQ(x.size(), 2U);
    }
}

float far(int, float* x)
{
    return (x[0] - 1e30F) * (x[0] - 1e30F);
}

TEST(min_uncon, overflow_ends_the_run)
{
    CapturedErrors errors;
    EXPECT_EQ(taken(zavo_f_min_uncon_multivar(far, 1, 0), 1).size(), 1U);
    const float start[] = {nan_value, 1};
    EXPECT_EQ(taken(zavo_f_min_uncon_multivar(bowl, 2, ZAVO_START_POINT, start, 0), 2).size(), 2U);
}

float many(int n, float* x)
{
    float sum = 0;
    for (int i = 0; i < n; ++i) {
        sum += (x[i] - 1) * (x[i] - 1);
    }
    return sum;
}

TEST(min_uncon, a_thousand_variables)
{
    CapturedErrors errors;
    const auto x = taken(zavo_f_min_uncon_multivar(many, 1000, 0), 1000);
    ASSERT_EQ(x.size(), 1000U);
    EXPECT_NEAR(x[999], 1, 0.05);
}

float nested(int, float* x)
{
    float* const inner = zavo_f_min_uncon_multivar(parabola, 1, 0);
    const float at = inner[0];
    std::free(inner);
    return (x[0] - at) * (x[0] - at) + x[1] * x[1];
}

TEST(min_uncon, may_run_inside_a_function)
{
    CapturedErrors errors;
    const auto x = taken(zavo_f_min_uncon_multivar(nested, 2, 0), 2);
    EXPECT_NEAR(x[0], 2, 1e-2);
}

TEST(min_uncon, stopping_and_line_search_terminate_on_a_kink)
{
    CapturedErrors errors;
    const auto x = taken(zavo_f_min_uncon_multivar(
                             [](int, float* at) { return std::fabs(at[0] - 1) + std::fabs(at[1]); }, 2, 0),
                         2);
    EXPECT_NEAR(x[0], 1, 0.1);
}

} // namespace

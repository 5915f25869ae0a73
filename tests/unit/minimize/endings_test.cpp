// Where runs end: at a gradient that is small, as a rule, and not at the first
// step that gains little. NIST's nonlinear regression sets and the published
// least-squares problems, as a script sees them.
#include "minimize/minimize.h"
#include "tests/support/captured_errors.hpp"
#include "tests/support/problem_page.hpp"
#include "tests/support/script_runs.hpp"

#include <algorithm>
#include <cstdio>
#include <gtest/gtest.h>
#include <map>

namespace {

using namespace zavo::test;

struct Tally {
    int solved = 0;
    int evaluations = 0;
    std::map<int, int> codes;
};

Tally tally(const std::vector<Problem>& problems, double step_tolerance)
{
    const CapturedErrors errors;
    Tally all;
    for (const Problem& p : problems) {
        const Outcome outcome = minimize_as_script(p, step_tolerance);
        all.solved += reached(p, outcome.f) ? 1 : 0;
        all.evaluations += outcome.evaluations;
        ++all.codes[outcome.code];
        std::printf("%-24s f %-13.7g optimum %-12.6g evaluations %4d code %d%s\n", p.name,
                    static_cast<double>(outcome.f), p.optimum, outcome.evaluations, outcome.code,
                    reached(p, outcome.f) ? "" : "  not reached");
    }
    return all;
}

TEST(endings, nist_sets_13_of_18_runs_reach_the_certified_sum)
{
    const Tally raw = tally(nist_problems(false), 0);
    EXPECT_GE(raw.solved, 13);
    EXPECT_LE(raw.evaluations, 1.05 * 3799);
    const Tally divided = tally(nist_problems(true), 0);
    EXPECT_GE(divided.solved, 13);
    EXPECT_LE(divided.evaluations, 1.05 * 3637);
}

// Recorded with the mathematical library of one system: in the last bit of an objective
// another may differ, and a long run may then take another way.
#if defined(__x86_64__) && !defined(_WIN32)
TEST(endings, tighter_step_tolerance_reaches_no_less)
{
    for (const RunSet& set : script_runs()) {
        EXPECT_GE(tally(set.problems, 1e-7).solved, tally(set.problems, 0).solved) << set.title;
    }
}

TEST(endings, no_run_ends_higher_than_in_the_baseline_for_a_fifth_more_evaluations)
{
    const CapturedErrors errors;
    const std::vector<BaselineRun> baseline = read_baseline(ZAVO_BASELINE_RUNS);
    std::size_t number = 0;
    int evaluations = 0;
    int evaluations_before = 0;
    for (const RunSet& set : script_runs()) {
        for (const Problem& p : set.problems) {
            ASSERT_LT(number, baseline.size());
            const BaselineRun& before = baseline[number++];
            ASSERT_EQ(before.problem, p.name) << set.title;
            const Outcome outcome = minimize_as_script(p);
            EXPECT_FALSE(ends_higher(outcome.f, before.reached))
                << set.title << ", " << p.name << ": " << outcome.f << ", before " << before.reached;
            evaluations += outcome.evaluations;
            evaluations_before += before.evaluations;
        }
        number += set.problems.size(); // those with a tight step tolerance
    }
    EXPECT_EQ(number, baseline.size());
    EXPECT_LE(evaluations, 1.2 * evaluations_before);
}
#endif

// Ended at 196410 by a single quiet step with forward differences.
TEST(endings, thurber_from_the_second_start)
{
    const CapturedErrors errors;
    for (const Problem& p : nist_problems(false)) {
        if (std::string(p.name) == "Thurber") {
            EXPECT_LT(minimize_as_script(p).f, 5650);
        }
    }
}

// With a tight step tolerance the variables as they are ended 2 % above the optimum.
TEST(endings, danwood_from_the_second_start_with_either_step_tolerance)
{
    const CapturedErrors errors;
    for (const Problem& p : {nist_problems_as_given()[1], nist_problems(false)[1]}) {
        EXPECT_STREQ(p.name, "DanWood");
        for (const double step_tolerance : run_step_tolerances) {
            EXPECT_NEAR(minimize_as_script(p, step_tolerance).f, p.optimum, 1e-6);
        }
    }
}

// From a hundred times the published start three steps in a row gain next to nothing,
// 4 % above the optimum, before the valley turns.
TEST(endings, steps_that_gain_little_go_on_as_long_as_they_gain_more_than_rounding)
{
    const CapturedErrors errors;
    for (Problem p : unconstrained_problems()) {
        if (std::string(p.name) == "Brown and Dennis") {
            for (float& start : p.start) {
                start *= 100;
            }
            const Outcome outcome = minimize_as_script(p);
            EXPECT_NEAR(outcome.f, p.optimum, 1);
            EXPECT_EQ(outcome.code, 0);
        }
    }
}

int evaluations;

float constant(int, float*)
{
    ++evaluations;
    return 1;
}

// Downhill, then uphill again: a step that need not be longer.
void turning_slope(int, float*, float* g)
{
    g[0] = g[1] = evaluations == 1 ? 1e-3F : -1e-3F;
}

TEST(endings, a_step_that_gains_no_more_than_rounding_ends_the_run)
{
    const CapturedErrors errors;
    evaluations = 0;
    std::free(zavo_f_min_uncon_multivar(constant, 2, ZAVO_GRADIENT_FUNCTION, turning_slope,
                                        ZAVO_GRADIENT_TOLERANCE, 0.0, ZAVO_STEP_TOLERANCE, 0.0, 0));
    EXPECT_EQ(zavo_error_code(1), 8050);
    EXPECT_EQ(evaluations, 2);
}

// Falls by 1 up to 1.5, is nearly as high again from there on, and falls by 0.8.
float saw(int, float* x)
{
    ++evaluations;
    return x[0] < 1.5F ? 11 - x[0] : 9.96F - 0.8F * (x[0] - 2);
}

// The first step gains 0.04 where forward differences have promised 0.5. By the
// controls it is short enough for a false convergence, but central differences have not
// been tried.
TEST(endings, no_run_is_stuck_on_forward_differences)
{
    CapturedErrors errors;
    const int n = 2; // the second variable changes nothing
    float x[] = {1, 0};
    float scale[] = {1, 1};
    float fscale = 1;
    int integers[] = {1, 7, 1, 400, 400, 0, 100};                 // one iteration
    float reals[] = {1e-3F, 1e-5F, 1e-5F, 1e-5F, 1, 1000, -9999}; // steps up to 1 are short
    float f = 0;
    float work[20];
    evaluations = 0;
    U3INF(saw, &n, x, scale, &fscale, integers, reals, &f, work);
    EXPECT_EQ(errors.codes(), "3/8017");
    EXPECT_NEAR(f, 9.96, 0.01);
    EXPECT_EQ(evaluations, 1 + 2 + 1 + 2 + 4); // the last ones central
}

// ---- Quadratics with exact gradients -----------------------------------------------

struct Quadratic {
    int n = 0;
    double matrix[8][8] = {};
    double centre[8] = {};
};
Quadratic quadratic;

unsigned random_state;
double random_number() // 0 to 1
{
    random_state = random_state * 1664525U + 1013904223U;
    return (random_state >> 8) / 16777216.0;
}

// The unit matrix plus B B', well conditioned.
void make_quadratic(int n)
{
    double b[8][8];
    quadratic.n = n;
    for (auto& row : b) {
        for (double& element : row) {
            element = random_number() - 0.5;
        }
    }
    for (int i = 0; i < n; ++i) {
        quadratic.centre[i] = 4 * random_number() - 2;
        for (int j = 0; j < n; ++j) {
            quadratic.matrix[i][j] = i == j ? 1 : 0;
            for (int k = 0; k < n; ++k) {
                quadratic.matrix[i][j] += b[i][k] * b[j][k];
            }
        }
    }
}

float quadratic_value(int n, float* x)
{
    double value = 1;
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
            value +=
                0.5 * quadratic.matrix[i][j] * (x[i] - quadratic.centre[i]) * (x[j] - quadratic.centre[j]);
        }
    }
    return static_cast<float>(value);
}

void quadratic_gradient(int n, float* x, float* g)
{
    for (int i = 0; i < n; ++i) {
        double slope = 0;
        for (int j = 0; j < n; ++j) {
            slope += quadratic.matrix[i][j] * (x[j] - quadratic.centre[j]);
        }
        g[i] = static_cast<float>(slope);
    }
}

TEST(endings, well_conditioned_quadratics_end_at_the_gradient_tolerance)
{
    const CapturedErrors errors;
    random_state = 1;
    int at_gradient = 0;
    std::vector<double> away;
    for (int run = 0; run < 400; ++run) {
        make_quadratic(2 + run % 7);
        const int n = quadratic.n;
        float* const x =
            zavo_f_min_uncon_multivar(quadratic_value, n, ZAVO_GRADIENT_FUNCTION, quadratic_gradient, 0);
        at_gradient += zavo_error_code(1) == 0 ? 1 : 0;
        double furthest = 0;
        for (int i = 0; i < n; ++i) {
            furthest = std::max(furthest, std::fabs(x[i] - quadratic.centre[i]));
        }
        away.push_back(furthest);
        std::free(x);
    }
    std::sort(away.begin(), away.end());
    EXPECT_GE(at_gradient, 396);
    EXPECT_LT(away[200], 1e-4);
}

} // namespace

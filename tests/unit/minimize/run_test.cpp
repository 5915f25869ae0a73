// Minimisations as values: functions of doubles, free and under constraints.

#include "core/errors/error_codes.hpp"
#include "core/system/float_control.hpp"
#include "core/system/memory.hpp"
#include "tests/support/nist_problems.hpp"
#include "tests/support/run_attempt.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

namespace {

namespace code = zavo::core::code;
using zavo::test::Attempt;

constexpr float infinity = std::numeric_limits<float>::infinity();

double rosenbrock(const std::vector<double>& x)
{
    const double a = x[1] - x[0] * x[0];
    const double b = 1.0 - x[0];
    return 100.0 * a * a + b * b;
}

std::vector<double> rosenbrock_gradient(const std::vector<double>& x)
{
    const double a = x[1] - x[0] * x[0];
    return {-400.0 * x[0] * a - 2.0 * (1.0 - x[0]), 200.0 * a};
}

// M. J. D. Powell (1970): a function whose minimum lies at (1.098e-5, 9.106).
double badly_scaled(const std::vector<double>& x)
{
    const double a = 1e4 * x[0] * x[1] - 1.0;
    const double b = std::exp(-x[0]) + std::exp(-x[1]) - 1.0001;
    return a * a + b * b;
}

// A. R. Colville (1968), known as Wood's function.
double wood(const std::vector<double>& x)
{
    return 100.0 * std::pow(x[1] - x[0] * x[0], 2) + std::pow(1.0 - x[0], 2) +
           90.0 * std::pow(x[3] - x[2] * x[2], 2) + std::pow(1.0 - x[2], 2) +
           10.0 * std::pow(x[1] + x[3] - 2.0, 2) + 0.1 * std::pow(x[1] - x[3], 2);
}

TEST(minimize_run, published_problems_converge)
{
    Attempt first(rosenbrock, {-1.2F, 1.0F});
    first.solve();
    EXPECT_EQ(first.outcome.status, ZAVO_RUN_CONVERGED);
    EXPECT_EQ(first.outcome.code, 0);
    EXPECT_EQ(first.outcome.message, std::string());
    EXPECT_NEAR(first.x[0], 1.0, 1e-6);
    EXPECT_NEAR(first.x[1], 1.0, 2e-6);
    EXPECT_LT(first.outcome.evaluations, 300);
    EXPECT_EQ(first.outcome.evaluations, first.calls);

    Attempt second(wood, {-3.0F, -1.0F, -3.0F, -1.0F});
    second.solve();
    EXPECT_EQ(second.outcome.status, ZAVO_RUN_CONVERGED);
    for (const float x : second.x) {
        EXPECT_NEAR(x, 1.0, 1e-5);
    }
    Attempt third(badly_scaled, {0.0F, 1.0F});
    third.solve();
    EXPECT_EQ(third.outcome.status, ZAVO_RUN_CONVERGED);
    EXPECT_NEAR(third.x[0], 1.098159e-5, 1e-10);
    EXPECT_NEAR(third.x[1], 9.106146, 1e-4);
}

// Both official starts of every set; a run counts when its sum of squares is within
// 1e-4 of the certified one.
int nist_runs_solved(bool bounded)
{
    int solved = 0;
    for (const zavo::test::NistSet& set : zavo::test::nist_sets()) {
        for (const std::vector<float>& start : set.starts) {
            Attempt run([&set](const std::vector<double>& x) { return set.raw.value(x.data()); }, start);
            if (bounded) {
                for (std::size_t i = 0; i < start.size(); ++i) {
                    const auto wide =
                        static_cast<float>(20.0 * std::fabs(set.certified[i]) + 2.0 * std::fabs(start[i]));
                    run.lower.push_back(-wide);
                    run.upper.push_back(wide);
                }
            }
            run.solve();
            solved += run.outcome.value <= set.sum * (1.0 + 1e-4) ? 1 : 0;
        }
    }
    return solved;
}

TEST(minimize_run, sums_of_squares_of_the_statistical_reference_datasets)
{
    EXPECT_EQ(nist_runs_solved(false), 18);
    EXPECT_GE(nist_runs_solved(true), 17); // Eckerle4 starts on a plain
}

TEST(minimize_run, a_given_gradient_saves_the_differences)
{
    Attempt run(rosenbrock, {-1.2F, 1.0F});
    run.gradient = rosenbrock_gradient;
    run.solve();
    EXPECT_EQ(run.outcome.status, ZAVO_RUN_CONVERGED);
    EXPECT_NEAR(run.x[0], 1.0, 1e-6);
    EXPECT_LT(run.outcome.evaluations, 80);
    EXPECT_NEAR(run.g[0], 0.0, 1e-4);
}

TEST(minimize_run, every_kind_of_difference)
{
    for (const int kind : {ZAVO_RUN_AUTO, ZAVO_RUN_FORWARD, ZAVO_RUN_CENTRAL}) {
        Attempt run(
            [](const auto& x) { return 7.0 + std::pow(x[0] - 3.0, 2) + 10.0 * std::pow(x[1] + 1.0, 4); },
            {10.0F, 2.0F});
        run.problem.differences = kind;
        run.solve();
        EXPECT_NEAR(run.x[0], 3.0, 1e-3) << kind;
        EXPECT_NEAR(run.outcome.value, 7.0, 1e-6) << kind;
    }
}

// Sums in single precision, told by the digits or found out.
TEST(minimize_run, a_function_in_single_precision_is_minimised_as_far_as_it_goes)
{
    const auto rough = [](const std::vector<double>& x) {
        const auto a = static_cast<float>(x[0] - 1.0);
        const auto b = static_cast<float>(x[1] - 2.0);
        return static_cast<double>(3.0F + a * a + 10.0F * b * b + a * b);
    };
    for (const int digits : {0, 7}) {
        Attempt run(rough, {5.0F, 5.0F});
        run.problem.digits = digits;
        run.solve();
        EXPECT_NEAR(run.x[0], 1.0, 2e-3);
        EXPECT_NEAR(run.x[1], 2.0, 1e-3);
    }
}

TEST(minimize_run, places_without_a_value_are_stepped_back_from)
{
    const auto hole = [](const std::vector<double>& x) {
        return x[0] > 0.0 ? std::sqrt(x[0]) + 1.0 / x[0] : std::numeric_limits<double>::quiet_NaN();
    };
    Attempt run(hole, {3.0F});
    run.solve();
    EXPECT_EQ(run.outcome.status, ZAVO_RUN_CONVERGED);
    EXPECT_NEAR(run.x[0], std::pow(2.0, 2.0 / 3.0), 1e-5);
    Attempt far(hole, {1e6F});
    far.solve();
    EXPECT_NEAR(far.x[0], std::pow(2.0, 2.0 / 3.0), 1e-5);
}

TEST(minimize_run, a_start_without_a_value_is_told)
{
    for (const double none : {std::nan(""), HUGE_VAL, -HUGE_VAL}) {
        Attempt run([none](const auto&) { return none; }, {1.0F, 2.0F});
        EXPECT_EQ(run.solve().outcome.status, ZAVO_RUN_NO_VALUE);
        EXPECT_EQ(run.calls, 1);
        run.lower = {0.0F, 0.0F};
        run.calls = 0;
        EXPECT_EQ(run.solve().outcome.status, ZAVO_RUN_NO_VALUE);
        EXPECT_EQ(run.calls, 1);
    }
}

TEST(minimize_run, the_limit_is_kept_to_the_call)
{
    for (const int limit : {1, 2, 3, 7, 40, 100}) {
        for (const bool bounded : {false, true}) {
            Attempt run(rosenbrock, {-1.2F, 1.0F});
            run.problem.limit = limit;
            if (bounded) {
                run.lower = {-5.0F, -5.0F};
            }
            run.solve();
            EXPECT_EQ(run.outcome.status, ZAVO_RUN_LIMIT);
            EXPECT_EQ(run.outcome.code,
                      bounded ? code::evaluation_limit_reached : code::function_limit_reached);
            EXPECT_EQ(run.calls, limit);
            EXPECT_EQ(run.outcome.evaluations, limit);
            EXPECT_LE(run.outcome.value, rosenbrock({double{-1.2F}, 1.0}));
            EXPECT_EQ(run.outcome.value, rosenbrock({run.x[0], run.x[1]}));
        }
    }
}

TEST(minimize_run, callbacks_can_stop_it)
{
    for (const int at : {1, 2, 5, 30}) {
        for (const bool bounded : {false, true}) {
            Attempt run(rosenbrock, {-1.2F, 1.0F});
            run.stop_at_call = at;
            if (bounded) {
                run.upper = {5.0F, 5.0F};
            }
            run.solve();
            EXPECT_EQ(run.outcome.status, ZAVO_RUN_STOPPED);
            EXPECT_EQ(run.outcome.code, 0);
            EXPECT_EQ(run.calls, at);
        }
    }
    for (const bool bounded : {false, true}) {
        Attempt run(rosenbrock, {-1.2F, 1.0F});
        run.stop_at_iteration = 4;
        if (bounded) {
            run.upper = {5.0F, 5.0F};
        }
        run.solve();
        EXPECT_EQ(run.outcome.status, ZAVO_RUN_STOPPED);
        EXPECT_EQ(run.iterations_seen, 4);
        EXPECT_EQ(run.outcome.iterations, 4);
    }
}

TEST(minimize_run, a_function_without_a_minimum_is_unbounded)
{
    Attempt line([](const auto& x) { return x[0]; }, {1.0F});
    EXPECT_EQ(line.solve().outcome.status, ZAVO_RUN_UNBOUNDED);
    EXPECT_EQ(line.outcome.code, code::unbounded_steps);
    Attempt cubic([](const auto& x) { return x[0] * x[0] * x[0] + x[1] * x[1]; }, {-1.0F, 3.0F});
    EXPECT_EQ(cubic.solve().outcome.status, ZAVO_RUN_UNBOUNDED);
}

TEST(minimize_run, steps_within_the_tolerance_are_uncertain)
{
    Attempt run(rosenbrock, {-1.2F, 1.0F});
    run.problem.step_tolerance = 0.05;
    run.solve();
    EXPECT_EQ(run.outcome.status, ZAVO_RUN_UNCERTAIN);
    EXPECT_EQ(run.outcome.code, code::small_step);
}

TEST(minimize_run, sizes_of_the_variables_count)
{
    const auto stretched = [](const std::vector<double>& x) {
        return std::pow(x[0] / 1e6 - 3.0, 2) + std::pow(x[1] * 1e5 - 4.0, 2);
    };
    Attempt run(stretched, {0.0F, 0.0F});
    run.sizes = {1e6F, 1e-5F};
    run.solve();
    EXPECT_EQ(run.outcome.status, ZAVO_RUN_CONVERGED);
    EXPECT_NEAR(run.x[0] / 1e6, 3.0, 1e-6);
    EXPECT_NEAR(run.x[1] * 1e5, 4.0, 1e-6);
    run.lower = {-1e7F, -1.0F};
    run.upper = {2e6F, 1.0F};
    run.solve();
    EXPECT_EQ(run.outcome.status, ZAVO_RUN_CONVERGED);
    EXPECT_EQ(run.x[0], 2e6F);
    EXPECT_NEAR(run.x[1] * 1e5, 4.0, 1e-4);
    EXPECT_EQ(run.active_ones(), std::vector<int>{2});
    EXPECT_NEAR(run.multipliers[0], 2e-6, 1e-9); // -df/dx0 at 2e6
}

// Multipliers by hand: least x^2 + y^2 with x + y = 2 lies at (1, 1), gradient (2, 2),
// so that (2, 2) + m (1, 1) = 0.
TEST(minimize_run, multipliers_are_those_of_the_lagrangian)
{
    const auto bowl = [](const std::vector<double>& x) { return x[0] * x[0] + x[1] * x[1]; };
    Attempt equal(bowl, {5.0F, -3.0F});
    equal.left = {1.0F, 1.0F};
    equal.sides = {2.0F};
    equal.problem.equalities = 1;
    equal.solve();
    EXPECT_EQ(equal.outcome.status, ZAVO_RUN_CONVERGED);
    EXPECT_EQ(equal.outcome.code, code::accuracy_reached);
    EXPECT_NEAR(equal.x[0], 1.0, 1e-6);
    EXPECT_EQ(equal.active_ones(), std::vector<int>{0});
    EXPECT_NEAR(equal.multipliers[0], -2.0, 1e-5);

    // -x - y <= -2 is the same seen from the other side: m = 2.
    Attempt atmost(bowl, {5.0F, -3.0F});
    atmost.left = {-1.0F, -1.0F};
    atmost.sides = {-2.0F};
    atmost.solve();
    EXPECT_EQ(atmost.active_ones(), std::vector<int>{0});
    EXPECT_NEAR(atmost.multipliers[0], 2.0, 1e-5);

    // x >= 3: gradient (6, 0) - m (1, 0) = 0; y <= -1: (0, -2) + m (0, 1) = 0.
    Attempt bounds(bowl, {5.0F, -3.0F});
    bounds.lower = {3.0F, -infinity};
    bounds.upper = {infinity, -1.0F};
    bounds.solve();
    EXPECT_EQ(bounds.outcome.status, ZAVO_RUN_CONVERGED);
    EXPECT_EQ(bounds.x, (std::vector<float>{3.0F, -1.0F}));
    EXPECT_EQ(bounds.active_ones(), (std::vector<int>{0, 3}));
    EXPECT_NEAR(bounds.multipliers[0], 6.0, 1e-4);
    EXPECT_NEAR(bounds.multipliers[1], 2.0, 1e-4);
}

TEST(minimize_run, constraints_that_do_not_matter_leave_the_free_minimum)
{
    Attempt run(rosenbrock, {-1.2F, 1.0F});
    run.lower = {-5.0F, -5.0F};
    run.upper = {5.0F, 5.0F};
    run.left = {1.0F, 1.0F};
    run.sides = {100.0F};
    run.solve();
    EXPECT_EQ(run.outcome.status, ZAVO_RUN_CONVERGED);
    EXPECT_EQ(run.outcome.active_count, 0);
    EXPECT_NEAR(run.x[0], 1.0, 2e-6);
    EXPECT_EQ(run.outcome.evaluations, run.calls);
}

// The function has no value below the bound, where differences must not look.
TEST(minimize_run, differences_keep_to_the_bounds)
{
    Attempt run([](const auto& x) { return std::sqrt(x[0]) + std::pow(x[1] - 2.0, 2) - 0.1 * x[0] * x[1]; },
                {4.0F, 1.0F});
    run.lower = {0.25F, 0.0F};
    run.upper = {9.0F, 2.0F};
    run.gradient = nullptr;
    run.solve(); // Attempt::value sees to the bounds
    EXPECT_NE(run.outcome.status, ZAVO_RUN_NO_VALUE);
    EXPECT_EQ(run.x[0], 0.25F);
}

TEST(minimize_run, constraints_that_clash_are_told)
{
    Attempt equal(rosenbrock, {0.0F, 0.0F});
    equal.left = {1.0F, 1.0F, 1.0F, 1.0F};
    equal.sides = {1.0F, 2.0F};
    equal.problem.equalities = 2;
    EXPECT_EQ(equal.solve().outcome.status, ZAVO_RUN_INCONSISTENT);
    EXPECT_EQ(equal.outcome.code, code::equalities_inconsistent);
    EXPECT_EQ(equal.calls, 0);
    Attempt mixed(rosenbrock, {0.0F, 0.0F});
    mixed.left = {-1.0F, 0.0F};
    mixed.sides = {-7.0F}; // x0 >= 7
    mixed.upper = {5.0F, 5.0F};
    EXPECT_EQ(mixed.solve().outcome.status, ZAVO_RUN_INCONSISTENT);
    EXPECT_EQ(mixed.outcome.code, code::constraints_inconsistent);
}

TEST(minimize_run, equalities_that_fix_everything_leave_the_point)
{
    Attempt run(rosenbrock, {0.0F, 0.0F});
    run.left = {1.0F, 1.0F, 1.0F, -1.0F};
    run.sides = {3.0F, 1.0F};
    run.problem.equalities = 2;
    run.solve();
    EXPECT_EQ(run.outcome.status, ZAVO_RUN_CONVERGED);
    EXPECT_EQ(run.outcome.code, code::all_variables_fixed);
    EXPECT_NEAR(run.x[0], 2.0, 1e-6);
    EXPECT_NEAR(run.x[1], 1.0, 1e-6);
    EXPECT_NEAR(run.outcome.value, 901.0, 1e-3);
    EXPECT_EQ(run.calls, 1);
}

// A host that rounds upwards gets the same bits; its functions run in its modes.
TEST(minimize_run, modes_of_the_host_change_no_bit)
{
    using namespace zavo::platform;
    for (const bool bounded : {false, true}) {
        const auto solved = [bounded](FloatControl host) {
            Attempt run(
                [host](const std::vector<double>& x) {
                    EXPECT_EQ(float_control(), host);
                    const UsualFloatControl usual; // the values themselves are to be the same
                    return rosenbrock(x);
                },
                {-1.2F, 1.0F});
            if (bounded) {
                run.upper = {0.5F, 5.0F};
            }
            set_float_control(host);
            run.solve();
            EXPECT_EQ(float_control(), host);
            set_float_control(usual_float_control);
            return std::pair(run.x, run.outcome.evaluations);
        };
#if defined(__aarch64__)
        const FloatControl upwards = usual_float_control | 1UL << 22;
#else
        const FloatControl upwards = usual_float_control | 0x4000U;
#endif
        EXPECT_EQ(solved(usual_float_control), solved(upwards));
    }
}

TEST(minimize_run, runs_nest)
{
    Attempt outer(
        [](const std::vector<double>& x) {
            Attempt inner([&x](const auto& y) { return std::pow(y[0] - x[0], 2) + std::pow(x[0] - 3.0, 2); },
                          {0.0F});
            inner.solve();
            return inner.outcome.value + 1.0;
        },
        {1.0F});
    outer.solve();
    EXPECT_NEAR(outer.x[0], 3.0, 1e-3);
    EXPECT_NEAR(outer.outcome.value, 1.0, 1e-6);
}

TEST(minimize_run, every_allocation_may_fail)
{
    for (const bool bounded : {false, true}) {
        bool done = false;
        for (long nth = 1; !done; ++nth) {
            Attempt run(rosenbrock, {-1.2F, 1.0F});
            if (bounded) {
                run.upper = {0.5F, 5.0F};
            }
            zavo_fail_allocation(nth);
            run.solve();
            zavo_fail_allocation(0);
            done = run.outcome.status == ZAVO_RUN_CONVERGED;
            EXPECT_TRUE(done || run.outcome.status == ZAVO_RUN_NO_MEMORY);
            // The words of an outcome are the last to be made.
            EXPECT_TRUE(done || run.calls == 0 || run.outcome.code == 0);
            ASSERT_LT(nth, 40);
        }
    }
}

} // namespace

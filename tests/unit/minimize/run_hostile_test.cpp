// Minimisations as values of functions that nobody would choose: what an outcome says
// is true of each, wherever it is stopped.
#include "core/errors/error_codes.hpp"
#include "tests/support/run_attempt.hpp"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

namespace code = zavo::core::code;
using zavo::test::Attempt;

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr double none = std::numeric_limits<double>::quiet_NaN();
using Point = std::vector<double>;

// The same for the same place: chance between 0 and 1.
double chance_at(const Point& x)
{
    double sum = 0.37;
    for (const double value : x) {
        sum = std::fmod(std::fabs(std::sin(sum + value * 1e4) * 1e5), 1.0);
    }
    return sum;
}

double length_squared(const Point& x)
{
    double sum = 0.0;
    for (const double value : x) {
        sum += value * value;
    }
    return sum;
}

constexpr int kinds = 16;
double hostile(int kind, const Point& x)
{
    const double a = x[0];
    const double b = x.back();
    switch (kind) {
    case 0:
        return 0.0;
    case 1: // a value in one place alone
        return a == 1.0 && b == 1.0 ? 3.0 : none;
    case 2: // an edge from which there is no way up
        return a > 1.0 ? none : (a + 1.0) * (a + 1.0) + b * b;
    case 3:
        return a < 1.0 ? none : (a - 4.0) * (a - 4.0) + b * b;
    case 4:
        return chance_at(x);
    case 5:
        return length_squared(x) + 1e-3 * chance_at(x);
    case 6: // overflows in the differences
        return 1e300 * a * a + b;
    case 7:
        return 1e-300 * (a - 3.0) * (a - 3.0) + 1e-290 * b * b;
    case 8: // holes on a grid
        return std::fmod(std::fabs(a), 0.5) < 0.1 ? std::numeric_limits<double>::infinity()
                                                  : length_squared(x);
    case 9:
        return std::fabs(a - 2.0) + std::fabs(b + 1.0);
    case 10: // a stair
        return std::floor(8.0 * a) * 0.125 + b * b;
    case 11:
        return a * a * a + b * b;
    case 12: // a value where one coordinate is whole
        return a == std::floor(a) ? a * a + (b - 2.0) * (b - 2.0) : none;
    case 13: // saddle
        return a * a - b * b + 0.01 * b * b * b * b;
    case 14: // diagonal ridge without a value
        return x.size() > 1 && a + b > 2.0 && a != 1.0 && b != 1.0
                   ? none
                   : (a - 2.0) * (a - 2.0) + (b - 2.0) * (b - 2.0) + a * b;
    default: // a bent valley
        return 100.0 * (b - a * a) * (b - a * a) + (1.0 - a) * (1.0 - a);
    }
}

// Of a bowl about 0, and wrong for everything else.
Point gradient_of(int kind, const Point& x)
{
    Point g;
    for (const double value : x) {
        g.push_back(kind == 0   ? 2.0 * value
                    : kind == 1 ? -2.0 * value
                    : kind == 2 ? 0.0
                    : kind == 3 ? none
                    : kind == 4 ? std::numeric_limits<double>::infinity()
                                : 1e-300);
    }
    return g;
}

class Chooser {
public:
    template <class T>
    T one_of(const std::vector<T>& choices)
    {
        return choices[random_() % choices.size()];
    }
    bool now_and_then(unsigned one_in) { return random_() % one_in == 0; }

private:
    std::mt19937 random_{20};
};

Attempt any_attempt(Chooser& choose, int kind)
{
    const auto n = static_cast<std::size_t>(choose.one_of<int>({1, 2, 2, 3, 31}));
    const auto start = choose.one_of<float>({0.0F, 1.0F, 1.0F, -2.5F, 3e38F, 1e-44F});
    Attempt run([kind](const Point& x) { return hostile(kind, x); }, std::vector<float>(n, start));
    if (choose.now_and_then(3)) {
        const int of = choose.one_of<int>({0, 1, 2, 3, 4, 5});
        run.gradient = [of](const Point& x) { return gradient_of(of, x); };
    }
    run.problem.limit = choose.one_of<int>({600, 600, 600, 1, 2, 5, 11, 23, 57});
    run.problem.tolerance = choose.one_of<double>({1e-6, 0.0, 0.5});
    run.problem.fscale = choose.one_of<double>({0.0, 0.0, 1.0});
    run.problem.step_tolerance = choose.one_of<double>({0.0, 0.0, 1e-3});
    run.problem.digits = choose.one_of<int>({0, 0, 7, 1000000});
    run.problem.differences = choose.one_of<int>({ZAVO_RUN_AUTO, ZAVO_RUN_FORWARD, ZAVO_RUN_CENTRAL});
    if (choose.now_and_then(2)) {
        run.sizes.assign(n, choose.one_of<float>({1.0F, 1e-45F, 1e30F, infinity}));
    }
    const bool everyday = std::fabs(start) < 100.0F; // sums of others overflow in rows
    if (everyday && choose.now_and_then(3)) {
        run.lower.assign(n, choose.one_of<float>({-infinity, -3.0F, 1.0F}));
        run.upper.assign(n, choose.one_of<float>({infinity, 5.0F, 1.0F}));
    }
    if (everyday && choose.now_and_then(4)) {
        run.left.assign(n, 1.0F);
        run.sides = {choose.one_of<float>({-1.0F, 2.0F, 40.0F})};
        run.problem.equalities = choose.now_and_then(3) ? 1 : 0;
    }
    if (!run.lower.empty() || !run.sides.empty()) { // in sizes that suit them
        run.sizes.assign(run.sizes.size(), choose.one_of<float>({1.0F, 0.25F, infinity}));
    }
    if (choose.now_and_then(3)) {
        run.stop_at_call = choose.one_of<int>({1, 2, 3, 5, 7, 12, 13, 14, 15, 16, 30, 31});
    } else if (choose.now_and_then(3)) {
        run.stop_at_gradient = choose.one_of<int>({1, 2, 3, 4, 5});
    }
    if (choose.now_and_then(3)) {
        run.stop_at_iteration = choose.one_of<int>({1, 2, 3, 100000});
    }
    return run;
}

TEST(hostile_runs, what_an_outcome_says_is_true)
{
    Chooser choose;
    std::vector<int> endings(8);
    for (int round = 0; round < 6000; ++round) {
        Attempt run = any_attempt(choose, round % kinds);
        run.solve();
        const zavo_run_outcome& outcome = run.outcome;
        SCOPED_TRACE(testing::Message() << "round " << round << ", status " << outcome.status);
        ASSERT_TRUE(outcome.status >= 0 && outcome.status < ZAVO_RUN_NO_MEMORY);
        ++endings[static_cast<std::size_t>(outcome.status)];
        const bool free = run.lower.empty() && run.sides.empty();
        EXPECT_EQ(outcome.evaluations, run.calls);
        EXPECT_LE(run.calls, run.problem.limit);
        EXPECT_EQ(outcome.code == 0, outcome.message[0] == '\0');
        // The one call where everything is fixed may ask for an end that has come.
        EXPECT_TRUE((outcome.status == ZAVO_RUN_STOPPED) == run.has_asked_for_end ||
                    outcome.code == code::all_variables_fixed);
        EXPECT_FALSE(free && outcome.status == ZAVO_RUN_LIMIT && run.calls < run.problem.limit);
        if (outcome.status == ZAVO_RUN_NO_VALUE || outcome.status == ZAVO_RUN_INCONSISTENT) {
            continue;
        }
        const Point x(run.x.begin(), run.x.end());
        double sum = 0.0;
        for (const double value : x) {
            EXPECT_TRUE(std::isfinite(value));
            sum += value;
        }
        EXPECT_FALSE(std::isfinite(outcome.value) && run.calls > 1 && outcome.value != run.f(x));
        EXPECT_TRUE(std::isfinite(outcome.value) ||
                    !(outcome.status == ZAVO_RUN_CONVERGED || outcome.status == ZAVO_RUN_UNCERTAIN));
        if (free) {
            const double before = run.f({run.start.begin(), run.start.end()});
            EXPECT_TRUE(outcome.value <= before || !std::isfinite(before));
        }
        if (!run.sides.empty()) {
            const auto n = static_cast<double>(x.size());
            EXPECT_LE(sum, run.sides[0] + 0.01 * n * std::max(1.0F, std::fabs(run.start[0])));
        }
    }
    for (int ending = 0; ending < ZAVO_RUN_NO_MEMORY; ++ending) {
        EXPECT_GT(endings[static_cast<std::size_t>(ending)], 10) << ending;
    }
}

// The first step leaves a plain that is all but level; behind it the slope is steeper
// by 270 orders of magnitude, and so would the next step be longer.
TEST(hostile_runs, a_step_beyond_the_doubles_is_not_taken)
{
    constexpr float size = 1e38F;
    Attempt run(
        [](const Point& x) {
            const double u = x[0] / double{size};
            return -1e-280 * u - 1e-8 * std::max(u - 1.0, 0.0);
        },
        {0.5F * size});
    run.gradient = [](const Point& x) {
        return Point{(x[0] > double{size} ? -1e-8 : -1e-280) / double{size}};
    };
    run.sizes = {size};
    run.solve();
    EXPECT_FLOAT_EQ(run.x[0], 2.5F * size); // the first step, doubled as long as there are floats
    EXPECT_EQ(run.outcome.value, run.f({double{run.x[0]}}));
    // From there the next round steps by the size again, beyond the floats.
    EXPECT_EQ(run.outcome.status, ZAVO_RUN_UNBOUNDED);
}

// The slope is still steep at 1, where the function has become all but level.
TEST(hostile_runs, a_longer_step_must_be_worth_it)
{
    Attempt run([](const Point& x) { return -1.5e-4 * std::min(x[0], 1.0) - 1e-6 * x[0]; }, {0.0F});
    run.gradient = [](const Point&) { return Point{-1.0}; };
    run.stop_at_iteration = 1;
    run.solve();
    EXPECT_EQ(run.x[0], 1.0F); // 2 is lower, but not by its share
    EXPECT_EQ(run.calls, 3);
}

// A round that gains is followed by another one, but not for ever.
TEST(hostile_runs, a_function_that_falls_with_every_call_is_left)
{
    for (const bool bounded : {false, true}) {
        int calls = 0;
        Attempt run([&calls](const Point& x) { return (x[0] - 1.0) * (x[0] - 1.0) + 1.0 / ++calls; }, {4.0F});
        if (bounded) {
            run.lower = {2.0F};
        }
        run.problem.tolerance = 0.0;
        run.solve();
        EXPECT_NE(run.outcome.status, ZAVO_RUN_LIMIT);
        EXPECT_NEAR(run.x[0], bounded ? 2.0 : 1.0, 0.02);
    }
}

TEST(hostile_runs, a_start_at_the_end_of_the_floats_has_differences_to_one_side)
{
    Attempt run([](const Point& x) { return std::pow(x[0] / 1e38 - 1.0, 2); },
                {std::numeric_limits<float>::max()});
    run.lower = {0.0F};
    run.solve();
    EXPECT_EQ(run.outcome.status, ZAVO_RUN_CONVERGED);
    EXPECT_NEAR(run.x[0] / 1e38, 1.0, 1e-3);
}

// |x|^1.1 on a high plateau: the model promises more than rounding leaves of it.
TEST(hostile_runs, changes_next_to_nothing_are_no_minimum)
{
    Attempt run(
        [](const Point& x) {
            return 1e7 + 0.1 * (std::pow(std::fabs(x[0]), 1.1) + 7.8 * std::fabs(x[1] + x[0]));
        },
        {-1.2F, 1.0F});
    run.problem.tolerance = 0.0;
    run.problem.digits = 7;
    run.problem.differences = ZAVO_RUN_CENTRAL;
    run.solve();
    EXPECT_EQ(run.outcome.status, ZAVO_RUN_UNCERTAIN);
    EXPECT_EQ(run.outcome.code, code::no_function_progress);
    EXPECT_NEAR(run.outcome.value, 1e7, 0.01);
}

// Six rows, nearly parallel, which leave a narrow cone about the minimum, its apex: the
// residuals shrink with the variables, and so does what counts as a rounding error.
TEST(hostile_runs, the_apex_of_a_narrow_cone_is_come_to)
{
    Attempt run([](const Point& x) { return std::fabs(x[0]) + std::fabs(x[1]); },
                {-32640.1094F, 57.9814835F});
    run.left = {-0.159585744F, -0.184679285F, 0.16039744F,   0.182650506F,  0.160146996F, 0.18479383F,
                -0.157979071F, -0.187075108F, -0.157374904F, -0.184722185F, 0.15628992F,  0.185402438F};
    run.sides = {0.0F, 0.179980233F, 0.0F, 0.0F, 0.426189214F, 0.0F};
    run.lower = {-infinity, -2.23517704F};
    run.upper = {4.73036385F, 4.15555573F};
    run.problem.limit = 2000;
    for (const int differences : {ZAVO_RUN_AUTO, ZAVO_RUN_CENTRAL}) {
        run.problem.differences = differences;
        run.calls = 0;
        run.solve();
        EXPECT_EQ(run.outcome.status, ZAVO_RUN_CONVERGED);
        EXPECT_LT(run.outcome.value, 1e-5);
        EXPECT_EQ(run.outcome.evaluations, run.calls);
    }
}

TEST(hostile_runs, more_variables_than_can_be_counted_are_refused)
{
    for (const bool bounded : {false, true}) {
        const float nothing = 0.0F;
        zavo_run_problem problem{};
        zavo_run_outcome outcome{};
        problem.n = std::numeric_limits<int>::max();
        problem.start = &nothing;
        problem.lower = bounded ? &nothing : nullptr;
        zavo_run_minimization(&problem, &outcome);
        EXPECT_EQ(outcome.status, ZAVO_RUN_NO_MEMORY);
        EXPECT_EQ(outcome.evaluations, 0);
        problem.n = 1;
        problem.rows = std::numeric_limits<int>::max();
        zavo_run_minimization(&problem, &outcome);
        EXPECT_EQ(outcome.status, ZAVO_RUN_NO_MEMORY);
    }
}

} // namespace

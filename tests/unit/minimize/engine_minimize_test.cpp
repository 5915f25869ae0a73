// Minimisation with contexts.
#include "core/system/memory.hpp"
#include "core/zavo.h"
#include "minimize/engine_minimize.h"
#include "tests/support/captured_errors.hpp"

#include <cmath>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

namespace {

using zavo::test::CapturedErrors;
using Point = std::vector<double>;

constexpr float infinite = std::numeric_limits<float>::infinity();

// A problem with its callbacks as functions.
struct Engine {
    std::function<double(const Point&)> f;
    std::function<Point(const Point&)> g;
    std::function<bool(const zavo_minimize_progress&)> on_progress; // true ends the run
    std::function<bool()> stop = [] { return false; };
    std::vector<float> start, a, b, lower, upper, sizes;
    int neq = 0;
    zavo_minimize_options options;
    int calls = 0;
    std::vector<Point> seen;

    std::vector<float> x, gradient, multipliers;
    std::vector<int> active;
    zavo_minimize_outcome outcome = {};

    explicit Engine(std::vector<float> from) : start(std::move(from)) { zavo_minimize_defaults(&options); }

    static int value(void* context, int n, const float* x, double* f)
    {
        auto& self = *static_cast<Engine*>(context);
        ++self.calls;
        self.seen.emplace_back(x, x + n);
        *f = self.f(self.seen.back());
        return self.stop() ? 1 : 0;
    }
    static int slope(void* context, int n, const float* x, float* g)
    {
        const Point point = static_cast<Engine*>(context)->g(Point(x, x + n));
        for (int i = 0; i < n; ++i) {
            g[i] = static_cast<float>(point[static_cast<std::size_t>(i)]);
        }
        return 0;
    }
    static int progress(void* context, const zavo_minimize_progress* at)
    {
        return static_cast<Engine*>(context)->on_progress(*at) ? 1 : 0;
    }

    zavo_minimize_status run()
    {
        const int n = static_cast<int>(start.size());
        const int ncon = static_cast<int>(b.size());
        const auto pointer = [](const std::vector<float>& v) { return v.empty() ? nullptr : v.data(); };
        options.sizes = pointer(sizes);
        const zavo_minimize_problem problem = {n,
                                               this,
                                               value,
                                               g ? slope : nullptr,
                                               on_progress ? progress : nullptr,
                                               start.data(),
                                               ncon,
                                               neq,
                                               pointer(a),
                                               pointer(b),
                                               pointer(lower),
                                               pointer(upper)};
        x.resize(start.size());
        gradient.resize(start.size());
        multipliers.resize(start.size());
        active.resize(b.size() + 2 * start.size());
        outcome.x = x.data();
        outcome.gradient = gradient.data();
        outcome.active = active.data();
        outcome.multipliers = multipliers.data();
        const zavo_minimize_status status = zavo_minimize_run(&problem, &options, &outcome);
        active.resize(static_cast<std::size_t>(outcome.active_count));
        return status;
    }
};

double banana(const Point& x)
{
    return 100 * (x[1] - x[0] * x[0]) * (x[1] - x[0] * x[0]) + (1 - x[0]) * (1 - x[0]);
}
double bowl(const Point& x)
{
    return (x[0] - 1) * (x[0] - 1) + (x[1] - 2) * (x[1] - 2) + 3;
}

TEST(engine_minimize, free_run_converges_and_tells_all)
{
    const CapturedErrors errors;
    for (const auto differences : {ZAVO_DIFFERENCES_AUTO, ZAVO_DIFFERENCES_CENTRAL}) {
        Engine run({-1.2F, 1});
        run.f = banana;
        run.options.differences = differences;
        EXPECT_EQ(run.run(), ZAVO_MINIMIZE_CONVERGED);
        EXPECT_EQ(run.outcome.code, 0);
        EXPECT_STREQ(run.outcome.message, "");
        EXPECT_NEAR(run.x[0], 1, 2e-3);
        EXPECT_NEAR(run.x[1], 1, 4e-3);
        EXPECT_EQ(run.outcome.evaluations, run.calls);
        EXPECT_GT(run.outcome.iterations, 5);
        EXPECT_GT(run.outcome.gradients, run.outcome.iterations);
        // The value is the double that the function gave there, not its float.
        EXPECT_EQ(run.outcome.value, banana(Point(run.x.begin(), run.x.end())));
    }
    EXPECT_TRUE(errors.empty());
}

TEST(engine_minimize, forward_differences_cost_n_calls_and_no_more)
{
    Engine run({3, 3});
    run.f = bowl;
    run.options.differences = ZAVO_DIFFERENCES_FORWARD;
    run.run();
    EXPECT_NEAR(run.x[0], 1, 1e-3);
    for (std::size_t i = 0; i + 2 < run.seen.size() && i < 3; i += 3) {
        EXPECT_GT(run.seen[i + 1][0], run.seen[i][0]);
        EXPECT_GT(run.seen[i + 2][1], run.seen[i][1]);
    }
}

TEST(engine_minimize, user_gradient_is_used)
{
    for (const bool bounded : {false, true}) {
        Engine run({3, 3});
        run.f = bowl;
        run.g = [](const Point& x) { return Point{2 * (x[0] - 1), 2 * (x[1] - 2)}; };
        if (bounded) {
            run.upper = {9, 1};
        }
        EXPECT_EQ(run.run(), ZAVO_MINIMIZE_CONVERGED);
        EXPECT_NEAR(run.x[0], 1, 1e-4);
        EXPECT_NEAR(run.x[1], bounded ? 1 : 2, 1e-4);
        EXPECT_LT(run.calls, 15);
    }
}

TEST(engine_minimize, constrained_run_with_multipliers)
{
    const CapturedErrors errors;
    Engine run({0, 0});
    run.f = bowl;
    run.a = {1, 1, 1, 0};
    run.b = {1, -1};
    run.neq = 1;
    EXPECT_EQ(run.run(), ZAVO_MINIMIZE_CONVERGED);
    EXPECT_EQ(run.outcome.code, 8088);
    EXPECT_NE(std::string(run.outcome.message), "");
    EXPECT_NEAR(run.x[0], -1, 1e-5);
    EXPECT_NEAR(run.x[1], 2, 1e-5);
    EXPECT_EQ(run.active, (std::vector<int>{1, 2}));
    EXPECT_NEAR(run.multipliers[0], 0, 1e-3);
    EXPECT_NEAR(run.multipliers[1], 4, 1e-3);
    EXPECT_NEAR(run.gradient[0], -4, 1e-3);
    EXPECT_TRUE(errors.empty());
}

// Sizes of 1e-4 and 1e5, as powers of two, change neither multipliers nor results
// but the road to them.
TEST(engine_minimize, constrained_problems_are_scaled_by_sizes)
{
    Engine run({0, 0});
    run.f = [](const Point& x) {
        const double u = x[0] * 1e4 - 1;
        const double v = x[1] / 1e5 - 2;
        return 1e6 * (u * u + v * v);
    };
    run.upper = {0.5e-4F, infinite};
    run.sizes = {1e-4F, 1e5F};
    run.options.function_size = 1e6;
    EXPECT_EQ(run.run(), ZAVO_MINIMIZE_CONVERGED);
    EXPECT_EQ(run.x[0], 0.5e-4F);
    EXPECT_NEAR(run.x[1], 2e5, 50);
    EXPECT_EQ(run.active, (std::vector<int>{3}));
    EXPECT_NEAR(run.multipliers[0], 1e10, 1e7); // 1e6 * 2 * 0.5 * 1e4
    EXPECT_NEAR(run.gradient[0], -1e10, 1e7);
}

TEST(engine_minimize, probes_keep_within_the_bounds)
{
    for (const auto differences : {ZAVO_DIFFERENCES_FORWARD, ZAVO_DIFFERENCES_CENTRAL}) {
        Engine run({1, 0.5F});
        run.f = [](const Point& x) {
            return -std::log(x[0]) - std::sqrt(2 - x[0]) + (x[1] - 0.3) * (x[1] - 0.3) + std::sqrt(x[1]);
        };
        run.lower = {1e-3F, 0};
        run.upper = {2, 0.5F};
        run.options.differences = differences;
        run.run();
        for (const Point& x : run.seen) {
            EXPECT_GE(x[0], run.lower[0]);
            EXPECT_LE(x[0], 2);
            EXPECT_GE(x[1], 0);
            EXPECT_LE(x[1], 0.5);
        }
    }
}

TEST(engine_minimize, steps_back_from_places_without_a_value)
{
    for (const double nothing : {std::nan(""), HUGE_VAL, -HUGE_VAL, 1e300}) {
        Engine run({0.5F, 0});
        run.f = [nothing](const Point& x) { return x[0] > 0.999 ? nothing : -x[0] + x[1] * x[1] + 2; };
        run.run();
        EXPECT_NEAR(run.x[0], 0.999, 0.05);
        EXPECT_TRUE(std::isfinite(run.outcome.value));
    }
}

TEST(engine_minimize, start_without_a_value)
{
    for (const bool bounded : {false, true}) {
        Engine run({0, 0});
        run.f = [](const Point&) { return std::nan(""); };
        if (bounded) {
            run.lower = {-1, -1};
        }
        EXPECT_EQ(run.run(), ZAVO_MINIMIZE_BAD_START);
        EXPECT_EQ(run.calls, 1);
    }
}

// The limit counts every call; the best point so far is the result.
TEST(engine_minimize, call_limit_holds)
{
    for (const bool bounded : {false, true}) {
        for (int limit = 1; limit < 60; ++limit) {
            Engine run({-1.2F, 1});
            run.f = banana;
            if (bounded) {
                run.lower = {-9, -9};
            }
            run.options.call_limit = limit;
            if (run.run() == ZAVO_MINIMIZE_LIMIT) {
                EXPECT_EQ(run.outcome.code, 8029);
                EXPECT_EQ(run.calls, limit);
                EXPECT_EQ(run.outcome.value, banana(Point(run.x.begin(), run.x.end())));
                EXPECT_LE(run.outcome.value, banana({-1.2F, 1}));
            } else {
                EXPECT_LT(run.calls, limit);
            }
        }
    }
}

TEST(engine_minimize, callbacks_may_end_the_run_at_any_call)
{
    for (const bool bounded : {false, true}) {
        for (int last = 1; last < 40; ++last) {
            Engine run({-1.2F, 1});
            run.f = banana;
            run.stop = [&] { return run.calls >= last; };
            if (bounded) {
                run.lower = {-9, -9};
            }
            EXPECT_EQ(run.run(), ZAVO_MINIMIZE_STOPPED);
            EXPECT_EQ(run.calls, last);
            EXPECT_EQ(run.outcome.code, 0);
        }
    }
}

TEST(engine_minimize, progress_comes_after_every_iteration_and_may_stop)
{
    for (const bool bounded : {false, true}) {
        Engine run({-1.2F, 1});
        run.f = banana;
        if (bounded) {
            run.lower = {-9, -9};
        }
        std::vector<double> values;
        run.on_progress = [&](const zavo_minimize_progress& at) {
            values.push_back(at.value);
            EXPECT_EQ(at.iterations, static_cast<int>(values.size()));
            EXPECT_EQ(at.evaluations, run.calls);
            EXPECT_EQ(at.value, banana({at.x[0], at.x[1]}));
            return false;
        };
        run.run();
        EXPECT_EQ(static_cast<int>(values.size()), run.outcome.iterations);
        values.clear();
        run.on_progress = [&](const zavo_minimize_progress&) {
            return values.size() == 3 || (values.push_back(0), false);
        };
        EXPECT_EQ(run.run(), ZAVO_MINIMIZE_STOPPED);
        EXPECT_EQ(run.outcome.iterations, 4);
    }
}

TEST(engine_minimize, endings_have_their_status)
{
    const CapturedErrors errors;
    Engine falls({1, 1});
    falls.f = [](const Point& x) { return -x[0] - x[1]; };
    EXPECT_EQ(falls.run(), ZAVO_MINIMIZE_UNBOUNDED);
    EXPECT_EQ(falls.outcome.code, 8032);
    falls.lower = {0, 0};
    EXPECT_EQ(falls.run(), ZAVO_MINIMIZE_UNBOUNDED);

    Engine clash({1, 1});
    clash.f = bowl;
    clash.a = {1, 1};
    clash.b = {-3};
    clash.lower = {0, 0};
    EXPECT_EQ(clash.run(), ZAVO_MINIMIZE_INCONSISTENT);
    EXPECT_EQ(clash.outcome.code, 8093);
    EXPECT_EQ(clash.calls, 0);
    EXPECT_TRUE(std::isnan(clash.outcome.value));

    Engine iterations({-1.2F, 1});
    iterations.f = banana;
    iterations.options.iteration_limit = 3;
    EXPECT_EQ(iterations.run(), ZAVO_MINIMIZE_LIMIT);
    EXPECT_EQ(iterations.outcome.iterations, 3);

    Engine crossing({1, 1});
    crossing.f = bowl;
    crossing.lower = {0, 3};
    crossing.upper = {9, 2};
    CapturedErrors reported;
    EXPECT_EQ(crossing.run(), ZAVO_MINIMIZE_REFUSED);
    EXPECT_EQ(crossing.outcome.code, 8086);

    Engine fixed({1, 1});
    fixed.f = bowl;
    fixed.a = {1, 1, 1, -1};
    fixed.b = {3, 1};
    fixed.neq = 2;
    EXPECT_EQ(fixed.run(), ZAVO_MINIMIZE_CONVERGED);
    EXPECT_EQ(fixed.calls, 1);
    EXPECT_EQ(fixed.outcome.value, bowl({2, 1}));

    Engine one({3});
    one.f = [](const Point& x) { return (x[0] - 1) * (x[0] - 1); };
    CapturedErrors silent;
    EXPECT_EQ(one.run(), ZAVO_MINIMIZE_CONVERGED);
    EXPECT_TRUE(silent.empty()); // no word about its being only one
}

TEST(engine_minimize, runs_nest_and_leave_no_error_behind)
{
    const CapturedErrors errors;
    Engine outer({3, 3});
    outer.f = [](const Point& x) {
        Engine inner({0});
        inner.f = [](const Point& y) { return (y[0] - 2) * (y[0] - 2); };
        inner.run();
        zavo_i_machine(99);
        return (x[0] - inner.x[0]) * (x[0] - inner.x[0]) + x[1] * x[1] + 1;
    };
    EXPECT_LE(outer.run(), ZAVO_MINIMIZE_UNCERTAIN);
    EXPECT_NE(outer.outcome.code, 132); // the function's own
    EXPECT_NEAR(outer.x[0], 2, 1e-3);
    EXPECT_EQ(zavo_error_type(1), 0);
}

TEST(engine_minimize, every_allocation_may_fail)
{
    for (const bool bounded : {false, true}) {
        for (long nth = 1;; ++nth) {
            CapturedErrors errors;
            void* const mark = zavo::core::work_mark();
            Engine run({3, 3});
            run.f = bowl;
            if (bounded) {
                run.upper = {9, 1};
            }
            zavo_fail_allocation(nth);
            const zavo_minimize_status status = run.run();
            zavo_fail_allocation(0);
            EXPECT_EQ(zavo::core::work_mark(), mark);
            if (status != ZAVO_MINIMIZE_REFUSED) {
                break;
            }
            EXPECT_EQ(run.outcome.code, 201);
            EXPECT_EQ(run.calls, 0);
            ASSERT_LT(nth, 20);
        }
    }
}

} // namespace

// A minimisation as a value with the arrays that it needs, and what came of it.
#pragma once

#include "minimize/run/run.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <utility>
#include <vector>

namespace zavo::test {

using Function = std::function<double(const std::vector<double>&)>;
using Gradient = std::function<std::vector<double>(const std::vector<double>&)>;

// After a callback has asked for the end none is called again.
struct Attempt {
    Attempt(Function function, std::vector<float> from) : f(std::move(function)), start(std::move(from))
    {
        problem.tolerance = 1e-6;
        problem.limit = 20000;
    }

    Attempt& solve()
    {
        const std::size_t n = start.size();
        problem.n = static_cast<int>(n);
        problem.context = this;
        problem.value = [](void* context, const float* x, int* stop) {
            return static_cast<Attempt*>(context)->value(x, stop);
        };
        if (gradient) {
            problem.gradient = [](void* context, const float* x, double* g, int* stop) {
                Attempt& run = *static_cast<Attempt*>(context);
                const std::vector<double> values = run.gradient({x, x + run.problem.n});
                std::copy(values.begin(), values.end(), g);
                run.ask_for_end(++run.gradient_calls == run.stop_at_gradient, stop);
            };
        }
        if (stop_at_iteration > 0) {
            problem.progress = [](void* context, const float*, double, int, int iteration, int* stop) {
                Attempt& run = *static_cast<Attempt*>(context);
                EXPECT_EQ(iteration, ++run.iterations_seen);
                run.ask_for_end(iteration >= run.stop_at_iteration, stop);
            };
        }
        problem.start = start.data();
        problem.sizes = sizes.empty() ? nullptr : sizes.data();
        problem.lower = lower.empty() ? nullptr : lower.data();
        problem.upper = upper.empty() ? nullptr : upper.data();
        problem.left = left.data();
        problem.sides = sides.data();
        problem.rows = static_cast<int>(sides.size());
        x.assign(n, -77.0F);
        g.assign(n, -77.0);
        multipliers.assign(n, 0.0);
        active.assign(sides.size() + 2 * n, 0);
        outcome.x = x.data();
        outcome.g = g.data();
        outcome.multipliers = multipliers.data();
        outcome.active = active.data();
        zavo_run_minimization(&problem, &outcome);
        return *this;
    }

    double value(const float* at, int* stop)
    {
        ++calls;
        for (int i = 0; i < problem.n; ++i) {
            EXPECT_TRUE(lower.empty() || at[i] >= lower[static_cast<std::size_t>(i)]);
            EXPECT_TRUE(upper.empty() || at[i] <= upper[static_cast<std::size_t>(i)]);
        }
        ask_for_end(calls == stop_at_call, stop);
        return f({at, at + problem.n});
    }

    void ask_for_end(bool now, int* stop)
    {
        EXPECT_FALSE(has_asked_for_end);
        has_asked_for_end = now;
        *stop = now ? 1 : 0;
    }

    std::vector<int> active_ones() const { return {active.begin(), active.begin() + outcome.active_count}; }

    Function f;
    Gradient gradient;
    std::vector<float> start, sizes, lower, upper, left, sides, x;
    std::vector<double> g, multipliers;
    std::vector<int> active;
    zavo_run_problem problem{};
    zavo_run_outcome outcome{};
    int calls = 0;
    int gradient_calls = 0;
    int stop_at_call = 0;
    int stop_at_gradient = 0;
    int stop_at_iteration = 0;
    int iterations_seen = 0;
    bool has_asked_for_end = false;
};

} // namespace zavo::test

// No run goes on for ever: every loop of both minimisers driven with infinite and
// NaN values, places, steps and limits. A run that takes more evaluations than
// any of these may is ended at once, by an abort.
#include "core/zavo.h"
#include "minimize/minimize.h"
#include "tests/support/captured_errors.hpp"
#include "tests/support/line_search_call.hpp"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace {

using zavo::test::CapturedErrors;
using zavo::test::LineSearchCall;

constexpr float nan_value = std::numeric_limits<float>::quiet_NaN();
constexpr float infinite = std::numeric_limits<float>::infinity();
constexpr float largest = std::numeric_limits<float>::max();
constexpr float smallest = std::numeric_limits<float>::denorm_min();
constexpr int too_many = 20000;

int evaluations;
int kind; // of the function below
float special;

// Functions of every shape that a loop could follow for ever.
float value_at(int n, const float* x)
{
    if (++evaluations > too_many) {
        std::fprintf(stderr, "function %d, value %g: a run without an end\n", kind,
                     static_cast<double>(special));
        std::abort();
    }
    float sum = 0;
    for (int i = 0; i < n; ++i) {
        sum += x[i];
    }
    switch (kind) {
    case 0:
        return -x[0]; // falls for ever
    case 1:
        return -x[0] * x[0]; // falls faster and faster
    case 2:
        return sum > 5 ? special : -sum; // falls to a wall
    case 3:
        return evaluations % 3 == 0 ? special : sum * sum; // a value now and then
    case 4:
        return special; // nothing but that
    case 5:
        return std::fabs(x[0]) * 1e-30F; // almost flat
    case 6:
        return x[0] * x[0] * 1e38F; // overflows in the gradient
    case 7:
        return -1.0F / (x[0] * x[0]); // minus infinity at a point
    case 8:
        return std::sqrt(x[0]); // NaN on one side
    case 9:
        return static_cast<float>(evaluations) * -1e30F; // falls with every call
    default:
        return (x[0] - 1) * (x[0] - 1) + sum * sum; // a good one
    }
}
constexpr int kinds = 11;

float free_function(int n, float* x)
{
    return value_at(n, x);
}

void constrained_function(int n, float* x, float* f)
{
    *f = value_at(n, x);
}

float slope;
void same_gradient(int n, float*, float* g)
{
    for (int i = 0; i < n; ++i) {
        g[i] = slope;
    }
}

const float specials[] = {nan_value, infinite, -infinite, largest, -largest, 0.0F};
const float starts[] = {0, 1, -3, 2e19F, 1e30F, largest, smallest, infinite, -infinite, nan_value};

TEST(endless_runs, far_start_of_a_falling_line_ends)
{
    const CapturedErrors errors;
    evaluations = 0;
    kind = 0;
    const float start[] = {0, 2e19F};
    std::free(zavo_f_min_uncon_multivar(
        [](int, float* x) {
            ++evaluations;
            return -x[0] + 0 * x[1];
        },
        2, ZAVO_START_POINT, start, 0));
    EXPECT_LT(evaluations, 500);
}

TEST(endless_runs, infinite_step_limit_ends)
{
    CapturedErrors errors;
    for (const double limit : {1e300, HUGE_VAL, 1e38, 1e-300, std::nan("")}) {
        for (kind = 0; kind < kinds; ++kind) {
            special = infinite;
            evaluations = 0;
            const float start[] = {1, 1};
            std::free(zavo_f_min_uncon_multivar(free_function, 2, ZAVO_START_POINT, start, ZAVO_STEP_LIMIT,
                                                limit, 0));
            EXPECT_LT(evaluations, 3000) << kind;
        }
    }
}

TEST(endless_runs, free_runs_from_anywhere_end)
{
    CapturedErrors errors;
    for (kind = 0; kind < kinds; ++kind) {
        for (special = 0; const float value : specials) {
            special = value;
            for (const float at : starts) {
                for (const bool gradient : {false, true}) {
                    for (const double step_tolerance : {0.0, 1e-4, 1e30}) {
                        slope = gradient ? value : 0;
                        evaluations = 0;
                        const float start[] = {at, 1};
                        float* const x = zavo_f_min_uncon_multivar(
                            free_function, 2, ZAVO_START_POINT, start, ZAVO_STEP_TOLERANCE, step_tolerance,
                            ZAVO_STEP_LIMIT, HUGE_VAL, ZAVO_GRADIENT_TOLERANCE, 0.0, ZAVO_GRADIENT_FUNCTION,
                            gradient ? same_gradient : nullptr, 0);
                        EXPECT_NE(x, nullptr);
                        std::free(x);
                        EXPECT_LT(evaluations, 3000) << kind << " " << value << " " << at;
                    }
                }
            }
        }
    }
}

// The limit of evaluations holds inside the line search, where one alone used to
// run on beyond it; stepping back has a few trials more.
TEST(endless_runs, evaluation_limit_holds_inside_a_search)
{
    CapturedErrors errors;
    slope = -1;
    constexpr int steps_back = 10;
    for (const int limit : {1, 2, 3, 7, 50}) {
        for (kind = 0; kind < kinds; ++kind) {
            special = infinite;
            evaluations = 0;
            std::free(zavo_f_min_uncon_multivar(free_function, 2, ZAVO_FUNCTION_EVAL_LIMIT, limit,
                                                ZAVO_GRADIENT_FUNCTION, same_gradient, 0));
            const bool goes_on = kind == 0 || kind == 1 || kind == 9; // extends as long as it may
            EXPECT_LE(evaluations, limit + (goes_on ? 1 : steps_back)) << kind;
        }
    }
}

// From 0.3 the first trial lands on -0.3, the second on 0.
TEST(endless_runs, search_that_meets_the_limit_keeps_its_way_back)
{
    const CapturedErrors errors;
    const auto parabola = [](int, float* x) {
        ++evaluations;
        return x[0] * x[0] + x[1] * x[1];
    };
    const auto its_gradient = [](int, float* x, float* g) {
        g[0] = 2 * x[0];
        g[1] = 2 * x[1];
    };
    const float start[] = {0.3F, 0};
    float f = -1;
    evaluations = 0;
    std::free(zavo_f_min_uncon_multivar(parabola, 2, ZAVO_START_POINT, start, ZAVO_RESULT_VALUE, &f,
                                        ZAVO_FUNCTION_EVAL_LIMIT, 2, ZAVO_GRADIENT_FUNCTION,
                                        static_cast<zavo_gradient_fn>(its_gradient), 0));
    EXPECT_EQ(evaluations, 3);
    EXPECT_EQ(f, 0.0F);
}

TEST(endless_runs, constrained_runs_from_anywhere_end)
{
    CapturedErrors errors;
    for (kind = 0; kind < kinds; ++kind) {
        for (const float value : specials) {
            special = value;
            for (const float at : starts) {
                for (const bool gradient : {false, true}) {
                    for (const float bound : {5.0F, largest, infinite}) {
                        slope = gradient ? value : 0;
                        evaluations = 0;
                        float a[] = {1, 1, at, -1};
                        const float b[] = {bound, at};
                        const float xlb[] = {-bound, -infinite};
                        const float xub[] = {bound, bound};
                        const float start[] = {at, 1};
                        constexpr int limit = 100;
                        std::free(zavo_f_min_con_gen_lin(
                            constrained_function, 2, 2, 0, a, b, xlb, xub, ZAVO_START_POINT, start,
                            ZAVO_ACCURACY, 0.0, ZAVO_FUNCTION_EVAL_LIMIT, limit, ZAVO_CON_GRADIENT_FUNCTION,
                            gradient ? same_gradient : nullptr, 0));
                        EXPECT_LE(evaluations, limit * (gradient ? 1 : 3)) << kind << " " << value;
                    }
                }
            }
        }
    }
}

// The equalities' loops: rows of infinities, NaN and zeros.
TEST(endless_runs, equalities_without_sense_end)
{
    CapturedErrors errors;
    kind = 10;
    for (const float value : specials) {
        for (const float other : specials) {
            for (int neq = 0; neq <= 3; ++neq) {
                evaluations = 0;
                float a[] = {value, 1, 1, other, other, value};
                const float b[] = {1, value, other};
                const float xlb[] = {-infinite, other > 0 ? -other : other};
                const float xub[] = {infinite, infinite};
                std::free(zavo_f_min_con_gen_lin(constrained_function, 2, 3, neq, a, b, xlb, xub, 0));
                EXPECT_LE(evaluations, 400 * 3);
            }
        }
    }
}

// The search under its fixed name, which knows no limit of evaluations.
TEST(endless_runs, fixed_name_search_ends)
{
    CapturedErrors errors;
    for (kind = 0; kind < kinds; ++kind) {
        for (const float value : specials) {
            for (const float at : starts) {
                special = value;
                evaluations = 0;
                slope = -1;
                LineSearchCall<2> search = {
                    .x = {at, 1}, .f = 3, .g = {-1, -1}, .p = {1, 1}, .scale = {1, 1}, .reals = {}};
                search.run(free_function, same_gradient);
                EXPECT_GE(search.code, 0);
                EXPECT_LT(evaluations, 3000) << kind << " " << value << " " << at;
            }
        }
    }
}

} // namespace

#include "minimize/free/stopping_tests.hpp"

#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"
#include "minimize/free/relative_measures.hpp"

#include <cassert>

namespace zavo::minimize {
namespace {

using namespace core::code;

// Longest steps in one run that are taken for a function without a minimum.
constexpr int longest_steps_allowed = 5;

// What is posted for an ending: a type, a code and the parameter of its message.
struct EndingRow {
    Ending ending;
    int type;
    ErrorCode code;
    float Controls::*tolerance;
    int Controls::*limit;
};

constexpr EndingRow ending_table[] = {
    // clang-format off
    {Ending::step_small,       ZAVO_NOTE,    small_step,              &Controls::step_tol,     nullptr},
    {Ending::search_failed,    ZAVO_WARNING, line_search_failed,      &Controls::step_tol,     nullptr},
    {Ending::no_progress,      ZAVO_WARNING, no_function_progress,    &Controls::relative_tol, nullptr},
    {Ending::stuck,            ZAVO_FATAL,   false_convergence,       nullptr, nullptr},
    {Ending::iterations_used,  ZAVO_WARNING, iteration_limit_reached, nullptr, &Controls::iteration_limit},
    {Ending::evaluations_used, ZAVO_WARNING, function_limit_reached,  nullptr, &Controls::eval_limit},
    {Ending::gradients_used,   ZAVO_WARNING, gradient_limit_reached,  nullptr, &Controls::gradient_limit},
    {Ending::unbounded,        ZAVO_WARNING, unbounded_steps,         nullptr, nullptr},
    // clang-format on
};

void post(Ending ending, const Controls& controls)
{
    for (const EndingRow& row : ending_table) {
        if (row.ending == ending) {
            if (row.tolerance != nullptr) {
                zavo_error_set_real(1, controls.*row.tolerance);
            }
            if (row.limit != nullptr) {
                zavo_error_set_int(1, controls.*row.limit);
            }
            zavo_error_post(row.type, row.code);
        }
    }
}

// What the iteration has come to, apart from the gradient test.
Ending test_step_and_limits(const Progress& now, const Controls& controls)
{
    if (now.search.result == search_failed) {
        return Ending::search_failed;
    }
    if (now.search.result == search_cut) { // the step of 0 is no convergence
        return Ending::evaluations_used;
    }
    if (relative_step(now.n, now.at.x, now.step, now.xscale) <= controls.step_tol) {
        return Ending::step_small;
    }
    if (now.search.result == search_without_progress) {
        return Ending::no_progress;
    }
    if (now.search.result == search_stuck) {
        return Ending::stuck;
    }
    if (now.counts.iterations >= controls.iteration_limit) {
        return Ending::iterations_used;
    }
    if (now.counts.evaluations >= controls.eval_limit) {
        return Ending::evaluations_used;
    }
    return now.counts.gradients >= controls.gradient_limit ? Ending::gradients_used : Ending::running;
}

Ending find_ending(const Progress& now, const Controls& controls, int& longest_count)
{
    const float measure = relative_gradient(now.n, now.at.x, now.at.f, now.at.g, now.xscale, now.fscale);
    if (now.counts.iterations == 0) {
        longest_count = 0;
    }
    if (measure <= controls.gradient_tol) {
        return Ending::gradient_small;
    }
    if (now.counts.iterations == 0) {
        return Ending::running;
    }
    const Ending ending = test_step_and_limits(now, controls);
    if (now.search.longest && ending != Ending::step_small) {
        // Kept: shorter steps in between do not reset the count
        // (min_uncon_stopping.longest_steps_are_counted_over_the_whole_run).
        ++longest_count;
        if (longest_count == longest_steps_allowed && ending == Ending::running) {
            return Ending::unbounded;
        }
    }
    return ending;
}

} // namespace

Ending test_stop(const Progress& now, const Controls& controls, int& longest_count)
{
    assert(now.n >= 1);
    zavo_error_push("U6INF");
    const Ending ending = find_ending(now, controls, longest_count);
    post(ending, controls);
    zavo_error_pop("U6INF");
    return ending;
}

} // namespace zavo::minimize

// The stopping tests of the unconstrained minimiser, in their order: gradient,
// failed line search, step, the search's other reports, limits, steps of the
// greatest length.
//   J. E. Dennis, R. B. Schnabel (1983), algorithm A7.2.1.
#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"
#include "minimize/controls.hpp"
#include "minimize/line_search.hpp"
#include "minimize/minimize.h"
#include "minimize/relative_measures.hpp"

namespace zavo::minimize {
namespace {

using namespace core::code;

// Longest steps in one run that are taken for a function without a minimum.
constexpr int longest_steps_allowed = 5;

void post_tolerance(int type, ErrorCode code, float tolerance)
{
    zavo_error_set_real(1, tolerance);
    zavo_error_post(type, code);
}

void post_limit(ErrorCode code, int limit)
{
    zavo_error_set_int(1, limit);
    zavo_error_post(ZAVO_WARNING, code);
}

// What the iteration has come to, apart from the gradient test. True when the
// step says that x has converged.
bool test_step_and_limits(float step, int return_code, int iteration, int eval_count, int gradient_count,
                          const int* integers, const float* reals)
{
    if (return_code == search_failed) {
        post_tolerance(ZAVO_WARNING, line_search_failed, reals[step_tol]);
    } else if (step <= reals[step_tol]) {
        post_tolerance(ZAVO_NOTE, small_step, reals[step_tol]);
        return true;
    } else if (return_code == search_without_progress) {
        post_tolerance(ZAVO_WARNING, no_function_progress, reals[relative_tol]);
    } else if (return_code == search_stuck) {
        zavo_error_post(ZAVO_FATAL, false_convergence);
    } else if (iteration >= integers[iteration_limit]) {
        post_limit(iteration_limit_reached, integers[iteration_limit]);
    } else if (eval_count >= integers[eval_limit]) {
        post_limit(function_limit_reached, integers[eval_limit]);
    } else if (gradient_count >= integers[gradient_limit]) {
        post_limit(gradient_limit_reached, integers[gradient_limit]);
    }
    return false;
}

} // namespace

extern "C" void U6INF(const int* n, const float* x, const float* step, const float* f, const float* g,
                      const float* xscale, const float* fscale, const int* return_code, const int* iteration,
                      const int* eval_count, const int* gradient_count, const int* integers,
                      const float* reals, const int* longest, int* longest_count, int* converged)
{
    zavo_error_push("U6INF");
    *converged = relative_gradient(*n, x, *f, g, xscale, *fscale) <= reals[gradient_tol] ? 1 : 0;
    if (*iteration == 0) {
        *longest_count = 0;
    } else if (*converged == 0) {
        *converged = test_step_and_limits(relative_step(*n, x, step, xscale), *return_code, *iteration,
                                          *eval_count, *gradient_count, integers, reals)
                         ? 1
                         : 0;
        if (*longest != 0 && *converged == 0) {
            // Kept: shorter steps in between do not reset the count.
            ++*longest_count;
            if (*longest_count == longest_steps_allowed && core::pending_type() == 0) {
                zavo_error_post(ZAVO_WARNING, unbounded_steps);
            }
        }
    }
    zavo_error_pop("U6INF");
}

} // namespace zavo::minimize

// The fixed names, for outsiders: each reads what it gets by address into the
// structs of the routine behind it. Nothing inside the library calls one of them.
#include "minimize/constrained/lincon.hpp"
#include "minimize/control_arrays.hpp"
#include "minimize/free/quasi_newton.hpp"
#include "minimize/minimize.h"

#include <climits>

using namespace zavo::minimize;

namespace {

// A line search: what the outsider gives, and the addresses of what he wants.
struct SearchStart {
    int n;
    Point from;
    float* p; // n
    const float* xscale;
    Controls controls;
};
struct SearchAnswer {
    float* x; // n, the new point
    float* f;
    float* g;
    float* spare;    // n
    int* eval_count; // these two are raised
    int* gradient_count;
    int* return_code;
    int* longest;
};

// The outsider's search knows no limit of evaluations.
Controls search_controls(const float* reals, const float step_limit)
{
    Controls controls;
    controls.step_tol = reals[control_arrays::step_tol];
    controls.relative_tol = reals[control_arrays::relative_tol];
    controls.false_tol = reals[control_arrays::false_tol];
    controls.step_limit = step_limit;
    controls.eval_limit = INT_MAX;
    return controls;
}

template <class Gradient>
void search(Gradient gradient, SearchStart start, const SearchAnswer& answer)
{
    Point to = {answer.x, answer.g, {}};
    Counts counts = {0, *answer.eval_count, *answer.gradient_count};
    const SearchEnd end = search_line(gradient, Search{start.n, start.from, start.p, start.xscale,
                                                       start.controls, to, answer.spare, counts});
    *answer.f = to.f;
    *answer.eval_count = counts.evaluations;
    *answer.gradient_count = counts.gradients;
    *answer.return_code = end.result;
    *answer.longest = end.longest ? 1 : 0;
}

// The outsider's two arrays of controls.
struct ControlArrays {
    int* integers;
    float* reals;
};

template <class Gradient>
void iteration(Gradient gradient, FreeProblem problem, float* fscale, ControlArrays arrays, float* fvalue,
               float* work)
{
    Controls controls = control_arrays::read(arrays.integers, arrays.reals);
    const FreeOutcome outcome = iterate(gradient, problem, controls, work);
    control_arrays::write(controls, arrays.integers, arrays.reals);
    *fscale = problem.fscale;
    if (outcome.ending != Ending::refused) {
        *fvalue = outcome.f;
    }
}

// The controls that a driver gets one by one.
struct DriverControls {
    const float* gradient_tol;
    const float* step_tol;
    const float* relative_tol;
    const float* step_limit;
    const int* good_digits;
    const int* iteration_limit;
    const int* eval_limit;
    const int* gradient_limit;
    const int* hessian_start;

    Controls read() const
    {
        Controls controls;
        controls.gradient_tol = *gradient_tol;
        controls.step_tol = *step_tol;
        controls.relative_tol = *relative_tol;
        controls.step_limit = *step_limit;
        controls.good_digits = *good_digits;
        controls.iteration_limit = *iteration_limit;
        controls.eval_limit = *eval_limit;
        controls.gradient_limit = *gradient_limit;
        controls.hessian_start = *hessian_start;
        return controls;
    }
};

template <class Gradient>
void driver(Gradient gradient, FreeProblem problem, const float* start, const DriverControls& given,
            float* fvalue, float* work)
{
    Controls controls = given.read();
    const FreeOutcome outcome = minimize_free(gradient, problem, controls, start, work);
    if (outcome.ending != Ending::refused) {
        *fvalue = outcome.f;
    }
}

struct ConstrainedAnswer {
    float* fvalue;
    int* active_count;
    int* status;
};

template <class Gradient>
void constrained_driver(Gradient gradient, const ConstrainedProblem& problem,
                        const ConstrainedWorkspace& work, const ConstrainedAnswer& answer)
{
    const ConstrainedOutcome outcome = minimize_constrained(gradient, problem, work);
    if (outcome.status != refused) {
        *answer.fvalue = outcome.f;
        *answer.active_count = outcome.active_count;
        *answer.status = outcome.status;
    }
}

} // namespace

extern "C" {

void FDGRD(zavo_objective_fn fcn, const int* n, float* x, const float* scale, const float* f0,
           const float* noise, float* grad)
{
    Objective objective(fcn);
    forward_difference_gradient(objective, *n, x, scale, *f0, *noise, grad);
}

void CDGRD(zavo_objective_fn fcn, const int* n, float* x, const float* scale, const float* noise, float* grad)
{
    Objective objective(fcn);
    central_difference_gradient(objective, *n, x, scale, *noise, grad);
}

void L21NF(zavo_constrained_objective_fn fcn, const int* n, float* x, const float* f0, float* grad)
{
    Objective objective(fcn);
    plain_difference_gradient(objective, *n, x, *f0, grad);
}

void U17NF(zavo_objective_fn fcn, const int* n, float* x, const float* f, const float* g, float* p,
           const float* xscale, const float* limit, const float* reals, const float* noise,
           const int* central, float* x_new, float* f_new, float* g_new, float* spare, int* eval_count,
           int* gradient_count, int* return_code, int* longest)
{
    Objective objective(fcn);
    search(DifferenceGradient{objective, *noise, *central != 0},
           {*n, {x, const_cast<float*>(g), *f}, p, xscale, search_controls(reals, *limit)},
           {x_new, f_new, g_new, spare, eval_count, gradient_count, return_code, longest});
}

void U17NG(zavo_objective_fn fcn, zavo_gradient_fn gradient, const int* n, float* x, const float* f,
           const float* g, float* p, const float* xscale, const float* limit, const float* reals,
           float* x_new, float* f_new, float* g_new, float* spare, int* eval_count, int* gradient_count,
           int* return_code, int* longest)
{
    Objective objective(fcn);
    search(UserGradient{objective, gradient},
           {*n, {x, const_cast<float*>(g), *f}, p, xscale, search_controls(reals, *limit)},
           {x_new, f_new, g_new, spare, eval_count, gradient_count, return_code, longest});
}

void U3INF(zavo_objective_fn fcn, const int* n, float* x, float* xscale, float* fscale, int* integers,
           float* reals, float* fvalue, float* work)
{
    Objective objective(fcn);
    iteration(DifferenceGradient{objective}, {*n, x, xscale, *fscale}, fscale, {integers, reals}, fvalue,
              work);
}

void U3ING(zavo_objective_fn fcn, zavo_gradient_fn gradient, const int* n, float* x, float* xscale,
           float* fscale, int* integers, float* reals, float* fvalue, float* work)
{
    Objective objective(fcn);
    iteration(UserGradient{objective, gradient}, {*n, x, xscale, *fscale}, fscale, {integers, reals}, fvalue,
              work);
}

void U2INF(zavo_objective_fn fcn, const int* n, const float* start, float* xscale, const float* fscale,
           const float* gradient_tol, const float* step_tol, const float* relative_tol, const float* limit,
           const int* digits, const int* iterations, const int* evals, const int* gradients,
           const int* hessian, float* x, float* fvalue, float* work)
{
    Objective objective(fcn);
    driver(DifferenceGradient{objective}, {*n, x, xscale, *fscale}, start,
           {gradient_tol, step_tol, relative_tol, limit, digits, iterations, evals, gradients, hessian},
           fvalue, work);
}

void U2ING(zavo_objective_fn fcn, zavo_gradient_fn gradient, const int* n, const float* start, float* xscale,
           const float* fscale, const float* gradient_tol, const float* step_tol, const float* relative_tol,
           const float* limit, const int* digits, const int* iterations, const int* evals,
           const int* gradients, const int* hessian, float* x, float* fvalue, float* work)
{
    Objective objective(fcn);
    driver(UserGradient{objective, gradient}, {*n, x, xscale, *fscale}, start,
           {gradient_tol, step_tol, relative_tol, limit, digits, iterations, evals, gradients, hessian},
           fvalue, work);
}

void U5INF(const int* n, const float* x, float* xscale, float* fscale, const int* has_hessian, int* integers,
           float* reals)
{
    FreeProblem problem = {*n, const_cast<float*>(x), xscale, *fscale};
    Controls controls = control_arrays::read(integers, reals, *has_hessian != 0);
    check_controls(problem, controls);
    control_arrays::write(controls, integers, reals);
    *fscale = problem.fscale;
}

void U6INF(const int* n, const float* x, const float* step, const float* f, const float* g,
           const float* xscale, const float* fscale, const int* return_code, const int* iteration,
           const int* eval_count, const int* gradient_count, const int* integers, const float* reals,
           const int* longest, int* longest_count, int* converged)
{
    const Point at = {const_cast<float*>(x), const_cast<float*>(g), *f};
    const Counts counts = {*iteration, *eval_count, *gradient_count};
    const SearchEnd search = {static_cast<SearchResult>(*return_code), *longest != 0};
    const Progress now = {*n, at, step, xscale, *fscale, search, counts};
    *converged = has_converged(test_stop(now, control_arrays::read(integers, reals), *longest_count));
}

void L2ONF(zavo_constrained_objective_fn fcn, const int* nvar, const int* ncon, const int* neq,
           const float* a, const int* lda, const float* b, const float* xlb, const float* xub,
           const float* start, const float* accuracy, const int* eval_limit, float* x, float* fvalue,
           int* active_count, int* active, float* multipliers, const int*, int* status, float* work)
{
    Objective objective(fcn);
    constrained_driver(ConstrainedDifferences{objective},
                       {*nvar, *ncon, *neq, a, *lda, b, xlb, xub, start, *accuracy, *eval_limit},
                       {work, x, active, multipliers}, {fvalue, active_count, status});
}

void L2ONG(zavo_constrained_objective_fn fcn, zavo_gradient_fn gradient, const int* nvar, const int* ncon,
           const int* neq, const float* a, const int* lda, const float* b, const float* xlb, const float* xub,
           const float* start, const float* accuracy, const int* eval_limit, float* x, float* fvalue,
           int* active_count, int* active, float* multipliers, const int*, int* status, float* work)
{
    Objective objective(fcn);
    constrained_driver(ConstrainedUserGradient{objective, gradient},
                       {*nvar, *ncon, *neq, a, *lda, b, xlb, xub, start, *accuracy, *eval_limit},
                       {work, x, active, multipliers}, {fvalue, active_count, status});
}

} // extern "C"

// The minimisers' inner routines under their fixed names. Scalars go by
// address, vectors are `*n` floats, and each routine names itself on the error
// stack. C linkage.
#pragma once

#include "core/zavo.h"

extern "C" {

// ---- Gradients by differences ----------------------------------------------
// Forward (*n calls of fcn) and central (2 * *n calls) differences at x, with
// steps sqrt(max(*noise, eps)) * max(|x[i]|, 1/scale[i]) away from zero. x is
// changed during a call and stands bit for bit again afterwards. f0 is fcn at
// x. *noise outside 0..0.1 posts 5/8052 and leaves grad alone. The pushed names
// end in a blank.
void FDGRD(zavo_objective_fn fcn, const int* n, float* x, const float* scale, const float* f0,
           const float* noise, float* grad);
void CDGRD(zavo_objective_fn fcn, const int* n, float* x, const float* scale, const float* noise,
           float* grad);

// Forward differences of the linearly constrained minimiser: no scaling, no
// noise, no user-level marks. *n < 1 posts 5/8020.
void L21NF(zavo_constrained_objective_fn fcn, const int* n, float* x, const float* f0, float* grad);

// ---- Unconstrained minimisation --------------------------------------------
// Drivers: collect the controls and iterate. start and xscale are read; xscale
// becomes ones when one of them is not positive. work: *n * (*n + 8) floats.
void U2INF(zavo_objective_fn fcn, const int* n, const float* start, float* xscale, const float* fscale,
           const float* gradient_tol, const float* step_tol, const float* relative_tol,
           const float* step_limit, const int* good_digits, const int* iteration_limit, const int* eval_limit,
           const int* gradient_limit, const int* hessian_start, float* x, float* fvalue, float* work);
void U2ING(zavo_objective_fn fcn, zavo_gradient_fn gradient, const int* n, const float* start, float* xscale,
           const float* fscale, const float* gradient_tol, const float* step_tol, const float* relative_tol,
           const float* step_limit, const int* good_digits, const int* iteration_limit, const int* eval_limit,
           const int* gradient_limit, const int* hessian_start, float* x, float* fvalue, float* work);

// The iteration from x, which ends as the solution with value *fvalue.
// integers, reals: the two control arrays of control_arrays.hpp, seven each.
void U3INF(zavo_objective_fn fcn, const int* n, float* x, float* xscale, float* fscale, int* integers,
           float* reals, float* fvalue, float* work);
void U3ING(zavo_objective_fn fcn, zavo_gradient_fn gradient, const int* n, float* x, float* xscale,
           float* fscale, int* integers, float* reals, float* fvalue, float* work);

// The line search from x (value *f, gradient g) along p, which it may shorten
// to *step_limit. Leaves the new point, its value and gradient, raises the two
// counts, and answers *return_code (line_search.hpp) and whether the step was
// of the greatest length. `spare` holds *n floats. U17NF takes gradients by
// central differences when *central is not 0, else by forward ones.
void U17NF(zavo_objective_fn fcn, const int* n, float* x, const float* f, const float* g, float* p,
           const float* xscale, const float* step_limit, const float* reals, const float* noise,
           const int* central, float* x_new, float* f_new, float* g_new, float* spare, int* eval_count,
           int* gradient_count, int* return_code, int* longest);
void U17NG(zavo_objective_fn fcn, zavo_gradient_fn gradient, const int* n, float* x, const float* f,
           const float* g, float* p, const float* xscale, const float* step_limit, const float* reals,
           float* x_new, float* f_new, float* g_new, float* spare, int* eval_count, int* gradient_count,
           int* return_code, int* longest);

// Checks the controls and puts usable values in place of bad ones, with a
// warning of type 6 each; *n < 1 posts 5/8020. *has_hessian: see controls.cpp.
void U5INF(const int* n, const float* x, float* xscale, float* fscale, const int* has_hessian, int* integers,
           float* reals);

// The stopping tests after iteration *iteration. *converged becomes 1 when the
// run is done; other reasons to stop are posted. *longest_count counts steps of
// the greatest length and is reset at iteration 0.
void U6INF(const int* n, const float* x, const float* step, const float* f, const float* g,
           const float* xscale, const float* fscale, const int* return_code, const int* iteration,
           const int* eval_count, const int* gradient_count, const int* integers, const float* reals,
           const int* longest, int* longest_count, int* converged);

// ---- Linearly constrained minimisation ---------------------------------------
// Drivers: check, iterate, post what the status says. a: *ncon x *nvar in
// column order with leading dimension *lda; work: nvar*nvar + 11*nvar + ncon
// floats; active: ncon + 2*nvar; multipliers: nvar. *report_interval is kept
// for callers that wanted progress reports; nothing is printed.
void L2ONF(zavo_constrained_objective_fn fcn, const int* nvar, const int* ncon, const int* neq,
           const float* a, const int* lda, const float* b, const float* xlb, const float* xub,
           const float* start, const float* accuracy, const int* eval_limit, float* x, float* fvalue,
           int* active_count, int* active, float* multipliers, const int* report_interval, int* status,
           float* work);
void L2ONG(zavo_constrained_objective_fn fcn, zavo_gradient_fn gradient, const int* nvar, const int* ncon,
           const int* neq, const float* a, const int* lda, const float* b, const float* xlb, const float* xub,
           const float* start, const float* accuracy, const int* eval_limit, float* x, float* fvalue,
           int* active_count, int* active, float* multipliers, const int* report_interval, int* status,
           float* work);

} // extern "C"

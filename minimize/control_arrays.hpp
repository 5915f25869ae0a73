// The two arrays of seven in which the fixed-name routines take their controls.
#pragma once

#include "minimize/free/controls.hpp"

#include <cassert>

namespace zavo::minimize::control_arrays {

// Places of the integer controls.
enum Integer : int {
    supplied, // the caller supplied the controls: always 1
    good_digits,
    iteration_limit,
    eval_limit,
    gradient_limit,
    hessian_start,
    hessian_limit,
    integer_count
};

// Places of the real controls.
enum Real : int {
    gradient_tol,
    step_tol,
    relative_tol,
    absolute_tol,
    false_tol,
    step_limit,
    trust_radius,
    real_count
};

static_assert(integer_count == 7 && real_count == 7);

inline Controls read(const int* integers, const float* reals, bool has_hessian = false)
{
    assert(integers != nullptr && reals != nullptr);
    Controls controls;
    controls.has_hessian = has_hessian;
    controls.good_digits = integers[good_digits];
    controls.iteration_limit = integers[iteration_limit];
    controls.eval_limit = integers[eval_limit];
    controls.gradient_limit = integers[gradient_limit];
    controls.hessian_start = integers[hessian_start];
    controls.hessian_limit = integers[hessian_limit];
    controls.gradient_tol = reals[gradient_tol];
    controls.step_tol = reals[step_tol];
    controls.relative_tol = reals[relative_tol];
    controls.absolute_tol = reals[absolute_tol];
    controls.false_tol = reals[false_tol];
    controls.step_limit = reals[step_limit];
    controls.trust_radius = reals[trust_radius];
    return controls;
}

// What a check may have replaced goes back to the caller.
inline void write(const Controls& controls, int* integers, float* reals)
{
    integers[good_digits] = controls.good_digits;
    integers[iteration_limit] = controls.iteration_limit;
    integers[eval_limit] = controls.eval_limit;
    integers[gradient_limit] = controls.gradient_limit;
    integers[hessian_limit] = controls.hessian_limit;
    reals[gradient_tol] = controls.gradient_tol;
    reals[step_tol] = controls.step_tol;
    reals[relative_tol] = controls.relative_tol;
    reals[absolute_tol] = controls.absolute_tol;
    reals[false_tol] = controls.false_tol;
    reals[step_limit] = controls.step_limit;
    reals[trust_radius] = controls.trust_radius;
}

} // namespace zavo::minimize::control_arrays

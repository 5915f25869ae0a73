// The controls of the unconstrained minimiser: two arrays of seven, as its
// routines pass them, with names for the places.
#pragma once

namespace zavo::minimize {

// Integer controls.
enum IntegerControl : int {
    supplied,    // the caller supplied the controls: always 1
    good_digits, // reliable decimal digits of the function values
    iteration_limit,
    eval_limit,     // objective evaluations, those inside difference gradients not counted
    gradient_limit, // gradient evaluations
    hessian_start,  // 0: the identity, else a diagonal from the scales
    hessian_limit,  // for variants with an analytic Hessian, which are not built
    integer_control_count
};

// Real controls.
enum RealControl : int {
    gradient_tol, // scaled gradient
    step_tol,     // scaled step
    relative_tol, // relative change of the function
    absolute_tol, // absolute size of the function
    false_tol,    // false convergence
    step_limit,   // longest scaled step; `compute` until it is known
    trust_radius, // for trust-region variants, which are not built
    real_control_count
};

// Stands for a step limit or trust radius that is to be computed.
inline constexpr float compute = -9999.0F;

// eps to the power 2/3 and the tolerances made of it, rounded to float.
float eps_two_thirds();
float default_function_tolerance(); // max(1e-10, eps^(2/3))

} // namespace zavo::minimize

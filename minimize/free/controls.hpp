// The controls of the unconstrained minimiser: tolerances, limits, sizes.
#pragma once

namespace zavo::minimize {

// Stands for a step limit or trust radius that is to be computed.
inline constexpr float compute = -9999.0F;

// eps to the power 2/3 and the tolerances made of it, rounded to float.
float eps_two_thirds();
float default_function_tolerance(); // max(1e-10, eps^(2/3))

struct Controls {
    int good_digits = default_digits(); // reliable decimal digits of the function values
    int iteration_limit = 100;
    int eval_limit = 400;     // objective evaluations, those inside difference gradients not counted
    int gradient_limit = 400; // gradient evaluations
    int hessian_start = 0;    // 0: the identity, else a diagonal from the scales
    int hessian_limit = 100;  // for variants with an analytic Hessian, which are not built
    bool has_hessian = false;
    float gradient_tol = default_gradient_tolerance(); // scaled gradient
    float step_tol = eps_two_thirds();                 // scaled step
    float relative_tol = default_function_tolerance(); // relative change of the function
    float absolute_tol = default_function_tolerance(); // absolute size of the function
    float false_tol = default_false_tolerance();       // false convergence
    float step_limit = compute;                        // longest scaled step
    float trust_radius = compute;                      // for trust-region variants, which are not built

    static int default_digits();               // int(-log10(eps) + 0.1)
    static float default_gradient_tolerance(); // sqrt(eps)
    static float default_false_tolerance();    // 100 eps
};

// What the controls are checked against and for. Not owned.
struct FreeProblem {
    int n = 0;
    float* x = nullptr;      // n; the start, which becomes the solution
    float* xscale = nullptr; // n; become ones when one of them is not positive
    float fscale = 1.0F;     // typical size of the function
};

// Checks the controls and puts usable values in place of bad ones, with a
// warning of type 6 each. False when n < 1, which posts 5/8020.
bool check_controls(FreeProblem& problem, Controls& controls);

} // namespace zavo::minimize

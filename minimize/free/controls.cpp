// Checks the controls of the unconstrained minimiser and replaces bad ones.
#include "minimize/free/controls.hpp"

#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"
#include "core/kernels/machine.hpp"
#include "core/kernels/vector_kernels.h"

#include <cassert>
#include <cmath>
#include <limits>

namespace zavo::minimize {
namespace {

using namespace core::code;

// Rows: control, message, what a value below the least one is replaced with.
struct IntegerRule {
    int Controls::*control;
    ErrorCode code;
    int replacement;
};

void check_integers(Controls& controls)
{
    const IntegerRule rules[] = {
        // clang-format off
        {&Controls::good_digits,     bad_good_digits,     core::machine::float_digits()},
        {&Controls::iteration_limit, bad_iteration_limit, 100},
        {&Controls::eval_limit,      bad_function_limit,  400},
        {&Controls::gradient_limit,  bad_gradient_limit,  400},
        {&Controls::hessian_limit,   bad_hessian_limit,   100},
        // clang-format on
    };
    for (const IntegerRule& rule : rules) {
        int& value = controls.*rule.control;
        if (value >= 1 || (rule.control == &Controls::hessian_limit && !controls.has_hessian)) {
            continue;
        }
        zavo_error_set_int(1, value);
        zavo_error_set_int(2, rule.replacement);
        zavo_error_post(ZAVO_WARNING_IMMEDIATE, rule.code);
        value = rule.replacement;
    }
}

struct RealRule {
    float Controls::*control;
    ErrorCode code;
    float replacement;
};

void post_real(ErrorCode code, float value, float replacement)
{
    zavo_error_set_real(1, value);
    zavo_error_set_real(2, replacement);
    zavo_error_post(ZAVO_WARNING_IMMEDIATE, code);
}

void check_tolerances(Controls& controls)
{
    const float eps = core::machine::epsilon();
    const float tiny = eps * eps > 1e-20F ? eps * eps : 1e-20F;
    const RealRule rules[] = {
        // clang-format off
        // Kept: a negative gradient tolerance does not get its own default sqrt(eps)
        // (min_uncon_controls.each_bad_one_is_replaced_with_its_warning).
        {&Controls::gradient_tol, bad_gradient_tolerance, eps_two_thirds()},
        {&Controls::step_tol,     bad_step_tolerance,     eps_two_thirds()},
        {&Controls::relative_tol, bad_relative_tolerance, default_function_tolerance()},
        {&Controls::absolute_tol, bad_absolute_tolerance, tiny},
        {&Controls::false_tol,    bad_false_tolerance,    Controls::default_false_tolerance()},
        // clang-format on
    };
    for (const RealRule& rule : rules) {
        float& value = controls.*rule.control;
        if (value < 0.0F) {
            post_real(rule.code, value, rule.replacement);
            value = rule.replacement;
        }
    }
}

// 1000 * max(|xscale * x|, |xscale|), Euclidean norms. Where the squares overflow they
// are summed again in double, so that a far start has a finite limit, too.
float computed_step_limit(int n, const float* x, const float* xscale)
{
    float sum = 0.0F;
    for (int i = 0; i < n; ++i) {
        const float scaled = xscale[i] * x[i];
        sum += scaled * scaled;
    }
    const float limit = 1000.0F * l_fmax(std::sqrt(sum), l_vnrm2(n, xscale, 1));
    if (limit != std::numeric_limits<float>::infinity()) {
        return limit;
    }
    double squares = 0.0;
    for (int i = 0; i < n; ++i) {
        const double scaled = static_cast<double>(xscale[i]) * x[i];
        squares += scaled * scaled;
    }
    const double wide = 1000.0 * std::fmax(std::sqrt(squares), static_cast<double>(l_vnrm2(n, xscale, 1)));
    constexpr float most = std::numeric_limits<float>::max();
    return std::isfinite(wide) ? (wide < most ? static_cast<float>(wide) : most) : limit;
}

void check_step_limits(const FreeProblem& problem, Controls& controls)
{
    // A limit that is not positive is always computed; the stand-in value only
    // spares the warning.
    if (const float value = controls.step_limit; !(value > 0.0F)) {
        controls.step_limit = computed_step_limit(problem.n, problem.x, problem.xscale);
        if (value != compute) {
            post_real(bad_step_limit, value, controls.step_limit);
        }
    }
    if (const float value = controls.trust_radius; value <= 0.0F) {
        controls.trust_radius = -1.0F;
        if (value != compute) {
            post_real(bad_trust_radius, value, controls.trust_radius);
        }
    }
}

void check_scales(FreeProblem& problem)
{
    bool all_positive = true;
    for (int i = 0; i < problem.n; ++i) {
        all_positive = all_positive && problem.xscale[i] > 0.0F;
    }
    if (!all_positive) {
        zavo_error_post(ZAVO_WARNING_IMMEDIATE, scale_not_positive);
        for (int i = 0; i < problem.n; ++i) {
            problem.xscale[i] = 1.0F;
        }
    }
    if (!(problem.fscale > 0.0F)) {
        post_real(bad_function_scale, problem.fscale, 1.0F);
        problem.fscale = 1.0F;
    }
}

} // namespace

// pow() may differ in its last bit between run-time libraries; the values lie
// far from a float's rounding boundary, so the floats do not.
float eps_two_thirds()
{
    return static_cast<float>(std::pow(static_cast<double>(core::machine::epsilon()), 2.0 / 3.0));
}

float default_function_tolerance()
{
    return l_fmax(1e-10F, eps_two_thirds());
}

int Controls::default_digits()
{
    return static_cast<int>(-std::log10(static_cast<double>(core::machine::epsilon())) + 0.1);
}

float Controls::default_gradient_tolerance()
{
    return std::sqrt(core::machine::epsilon());
}

float Controls::default_false_tolerance()
{
    return 100.0F * core::machine::epsilon();
}

bool check_controls(FreeProblem& problem, Controls& controls)
{
    zavo_error_push("U5INF");
    const bool good = problem.n >= 1;
    if (problem.n <= 1) {
        zavo_error_set_int(1, problem.n);
        zavo_error_post(good ? ZAVO_WARNING_IMMEDIATE : ZAVO_TERMINAL,
                        good ? one_variable : variables_below_one);
    }
    if (good) {
        assert(problem.x != nullptr && problem.xscale != nullptr);
        check_scales(problem);
        check_integers(controls);
        check_tolerances(controls);
        check_step_limits(problem, controls);
    }
    zavo_error_pop("U5INF");
    return good;
}

} // namespace zavo::minimize

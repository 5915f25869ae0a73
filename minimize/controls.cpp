// Checks the controls of the unconstrained minimiser and replaces bad ones.
#include "minimize/controls.hpp"

#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"
#include "core/kernels/vector_kernels.h"
#include "minimize/minimize.h"

#include <cmath>

namespace zavo::minimize {
namespace {

using namespace core::code;

// Rows: control, message, what a value below the least one is replaced with.
struct IntegerRule {
    IntegerControl control;
    ErrorCode code;
    int replacement;
};

void check_integers(const int has_hessian, int* integers)
{
    const IntegerRule rules[] = {
        // clang-format off
        {good_digits,     bad_good_digits,     zavo_i_machine(7)},
        {iteration_limit, bad_iteration_limit, 100},
        {eval_limit,      bad_function_limit,  400},
        {gradient_limit,  bad_gradient_limit,  400},
        {hessian_limit,   bad_hessian_limit,   100},
        // clang-format on
    };
    for (const IntegerRule& rule : rules) {
        int& value = integers[rule.control];
        if (value >= 1 || (rule.control == hessian_limit && has_hessian == 0)) {
            continue;
        }
        zavo_error_set_int(1, value);
        zavo_error_set_int(2, rule.replacement);
        zavo_error_post(ZAVO_WARNING_IMMEDIATE, rule.code);
        value = rule.replacement;
    }
}

struct RealRule {
    RealControl control;
    ErrorCode code;
    float replacement;
};

void post_real(ErrorCode code, float value, float replacement)
{
    zavo_error_set_real(1, value);
    zavo_error_set_real(2, replacement);
    zavo_error_post(ZAVO_WARNING_IMMEDIATE, code);
}

void check_tolerances(float* reals)
{
    const float eps = zavo_amach(4);
    const float tiny = eps * eps > 1e-20F ? eps * eps : 1e-20F;
    const RealRule rules[] = {
        // clang-format off
        // Kept: a negative gradient tolerance does not get its own default sqrt(eps).
        {gradient_tol, bad_gradient_tolerance, eps_two_thirds()},
        {step_tol,     bad_step_tolerance,     eps_two_thirds()},
        {relative_tol, bad_relative_tolerance, default_function_tolerance()},
        {absolute_tol, bad_absolute_tolerance, tiny},
        {false_tol,    bad_false_tolerance,    100.0F * eps},
        // clang-format on
    };
    for (const RealRule& rule : rules) {
        float& value = reals[rule.control];
        if (value < 0.0F) {
            post_real(rule.code, value, rule.replacement);
            value = rule.replacement;
        }
    }
}

// 1000 * max(|scale * x0|, |scale|), Euclidean norms.
float computed_step_limit(int n, const float* x, const float* xscale)
{
    float sum = 0.0F;
    for (int i = 0; i < n; ++i) {
        const float scaled = xscale[i] * x[i];
        sum += scaled * scaled;
    }
    return 1000.0F * l_fmax(std::sqrt(sum), l_vnrm2(n, xscale, 1));
}

void check_step_limits(int n, const float* x, const float* xscale, float* reals)
{
    // A limit that is not positive is always computed; the stand-in value only
    // spares the warning.
    if (const float value = reals[step_limit]; !(value > 0.0F)) {
        reals[step_limit] = computed_step_limit(n, x, xscale);
        if (value != compute) {
            post_real(bad_step_limit, value, reals[step_limit]);
        }
    }
    if (const float value = reals[trust_radius]; value <= 0.0F) {
        reals[trust_radius] = -1.0F;
        if (value != compute) {
            post_real(bad_trust_radius, value, reals[trust_radius]);
        }
    }
}

void check_scales(int n, float* xscale, float* fscale)
{
    bool all_positive = true;
    for (int i = 0; i < n; ++i) {
        all_positive = all_positive && xscale[i] > 0.0F;
    }
    if (!all_positive) {
        zavo_error_post(ZAVO_WARNING_IMMEDIATE, scale_not_positive);
        for (int i = 0; i < n; ++i) {
            xscale[i] = 1.0F;
        }
    }
    if (!(*fscale > 0.0F)) {
        post_real(bad_function_scale, *fscale, 1.0F);
        *fscale = 1.0F;
    }
}

} // namespace

// pow() may differ in its last bit between run-time libraries; the values lie
// far from a float's rounding boundary, so the floats do not.
float eps_two_thirds()
{
    return static_cast<float>(std::pow(static_cast<double>(zavo_amach(4)), 2.0 / 3.0));
}

float default_function_tolerance()
{
    return l_fmax(1e-10F, eps_two_thirds());
}

extern "C" void U5INF(const int* n, const float* x, float* xscale, float* fscale, const int* has_hessian,
                      int* integers, float* reals)
{
    zavo_error_push("U5INF");
    if (*n < 1) {
        zavo_error_set_int(1, *n);
        zavo_error_post(ZAVO_TERMINAL, variables_below_one);
    } else {
        if (*n == 1) {
            zavo_error_set_int(1, *n);
            zavo_error_post(ZAVO_WARNING_IMMEDIATE, one_variable);
        }
        check_scales(*n, xscale, fscale);
        check_integers(*has_hessian, integers);
        check_tolerances(reals);
        check_step_limits(*n, x, xscale, reals);
    }
    zavo_error_pop("U5INF");
}

} // namespace zavo::minimize

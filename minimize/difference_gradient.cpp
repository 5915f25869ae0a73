// Gradients by differences. All three routines walk the coordinates upwards and
// move one at a time by
//     h = root * max(|x[i]|, typical size of x[i]),   away from zero,
// with root = sqrt(max(noise, eps)), about the step that balances truncation
// against the noise of the function values. x = {-3}, scale = {1}, noise = eps:
// h = -3 sqrt(eps), so the probe lies at x[0] + h = -3.001036.
//
// J. E. Dennis, R. B. Schnabel: Numerical Methods for Unconstrained Optimization
// and Nonlinear Equations (1983), section 5.6, algorithms A5.6.3 and A5.6.4.
#include "minimize/minimize.h"

#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"
#include "minimize/user_call.hpp"

#include <cmath>

namespace zavo::minimize {
namespace {

// The square root of the relative noise to differentiate with; 0 after an error
// was posted. A NaN fails the test too.
float root_of_noise(float noise)
{
    if (!(noise >= 0.0F && noise <= 0.1F)) {
        zavo_error_set_real(1, noise);
        zavo_error_post(ZAVO_TERMINAL, core::code::bad_noise);
    }
    if (zavo_error_code(0) != 0) {
        return 0.0F;
    }
    const float eps = zavo_amach(4);
    return std::sqrt(noise > eps ? noise : eps);
}

float difference_step(float root, float x, float typical)
{
    const float size = std::fabs(x);
    const float h = root * (size > typical ? size : typical);
    return x < 0.0F ? -h : h;
}

} // namespace

extern "C" {

void FDGRD(zavo_objective_fn fcn, const int* n, float* x, const float* scale, const float* f0,
           const float* noise, float* grad)
{
    zavo_error_push("FDGRD ");
    if (const float root = root_of_noise(*noise); root > 0.0F) {
        for (int i = 0; i < *n; ++i) {
            const float h = difference_step(root, x[i], 1.0F / scale[i]);
            const float saved = x[i];
            x[i] = saved + h;
            const float f = call_objective(fcn, *n, x);
            x[i] = saved;
            grad[i] = (f - *f0) / h;
        }
    }
    zavo_error_pop("FDGRD ");
}

void CDGRD(zavo_objective_fn fcn, const int* n, float* x, const float* scale, const float* noise, float* grad)
{
    zavo_error_push("CDGRD ");
    if (const float root = root_of_noise(*noise); root > 0.0F) {
        for (int i = 0; i < *n; ++i) {
            const float h = difference_step(root, x[i], 1.0F / scale[i]);
            const float saved = x[i];
            x[i] = saved + h;
            const float f_plus = call_objective(fcn, *n, x);
            x[i] = saved - h;
            const float f_minus = call_objective(fcn, *n, x);
            x[i] = saved;
            grad[i] = (f_plus - f_minus) / (2.0F * h);
        }
    }
    zavo_error_pop("CDGRD ");
}

void L21NF(zavo_constrained_objective_fn fcn, const int* n, float* x, const float* f0, float* grad)
{
    zavo_error_push("L21NF");
    if (*n < 1) {
        zavo_error_set_int(1, *n);
        zavo_error_post(ZAVO_TERMINAL, core::code::variables_below_one);
    }
    const float root = std::sqrt(zavo_amach(4));
    for (int i = 0; i < *n; ++i) {
        const float h = difference_step(root, x[i], 1.0F);
        const float saved = x[i];
        x[i] = saved + h;
        float f = 0.0F;
        fcn(*n, x, &f); // Kept: no user-level marks around these calls.
        x[i] = saved;
        grad[i] = (f - *f0) / h;
    }
    zavo_error_pop("L21NF");
}

} // extern "C"
} // namespace zavo::minimize

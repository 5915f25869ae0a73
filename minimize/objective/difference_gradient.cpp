#include "minimize/objective/difference_gradient.hpp"

#include "core/errors/error_codes.hpp"
#include "core/kernels/machine.hpp"
#include "core/kernels/vector_kernels.h"

#include <cassert>
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
    const float eps = core::machine::epsilon();
    return std::sqrt(noise > eps ? noise : eps);
}

} // namespace

float difference_step(float root, float x, float typical)
{
    const float size = std::fabs(x);
    const float h = root * (size > typical ? size : typical);
    return x < 0.0F ? -h : h;
}

float noise_of(int digits)
{
    double power = 1.0; // exact up to 10^22, far beyond what eps lets through
    for (int i = 0; i < digits && power < 1e20; ++i) {
        power *= 10.0;
    }
    return l_fmax(static_cast<float>(1.0 / power), core::machine::epsilon());
}

void forward_difference_gradient(Objective& objective, int n, float* x, const float* scale, const Value& f,
                                 float noise, float* g)
{
    assert(n < 1 || (x != nullptr && scale != nullptr && g != nullptr && g != x && g != scale));
    zavo_error_push("FDGRD ");
    if (const float root = root_of_noise(noise); root > 0.0F) {
        for (int i = 0; i < n; ++i) {
            const float h = difference_step(root, x[i], 1.0F / scale[i]);
            const float saved = x[i];
            x[i] = saved + h;
            const float f_new = objective(n, x);
            x[i] = saved;
            g[i] = (f_new - f) / h;
        }
    }
    zavo_error_pop("FDGRD ");
}

void central_difference_gradient(Objective& objective, int n, float* x, const float* scale, float noise,
                                 float* g)
{
    assert(n < 1 || (x != nullptr && scale != nullptr && g != nullptr && g != x && g != scale));
    zavo_error_push("CDGRD ");
    if (const float root = root_of_noise(noise); root > 0.0F) {
        for (int i = 0; i < n; ++i) {
            const float h = difference_step(root, x[i], 1.0F / scale[i]);
            const float saved = x[i];
            x[i] = saved + h;
            const float f_plus = objective(n, x);
            x[i] = saved - h;
            const float f_minus = objective(n, x);
            x[i] = saved;
            g[i] = (f_plus - f_minus) / (2.0F * h);
        }
    }
    zavo_error_pop("CDGRD ");
}

void plain_difference_gradient(Objective& objective, int n, float* x, const Value& f, float* g)
{
    assert(n < 1 || (x != nullptr && g != nullptr && g != x));
    zavo_error_push("L21NF");
    if (n < 1) {
        zavo_error_set_int(1, n);
        zavo_error_post(ZAVO_TERMINAL, core::code::variables_below_one);
    }
    const float root = std::sqrt(core::machine::epsilon());
    for (int i = 0; i < n; ++i) {
        const float h = difference_step(root, x[i], 1.0F);
        const float saved = x[i];
        x[i] = saved + h;
        // Kept: no user-level marks around these calls
        // (difference_gradient.without_marks_errors_are_the_routines).
        const float f_new = objective.unmarked(n, x);
        x[i] = saved;
        g[i] = (f_new - f) / h;
    }
    zavo_error_pop("L21NF");
}

} // namespace zavo::minimize

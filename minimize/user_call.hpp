// Calls of user functions. The marks tell the error stack that user code runs,
// so that what fails in there is reported as the user's own affair.
#pragma once

#include "core/errors/error_stack.h"

namespace zavo::minimize {

inline float call_objective(zavo_objective_fn fcn, int n, float* x)
{
    zavo_error_user_level("ON");
    const float f = fcn(n, x);
    zavo_error_user_level("OFF");
    return f;
}

inline float call_objective(zavo_constrained_objective_fn fcn, int n, float* x)
{
    float f = 0.0F;
    zavo_error_user_level("ON");
    fcn(n, x, &f);
    zavo_error_user_level("OFF");
    return f;
}

inline void call_gradient(zavo_gradient_fn gradient, int n, float* x, float* g)
{
    zavo_error_user_level("ON");
    gradient(n, x, g);
    zavo_error_user_level("OFF");
}

} // namespace zavo::minimize

// The line search under its fixed name, with everything that it takes by address.
#pragma once

#include "minimize/minimize.h"

#include <limits>

namespace zavo::test {

// In n variables. The arrays up to `reals` are set by whoever searches.
template <int n>
struct LineSearchCall {
    float x[n];
    float f;
    float g[n];
    float p[n];
    float scale[n];
    float limit = std::numeric_limits<float>::infinity();
    // The tolerances that it reads: of the step, of the relative change, of false convergence.
    float reals[7] = {0, 1e-4F, 1e-5F, 0, 1e-5F, 0, 0};
    float x_new[n] = {};
    float f_new = 0;
    float g_new[n] = {};
    float spare[n] = {};
    int evaluations = 0;
    int gradients = 0;
    int code = -1;
    int longest = -1;

    void run(zavo_objective_fn function, zavo_gradient_fn gradient)
    {
        const int count = n;
        U17NG(function, gradient, &count, x, &f, g, p, scale, &limit, reals, x_new, &f_new, g_new, spare,
              &evaluations, &gradients, &code, &longest);
    }
};

} // namespace zavo::test

// Gradients by differences. All three routines walk the coordinates upwards and
// move one at a time by
//     h = root * max(|x[i]|, typical size of x[i]),   away from zero,
// with root = sqrt(max(noise, eps)), about the step that balances truncation
// against the noise of the function values. x = {-3}, scale = {1}, noise = eps:
// h = -3 sqrt(eps), so the probe lies at x[0] + h = -3.001036. x is changed during
// a call and stands bit for bit again afterwards.
//
// J. E. Dennis, R. B. Schnabel: Numerical Methods for Unconstrained Optimization
// and Nonlinear Equations (1983), section 5.6, algorithms A5.6.3 and A5.6.4.
#pragma once

#include "minimize/objective/objective.hpp"

namespace zavo::minimize {

// 10^-digits, but at least eps: the relative noise of the function values.
float noise_of(int digits);

// h of the rule above.
float difference_step(float root, float x, float typical);

// n and 2n calls. x, scale, g: n floats; f is the value at x. A noise outside
// 0..0.1 posts 5/8052 and leaves g alone. The pushed names end in a blank.
void forward_difference_gradient(Objective& objective, int n, float* x, const float* scale, const Value& f,
                                 float noise, float* g);
void central_difference_gradient(Objective& objective, int n, float* x, const float* scale, float noise,
                                 float* g);

// Forward differences of the linearly constrained minimiser: no scaling, no
// noise, no user-level marks. n < 1 posts 5/8020.
void plain_difference_gradient(Objective& objective, int n, float* x, const Value& f, float* g);

} // namespace zavo::minimize

// The Cholesky factor of the quasi-Newton iteration: H = L L', L n x n by rows, zero
// above the diagonal; L = {{2, 0}, {1, 3}} stands as {2, 0, 1, 3}.
//   J. E. Dennis, R. B. Schnabel: Numerical Methods for Unconstrained Optimization and
//   Nonlinear Equations (1983), section 9.2, algorithms A3.2.3, A9.4.2, A3.4.1.
#pragma once

namespace zavo::minimize {

// diagonal: the identity, or sqrt(max(|f|, fscale)) * scale.
void start_factor(int n, float f, const float* xscale, float fscale, bool scaled, float* l);

// Solves L L' p = -g.
void solve_step(int n, const float* l, const float* g, float* p);

// BFGS update of the factor for the change s, y. g, g_new: the gradients at both
// ends. t, w: n floats each of work. Leaves L alone when the curvature is not
// clearly positive or y agrees with L already, up to `tolerance`.
void update_factor(int n, float* l, const float* s, const float* y, const float* g, const float* g_new,
                   float tolerance, float* t, float* w);

} // namespace zavo::minimize

// The unconstrained quasi-Newton iteration. The Hessian approximation is kept
// as its Cholesky factor, H = L L', and updated by the BFGS formula without ever
// forming H. Twins that differ in where gradients come from are one template.
//
// J. E. Dennis, R. B. Schnabel: Numerical Methods for Unconstrained Optimization
// and Nonlinear Equations (1983), section 9.2 and algorithms A9.4.2, A3.4.1.
//
// Glossary: x f g, point, value, gradient; p, step direction; s = x+ - x and
// y = g+ - g, the last changes; t w, vectors of the update; l, the factor, n x n
// by rows, zero above the diagonal.
#pragma once

#include "minimize/controls.hpp"
#include "minimize/line_search.hpp"
#include "minimize/minimize.h"
#include "minimize/user_call.hpp"

#include "core/errors/error_stack.h"

namespace zavo::minimize {

// Gradient sources. value() evaluates the objective under user-level marks.
struct DifferenceGradient {
    static constexpr char iteration_name[] = "U3INF";
    static constexpr bool can_refine = true; // may switch to central differences

    zavo_objective_fn fcn;
    float noise;
    bool central = false;

    float value(int n, float* x) const { return call_objective(fcn, n, x); }
    void operator()(int n, float* x, const float* xscale, float f, float* g) const
    {
        if (central) {
            CDGRD(fcn, &n, x, xscale, &noise, g);
        } else {
            FDGRD(fcn, &n, x, xscale, &f, &noise, g);
        }
    }
    // Least relative change of a gradient component that the update trusts.
    float update_tolerance() const { return std::sqrt(noise); }
    SearchResult search(const SearchPlace& at, int* longest)
    {
        int code = search_good;
        const int mode = central ? 1 : 0;
        U17NF(fcn, &at.n, at.x, &at.f, at.g, at.p, at.xscale, &at.step_limit, at.reals, &noise, &mode,
              at.x_new, at.f_new, at.g_new, at.g_low, at.eval_count, at.gradient_count, &code, longest);
        return static_cast<SearchResult>(code);
    }
};

struct UserGradient {
    static constexpr char iteration_name[] = "U3ING";
    static constexpr bool can_refine = false;

    zavo_objective_fn fcn;
    zavo_gradient_fn gradient;
    float noise;
    bool central = false; // never set

    float value(int n, float* x) const { return call_objective(fcn, n, x); }
    void operator()(int n, float* x, const float*, float, float* g) const
    {
        call_gradient(gradient, n, x, g);
    }
    float update_tolerance() const { return noise; }
    SearchResult search(const SearchPlace& at, int* longest)
    {
        int code = search_good;
        U17NG(fcn, gradient, &at.n, at.x, &at.f, at.g, at.p, at.xscale, &at.step_limit, at.reals, at.x_new,
              at.f_new, at.g_new, at.g_low, at.eval_count, at.gradient_count, &code, longest);
        return static_cast<SearchResult>(code);
    }
};

// ---- The factor ---------------------------------------------------------------

// diagonal: the identity, or sqrt(max(|f|, fscale)) * scale.
void start_factor(int n, float f, const float* xscale, float fscale, bool scaled, float* l);

// Solves L L' p = -g.
void solve_step(int n, const float* l, const float* g, float* p);

// BFGS update of the factor for the change s, y. g, g_new: the gradients at both
// ends. t, w: n floats each of work. Leaves L alone when the curvature is not
// clearly positive or y agrees with L already, up to `tolerance`.
void update_factor(int n, float* l, const float* s, const float* y, const float* g, const float* g_new,
                   float tolerance, float* t, float* w);

// ---- The iteration --------------------------------------------------------------

template <class Gradient>
class QuasiNewton {
public:
    // work: n * (n + 8) floats; x is the start and becomes the solution.
    QuasiNewton(Gradient gradient, int n, float* x, float* xscale, float* fscale, int* integers, float* reals,
                float* work)
        : gradient_(gradient), n_(n), x_(x), xscale_(xscale), fscale_(fscale), integers_(integers),
          reals_(reals), g_(work), p_(work + n), x_new_(work + 2 * n), g_new_(work + 3 * n), s_(work + 4 * n),
          y_(work + 5 * n), t_(work + 6 * n), w_(work + 7 * n), l_(work + 8 * n)
    {
    }

    // Minimises; returns the value at the solution.
    float run()
    {
        f_ = gradient_.value(n_, x_);
        ++eval_count_;
        take_gradient(x_, f_, g_);
        if (should_stop(x_, f_, g_)) {
            return f_;
        }
        start_factor(n_, f_, xscale_, *fscale_, integers_[hessian_start] != 0, l_);
        do {
            ++iteration_;
            step();
        } while (!advance());
        return f_;
    }

private:
    void take_gradient(float* x, float f, float* g)
    {
        gradient_(n_, x, xscale_, f, g);
        ++gradient_count_;
    }

    // One search; a failed one is tried again with central differences when
    // those were not in use yet.
    void step()
    {
        search_line();
        if constexpr (Gradient::can_refine) {
            if (search_ == search_failed && !gradient_.central) {
                gradient_.central = true;
                take_gradient(x_, f_, g_);
                search_line();
            } else if (search_ != search_failed && !gradient_.central &&
                       relative_gradient(n_, x_new_, f_new_, g_new_, xscale_, *fscale_) <= 0.1F) {
                gradient_.central = true;
                take_gradient(x_new_, f_new_, g_new_);
            }
        }
    }

    void search_line()
    {
        solve_step(n_, l_, g_, p_);
        const SearchPlace place = {n_,     x_,     f_,      g_,     p_, xscale_,      reals_[step_limit],
                                   reals_, x_new_, &f_new_, g_new_, s_, &eval_count_, &gradient_count_};
        search_ = gradient_.search(place, &longest_);
    }

    // Accepts the new point, tests, updates; true when the run is over.
    bool advance()
    {
        for (int i = 0; i < n_; ++i) {
            s_[i] = x_new_[i] - x_[i];
            y_[i] = g_new_[i] - g_[i];
        }
        l_vcopy(n_, x_new_, 1, x_, 1);
        f_ = f_new_;
        if (should_stop(x_, f_, g_new_)) {
            return true;
        }
        update_factor(n_, l_, s_, y_, g_, g_new_, gradient_.update_tolerance(), t_, w_);
        l_vcopy(n_, g_new_, 1, g_, 1);
        return false;
    }

    bool should_stop(const float* x, float f, const float* g)
    {
        const int code = search_;
        int converged = 0;
        U6INF(&n_, x, s_, &f, g, xscale_, fscale_, &code, &iteration_, &eval_count_, &gradient_count_,
              integers_, reals_, &longest_, &longest_count_, &converged);
        return converged != 0 || zavo_error_code(1) != 0;
    }

    Gradient gradient_;
    int n_;
    float* x_;
    float* xscale_;
    float* fscale_;
    int* integers_;
    float* reals_;
    float *g_, *p_, *x_new_, *g_new_, *s_, *y_, *t_, *w_, *l_;
    float f_ = 0.0F;
    float f_new_ = 0.0F;
    SearchResult search_ = search_good;
    int iteration_ = 0;
    int eval_count_ = 0;
    int gradient_count_ = 0;
    int longest_ = 0;
    int longest_count_ = 0;
};

} // namespace zavo::minimize

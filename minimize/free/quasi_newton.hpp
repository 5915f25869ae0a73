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

#include "minimize/free/cholesky_factor.hpp"
#include "minimize/free/controls.hpp"
#include "minimize/free/ending.hpp"
#include "minimize/free/line_search.hpp"
#include "minimize/free/stopping_tests.hpp"
#include "minimize/objective/difference_gradient.hpp"

#include "core/errors/error_stack.h"
#include "core/kernels/machine.hpp"

#include <cassert>
#include <cstddef>

namespace zavo::minimize {

// ---- Gradient sources -----------------------------------------------------------

struct DifferenceGradient {
    static constexpr char driver_name[] = "U2INF";
    static constexpr char iteration_name[] = "U3INF";
    static constexpr char search_name[] = "U17NF";

    Objective& objective;
    float noise = 0.0F;
    bool central = false;

    bool can_switch() const { return !central; } // to central differences
    void switch_to_central() { central = true; }

    void operator()(int n, float* x, const float* xscale, const Value& f, float* g) const
    {
        if (central) {
            central_difference_gradient(objective, n, x, xscale, noise, g);
        } else {
            forward_difference_gradient(objective, n, x, xscale, f, noise, g);
        }
    }
    // Least relative change of a gradient component that the update trusts.
    float update_tolerance() const { return std::sqrt(noise); }
};

struct UserGradient {
    static constexpr char driver_name[] = "U2ING";
    static constexpr char iteration_name[] = "U3ING";
    static constexpr char search_name[] = "U17NG";

    Objective& objective;
    zavo_gradient_fn gradient;
    float noise = 0.0F;

    static constexpr bool can_switch() { return false; }
    static constexpr void switch_to_central() {}

    void operator()(int n, float* x, const float*, const Value&, float* g) const
    {
        call_gradient(gradient, n, x, g);
    }
    float update_tolerance() const { return noise; }
};

// A search under its own name on the error stack, which a fault in it unwinds.
template <class Gradient>
SearchEnd search_line(Gradient& gradient, const Search& search)
{
    zavo_error_push(Gradient::search_name);
    const SearchEnd end = LineSearch<Gradient>(search, gradient).run();
    zavo_error_pop(Gradient::search_name);
    return end;
}

// ---- The iteration --------------------------------------------------------------

// The block of work of a run, n * (n + 8) floats: eight vectors, then the factor.
struct FreeWorkspace {
    float *g, *p, *x_new, *g_new, *s, *y, *t, *w;
    float* l; // n x n by rows

    FreeWorkspace(float* block, int n_int)
    {
        assert(block != nullptr && n_int >= 1);
        const auto n = static_cast<std::size_t>(n_int);
        float** const vectors[] = {&g, &p, &x_new, &g_new, &s, &y, &t, &w};
        for (float** const vector : vectors) {
            *vector = block;
            block += n;
        }
        l = block;
    }
};

// What a run comes to; the solution itself stands in the problem's x.
struct FreeOutcome {
    Ending ending = Ending::refused;
    Value f;
    Counts counts;
};

template <class Gradient>
class QuasiNewton {
public:
    QuasiNewton(Gradient& gradient, const FreeProblem& problem, const Controls& controls, FreeWorkspace work)
        : gradient_(gradient), problem_(problem), controls_(controls), work_(work),
          n_(problem.n), here_{problem.x, work.g, {}}, there_{work.x_new, work.g_new, {}}
    {
    }

    FreeOutcome run()
    {
        here_.f = gradient_.objective(n_, here_.x);
        ++counts_.evaluations;
        take_gradient(here_);
        if (!should_stop(here_)) {
            start_factor(n_, here_.f, problem_.xscale, problem_.fscale, controls_.hessian_start != 0,
                         work_.l);
            do {
                ++counts_.iterations;
                step();
            } while (!advance());
        }
        return {ending_, here_.f, counts_};
    }

private:
    // Sums over steps in a row at which the run ends.
    static constexpr int quietness_allowed = 5;
    static constexpr int stuck_steps_allowed = 2;

    void take_gradient(const Point& at)
    {
        gradient_(n_, at.x, problem_.xscale, at.f, at.g);
        ++counts_.gradients;
    }

    // One search, and what it says of its step. As long as forward differences are
    // in use their error is the likeliest cause: a search that failed or hardly moved
    // is made again with central ones, and a step that gained little, or ended
    // where the gradient is small, goes on with them.
    void step()
    {
        search();
        if (gradient_.can_switch()) {
            if (search_.result == search_failed || is_short_step()) {
                switch_to_central(here_);
                search();
            } else if (search_.result == search_without_progress || search_.result == search_stuck ||
                       relative_gradient(n_, there_.x, there_.f, there_.g, problem_.xscale,
                                         problem_.fscale) <= 0.1F) {
                assert(search_.result != search_cut); // which stays where it began
                switch_to_central(there_);
                search_.result = search_good;
            }
        }
        judge_in_a_row();
    }

    void switch_to_central(const Point& at)
    {
        gradient_.switch_to_central();
        take_gradient(at);
        quietness_ = stuck_steps_ = 0;
    }

    // Shorter than the step tolerance, or than its default, below which forward
    // differences are mostly rounding error.
    bool is_short_step() const
    {
        float longest = 0.0F;
        for (int i = 0; i < n_; ++i) {
            longest = greater_or_nan(longest, std::fabs(there_.x[i] - here_.x[i]) /
                                                  magnitude(there_.x[i], problem_.xscale[i]));
        }
        return longest <= std::max(controls_.step_tol, eps_two_thirds());
    }

    // One step that gained little is no sign of a minimum; the run ends when several in
    // a row have, or when one has gained no more than rounding errors of f.
    void judge_in_a_row()
    {
        quietness_ = search_.result == search_without_progress ? quietness_ + quietness() : 0;
        stuck_steps_ = search_.result == search_stuck ? stuck_steps_ + 1 : 0;
        if ((quietness_ > 0 && quietness_ < quietness_allowed) ||
            (stuck_steps_ > 0 && stuck_steps_ < stuck_steps_allowed)) {
            search_.result = search_good;
        }
    }

    int quietness() const
    {
        const float rounding = core::machine::epsilon() * std::fabs(there_.f);
        const float gained = here_.f - there_.f;
        return gained <= 2.0F * rounding ? quietness_allowed : (gained <= 8.0F * rounding ? 2 : 1);
    }

    void search()
    {
        solve_step(n_, work_.l, here_.g, work_.p);
        search_ = search_line(
            gradient_, Search{n_, here_, work_.p, problem_.xscale, controls_, there_, work_.s, counts_});
    }

    // Accepts the new point, tests, updates; true when the run is over.
    bool advance()
    {
        for (int i = 0; i < n_; ++i) {
            work_.s[i] = there_.x[i] - here_.x[i];
            work_.y[i] = there_.g[i] - here_.g[i];
        }
        l_vcopy(n_, there_.x, 1, here_.x, 1);
        here_.f = there_.f;
        if (should_stop({here_.x, there_.g, here_.f})) {
            l_vcopy(n_, there_.g, 1, here_.g, 1);
            return true;
        }
        update_factor(n_, work_.l, work_.s, work_.y, here_.g, there_.g, gradient_.update_tolerance(), work_.t,
                      work_.w);
        l_vcopy(n_, there_.g, 1, here_.g, 1);
        return false;
    }

    bool should_stop(const Point& at)
    {
        ending_ = test_stop({n_, at, work_.s, problem_.xscale, problem_.fscale, search_, counts_}, controls_,
                            longest_count_);
        return ending_ != Ending::running;
    }

    Gradient& gradient_;
    const FreeProblem& problem_;
    const Controls& controls_;
    FreeWorkspace work_;
    int n_;
    Point here_;
    Point there_;
    SearchEnd search_;
    Counts counts_;
    int longest_count_ = 0;
    int quietness_ = 0;
    int stuck_steps_ = 0;
    Ending ending_ = Ending::running;
};

// Checks the controls and iterates, under the iteration's name. work: n * (n + 8)
// floats.
template <class Gradient>
FreeOutcome iterate(Gradient& gradient, FreeProblem& problem, Controls& controls, float* work)
{
    zavo_error_push(Gradient::iteration_name);
    FreeOutcome outcome;
    if (check_controls(problem, controls)) {
        gradient.noise = noise_of(controls.good_digits);
        outcome = QuasiNewton<Gradient>(gradient, problem, controls, {work, problem.n}).run();
    }
    zavo_error_pop(Gradient::iteration_name);
    return outcome;
}

// The same from `start`, under the driver's name.
template <class Gradient>
FreeOutcome minimize_free(Gradient& gradient, FreeProblem& problem, Controls& controls, const float* start,
                          float* work)
{
    zavo_error_push(Gradient::driver_name);
    if (start != problem.x) {
        l_vcopy(problem.n, start, 1, problem.x, 1);
    }
    const FreeOutcome outcome = iterate(gradient, problem, controls, work);
    zavo_error_pop(Gradient::driver_name);
    return outcome;
}

// Built once, in quasi_newton.cpp.
extern template SearchEnd search_line(DifferenceGradient&, const Search&);
extern template SearchEnd search_line(UserGradient&, const Search&);
extern template FreeOutcome iterate(DifferenceGradient&, FreeProblem&, Controls&, float*);
extern template FreeOutcome iterate(UserGradient&, FreeProblem&, Controls&, float*);
extern template FreeOutcome minimize_free(DifferenceGradient&, FreeProblem&, Controls&, const float*, float*);
extern template FreeOutcome minimize_free(UserGradient&, FreeProblem&, Controls&, const float*, float*);

} // namespace zavo::minimize

// The linearly constrained minimiser: outer procedure, minimisation phase and
// line search. Twins that differ in where gradients come from are one template.
//
// M. J. D. Powell: A tolerant algorithm for linearly constrained optimization
// calculations, Mathematical Programming 45 (1989) 547-566.
//
// Outer procedure: find a point that satisfies the constraints; then, again and
// again, minimise at the present tolerance and reduce the tolerance, until it is
// the accuracy of the data or no constraint is active.
//
// Minimisation phase, at a tolerance:
//   a. active set and direction d brought up to date      TolerantSet::direction
//   b. Kuhn-Tucker residual within the accuracy: converged
//   c. d is no descent direction: rounding errors dominate
//   d. the last step did not reduce f: no reduction
//   e. evaluation limit
//   f. f falls by less than a tenth of its first fall at this tolerance: reduce it
//   g. line search along d
//   h. no step: as c or d
//   j. BFGS update; the constraint that limited the step becomes active
//
// Line search: f falls by at least 0.1 of what the slope promises and the slope
// rises to 0.7 of what it was. f = x^2 from x = -2, d = 4: the first trial, at 2,
// is no lower; the quadratic through both asks for half the step, x = 0, and is
// right.
//
// Glossary: x f g, point, value, gradient; d, search direction; xs gs, point
// and gradient where a line search starts; slope, derivative along d; lo and hi,
// the ends of its bracket.
#pragma once

#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"
#include "core/kernels/machine.hpp"
#include "core/kernels/vector_kernels.h"
#include "minimize/constrained/tolerant_set.hpp"
#include "minimize/objective/counts.hpp"
#include "minimize/objective/difference_gradient.hpp"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace zavo::minimize {

// ---- Gradient sources -----------------------------------------------------------

struct ConstrainedDifferences {
    static constexpr char name[] = "L2ONF";
    static constexpr bool posts_counts = false; // the public routine has posted them
    static constexpr core::code::ErrorCode all_fixed_code = core::code::all_variables_fixed;

    Objective& objective;
    void operator()(int n, float* x, const Value& f, float* g) const
    {
        plain_difference_gradient(objective, n, x, f, g);
    }
};

struct ConstrainedUserGradient {
    static constexpr char name[] = "L2ONG";
    static constexpr bool posts_counts = true;
    static constexpr core::code::ErrorCode all_fixed_code = core::code::all_variables_fixed_gradient;

    Objective& objective;
    zavo_gradient_fn gradient;
    void operator()(int n, float* x, const Value&, float* g) const { call_gradient(gradient, n, x, g); }
};

// ---- Problem, work, outcome -----------------------------------------------------

// What is to be minimised, and how well. Not owned.
struct ConstrainedProblem {
    int nvar = 0;
    int ncon = 0;
    int neq = 0;
    const float* a = nullptr;     // ncon x nvar by columns
    int lda = 0;                  // its leading dimension
    const float* b = nullptr;     // ncon
    const float* xlb = nullptr;   // nvar
    const float* xub = nullptr;   // nvar
    const float* start = nullptr; // nvar
    float accuracy = 0.0F;
    int eval_limit = 0;
};

// Arrays of a run, two of which are results. The block: nvar^2 + 11 nvar + ncon.
struct ConstrainedWorkspace {
    float* block;
    float* x;           // nvar; the solution
    int* active;        // ncon + 2 nvar; the active list
    float* multipliers; // nvar
};

struct ConstrainedOutcome {
    Status status = refused;
    Value f = core::machine::not_a_number();
    int active_count = 0;
    Counts counts;
};

// ---- The method -----------------------------------------------------------------

template <class Gradient>
class LinearlyConstrained {
public:
    LinearlyConstrained(Gradient& gradient, const Constraints& constraints, const ConstrainedProblem& problem,
                        const ConstrainedWorkspace& work)
        : gradient_(gradient), c_(constraints), set_(constraints, work.block, work.active, work.multipliers),
          n_(problem.nvar), neq_(problem.neq), accuracy_(problem.accuracy), eval_limit_(problem.eval_limit),
          x_(work.x), g_(set_.take_vector()), d_(set_.take_vector()), xs_(set_.take_vector()),
          gs_(set_.take_vector()), g_best_(set_.take_vector())
    {
        assert(n_ >= 1 && eval_limit_ >= 1);
    }

    ConstrainedOutcome run()
    {
        minimize();
        return {status_, f_, set_.active(), counts_};
    }

private:
    void minimize()
    {
        set_.start(x_);
        status_ = converged;
        if (!find_start()) {
            set_.clear_multipliers();
            if (status_ == all_fixed) {
                f_ = gradient_.objective(n_, x_);
                ++counts_.evaluations;
            }
            return;
        }
        for (;;) {
            minimize_at_tolerance();
            if (gradient_.objective.stopped()) {
                status_ = stopped;
                break;
            }
            if (set_.tolerance() <= set_.data_accuracy() || set_.active() < 1) {
                break;
            }
            if (counts_.evaluations == eval_limit_) {
                status_ = limit_used;
                break;
            }
            set_.reduce_tolerance(x_);
            if (!make_feasible(constraints_clash)) {
                break;
            }
        }
        set_.finish(g_);
    }

    // Equalities, then bounds, then inequalities. False when they clash or
    // leave nothing free; the status says which.
    bool find_start()
    {
        if (!set_.keep_equalities(neq_, x_)) {
            status_ = equalities_clash;
            return false;
        }
        for (int j = 0; j < n_; ++j) {
            if (c_.bounds_apart(j)) {
                set_.list(c_.lower(j));
                set_.list(c_.upper(j));
            }
        }
        if (!make_feasible(bounds_clash)) {
            return false;
        }
        for (int k = neq_ + 1; k <= c_.ncon; ++k) {
            set_.list(k);
        }
        if (!make_feasible(constraints_clash)) {
            return false;
        }
        set_.reset_magnitudes(x_); // the start may have been far away
        if (set_.kept() == n_) {
            status_ = all_fixed;
            return false;
        }
        return true;
    }

    // A point that has moved has not been evaluated yet; status 1 records that.
    bool make_feasible(Status otherwise)
    {
        bool moved = false;
        const bool found = set_.find_feasible(x_, &moved, d_);
        status_ = !found ? otherwise : (moved ? converged : status_);
        return found;
    }

    void evaluate()
    {
        f_ = gradient_.objective(n_, x_);
        gradient_(n_, x_, f_, g_);
        ++counts_.gradients;
    }

    // ---- Minimisation phase -----------------------------------------------------

    void minimize_at_tolerance()
    {
        if (counts_.evaluations == 0 || status_ == converged) {
            evaluate();
            ++counts_.evaluations;
        }
        status_ = running;
        float f_before = std::fabs(f_ + f_ + 1.0F); // above f, whatever f is
        float last_drop = 0.0F;
        float first_drop = 0.0F; // by the first step at this tolerance
        for (int steps = 0;; ++steps) {
            const Direction found = set_.direction(x_, g_, d_);
            if (gradient_.objective.stopped() || should_stop(found, f_before, last_drop)) {
                return;
            }
            last_drop = f_before - f_;
            f_before = f_;
            if (counts_.evaluations == eval_limit_) {
                status_ = limit_used;
                return;
            }
            if (steps == 1) {
                first_drop = last_drop;
            }
            const bool tolerant = set_.tolerance() > set_.data_accuracy() && set_.active() > 0;
            if (tolerant && steps > 1 && std::max(last_drop, -0.5F * found.slope) <= 0.1F * first_drop) {
                return;
            }
            if (!step_along(found)) {
                return;
            }
        }
    }

    // The tests b to d; the status says which one is met. At the last tolerance
    // one step without a reduction is forgiven.
    bool should_stop(const Direction& found, float f_before, float last_drop)
    {
        const bool final_tolerance = set_.tolerance() <= set_.data_accuracy() || set_.active() < 1;
        if (accuracy_ * accuracy_ >= found.residual_squared) {
            status_ = converged;
        } else if (!(found.slope < 0.0F)) { // a NaN leads nowhere either
            status_ = no_descent;
        } else if (f_ >= f_before && (!final_tolerance || last_drop <= 0.0F)) {
            status_ = no_reduction;
        } else {
            return false;
        }
        return true;
    }

    // One line search and the BFGS update from it; false when no step reduced f.
    bool step_along(const Direction& found)
    {
        const float step = search_line(found);
        if (step == 0.0F) {
            float absolute = 0.0F;
            for (int i = 0; i < n_; ++i) {
                absolute += std::fabs(d_[i] * g_[i]);
            }
            status_ = found.slope + set_.data_accuracy() * absolute >= 0.0F ? no_descent : no_reduction;
            return false;
        }
        ++counts_.iterations;
        set_.note_magnitudes(x_);
        // The step itself, not the difference of the rounded points: it keeps to
        // the active constraints. xs and g_best are free now.
        for (int i = 0; i < n_; ++i) {
            xs_[i] = step * d_[i];
            g_best_[i] = g_[i] - gs_[i];
        }
        set_.update(gs_, xs_, g_best_);
        if (step == found.cap && found.blocking >= 0) {
            set_.activate(found.blocking, x_);
        }
        gradient_.objective.report(n_, x_, f_, counts_);
        return true;
    }

    // ---- Line search --------------------------------------------------------------

    // Returns the step of the best point, which x, f, g are left at; 0 when
    // none is better than the start.
    float search_line(const Direction& found)
    {
        l_vcopy(n_, x_, 1, xs_, 1);
        l_vcopy(n_, g_, 1, gs_, 1);
        l_vcopy(n_, g_, 1, g_best_, 1);
        best_ = {0.0F, f_, found.slope};
        Trial lo = best_;
        Trial hi = {-1.0F, 0.0F, 0.0F};
        float step = std::min(1.0F, found.cap);
        const float step_floor = std::max(set_.data_accuracy() * least_ratio(), 1e-12F * step);
        step = std::min(std::max(step_floor, step), found.cap);
        for (int trials = 1;; ++trials) {
            const Trial now = try_step(step);
            if (gradient_.objective.stopped()) {
                counts_.evaluations += trials;
                break;
            }
            if (counts_.evaluations + trials == eval_limit_) {
                counts_.evaluations = eval_limit_;
                break;
            }
            step = next_step(now, trials, found.cap, step_floor, &lo, &hi);
            if (step == 0.0F) {
                counts_.evaluations += trials;
                break;
            }
        }
        go_to(best_.step);
        f_ = best_.f;
        l_vcopy(n_, g_best_, 1, g_, 1);
        return best_.step;
    }

    struct Trial {
        float step;
        Value f;
        float slope;
    };

    // The step to try behind `now`; 0 to end the search.
    // `now` becomes an end of the bracket: the lower one when f fell enough, and
    // then it may be accepted at once, else the upper one. Without an upper end
    // the step grows by the secant of the slopes, at most tenfold; with one it
    // goes to the least value of a quadratic, at least a tenth into the bracket.
    static float next_step(const Trial& now, int trials, float cap, float step_floor, Trial* lo, Trial* hi)
    {
        const float slope_before = lo->slope;
        if (now.f <= lo->f + 0.1F * (now.step - lo->step) * lo->slope) {
            *lo = now;
            if (now.slope >= 0.7F * slope_before) {
                return 0.0F;
            }
        } else {
            *hi = now;
        }
        if (hi->step < 0.0F) { // no bracket yet
            const float factor =
                now.slope > 0.9F * slope_before ? slope_before / (slope_before - now.slope) : 10.0F;
            return now.step == cap ? 0.0F : std::min(now.step * factor, cap);
        }
        if (0.9F * hi->step <= lo->step) {
            return 0.0F;
        }
        if (lo->step == 0.0F && trials > 1) {
            const float shorter = 0.1F * now.step;
            return shorter < step_floor ? 0.0F : shorter;
        }
        const float width = hi->step - lo->step;
        const float part = -0.5F * lo->slope * width / (hi->f - lo->f - lo->slope * width);
        return lo->step + (part > 0.1F ? std::min(part, 0.9F) : 0.1F) * width;
    }

    // Keeps the best trial; of equal values the one with the smaller slope.
    Trial try_step(float step)
    {
        go_to(step);
        evaluate();
        const Trial now = {step, f_, l_vdot(n_, d_, 1, g_, 1)};
        if (gradient_.objective.stopped()) {
            return now; // an incomplete point
        }
        if (now.f < best_.f || (now.f == best_.f && std::fabs(now.slope) < std::fabs(best_.slope))) {
            best_ = now;
            l_vcopy(n_, g_, 1, g_best_, 1);
        }
        return now;
    }

    // Rounding must not carry a variable over a bound: the function may have no
    // value there.
    void go_to(float step)
    {
        for (int i = 0; i < n_; ++i) {
            x_[i] = step == 0.0F ? xs_[i] : c_.within(i, xs_[i] + step * d_[i]);
        }
    }

    // The least |x[i] / d[i]|; -1 when d is 0.
    float least_ratio() const
    {
        float least = -1.0F;
        for (int i = 0; i < n_; ++i) {
            if (d_[i] != 0.0F) {
                const float ratio = std::fabs(xs_[i] / d_[i]);
                least = least < 0.0F || ratio < least ? ratio : least;
            }
        }
        return least;
    }

    Gradient& gradient_;
    const Constraints& c_;
    TolerantSet set_;
    int n_;
    int neq_;
    float accuracy_;
    int eval_limit_;
    float* x_;
    float *g_, *d_, *xs_, *gs_, *g_best_;
    Value f_ = core::machine::not_a_number(); // until there is a value
    Trial best_ = {};
    Counts counts_;
    Status status_ = running;
};

// Checks the problem, minimises and posts what the status says, under the
// driver's name. A refused problem leaves the workspace alone.
template <class Gradient>
ConstrainedOutcome minimize_constrained(Gradient& gradient, const ConstrainedProblem& problem,
                                        const ConstrainedWorkspace& work);

// Built once, in lincon.cpp.
extern template ConstrainedOutcome minimize_constrained(ConstrainedDifferences&, const ConstrainedProblem&,
                                                        const ConstrainedWorkspace&);
extern template ConstrainedOutcome minimize_constrained(ConstrainedUserGradient&, const ConstrainedProblem&,
                                                        const ConstrainedWorkspace&);

} // namespace zavo::minimize

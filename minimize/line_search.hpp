// Backtracking line search with extension: finds lambda such that
//     f(x + lambda p) <= f(x) + 1e-4 lambda slope,    slope = g.p < 0,
// and, when the full step lambda = 1 is good and still runs steeply downhill,
// goes on until the slope is at least 0.9 of the first one. Gradients are taken
// at trials with a good value only. f = x^4 from x = 1 along p = -4: lambda = 1
// gives f(-3) = 81, the quadratic model asks for 1/12, the bound gives 0.1, and
// f(0.6) = 0.1296 is accepted.
//
// J. E. Dennis, R. B. Schnabel: Numerical Methods for Unconstrained Optimization
// and Nonlinear Equations (1983), section 6.3.2, algorithm A6.3.1mod.
//
// Glossary: x f g, the point, its value and gradient; p, the direction; slope,
// the derivative along p; lambda, the step's length in units of p; f_new g_new
// x_new, the trial; `low`, the best trial of a bracket.
#pragma once

#include "core/kernels/vector_kernels.h"
#include "minimize/controls.hpp"
#include "minimize/relative_measures.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace zavo::minimize {

// What a search comes back with.
enum SearchResult : int {
    search_good = 0,
    search_failed = 1, // no acceptable step above the step tolerance; x is left as it was
    // The step was accepted, but it and the best step that the model knows of
    // change f by at most the relative function tolerance.
    search_without_progress = 2,
    // The step was accepted, but it is no longer than the false-convergence
    // tolerance and gained less than a tenth of what the model promised, which
    // was more than the relative tolerance: the function or its gradient is not
    // smooth enough here to go on.
    search_stuck = 3
};

// The arrays and scalars of a search, as the named routines receive them.
struct SearchPlace {
    int n;
    float* x;
    float f;
    const float* g;
    float* p;
    const float* xscale;
    float step_limit;
    const float* reals;
    float* x_new;
    float* f_new;
    float* g_new;
    float* g_low; // spare: gradient at the low end of a bracket
    int* eval_count;
    int* gradient_count;
};

template <class Gradient>
class LineSearch {
public:
    LineSearch(const SearchPlace& place, Gradient& gradient) : at_(place), gradient_(gradient) {}

    SearchResult run()
    {
        shorten_to_limit();
        slope_ = l_vdot(at_.n, at_.g, 1, at_.p, 1);
        const float length = relative_step(at_.n, at_.x, at_.p, at_.xscale);
        // A direction that does not lead downhill, or is not finite, is no
        // direction. With it gone everything below ends.
        if (!(slope_ < 0.0F) || !(length > 0.0F) || !std::isfinite(slope_) || !std::isfinite(length)) {
            return fail();
        }
        lambda_least_ = at_.reals[step_tol] / length;
        for (bool first = true; !try_step(); first = false) {
            if (lambda_ < lambda_least_ || !moved_) {
                return fail();
            }
            backtrack(first);
        }
        take_gradient();
        if (lambda_ == 1.0F && too_steep()) {
            extend();
        }
        return judge();
    }

    // Was the step one of (nearly) the greatest length?
    bool longest() const { return lambda_ * p_length_ > 0.99F * at_.step_limit; }

private:
    static constexpr float decrease_part = 1e-4F;
    static constexpr float slope_part = 0.9F;
    static constexpr float increment_part = 0.2F;
    static constexpr float backtrack_least = 0.1F;
    static constexpr float backtrack_most = 0.5F;

    SearchResult fail()
    {
        l_vcopy(at_.n, at_.x, 1, at_.x_new, 1);
        l_vcopy(at_.n, at_.g, 1, at_.g_new, 1);
        *at_.f_new = at_.f;
        lambda_ = 0.0F;
        return search_failed;
    }

    void shorten_to_limit()
    {
        for (int i = 0; i < at_.n; ++i) {
            at_.g_new[i] = at_.xscale[i] * at_.p[i]; // g_new is free until a trial is good
        }
        p_length_ = l_vnrm2(at_.n, at_.g_new, 1);
        if (p_length_ > at_.step_limit) {
            const float part = at_.step_limit / p_length_;
            for (int i = 0; i < at_.n; ++i) {
                at_.p[i] *= part;
            }
            p_length_ = at_.step_limit;
        }
    }

    // Evaluates f at x + lambda p; true when the value is acceptable. A NaN is
    // not. A step that rounding has made vanish is not tried.
    bool try_step()
    {
        moved_ = false;
        for (int i = 0; i < at_.n; ++i) {
            at_.x_new[i] = at_.x[i] + lambda_ * at_.p[i];
            moved_ = moved_ || at_.x_new[i] != at_.x[i];
        }
        if (!moved_) {
            return false;
        }
        *at_.f_new = gradient_.value(at_.n, at_.x_new);
        ++*at_.eval_count;
        return *at_.f_new <= at_.f + decrease_part * lambda_ * slope_;
    }

    void take_gradient()
    {
        gradient_(at_.n, at_.x_new, at_.xscale, *at_.f_new, at_.g_new);
        ++*at_.gradient_count;
        slope_new_ = l_vdot(at_.n, at_.g_new, 1, at_.p, 1);
    }

    bool too_steep() const { return slope_new_ < slope_part * slope_; }

    // After a bad trial: the minimiser of the quadratic (first) or cubic model
    // through the values seen, kept within 0.1 and 0.5 of the present lambda.
    void backtrack(bool first)
    {
        const float f_new = *at_.f_new;
        float wanted = 0.0F;
        if (first) {
            wanted = -slope_ / (2.0F * (f_new - at_.f - slope_));
        } else {
            const float gap = lambda_ - lambda_before_;
            const float v = (f_new - at_.f - lambda_ * slope_) / (lambda_ * lambda_);
            const float w = (f_before_ - at_.f - lambda_before_ * slope_) / (lambda_before_ * lambda_before_);
            const float a = (v - w) / gap;
            const float b = (lambda_ * w - lambda_before_ * v) / gap;
            const float root = b * b - 3.0F * a * slope_;
            wanted = a == 0.0F ? -slope_ / (2.0F * b) : (std::sqrt(root) - b) / (3.0F * a);
        }
        lambda_before_ = lambda_;
        f_before_ = f_new;
        // A NaN, from values that are not finite, fails both tests.
        const float least = backtrack_least * lambda_;
        const float most = backtrack_most * lambda_;
        lambda_ = wanted > most ? most : (wanted > least ? wanted : least);
    }

    // The full step was good and its end is steep: doubles lambda up to the
    // limit while that stays so, then refines between the last two trials.
    void extend()
    {
        const float lambda_most = at_.step_limit / p_length_;
        bool good = true;
        while (good && too_steep() && lambda_ < lambda_most) {
            keep_as_low();
            lambda_ = std::min(2.0F * lambda_, lambda_most);
            good = try_step();
            if (good) {
                take_gradient();
            }
        }
        if (!good) {
            refine();
        }
    }

    void keep_as_low()
    {
        lambda_low_ = lambda_;
        f_low_ = *at_.f_new;
        slope_low_ = slope_new_;
        l_vcopy(at_.n, at_.g_new, 1, at_.g_low, 1);
    }

    void back_to_low()
    {
        lambda_ = lambda_low_;
        slope_new_ = slope_low_;
        for (int i = 0; i < at_.n; ++i) {
            at_.x_new[i] = at_.x[i] + lambda_ * at_.p[i];
        }
        *at_.f_new = f_low_;
        l_vcopy(at_.n, at_.g_low, 1, at_.g_new, 1);
    }

    // Between the low trial, good but steep, and a bad one above it.
    void refine()
    {
        float width = lambda_ - lambda_low_;
        float f_high = *at_.f_new;
        while (width >= lambda_least_ && width > 0.0F) {
            const float wanted =
                -slope_low_ * width * width / (2.0F * (f_high - (f_low_ + slope_low_ * width)));
            const float least = increment_part * width;
            const float increment = wanted > least ? std::min(wanted, width - least) : least;
            lambda_ = lambda_low_ + increment;
            if (!(lambda_ > lambda_low_)) {
                break;
            }
            if (!try_step()) {
                width = increment;
                f_high = *at_.f_new;
                continue;
            }
            take_gradient();
            if (!too_steep()) {
                return;
            }
            width -= increment;
            keep_as_low();
        }
        back_to_low();
    }

    // Tells a step that got somewhere from one that only moved. The model is
    // the quadratic along p, whose full step promises -slope/2.
    SearchResult judge() const
    {
        const float size = std::fabs(*at_.f_new);
        const float promised = -0.5F * slope_;
        const float achieved = at_.f - *at_.f_new;
        const bool little_promised = promised <= at_.reals[relative_tol] * size;
        if (little_promised) {
            return achieved <= at_.reals[relative_tol] * size ? search_without_progress : search_good;
        }
        if (achieved > 0.1F * promised) {
            return search_good;
        }
        float step = 0.0F;
        for (int i = 0; i < at_.n; ++i) {
            const float moved = std::fabs(at_.x_new[i] - at_.x[i]);
            step = greater_or_nan(step, moved / magnitude(at_.x_new[i], at_.xscale[i]));
        }
        return step <= at_.reals[false_tol] ? search_stuck : search_good;
    }

    const SearchPlace& at_;
    Gradient& gradient_;
    float slope_ = 0.0F;
    float p_length_ = 0.0F;
    float lambda_ = 1.0F;
    float lambda_least_ = 0.0F;
    float slope_new_ = 0.0F;
    bool moved_ = false;
    float lambda_before_ = 0.0F; // last bad trial
    float f_before_ = 0.0F;
    float lambda_low_ = 0.0F;
    float f_low_ = 0.0F;
    float slope_low_ = 0.0F;
};

} // namespace zavo::minimize

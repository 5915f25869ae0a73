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
// Glossary: `from`, the point where the search starts; `to`, the trial and in the
// end the new point; p, the direction; slope, the derivative along p; lambda, the
// step's length in units of p; `low`, the best trial of a bracket.
#pragma once

#include "core/kernels/vector_kernels.h"
#include "minimize/free/controls.hpp"
#include "minimize/free/relative_measures.hpp"
#include "minimize/objective/counts.hpp"
#include "minimize/objective/objective.hpp"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>

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
    search_stuck = 3,
    // The limit of evaluations was passed before a step was acceptable; x is left as
    // it was.
    search_cut = 4
};

// Without a few trials more, a run that meets the limit of evaluations while it steps
// back would throw its last direction away.
inline constexpr int trials_past_limit = 10;

// A place with its value and gradient.
struct Point {
    float* x; // n
    float* g; // n
    Value f;
};

// A search from `from` along p, which it may shorten to the step limit.
struct Search {
    int n;
    Point& from;
    float* p; // n
    const float* xscale;
    const Controls& controls;
    Point& to;    // the new point
    float* g_low; // n, spare: gradient at the low end of a bracket
    Counts& counts;
};

// What a search says about its step.
struct SearchEnd {
    SearchResult result = search_good;
    bool longest = false; // was it (nearly) of the greatest length?
};

template <class Gradient>
class LineSearch {
public:
    LineSearch(const Search& search, Gradient& gradient)
        : at_(search), controls_(search.controls), gradient_(gradient)
    {
        assert(search.n >= 1 && search.from.x != search.to.x && search.from.g != search.to.g);
    }

    SearchEnd run()
    {
        const SearchResult result = search();
        return {result, lambda_ * p_length_ > 0.99F * controls_.step_limit};
    }

private:
    static constexpr float decrease_part = 1e-4F;
    static constexpr float slope_part = 0.9F;
    static constexpr float increment_part = 0.2F;
    static constexpr float backtrack_least = 0.1F;
    static constexpr float backtrack_most = 0.5F;

    SearchResult search()
    {
        shorten_to_limit();
        slope_ = l_vdot(at_.n, at_.from.g, 1, at_.p, 1);
        const float length = relative_step(at_.n, at_.from.x, at_.p, at_.xscale);
        // No descent direction, or one that is not finite. Without those every loop
        // below ends.
        if (!(slope_ < 0.0F) || !(length > 0.0F) || !std::isfinite(slope_) || !std::isfinite(length)) {
            return fail(search_failed);
        }
        lambda_least_ = controls_.step_tol / length;
        for (bool first = true; !try_step(); first = false) {
            if (lambda_ < lambda_least_ || !(lambda_ > 0.0F) || !moved_) {
                return fail(search_failed);
            }
            if (at_.counts.evaluations - trials_past_limit >= controls_.eval_limit) {
                return fail(search_cut);
            }
            backtrack(first);
        }
        take_gradient();
        if (lambda_ == 1.0F && too_steep()) {
            extend();
        }
        return judge();
    }

    SearchResult fail(SearchResult why)
    {
        l_vcopy(at_.n, at_.from.x, 1, at_.to.x, 1);
        l_vcopy(at_.n, at_.from.g, 1, at_.to.g, 1);
        at_.to.f = at_.from.f;
        lambda_ = 0.0F;
        return why;
    }

    void shorten_to_limit()
    {
        for (int i = 0; i < at_.n; ++i) {
            at_.to.g[i] = at_.xscale[i] * at_.p[i]; // to.g is free until a trial is good
        }
        p_length_ = l_vnrm2(at_.n, at_.to.g, 1);
        if (p_length_ > controls_.step_limit) {
            const float part = controls_.step_limit / p_length_;
            for (int i = 0; i < at_.n; ++i) {
                at_.p[i] *= part;
            }
            p_length_ = controls_.step_limit;
        }
    }

    // Asked by the loops that go on from a step that is good already.
    bool must_end() const { return at_.counts.evaluations >= controls_.eval_limit; }

    // Evaluates f at x + lambda p; true when the value is acceptable. A NaN is
    // not. A step that rounding has made vanish is not tried, nor is one that
    // leaves the range of a float, which counts as one with an infinite value.
    bool try_step()
    {
        moved_ = false;
        bool in_range = true;
        for (int i = 0; i < at_.n; ++i) {
            at_.to.x[i] = at_.from.x[i] + lambda_ * at_.p[i];
            moved_ = moved_ || at_.to.x[i] != at_.from.x[i];
            in_range = in_range && (std::isfinite(at_.to.x[i]) || !std::isfinite(at_.from.x[i]));
        }
        if (!moved_) {
            return false;
        }
        if (!in_range) {
            at_.to.f = std::numeric_limits<float>::infinity();
            return false;
        }
        at_.to.f = gradient_.objective(at_.n, at_.to.x);
        ++at_.counts.evaluations;
        return at_.to.f <= at_.from.f + decrease_part * lambda_ * slope_;
    }

    void take_gradient()
    {
        gradient_(at_.n, at_.to.x, at_.xscale, at_.to.f, at_.to.g);
        ++at_.counts.gradients;
        slope_new_ = l_vdot(at_.n, at_.to.g, 1, at_.p, 1);
    }

    bool too_steep() const { return slope_new_ < slope_part * slope_; }

    // After a bad trial: the minimiser of the quadratic (first) or cubic model
    // through the values seen, kept within 0.1 and 0.5 of the present lambda.
    void backtrack(bool first)
    {
        const float f_new = at_.to.f;
        float wanted = 0.0F;
        if (first) {
            wanted = -slope_ / (2.0F * (f_new - at_.from.f - slope_));
        } else {
            const float gap = lambda_ - lambda_before_;
            const float v = (f_new - at_.from.f - lambda_ * slope_) / (lambda_ * lambda_);
            const float w =
                (f_before_ - at_.from.f - lambda_before_ * slope_) / (lambda_before_ * lambda_before_);
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
        constexpr float most = std::numeric_limits<float>::max(); // infinite steps have no middle
        const float lambda_most = std::min(controls_.step_limit / p_length_, most);
        bool good = true;
        while (good && too_steep() && lambda_ < lambda_most && !must_end()) {
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
        f_low_ = at_.to.f;
        slope_low_ = slope_new_;
        l_vcopy(at_.n, at_.to.g, 1, at_.g_low, 1);
    }

    void back_to_low()
    {
        lambda_ = lambda_low_;
        slope_new_ = slope_low_;
        for (int i = 0; i < at_.n; ++i) {
            at_.to.x[i] = at_.from.x[i] + lambda_ * at_.p[i];
        }
        at_.to.f = f_low_;
        l_vcopy(at_.n, at_.g_low, 1, at_.to.g, 1);
    }

    // Between the low trial, good but steep, and a bad one above it.
    void refine()
    {
        float width = lambda_ - lambda_low_;
        float f_high = at_.to.f;
        while (width >= lambda_least_ && !must_end()) { // never 0: a fifth of it is left each time
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
                f_high = at_.to.f;
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
        const float size = std::fabs(at_.to.f);
        const float promised = -0.5F * slope_;
        const float achieved = at_.from.f - at_.to.f;
        const bool little_promised = promised <= controls_.relative_tol * size;
        if (little_promised) {
            return achieved <= controls_.relative_tol * size ? search_without_progress : search_good;
        }
        if (achieved > 0.1F * promised) {
            return search_good;
        }
        float step = 0.0F;
        for (int i = 0; i < at_.n; ++i) {
            const float moved = std::fabs(at_.to.x[i] - at_.from.x[i]);
            step = greater_or_nan(step, moved / magnitude(at_.to.x[i], at_.xscale[i]));
        }
        return step <= controls_.false_tol ? search_stuck : search_good;
    }

    const Search& at_;
    const Controls& controls_;
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
    Value f_low_;
    float slope_low_ = 0.0F;
};

} // namespace zavo::minimize

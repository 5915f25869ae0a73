// A quasi-Newton method for functions whose values are doubles at points whose
// coordinates are floats. Differences, the inverse Hessian and the search are in
// double precision; every point that is evaluated lies on the floats' grid, and
// steps are measured between such points, so that nothing is lost to rounding but
// the grid itself.
//
// The run goes in rounds. The first begins with a gradient by central differences,
// which gives the second derivatives along the axes, too, and these the first
// inverse Hessian (so that the scales of the variables need not be told). A round
// that ends for any reason but a small gradient is followed by another one, from
// where it ended, with shorter difference steps, and when that gains nothing by one
// with all second derivatives by differences: near a minimum on the floats' grid the
// changes of gradients tell more of the grid than of the function. The run ends when
// this one has gained nothing, too.
//
// J. E. Dennis, R. B. Schnabel: Numerical Methods for Unconstrained Optimization
// and Nonlinear Equations (1983): differences A5.6.3 and A5.6.4, search A6.3.1mod,
// update (9.2.10) in its form for the inverse. First scaling with given gradients:
// D. F. Shanno, K.-H. Phua: Matrix conditioning and nonlinear optimization (1978).
//
// Glossary: x f g, point, value, gradient; sizes, typical sizes of the variables,
// by which all of what follows is divided: p, direction; s, y, changes of x and g;
// h, inverse Hessian, n x n.
#include "minimize/run/free_run.hpp"

#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"
#include "core/system/memory.hpp"
#include "minimize/run/inverse_hessian.hpp"
#include "minimize/run/run_limits.hpp"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace zavo::minimize {

double noise_of_digits(int digits)
{
    double noise = 1.0;
    for (int i = 0; i < digits && noise > 1e-30; ++i) {
        noise /= 10.0;
    }
    return noise;
}

namespace {

// The host's modes while one of its functions runs.
class HostFloatControl {
public:
    explicit HostFloatControl(platform::FloatControl host) : differs_(host != platform::usual_float_control)
    {
        if (differs_) {
            platform::set_float_control(host);
        }
    }
    ~HostFloatControl()
    {
        if (differs_) {
            platform::set_float_control(platform::usual_float_control);
        }
    }
    HostFloatControl(const HostFloatControl&) = delete;
    HostFloatControl& operator=(const HostFloatControl&) = delete;

private:
    bool differs_;
};

} // namespace

double Evaluations::value(const float* x)
{
    constexpr double none = std::numeric_limits<double>::infinity();
    if (must_end()) {
        return none;
    }
    if (count_ >= problem_.limit) {
        limited_ = true;
        return none;
    }
    ++count_;
    double f = none;
    {
        const HostFloatControl host(host_);
        f = problem_.value(problem_.context, x, &stopped_);
    }
    return std::isfinite(f) ? f : none;
}

bool Evaluations::gradient(const float* x, double* g)
{
    if (!must_end()) {
        const HostFloatControl host(host_);
        problem_.gradient(problem_.context, x, g, &stopped_);
    }
    return !must_end();
}

void Evaluations::progress(const float* x, double value, int iteration)
{
    if (problem_.progress != nullptr && !must_end()) {
        const HostFloatControl host(host_);
        problem_.progress(problem_.context, x, value, count_, iteration, &stopped_);
    }
}

namespace {

constexpr double grid = 0x1p-23; // relative distance of neighbouring floats
// Difference steps relative to the variable. Functions are double as a rule
// and bear short ones; the square root of a float's spacing suits a function that is
// computed in single precision.
constexpr double first_difference_step = 0x1p-15;
constexpr double long_difference_step = 0x1.6p-12;
constexpr double second_difference_step = 0x1p-13;
constexpr int most_newton_variables = 30;
// One that has become smaller than this part of its size is taken for 0, whose size is
// the typical one.
constexpr double vanishing_part = 1e-6;
constexpr double decrease_part = 1e-4;
constexpr double slope_part = 0.9;
// Longest step, relative to the variables; so many of them in a row mean that the
// function falls for ever.
constexpr double longest_step = 10.0;
constexpr int longest_steps_in_a_row = 5;
// Changes of f, relative to f, that are negligible.
constexpr double slow_change = 1e-2; // but ask for better gradients
constexpr double quiet_change = 1e-10;
constexpr double settled_change = 1e-11;
constexpr double gain_of_a_round = 1e-8;
// A last step of so many of the grid's, that led nowhere, means a minimum on the grid.
constexpr double resting_steps = 128.0;

enum class End {
    gradient_small,
    settled,       // the model's minimum lies within the grid, or no lower than rounding
    quiet,         // two changes in a row were next to nothing
    step_small,    // within the caller's tolerance
    search_failed, // no lower point along the direction
    unbounded,
    ended // by the caller or the limit
};

// The arrays of a run, in one block.
class Work {
public:
    static constexpr int vectors = 9; // of doubles
    explicit Work(int n)
    {
        const auto count = static_cast<std::size_t>(n);
        const std::size_t most = static_cast<std::size_t>(-1) / sizeof(double) / (count + vectors + 1);
        if (count < most) {
            block_ = static_cast<double*>(core::allocate(count * (count + vectors + 1), sizeof(double)));
        }
        if (block_ == nullptr) {
            return;
        }
        double* at = block_;
        for (double** const vector : {&sizes, &g, &g_new, &g_try, &curvature, &p, &s, &y, &hy}) {
            *vector = at;
            at += count;
        }
        h = at;
        at += count * count;
        x_new = reinterpret_cast<float*>(at); // both in what a vector of doubles takes
        x_try = x_new + count;
        assert(static_cast<void*>(x_try + count) <=
               static_cast<void*>(block_ + count * (count + vectors + 1)));
    }
    ~Work() { core::release(block_); }
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;
    bool good() const { return block_ != nullptr; }

    double* sizes = nullptr;
    double* g = nullptr;
    double* g_new = nullptr;
    double* g_try = nullptr;
    double* curvature = nullptr; // along the axes
    double* p = nullptr;
    double* s = nullptr;
    double* y = nullptr;
    double* hy = nullptr;
    double* h = nullptr; // n x n
    float* x_new = nullptr;
    float* x_try = nullptr;

private:
    double* block_ = nullptr;
};

class FreeRun {
public:
    FreeRun(const zavo_run_problem& problem, Evaluations& evaluations, zavo_run_outcome& outcome, Work& work)
        : problem_(problem), evaluations_(evaluations), outcome_(outcome), w_(work), n_(problem.n),
          x_(outcome.x), h_(problem.n, work.h)
    {
        assert(n_ >= 1 && problem.start != nullptr && outcome.x != nullptr && outcome.g != nullptr);
    }

    void run()
    {
        std::copy_n(problem_.start, n_, x_);
        std::fill_n(w_.g, n_, std::numeric_limits<double>::quiet_NaN());
        f_ = evaluations_.value(x_);
        if (!std::isfinite(f_)) {
            finish(evaluations_.must_end() ? ending_of_callbacks() : ZAVO_RUN_NO_VALUE, 0);
            return;
        }
        report(run_rounds());
    }

private:
    // ---- Rounds --------------------------------------------------------------------

    // After the first one: shorter differences with the curvature that is known; when
    // that gains nothing, new curvature; when the search fails even so, long
    // differences, for a function that is computed in single precision.
    End run_rounds()
    {
        int attempts = 0; // in a row that have gained nothing
        // How the last round ended; `settled` stays until a round gains.
        End resting = End::quiet;
        step_ = given_step() > 0.0 ? given_step() : first_difference_step;
        for (int round = 0;; ++round) {
            const double before = f_;
            central_ = problem_.differences == ZAVO_RUN_CENTRAL || round > 0;
            const End end = run_round(round == 0 || attempts > 0);
            if (end == End::gradient_small || end == End::step_small || end == End::ended ||
                end == End::unbounded || round + 1 == most_rounds) {
                return end;
            }
            const bool gained = before - f_ > negligible(gain_of_a_round);
            attempts = gained || round == 0 ? 0 : attempts + 1;
            resting = gained || resting != End::settled ? end : resting;
            if (attempts > (resting == End::search_failed ? 2 : 1)) {
                return resting;
            }
            if (given_step() == 0.0 && (round == 0 || attempts == 2)) {
                step_ = attempts == 2 ? long_difference_step : short_difference_step;
            }
        }
    }

    // By the digits that the caller knows of; 0 when he does not.
    double given_step() const
    {
        return problem_.digits > 0 ? std::sqrt(std::max(noise_of_digits(problem_.digits), grid)) : 0.0;
    }

    // ---- Gradients -----------------------------------------------------------------

    bool take_gradient(float* x, double f, double* g, bool with_curvature)
    {
        ++outcome_.gradients;
        if (problem_.gradient != nullptr) {
            return evaluations_.gradient(x, g);
        }
        for (int i = 0; i < n_ && !evaluations_.must_end(); ++i) {
            difference(x, f, i, central_ || with_curvature, &g[i], &w_.curvature[i]);
        }
        return !evaluations_.must_end();
    }

    // Where the function has no value on one side, the other one serves; where it
    // has none on either, nearer places do.
    void difference(float* x, double f, int i, bool both, double* slope, double* curvature)
    {
        const float here = x[i];
        double h = step_ * std::max(std::fabs(double{here}), least_part * w_.sizes[i]);
        h = std::max(h, double{std::numeric_limits<float>::denorm_min()});
        h = here < 0.0F ? -h : h;
        *slope = 0.0;
        *curvature = 0.0;
        for (int attempt = 0; attempt < 3; ++attempt, h /= 16.0) {
            const auto above = static_cast<float>(here + h);
            const auto below = static_cast<float>(here - h);
            const double f_above = value_with(x, i, above);
            const double f_below = both || !std::isfinite(f_above) ? value_with(x, i, below)
                                                                   : std::numeric_limits<double>::infinity();
            const bool has_above = std::isfinite(f_above);
            const bool has_below = std::isfinite(f_below);
            const double to_above = double{above} - here;
            const double to_below = here - double{below};
            if (has_above && has_below) {
                const double slope_above = (f_above - f) / to_above;
                const double slope_below = (f - f_below) / to_below;
                *slope = (f_above - f_below) / (to_above + to_below);
                *curvature = 2.0 * (slope_above - slope_below) / (to_above + to_below);
                return;
            }
            if (has_above || has_below) {
                *slope = has_above ? (f_above - f) / to_above : (f - f_below) / to_below;
                return;
            }
            if (evaluations_.must_end()) {
                return;
            }
        }
    }

    // Beyond the floats, and where the step is lost in them, there is no value.
    double value_with(float* x, int i, float there)
    {
        const float here = x[i];
        if (!std::isfinite(there) || there == here) {
            return std::numeric_limits<double>::infinity();
        }
        x[i] = there;
        const double f = evaluations_.value(x);
        x[i] = here;
        return f;
    }

    double reach(int i) const { return std::max(std::fabs(double{x_[i]}), w_.sizes[i]); }

    // max |g[i]| max(|x[i]|, size) / max(|f|, fscale)
    double relative_gradient(const double* g) const
    {
        const double size = std::max(std::fabs(f_), problem_.fscale);
        double greatest = 0.0;
        for (int i = 0; i < n_; ++i) {
            const double part = std::fabs(g[i]) * reach(i);
            greatest = part <= greatest ? greatest : part;
        }
        return greatest == 0.0 ? 0.0 : greatest / size;
    }

    // ---- A round -------------------------------------------------------------------

    End run_round(bool afresh)
    {
        for (int i = 0; afresh && i < n_; ++i) {
            const double typical = problem_.sizes != nullptr ? problem_.sizes[i] : first_size(i);
            const double size = std::fabs(double{x_[i]});
            w_.sizes[i] = size > vanishing_part * typical ? size : typical;
        }
        const bool axes = problem_.differences != ZAVO_RUN_FORWARD && problem_.gradient == nullptr;
        if (!take_gradient(x_, f_, w_.g, afresh && axes)) {
            return End::ended;
        }
        if (afresh && (first_round_ || !newton_inverse())) {
            start_inverse(axes);
        }
        first_round_ = false;
        quiet_ = 0;
        longest_ = 0;
        for (bool first = true;; first = false) {
            if (relative_gradient(w_.g) <= problem_.tolerance && refine_gradient()) {
                return End::gradient_small;
            }
            const End end = iterate(first && afresh && !axes);
            if (evaluations_.must_end()) {
                return End::ended;
            }
            if (end == End::quiet || end == End::settled || end == End::search_failed) {
                if (refine()) {
                    continue; // forward differences were not good enough
                }
                return end;
            }
            if (end != End::ended) {
                return end;
            }
        }
    }

    double first_size(int i) const
    {
        const double size = std::fabs(double{problem_.start[i]});
        return size > 0.0 ? size : 1.0;
    }

    // Has the gradient test been met by a gradient that is accurate enough? Else it is
    // taken again, and the test is to be made again. Not when the run has to end before
    // that is known.
    bool refine_gradient()
    {
        if (!refine()) {
            return !evaluations_.must_end();
        }
        return relative_gradient(w_.g) <= problem_.tolerance;
    }

    // Goes over to central differences; false when that changes nothing.
    bool refine()
    {
        if (central_ || problem_.gradient != nullptr || problem_.differences != ZAVO_RUN_AUTO) {
            return false;
        }
        central_ = true;
        quiet_ = 0;
        return take_gradient(x_, f_, w_.g, false);
    }

    // The diagonal of the second derivatives, where they are known and no smaller
    // than what keeps the first step within the size of the variables.
    void start_inverse(bool axes)
    {
        fresh_ = true;
        double steepest = 0.0;
        for (int i = 0; i < n_; ++i) {
            steepest = std::max(steepest, std::fabs(w_.g[i]) * w_.sizes[i]);
        }
        for (int i = 0; i < n_; ++i) {
            const double slope = axes ? std::fabs(w_.g[i]) * w_.sizes[i] : steepest;
            const double second = axes ? std::fabs(w_.curvature[i]) * w_.sizes[i] * w_.sizes[i] : 0.0;
            const double stiffness = std::max({second, slope, 1e-12 * std::fabs(f_)});
            w_.p[i] = stiffness > 0.0 && std::isfinite(stiffness) ? 1.0 / stiffness : 1.0;
        }
        h_.set_diagonal(w_.p);
    }

    // The inverse of all second derivatives by differences, for as many variables as
    // make that worth its n (n + 1) calls. False when they are not to be had.
    bool newton_inverse()
    {
        if (n_ > most_newton_variables || problem_.gradient != nullptr || !second_derivatives()) {
            return false;
        }
        for (int i = 0; i < n_; ++i) {
            w_.p[i] = w_.curvature[i] * w_.sizes[i] * w_.sizes[i];
        }
        fresh_ = !h_.invert(w_.p);
        return !fresh_;
    }

    // To h_, in units of the sizes, and the diagonal as it is to `curvature`.
    // Steps of both signs, so that third derivatives drop out. s, hy: the values one step
    // up and down each axis; y: the steps.
    bool second_derivatives()
    {
        for (int i = 0; i < n_; ++i) {
            const double wanted =
                second_difference_step * std::max(std::fabs(double{x_[i]}), least_part * w_.sizes[i]);
            w_.y[i] = double{static_cast<float>(x_[i] + wanted)} - x_[i];
            w_.s[i] = value_with(x_, i, static_cast<float>(x_[i] + w_.y[i]));
            w_.hy[i] = value_with(x_, i, static_cast<float>(x_[i] - w_.y[i]));
            const double bend = w_.s[i] - 2.0 * f_ + w_.hy[i];
            if (!std::isfinite(bend)) {
                return false;
            }
            w_.curvature[i] = bend / (w_.y[i] * w_.y[i]);
        }
        for (int i = 0; i < n_; ++i) {
            const float here = x_[i];
            for (int j = i + 1; j < n_; ++j) {
                x_[i] = static_cast<float>(here + w_.y[i]);
                double sum = value_with(x_, j, static_cast<float>(x_[j] + w_.y[j]));
                x_[i] = static_cast<float>(here - w_.y[i]);
                sum += value_with(x_, j, static_cast<float>(x_[j] - w_.y[j]));
                x_[i] = here;
                sum += 2.0 * f_ - w_.s[i] - w_.hy[i] - w_.s[j] - w_.hy[j];
                if (!std::isfinite(sum)) {
                    return false;
                }
                h_.second(i, j) = sum / (2.0 * w_.y[i] * w_.y[j]) * w_.sizes[i] * w_.sizes[j];
            }
        }
        return !evaluations_.must_end();
    }

    // One step with its search and update; End::ended when the round goes on.
    End iterate(bool scale_first)
    {
        double slope = 0.0;
        double length = 0.0; // relative to the variables
        for (int i = 0; i < n_; ++i) {
            w_.hy[i] = w_.g[i] * w_.sizes[i];
        }
        for (int i = 0; i < n_; ++i) {
            const double sum = h_.row_times(i, w_.hy);
            w_.p[i] = -sum;
            slope -= sum * w_.g[i] * w_.sizes[i];
            length = std::max(length, std::fabs(sum) * w_.sizes[i] / reach(i));
        }
        if (!(slope < 0.0) || !std::isfinite(slope) || !std::isfinite(length)) {
            return End::search_failed;
        }
        const double promised = -0.5 * slope;
        if (!fresh_) {
            promised_ = promised;
            length_ = length;
        }
        // What the axes alone say of the curvature does not tell how far a valley goes.
        const bool within_grid = length <= 2.0 * grid;
        if (!fresh_ && (within_grid || promised <= negligible(settled_change)) && central_enough()) {
            return End::settled;
        }
        const double before = f_;
        const End found = search(slope, length);
        if (found != End::ended || evaluations_.must_end()) {
            return found;
        }
        ++outcome_.iterations;
        const double step = accept(scale_first);
        evaluations_.progress(x_, f_, outcome_.iterations);
        if (longest_ >= longest_steps_in_a_row) {
            return End::unbounded;
        }
        if (step <= problem_.step_tolerance) {
            return End::step_small;
        }
        quiet_ = before - f_ <= negligible(quiet_change) ? quiet_ + 1 : 0;
        if (quiet_ >= 2) {
            return End::quiet;
        }
        if (!central_ && (before - f_ <= negligible(slow_change) || relative_gradient(w_.g) <= 0.1)) {
            refine();
        }
        return End::ended;
    }

    double negligible(double part) const { return part * std::max(std::fabs(f_), problem_.fscale); }
    bool central_enough() const { return central_ || problem_.gradient != nullptr; }

    // Places x + lambda p, on the grid, in x_new; false when that is x itself or
    // beyond the floats.
    bool place(double lambda, float* there, bool* beyond) const
    {
        bool moved = false;
        *beyond = false;
        for (int i = 0; i < n_; ++i) {
            there[i] = static_cast<float>(x_[i] + lambda * (w_.p[i] * w_.sizes[i]));
            moved = moved || there[i] != x_[i];
            *beyond = *beyond || !std::isfinite(there[i]);
        }
        return moved;
    }

    // Backtracks to a point that is low enough, or goes further while the function
    // still falls steeply. End::ended when x_new, f_new_ and g_new are the new point.
    End search(double slope, double length)
    {
        double lambda = length > longest_step ? longest_step / length : 1.0;
        if (fresh_ && length < 4.0 * grid) {
            lambda = 4.0 * grid / length; // to another grid point, at least
        }
        double lambda_before = 0.0;
        double f_before = 0.0;
        for (bool first = true;; first = false) {
            bool beyond = false;
            if (!place(lambda, w_.x_new, &beyond)) {
                return first ? End::settled : End::search_failed;
            }
            if (beyond) { // downhill as far as there are floats; shorter steps stay within them
                return End::unbounded;
            }
            f_new_ = evaluations_.value(w_.x_new);
            if (evaluations_.must_end()) {
                keep_if_lower();
                return End::ended;
            }
            if (f_new_ <= f_ + decrease_part * lambda * slope) {
                break;
            }
            const double wanted = model_minimum(lambda, slope, first, lambda_before, f_before);
            lambda_before = lambda;
            f_before = f_new_;
            lambda = wanted > 0.5 * lambda ? 0.5 * lambda : (wanted > 0.1 * lambda ? wanted : 0.1 * lambda);
        }
        if (!take_gradient(w_.x_new, f_new_, w_.g_new, false)) {
            keep_if_lower();
            return End::ended;
        }
        if (lambda_before == 0.0) {
            lambda = extend(lambda, slope, length);
        }
        longest_ = lambda * length >= 0.5 * longest_step ? longest_ + 1 : 0;
        return End::ended;
    }

    // Of the quadratic through the values at 0 and lambda with the slope at 0, or of
    // the cubic through one more value.
    double model_minimum(double lambda, double slope, bool first, double lambda_before, double f_before) const
    {
        if (!std::isfinite(f_new_)) {
            return 0.0;
        }
        if (first || !std::isfinite(f_before)) {
            return -slope * lambda * lambda / (2.0 * (f_new_ - f_ - lambda * slope));
        }
        const double v = (f_new_ - f_ - lambda * slope) / (lambda * lambda);
        const double w = (f_before - f_ - lambda_before * slope) / (lambda_before * lambda_before);
        const double a = (v - w) / (lambda - lambda_before);
        const double b = (lambda * w - lambda_before * v) / (lambda - lambda_before);
        const double root = b * b - 3.0 * a * slope;
        return a == 0.0 ? -slope / (2.0 * b) : (std::sqrt(root) - b) / (3.0 * a);
    }

    // The step that has been reached, doubled while it is shorter than the longest.
    double extend(double lambda, double slope, double length)
    {
        while (slope_along(w_.g_new) < slope_part * slope && 2.0 * lambda * length <= longest_step) {
            bool beyond = false;
            place(2.0 * lambda, w_.x_try, &beyond);
            if (beyond) {
                break;
            }
            const double f = evaluations_.value(w_.x_try);
            if (!(f < f_new_ && f <= f_ + decrease_part * 2.0 * lambda * slope) ||
                !take_gradient(w_.x_try, f, w_.g_try, false)) {
                break;
            }
            lambda *= 2.0;
            f_new_ = f;
            std::swap(w_.x_new, w_.x_try);
            std::swap(w_.g_new, w_.g_try);
        }
        return lambda;
    }

    double slope_along(const double* g) const
    {
        double slope = 0.0;
        for (int i = 0; i < n_; ++i) {
            slope += g[i] * w_.sizes[i] * w_.p[i];
        }
        return slope;
    }

    // The run ends in the middle of a step.
    void keep_if_lower()
    {
        if (f_new_ < f_) {
            std::copy_n(w_.x_new, n_, x_);
            f_ = f_new_;
        }
    }

    // Moves to the new point and updates the inverse Hessian by the step, whose
    // relative length is returned.
    double accept(bool scale_first)
    {
        double sy = 0.0;
        double ss = 0.0;
        double yy = 0.0;
        double step = 0.0;
        for (int i = 0; i < n_; ++i) {
            w_.s[i] = (double{w_.x_new[i]} - x_[i]) / w_.sizes[i];
            w_.y[i] = (w_.g_new[i] - w_.g[i]) * w_.sizes[i];
            sy += w_.s[i] * w_.y[i];
            ss += w_.s[i] * w_.s[i];
            yy += w_.y[i] * w_.y[i];
        }
        std::copy_n(w_.x_new, n_, x_);
        std::swap(w_.g, w_.g_new);
        f_ = f_new_;
        for (int i = 0; i < n_; ++i) {
            step = std::max(step, std::fabs(w_.s[i]) * w_.sizes[i] / reach(i));
        }
        if (step <= 8.0 * grid) {
            return step; // mostly rounding: no update
        }
        fresh_ = false;
        if (sy > 1e-10 * std::sqrt(ss * yy)) {
            if (scale_first) {
                std::fill_n(w_.p, n_, sy / yy);
                h_.set_diagonal(w_.p);
            }
            h_.update(w_.s, w_.y, sy, w_.hy);
        } else {
            // No positive curvature along the step: longer steps.
            h_.stretch(4.0);
        }
        return step;
    }

    // ---- The end -------------------------------------------------------------------

    int ending_of_callbacks() const { return evaluations_.limited() ? ZAVO_RUN_LIMIT : ZAVO_RUN_STOPPED; }

    void report(End end)
    {
        using namespace core::code;
        const bool nothing_promised =
            promised_ <= negligible(promise_of_nothing) || length_ <= resting_steps * grid;
        switch (end) {
        case End::gradient_small:
        case End::settled:
            return finish(ZAVO_RUN_CONVERGED, 0);
        case End::quiet:
            return nothing_promised ? finish(ZAVO_RUN_CONVERGED, 0)
                                    : finish(ZAVO_RUN_UNCERTAIN, no_function_progress, quiet_change);
        case End::search_failed:
            return nothing_promised ? finish(ZAVO_RUN_CONVERGED, 0)
                                    : finish(ZAVO_RUN_UNCERTAIN, line_search_failed, problem_.step_tolerance);
        case End::step_small:
            return finish(ZAVO_RUN_UNCERTAIN, small_step, problem_.step_tolerance);
        case End::unbounded:
            return finish(ZAVO_RUN_UNBOUNDED, unbounded_steps);
        default:
            return finish(ending_of_callbacks(), evaluations_.limited() ? function_limit_reached : 0);
        }
    }

    // tolerance: the one that the message of the code names.
    void finish(int status, int code, double tolerance = 0.0)
    {
        zavo_error_set_int(1, problem_.limit);
        zavo_error_set_real(1, tolerance);
        outcome_.status = status;
        outcome_.code = code;
        outcome_.value = f_;
        std::copy_n(w_.g, n_, outcome_.g);
    }

    const zavo_run_problem& problem_;
    Evaluations& evaluations_;
    zavo_run_outcome& outcome_;
    Work& w_;
    int n_;
    float* x_;
    InverseHessian h_; // in units of the sizes
    double f_ = 0.0;
    double f_new_ = 0.0;
    double step_ = 0.0;                                         // of differences, relative
    double promised_ = std::numeric_limits<double>::infinity(); // by the last model
    double length_ = std::numeric_limits<double>::infinity();   // of its step
    bool central_ = false;
    bool first_round_ = true;
    bool fresh_ = true; // the inverse is still the first one of its round
    int quiet_ = 0;     // changes next to nothing, in a row
    int longest_ = 0;   // steps of the greatest length, in a row
};

} // namespace

void run_free(const zavo_run_problem& problem, Evaluations& evaluations, zavo_run_outcome& outcome)
{
    Work work(problem.n);
    if (!work.good()) {
        outcome.status = ZAVO_RUN_NO_MEMORY;
        return;
    }
    FreeRun(problem, evaluations, outcome, work).run();
}

} // namespace zavo::minimize

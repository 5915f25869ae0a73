// The linearly constrained minimiser for functions whose values are doubles.
//
// The minimiser computes in single precision (lincon.hpp). It is therefore given
//     F(u) = (f(s u) - f_r) / sigma
// with sizes s of the variables, powers of 2, so that nothing is rounded, the value
// f_r where it starts, and a sigma that makes its gradient one of everyday size; the
// gradients come from differences of the doubles. Near a minimum the changes of f
// then have all their digits in F. When a run has ended, another one begins there
// with a new f_r and sigma, as long as that gains something.
#include "minimize/run/constrained_run.hpp"

#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"
#include "core/system/memory.hpp"
#include "minimize/constrained/lincon.hpp"
#include "minimize/run/run_limits.hpp"

#include <algorithm>
#include <cassert>
#include <climits>
#include <cmath>
#include <cstddef>
#include <limits>

namespace zavo::minimize {
namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr double difference_step = 0x1p-15; // relative to the variable
constexpr float very_large = 1e30F;         // what a place without a value counts as
constexpr float run_accuracy = 1e-5F;       // of F's gradient, whose size is about 1
constexpr double round_change = 1e-9;       // of f, relative: less is no gain
constexpr double resting_gradient = 1e-3;   // relative; with nothing gained it is a minimum
constexpr double least_change = 1e-7;       // of the first value: one about 0 is no smaller to the tests

// A block of floats and doubles that goes with its owner.
template <class T>
class Array {
public:
    explicit Array(std::size_t count)
        : count_(count), values_(static_cast<T*>(core::allocate(count, sizeof(T))))
    {
    }
    ~Array() { core::release(values_); }
    Array(const Array&) = delete;
    Array& operator=(const Array&) = delete;
    T* get() const { return values_; }
    T& operator[](std::size_t i) const
    {
        assert(i < count_);
        return values_[i];
    }
    explicit operator bool() const { return values_ != nullptr; }

private:
    [[maybe_unused]] std::size_t count_; // for the assert
    T* values_;
};

// The nearest power of 2 of a size above 0.
float power_of_two(float size)
{
    int exponent = 0;
    const float fraction = std::frexp(size, &exponent);
    exponent = std::clamp(fraction < 0.70710678F ? exponent - 1 : exponent, -100, 100);
    return std::ldexp(1.0F, exponent);
}

class ConstrainedRun {
public:
    ConstrainedRun(const zavo_run_problem& problem, Evaluations& evaluations, zavo_run_outcome& outcome)
        : problem_(problem), evaluations_(evaluations), outcome_(outcome), n_(problem.n),
          count_(static_cast<std::size_t>(problem.n)), rows_(static_cast<std::size_t>(problem.rows)),
          sizes_(count_), x_(count_), u_(count_), lower_(count_), upper_(count_), g_(count_),
          curvature_(count_), x_of_g_(count_), best_x_(count_), columns_(count_ * rows_ + 1),
          multipliers_(count_), work_(count_ * (count_ + 11) + rows_), objective_(value_at, this)
    {
        assert(n_ >= 1 && problem.equalities >= 0 && problem.equalities <= problem.rows);
        assert(outcome.active != nullptr && outcome.multipliers != nullptr);
    }

    bool good() const
    {
        return sizes_ && x_ && u_ && lower_ && upper_ && g_ && curvature_ && x_of_g_ && best_x_ && columns_ &&
               multipliers_ && work_;
    }

    void run()
    {
        set_up();
        objective_.report_by(report_iteration);
        ConstrainedOutcome found;
        double before = 0.0;
        bool gained = true;
        for (int round = 0; round < most_rounds; ++round) {
            before = best_f_;
            step_ = round == 0 ? difference_step : short_difference_step;
            found = run_once();
            if (is_final(found.status)) {
                break;
            }
            set_point(u_.get());
            reference_ = found.f.given;
            active_ = found.active_count;
            sigma_of_run_ = sigma_;
            gained = round == 0 || before - reference_ > round_change * std::fabs(reference_);
            if (!measure() || (round > 0 && !gained) || residual_ <= problem_.tolerance) {
                break;
            }
        }
        assert(is_final(found.status) || has_value_);
        if (!is_final(found.status) && !std::isfinite(reference_)) {
            go_back_to_best();
        }
        if (!is_final(found.status) && active_ == 0 && !evaluations_.must_end() &&
            evaluations_.count() < problem_.limit) {
            finish_inside();
            return;
        }
        report(found, gained);
    }

private:
    // ---- Set-up --------------------------------------------------------------------

    void set_up()
    {
        for (std::size_t i = 0; i < count_; ++i) {
            const float start = std::fabs(problem_.start[i]);
            const float size = problem_.sizes != nullptr ? problem_.sizes[i] : (start > 0.0F ? start : 1.0F);
            sizes_[i] = std::isfinite(size) ? power_of_two(size) : 1.0F;
            x_of_g_[i] = std::numeric_limits<float>::quiet_NaN(); // at none yet
            lower_[i] = problem_.lower != nullptr ? problem_.lower[i] / sizes_[i] : -infinity;
            upper_[i] = problem_.upper != nullptr ? problem_.upper[i] / sizes_[i] : infinity;
            u_[i] = problem_.start[i] / sizes_[i];
            for (std::size_t k = 0; k < rows_; ++k) {
                columns_[i * rows_ + k] = problem_.left[k * count_ + i] * sizes_[i];
            }
            curvature_[i] = 0.0; // which stays where the gradient is given
            g_[i] = std::numeric_limits<double>::quiet_NaN();
        }
    }

    // The place in the function's own variables; rounding at the ends of the floats
    // must not carry it over a bound.
    void set_point(const float* u)
    {
        for (std::size_t i = 0; i < count_; ++i) {
            const float x = u[i] * sizes_[i];
            x_[i] = std::clamp(x, low(i), high(i));
        }
    }
    float low(std::size_t i) const { return problem_.lower != nullptr ? problem_.lower[i] : -infinity; }
    float high(std::size_t i) const { return problem_.upper != nullptr ? problem_.upper[i] : infinity; }

    ConstrainedOutcome run_once()
    {
        const ConstrainedProblem problem = {n_,
                                            problem_.rows,
                                            problem_.equalities,
                                            columns_.get(),
                                            problem_.rows,
                                            problem_.sides,
                                            lower_.get(),
                                            upper_.get(),
                                            u_.get(),
                                            run_accuracy,
                                            INT_MAX};
        const ConstrainedWorkspace work = {work_.get(), u_.get(), outcome_.active, multipliers_.get()};
        const Constraints constraints(n_, problem_.rows, columns_.get(), problem_.rows, problem_.sides,
                                      lower_.get(), upper_.get());
        Source source{objective_, *this};
        const ConstrainedOutcome found =
            LinearlyConstrained<Source>(source, constraints, problem, work).run();
        outcome_.iterations += found.counts.iterations;
        return found;
    }

    // ---- What the minimiser calls ------------------------------------------------------

    struct Source {
        Objective& objective;
        ConstrainedRun& run;
        void operator()(int, float* u, const Value& f, float* g) const { run.take_gradient(u, f.given, g); }
    };

    static Value value_at(Objective& objective, int, float* u)
    {
        return static_cast<ConstrainedRun*>(objective.context())->value(u);
    }

    Value value(const float* u)
    {
        set_point(u);
        const double f = evaluations_.value(x_.get());
        stop_in_time();
        if (!std::isfinite(f)) {
            no_value_ = !has_value_ && !evaluations_.must_end();
            if (no_value_) {
                objective_.stop(); // nothing to start from
            }
            return {very_large, f};
        }
        if (!has_value_) {
            has_value_ = true;
            first_f_ = f;
            reference_ = f;
        }
        if (!(f >= best_f_)) {
            best_f_ = f;
            std::copy_n(x_.get(), count_, best_x_.get());
        }
        const double scaled = sigma_ > 0.0 ? (f - reference_) / sigma_ : 0.0;
        return {static_cast<float>(std::clamp(scaled, -1e30, 1e30)), f};
    }

    static void report_iteration(Objective& objective, int, const float* u, const Value& f,
                                 const Counts& counts)
    {
        auto& run = *static_cast<ConstrainedRun*>(objective.context());
        run.set_point(u);
        run.evaluations_.progress(run.x_.get(), f.given, run.outcome_.iterations + counts.iterations);
        run.stop_in_time();
    }

    void stop_in_time()
    {
        if (evaluations_.must_end()) {
            objective_.stop();
        }
    }

    // dF/du; zeros where f has no value, which a line search never accepts.
    void take_gradient(const float* u, double f, float* g)
    {
        std::fill_n(g, count_, 0.0F);
        set_point(u);
        if (!std::isfinite(f) || !gradient_here(f)) {
            return;
        }
        if (sigma_ == 0.0) {
            set_sigma();
        }
        for (std::size_t i = 0; i < count_; ++i) {
            g[i] = static_cast<float>(std::clamp(g_[i] * sizes_[i] / sigma_, -1e30, 1e30));
        }
    }

    // Of f at x_, to g_; false when the run has to end.
    bool gradient_here(double f)
    {
        ++outcome_.gradients;
        std::copy_n(x_.get(), count_, x_of_g_.get());
        if (problem_.gradient != nullptr) {
            evaluations_.gradient(x_.get(), g_.get());
        } else {
            for (std::size_t i = 0; i < count_ && !evaluations_.must_end(); ++i) {
                g_[i] = difference(i, f);
            }
        }
        stop_in_time();
        return !evaluations_.must_end();
    }

    // The steps of differences are longer than the floats' grid: `there` is another place.
    double value_with(std::size_t i, float there)
    {
        const float here = x_[i];
        if (!std::isfinite(there) || there < low(i) || there > high(i)) {
            return std::numeric_limits<double>::infinity();
        }
        x_[i] = there;
        const double f = evaluations_.value(x_.get());
        x_[i] = here;
        return f;
    }

    // A central difference; on a bound, or beside a place without a value, a parabola
    // through two points of the other side. The bounds are kept to.
    double difference(std::size_t i, double f)
    {
        const float here = x_[i];
        const double given =
            problem_.digits > 0 ? std::sqrt(std::max(noise_of_digits(problem_.digits), 0x1p-23)) : step_;
        const double h = given * std::max(std::fabs(double{here}), least_part * sizes_[i]);
        const auto above = static_cast<float>(here + h);
        const auto below = static_cast<float>(here - h);
        const bool forward = problem_.differences == ZAVO_RUN_FORWARD;
        const double f_above = value_with(i, above);
        const double f_below = forward && std::isfinite(f_above) ? std::numeric_limits<double>::infinity()
                                                                 : value_with(i, below);
        curvature_[i] = 0.0;
        if (std::isfinite(f_above) && std::isfinite(f_below)) {
            const double slope_above = (f_above - f) / (double{above} - here);
            const double slope_below = (f - f_below) / (double{here} - below);
            curvature_[i] = 2.0 * (slope_above - slope_below) / (double{above} - below);
            return (f_above - f_below) / (double{above} - below);
        }
        if (!std::isfinite(f_above) && !std::isfinite(f_below)) {
            return 0.0;
        }
        const bool up = std::isfinite(f_above);
        const float near = up ? above : below;
        const double h1 = double{near} - here;
        const double slope_near = ((up ? f_above : f_below) - f) / h1;
        const auto far = static_cast<float>(here + 2.0 * h1);
        const double f_far = forward ? std::numeric_limits<double>::infinity() : value_with(i, far);
        if (!std::isfinite(f_far)) {
            return slope_near;
        }
        const double h2 = double{far} - here;
        const double slope_far = (f_far - f) / h2;
        curvature_[i] = 2.0 * (slope_far - slope_near) / (h2 - h1);
        return slope_near + (slope_near - slope_far) * h1 / (h2 - h1);
    }

    // ---- Inside ------------------------------------------------------------------------

    // Where no constraint is active the free minimiser goes on, in double precision.
    // Beyond the constraints its function has no value.
    void finish_inside();
    bool is_inside(const float* x) const;
    static double value_inside(void* context, const float* x, int* stop);
    static void gradient_inside(void* context, const float* x, double* g, int* stop);
    static void progress_inside(void* context, const float* x, double value, int evaluations, int iteration,
                                int* stop);

    // ---- Between and after the rounds ------------------------------------------------------

    // From the first gradient: the steepest change that one size of a variable makes.
    void set_sigma()
    {
        double greatest = 0.0;
        for (std::size_t i = 0; i < count_; ++i) {
            greatest = std::max(greatest, std::fabs(g_[i]) * sizes_[i]);
        }
        sigma_ = greatest > 0.0 && std::isfinite(greatest) ? greatest : 1.0;
    }

    // What is left of the gradient when the active constraints have taken their
    // parts: the next round's sigma, and the relative size that the tests ask for.
    bool measure()
    {
        if (!std::equal(x_.get(), x_.get() + count_, x_of_g_.get()) && !gradient_here(reference_)) {
            return false;
        }
        double greatest = 0.0;
        residual_ = 0.0;
        promised_ = problem_.gradient != nullptr ? infinity : 0.0;
        for (std::size_t i = 0; i < count_; ++i) {
            double rest = g_[i];
            for (int a = 0; a < active_; ++a) {
                rest += multiplier(a) * normal(outcome_.active[a], i);
            }
            greatest = std::max(greatest, std::fabs(rest) * sizes_[i]);
            const double reach = std::max(std::fabs(double{x_[i]}), double{sizes_[i]});
            residual_ = std::max(residual_, std::fabs(rest) * reach);
            const double bend = 2.0 * curvature_[i];
            promised_ = std::max(promised_, rest == 0.0 ? 0.0 : (bend > 0.0 ? rest * rest / bend : infinity));
        }
        const double size = std::max(std::fabs(reference_), least_change * std::fabs(first_f_));
        residual_ = residual_ == 0.0 ? 0.0 : residual_ / size;
        promised_ = promised_ == 0.0 ? 0.0 : promised_ / size;
        sigma_ = greatest > 0.0 && std::isfinite(greatest) ? greatest : sigma_;
        return true;
    }

    // Of the a-th active constraint, for f and x.
    double multiplier(int a) const
    {
        const int k = outcome_.active[a];
        const double scaled = multipliers_[static_cast<std::size_t>(a)] * sigma_of_run_;
        return k <= problem_.rows ? scaled : scaled / sizes_[variable(k)];
    }
    std::size_t variable(int k) const { return static_cast<std::size_t>((k - problem_.rows - 1) % n_); }
    double normal(int k, std::size_t i) const
    {
        if (k <= problem_.rows) {
            return problem_.left[static_cast<std::size_t>(k - 1) * count_ + i];
        }
        return variable(k) != i ? 0.0 : (k <= problem_.rows + n_ ? -1.0 : 1.0);
    }

    // From an end without a value, which rounding or a wrong gradient can lead to. Which
    // constraints are active at the best place is not known.
    void go_back_to_best()
    {
        std::copy_n(best_x_.get(), count_, x_.get());
        reference_ = best_f_;
        residual_ = promised_ = infinity;
        active_ = 0;
    }

    // A start without a value is stopped at.
    static bool is_final(Status status)
    {
        return status == equalities_clash || status == bounds_clash || status == constraints_clash ||
               status == all_fixed || status == stopped;
    }

    void report(const ConstrainedOutcome& found, bool gained);
    void hand_over_constraints();

    const zavo_run_problem& problem_;
    Evaluations& evaluations_;
    zavo_run_outcome& outcome_;
    int n_;
    std::size_t count_;
    std::size_t rows_;
    Array<float> sizes_;
    Array<float> x_; // of the function
    Array<float> u_; // of the minimiser
    Array<float> lower_;
    Array<float> upper_;
    Array<double> g_;         // of the function, at x_of_g_
    Array<double> curvature_; // along the axes, at the last gradient
    Array<float> x_of_g_;
    Array<float> best_x_;
    Array<float> columns_; // the rows, scaled, by columns
    Array<float> multipliers_;
    Array<float> work_;
    Objective objective_;
    double step_ = difference_step;
    double first_f_ = 0.0;
    double reference_ = 0.0;
    double sigma_ = 0.0;        // 0: not known before the first gradient
    double sigma_of_run_ = 0.0; // when the multipliers were made
    double best_f_ = std::numeric_limits<double>::quiet_NaN();
    double residual_ = 0.0;
    double promised_ = 0.0;
    int active_ = 0;
    bool has_value_ = false;
    bool no_value_ = false;
    int refused_ = 0; // evaluations that the free minimiser wanted beyond the constraints
};

bool ConstrainedRun::is_inside(const float* x) const
{
    for (std::size_t i = 0; i < count_; ++i) {
        if (x[i] < low(i) || x[i] > high(i)) {
            return false;
        }
    }
    for (std::size_t k = 0; k < rows_; ++k) {
        double sum = 0.0;
        for (std::size_t i = 0; i < count_; ++i) {
            sum += double{problem_.left[k * count_ + i]} * x[i];
        }
        if (sum > problem_.sides[k]) {
            return false;
        }
    }
    return true;
}

double ConstrainedRun::value_inside(void* context, const float* x, int* stop)
{
    auto& run = *static_cast<ConstrainedRun*>(context);
    if (!run.is_inside(x)) {
        ++run.refused_;
        return std::numeric_limits<double>::quiet_NaN();
    }
    return run.problem_.value(run.problem_.context, x, stop);
}

void ConstrainedRun::gradient_inside(void* context, const float* x, double* g, int* stop)
{
    const auto& run = *static_cast<ConstrainedRun*>(context);
    run.problem_.gradient(run.problem_.context, x, g, stop);
}

void ConstrainedRun::progress_inside(void* context, const float* x, double value, int evaluations,
                                     int iteration, int* stop)
{
    const auto& run = *static_cast<ConstrainedRun*>(context);
    run.problem_.progress(run.problem_.context, x, value,
                          run.evaluations_.count() + evaluations - run.refused_,
                          run.outcome_.iterations + iteration, stop);
}

void ConstrainedRun::finish_inside()
{
    zavo_run_problem inner = problem_;
    inner.context = this;
    inner.value = value_inside;
    inner.gradient = problem_.gradient != nullptr ? gradient_inside : nullptr;
    inner.progress = problem_.progress != nullptr ? progress_inside : nullptr;
    inner.lower = inner.upper = nullptr;
    inner.rows = 0;
    inner.start = x_.get();
    inner.limit = problem_.limit - evaluations_.count();
    zavo_run_outcome ending = outcome_;
    ending.gradients = 0;
    ending.iterations = 0;
    Evaluations evaluations(inner, evaluations_.host());
    run_free(inner, evaluations, ending);
    ending.gradients += outcome_.gradients;
    ending.iterations += outcome_.iterations;
    outcome_ = ending;
    evaluations_.add(evaluations.count() - refused_);
    evaluations_.end_as(evaluations);
    zavo_error_set_int(1, problem_.limit);
    using namespace core::code;
    switch (ending.status) {
    case ZAVO_RUN_CONVERGED:
        outcome_.code = accuracy_reached;
        break;
    case ZAVO_RUN_UNCERTAIN:
        outcome_.code = no_further_reduction;
        break;
    case ZAVO_RUN_LIMIT:
        outcome_.code = evaluation_limit_reached;
        break;
    default: // the start may be a place beyond a row by a rounding
        if (ending.status == ZAVO_RUN_NO_VALUE) {
            outcome_.status = ZAVO_RUN_UNCERTAIN;
            outcome_.code = no_further_reduction;
            outcome_.value = reference_;
            std::copy_n(x_.get(), count_, outcome_.x);
            std::copy_n(g_.get(), count_, outcome_.g);
        }
    }
}

// The active constraints in rising order, numbered from 0, with their multipliers.
void ConstrainedRun::hand_over_constraints()
{
    outcome_.active_count = active_;
    for (int a = 0; a < active_; ++a) {
        outcome_.multipliers[a] = multiplier(a);
    }
    for (int a = 1; a < active_; ++a) { // few, and nearly in order
        for (int b = a; b > 0 && outcome_.active[b] < outcome_.active[b - 1]; --b) {
            std::swap(outcome_.active[b], outcome_.active[b - 1]);
            std::swap(outcome_.multipliers[b], outcome_.multipliers[b - 1]);
        }
    }
    for (int a = 0; a < active_; ++a) {
        --outcome_.active[a];
    }
}

void ConstrainedRun::report(const ConstrainedOutcome& found, bool gained)
{
    using namespace core::code;
    const auto end = [this](int status, int code) {
        zavo_error_set_int(1, problem_.limit);
        outcome_.status = status;
        outcome_.code = code;
    };
    outcome_.value = reference_;
    switch (found.status) {
    case equalities_clash:
        end(ZAVO_RUN_INCONSISTENT, equalities_inconsistent);
        break;
    case bounds_clash:
        end(ZAVO_RUN_INCONSISTENT, bounds_inconsistent);
        break;
    case constraints_clash:
        end(ZAVO_RUN_INCONSISTENT, constraints_inconsistent);
        break;
    case all_fixed:
        set_point(u_.get());
        active_ = found.active_count;
        end(no_value_ ? ZAVO_RUN_NO_VALUE : ZAVO_RUN_CONVERGED, no_value_ ? 0 : all_variables_fixed);
        outcome_.value = best_f_;
        break;
    case stopped:
        end(no_value_ ? ZAVO_RUN_NO_VALUE : (evaluations_.limited() ? ZAVO_RUN_LIMIT : ZAVO_RUN_STOPPED),
            evaluations_.limited() ? evaluation_limit_reached : 0);
        active_ = found.active_count;
        sigma_of_run_ = sigma_;
        break;
    default:
        if (residual_ <= problem_.tolerance ||
            (!gained && (residual_ <= resting_gradient || promised_ <= promise_of_nothing))) {
            end(ZAVO_RUN_CONVERGED, accuracy_reached);
        } else {
            end(ZAVO_RUN_UNCERTAIN, found.status == no_descent ? no_downhill : no_further_reduction);
        }
    }
    if (outcome_.status == ZAVO_RUN_INCONSISTENT) {
        set_point(u_.get());
        outcome_.value = std::numeric_limits<double>::quiet_NaN();
    } else if (evaluations_.must_end() && has_value_) { // in the middle of a step
        std::copy_n(best_x_.get(), count_, x_.get());
        outcome_.value = best_f_;
    }
    std::copy_n(x_.get(), count_, outcome_.x);
    std::copy_n(g_.get(), count_, outcome_.g);
    hand_over_constraints();
}

} // namespace

void run_constrained(const zavo_run_problem& problem, Evaluations& evaluations, zavo_run_outcome& outcome)
{
    const auto n = static_cast<std::size_t>(problem.n);
    const bool countable =
        n < static_cast<std::size_t>(INT_MAX) / 4 / sizeof(double) / (n + 16) &&
        static_cast<std::size_t>(problem.rows) < static_cast<std::size_t>(INT_MAX) / 8 / (n + 1);
    if (countable) {
        ConstrainedRun run(problem, evaluations, outcome);
        if (run.good()) {
            run.run();
            return;
        }
    }
    outcome.status = ZAVO_RUN_NO_MEMORY;
}

} // namespace zavo::minimize

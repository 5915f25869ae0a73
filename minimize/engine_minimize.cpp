// Minimisation with contexts (engine_minimize.h): the two minimisers run on an
// objective that calls back with the caller's context. A constrained problem is
// scaled on the way in and out, by powers of two, so that nothing is rounded:
//     z[j] = x[j] / size[j],    phi(z) = f(x) / function_size.
#include "minimize/engine_minimize.h"

#include "core/catalogue/catalogue.hpp"
#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"
#include "core/errors/error_state.hpp"
#include "core/frame/entry_frame.hpp"
#include "core/system/memory.hpp"
#include "minimize/context_gradient.hpp"
#include "minimize/lincon.hpp"
#include "minimize/machine.hpp"
#include "minimize/quasi_newton.hpp"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>

namespace zavo::minimize {
namespace {

constexpr float infinite = std::numeric_limits<float>::infinity();
constexpr int default_call_limit = 2000;
// Without a constraint in the way, that far out a function has no minimum.
constexpr float out_of_sight = 1e18F;

// The power of two nearest to a typical size, on a logarithmic scale; 1 for none.
float power_of_two_near(double size)
{
    if (!(size > 0.0) || !std::isfinite(size)) {
        return 1.0F;
    }
    int exponent = 0;
    const double fraction = std::frexp(size, &exponent); // 0.5 <= fraction < 1
    exponent -= fraction * fraction < 0.5 ? 1 : 0;
    return std::ldexp(1.0F, std::clamp(exponent, -100, 100));
}

bool usable(double value, double least)
{
    return std::isfinite(value) && value >= least;
}

// One run: the caller's structs, the objective made of them, and its work.
class Run {
public:
    Run(const zavo_minimize_problem& problem, const zavo_minimize_options& options,
        zavo_minimize_outcome& outcome)
        : problem_(problem), options_(options), outcome_(outcome), n_(problem.n),
          objective_(call, this), gradient_{objective_}
    {
        if (problem.progress != nullptr) {
            objective_.report_by(report);
        }
        gradient_.user = problem.gradient != nullptr ? take_user_gradient : nullptr;
        call_limit_ = options.call_limit > 0 ? options.call_limit : default_call_limit;
    }

    void minimize();

private:
    static Run& of(Objective& objective) { return *static_cast<Run*>(objective.context()); }
    static Value call(Objective& objective, int n, float* x) { return of(objective).value(n, x); }
    static void take_user_gradient(Objective& objective, int n, float* x, float* g);
    static void report(Objective& objective, int n, const float* x, const Value& f, const Counts& counts);

    Value value(int n, float* x);
    const float* unscaled(const float* x);
    bool take(float** block, std::size_t count);
    bool is_constrained() const
    {
        return problem_.ncon > 0 || problem_.lower != nullptr || problem_.upper != nullptr;
    }

    void minimize_free();
    void minimize_constrained();
    bool scale_problem(ConstrainedProblem* scaled);
    bool scale_rows(ConstrainedProblem* scaled);
    void put_constrained(const ConstrainedOutcome& outcome, const ConstrainedWorkspace& work);

    void refuse(int code);
    void take_message();
    void settle_stop();

    const zavo_minimize_problem& problem_;
    const zavo_minimize_options& options_;
    zavo_minimize_outcome& outcome_;
    int n_;
    Objective objective_;
    ContextGradient gradient_;
    int call_limit_;
    int calls_ = 0;
    bool bad_start_ = false;
    bool limit_met_ = false;
    float* sizes_ = nullptr; // powers of two; null in a free run
    float* seen_ = nullptr;  // n: the point as the caller sees it
    double function_size_ = 1.0;
};

// ---- Calls of the user ----------------------------------------------------------

const float* Run::unscaled(const float* x)
{
    if (sizes_ == nullptr) {
        return x;
    }
    for (int i = 0; i < n_; ++i) {
        seen_[i] = x[i] * sizes_[i];
    }
    return seen_;
}

// Once the run has been stopped nothing is called any more. What is posted while
// the user's code runs stays with it.
Value Run::value(int n, float* x)
{
    if (!objective_.stopped() && calls_ == call_limit_) {
        limit_met_ = true;
        objective_.stop();
    }
    if (objective_.stopped()) {
        return machine::not_a_number();
    }
    const core::PostedError before = core::posted_error();
    double f = 0.0;
    ++calls_;
    if (problem_.value(problem_.context, n, unscaled(x), &f) != 0) {
        objective_.stop();
    }
    core::restore_posted_error(before);
    const auto rounded = static_cast<float>(f / function_size_);
    const bool finite = std::isfinite(rounded) && std::isfinite(f);
    if (calls_ == 1 && !finite && !objective_.stopped()) {
        bad_start_ = true;
        objective_.stop();
    }
    if (objective_.stopped()) {
        return machine::not_a_number();
    }
    return finite ? Value(rounded, f) : Value(infinite);
}

void Run::take_user_gradient(Objective& objective, int n, float* x, float* g)
{
    Run& run = of(objective);
    const core::PostedError before = core::posted_error();
    zavo_error_user_level("ON");
    if (run.problem_.gradient(run.problem_.context, n, run.unscaled(x), g) != 0) {
        objective.stop();
    }
    zavo_error_user_level("OFF");
    core::restore_posted_error(before);
    for (int i = 0; run.sizes_ != nullptr && i < n; ++i) {
        g[i] = static_cast<float>(static_cast<double>(g[i]) * run.sizes_[i] / run.function_size_);
    }
}

void Run::report(Objective& objective, int, const float* x, const Value& f, const Counts& counts)
{
    Run& run = of(objective);
    if (objective.stopped()) {
        return;
    }
    const zavo_minimize_progress progress = {run.unscaled(x), f.given, run.calls_, counts.iterations};
    const core::PostedError before = core::posted_error();
    zavo_error_user_level("ON");
    if (run.problem_.progress(run.problem_.context, &progress) != 0) {
        objective.stop();
    }
    zavo_error_user_level("OFF");
    core::restore_posted_error(before);
}

// ---- Outcomes -------------------------------------------------------------------

void Run::refuse(int code)
{
    zavo_error_post(ZAVO_TERMINAL, code);
    outcome_.status = ZAVO_MINIMIZE_REFUSED;
}

// What is posted goes into the outcome instead of to a handler.
void Run::take_message()
{
    const core::PostedError posted = core::posted_error();
    outcome_.code = posted.code;
    if (posted.code != 0) {
        core::TextBuffer text;
        core::expand_message(core::catalogue_message(posted.code), text);
        std::strncpy(outcome_.message, text.c_str(), sizeof outcome_.message - 1);
    }
    zavo_e1mes(0, 0, "");
}

// Why the objective was stopped.
void Run::settle_stop()
{
    if (bad_start_) {
        outcome_.status = ZAVO_MINIMIZE_BAD_START;
    } else if (limit_met_) {
        zavo_error_set_int(1, call_limit_);
        zavo_e1mes(0, 0, "");
        zavo_error_post(ZAVO_WARNING, core::code::function_limit_reached);
        outcome_.status = ZAVO_MINIMIZE_LIMIT;
    } else {
        outcome_.status = ZAVO_MINIMIZE_STOPPED;
    }
}

bool Run::take(float** block, std::size_t count)
{
    *block = core::take_work<float>(std::max<std::size_t>(count, 1));
    if (*block == nullptr) {
        zavo_error_set_int(1, n_);
        zavo_error_set_string(1, "work");
        refuse(core::code::no_memory_for_array);
    }
    return *block != nullptr;
}

void Run::minimize()
{
    zavo_error_push("zavo_minimize_run");
    if (n_ < 1) {
        zavo_error_set_int(1, n_);
        refuse(core::code::variables_below_one);
    } else if (is_constrained()) {
        minimize_constrained();
    } else {
        minimize_free();
    }
    outcome_.evaluations = calls_;
    take_message();
    zavo_error_pop("zavo_minimize_run");
}

// ---- Free -----------------------------------------------------------------------

void Run::minimize_free()
{
    const auto n = static_cast<std::size_t>(n_);
    float* block = nullptr;
    float* scales = nullptr;
    float* x = nullptr;
    if (n > static_cast<std::size_t>(-1) / sizeof(float) / (n + 8)) {
        zavo_error_set_int(1, n_);
        zavo_error_set_string(1, "work");
        refuse(core::code::no_memory_for_array);
        return;
    }
    if (!take(&block, n * (n + 8)) || !take(&scales, n) || !take(&x, n)) {
        return;
    }
    for (std::size_t i = 0; i < n; ++i) {
        const bool given = options_.sizes != nullptr && usable(options_.sizes[i], 1e-37);
        scales[i] = given ? 1.0F / options_.sizes[i] : 1.0F;
    }
    std::copy_n(problem_.start, n, x);
    Controls controls;
    controls.eval_limit = controls.gradient_limit = INT_MAX;
    controls.iteration_limit = options_.iteration_limit > 0 ? options_.iteration_limit : INT_MAX;
    controls.good_digits = options_.good_digits > 0 ? options_.good_digits : controls.good_digits;
    const auto set = [](float* control, double option) {
        if (usable(option, 0.0)) {
            *control = static_cast<float>(option);
        }
    };
    set(&controls.gradient_tol, options_.tolerance);
    set(&controls.step_tol, options_.step_tolerance);
    set(&controls.relative_tol, options_.relative_tolerance);
    controls.step_limit = usable(options_.step_limit, 1e-37) ? static_cast<float>(options_.step_limit)
                                                             : computed_step_limit(n_, x, scales);
    const float fscale =
        usable(options_.function_size, 1e-37) ? static_cast<float>(options_.function_size) : 1.0F;
    gradient_.noise = noise_of(controls.good_digits);
    gradient_.may_switch = options_.differences == ZAVO_DIFFERENCES_AUTO && gradient_.user == nullptr;
    gradient_.central = options_.differences == ZAVO_DIFFERENCES_CENTRAL;

    const FreeProblem free_problem = {n_, x, scales, fscale};
    const FreeWorkspace work(block, n_);
    const FreeOutcome outcome = QuasiNewton<ContextGradient>(gradient_, free_problem, controls, work).run();

    std::copy_n(x, n, outcome_.x);
    if (outcome_.gradient != nullptr) {
        std::copy_n(work.g, n, outcome_.gradient);
    }
    outcome_.value = outcome.f.given;
    outcome_.iterations = outcome.counts.iterations;
    outcome_.gradients = outcome.counts.gradients;
    switch (outcome.ending) {
    case Ending::gradient_small:
        outcome_.status = ZAVO_MINIMIZE_CONVERGED;
        break;
    case Ending::iterations_used:
    case Ending::evaluations_used:
    case Ending::gradients_used:
        outcome_.status = ZAVO_MINIMIZE_LIMIT;
        break;
    case Ending::unbounded:
        outcome_.status = ZAVO_MINIMIZE_UNBOUNDED;
        break;
    default:
        outcome_.status = ZAVO_MINIMIZE_UNCERTAIN;
        break;
    }
    if (objective_.stopped()) {
        settle_stop();
    }
}

// ---- Constrained ----------------------------------------------------------------

// The rows in the scaled variables, by columns as the minimiser wants them.
bool Run::scale_rows(ConstrainedProblem* scaled)
{
    const auto n = static_cast<std::size_t>(n_);
    const auto m = static_cast<std::size_t>(std::max(problem_.ncon, 0));
    float* a = nullptr;
    if (m > static_cast<std::size_t>(-1) / sizeof(float) / n || !take(&a, m * n)) {
        return false;
    }
    for (std::size_t k = 0; k < m; ++k) {
        for (std::size_t j = 0; j < n; ++j) {
            a[j * m + k] = problem_.a[k * n + j] * sizes_[j];
        }
    }
    scaled->a = a;
    scaled->lda = problem_.ncon;
    scaled->b = problem_.b;
    return true;
}

bool Run::scale_problem(ConstrainedProblem* scaled)
{
    const auto n = static_cast<std::size_t>(n_);
    float* vectors = nullptr;
    if (!take(&vectors, 5 * n)) {
        return false;
    }
    sizes_ = vectors;
    seen_ = vectors + n;
    float* const start = vectors + 2 * n;
    float* const lower = vectors + 3 * n;
    float* const upper = vectors + 4 * n;
    for (std::size_t i = 0; i < n; ++i) {
        sizes_[i] = options_.sizes != nullptr ? power_of_two_near(options_.sizes[i]) : 1.0F;
        start[i] = problem_.start[i] / sizes_[i];
        lower[i] = problem_.lower != nullptr ? problem_.lower[i] / sizes_[i] : -infinite;
        upper[i] = problem_.upper != nullptr ? problem_.upper[i] / sizes_[i] : infinite;
    }
    scaled->nvar = n_;
    scaled->ncon = problem_.ncon;
    scaled->neq = problem_.neq;
    scaled->xlb = gradient_.lower = lower;
    scaled->xub = gradient_.upper = upper;
    scaled->start = start;
    scaled->accuracy = usable(options_.tolerance, 0.0) ? static_cast<float>(options_.tolerance)
                                                       : std::sqrt(machine::epsilon());
    scaled->eval_limit = INT_MAX;
    scaled->iteration_limit = options_.iteration_limit > 0 ? options_.iteration_limit : INT_MAX;
    return scale_rows(scaled);
}

void Run::minimize_constrained()
{
    const auto n = static_cast<std::size_t>(n_);
    const auto m = static_cast<std::size_t>(std::max(problem_.ncon, 0));
    ConstrainedProblem scaled;
    float* block = nullptr;
    float* results = nullptr; // solution, multipliers
    if (!scale_problem(&scaled) || !take(&block, n * (n + 11) + m) || !take(&results, 2 * n)) {
        return;
    }
    int* const active = core::take_work<int>(m + 2 * n);
    if (active == nullptr) {
        zavo_error_set_int(1, n_);
        zavo_error_set_string(1, "work");
        refuse(core::code::no_memory_for_array);
        return;
    }
    function_size_ = power_of_two_near(options_.function_size);
    gradient_.function_size = function_size_;
    gradient_.noise = noise_of(options_.good_digits > 0 ? options_.good_digits : Controls::default_digits());
    gradient_.central = options_.differences != ZAVO_DIFFERENCES_FORWARD;
    const ConstrainedWorkspace work = {block, results, active, results + n};
    std::fill_n(results, 2 * n, 0.0F);
    put_constrained(zavo::minimize::minimize_constrained(gradient_, scaled, work), work);
    if (objective_.stopped()) {
        settle_stop();
    }
}

// Back to the caller's variables; the bounds' multipliers go with them.
void Run::put_constrained(const ConstrainedOutcome& outcome, const ConstrainedWorkspace& work)
{
    if (outcome.status == refused) {
        outcome_.status = ZAVO_MINIMIZE_REFUSED;
        return;
    }
    float furthest = 0.0F;
    for (int i = 0; i < n_; ++i) {
        outcome_.x[i] = work.x[i] * sizes_[i];
        furthest = std::max(furthest, std::fabs(work.x[i]));
        if (outcome_.gradient != nullptr && outcome.gradient != nullptr) {
            outcome_.gradient[i] =
                static_cast<float>(outcome.gradient[i] * function_size_ / static_cast<double>(sizes_[i]));
        }
    }
    for (int i = 0; i < outcome.active_count; ++i) {
        const int k = work.active[i];
        if (outcome_.active != nullptr) {
            outcome_.active[i] = k;
        }
        if (outcome_.multipliers != nullptr) {
            const double size = k > problem_.ncon ? sizes_[(k - problem_.ncon - 1) % n_] : 1.0F;
            outcome_.multipliers[i] = static_cast<float>(work.multipliers[i] * function_size_ / size);
        }
    }
    outcome_.active_count = outcome.active_count;
    outcome_.value = outcome.f.given;
    outcome_.iterations = outcome.counts.iterations;
    outcome_.gradients = outcome.counts.gradients;
    switch (outcome.status) {
    case converged:
    case all_fixed:
        outcome_.status = ZAVO_MINIMIZE_CONVERGED;
        break;
    case equalities_clash:
    case bounds_clash:
    case constraints_clash:
        outcome_.status = ZAVO_MINIMIZE_INCONSISTENT;
        break;
    case limit_used:
        outcome_.status = ZAVO_MINIMIZE_LIMIT;
        break;
    default:
        outcome_.status = furthest > out_of_sight ? ZAVO_MINIMIZE_UNBOUNDED : ZAVO_MINIMIZE_UNCERTAIN;
        break;
    }
}

} // namespace

extern "C" void zavo_minimize_defaults(zavo_minimize_options* options)
{
    *options = {};
    options->differences = ZAVO_DIFFERENCES_AUTO;
    options->function_size = 1.0;
    options->tolerance = static_cast<double>(Controls::default_gradient_tolerance());
    options->step_tolerance = static_cast<double>(eps_two_thirds());
    options->relative_tolerance = static_cast<double>(default_function_tolerance());
    options->step_limit = static_cast<double>(compute);
    options->good_digits = Controls::default_digits();
    options->call_limit = default_call_limit;
}

extern "C" zavo_minimize_status zavo_minimize_run(const zavo_minimize_problem* problem,
                                                  const zavo_minimize_options* options,
                                                  zavo_minimize_outcome* outcome)
{
    zavo_minimize_options defaults;
    zavo_minimize_defaults(&defaults);
    const auto n = static_cast<std::size_t>(std::max(problem->n, 0));
    outcome->active_count = outcome->code = 0;
    outcome->evaluations = outcome->gradients = outcome->iterations = 0;
    outcome->value = static_cast<double>(machine::not_a_number());
    std::memset(outcome->message, 0, sizeof outcome->message);
    std::copy_n(problem->start, n, outcome->x);
    for (float* const array : {outcome->gradient, outcome->multipliers}) {
        if (array != nullptr) {
            std::fill_n(array, n, 0.0F);
        }
    }
    void* const mark = core::work_mark();
    Run(*problem, options != nullptr ? *options : defaults, *outcome).minimize();
    core::release_work_since(mark);
    return outcome->status;
}

} // namespace zavo::minimize

// zavox::minimize: a script's function, free or under bounds and linear constraints.
#include "zavox/arguments.hpp"
#include "zavox/buffer.hpp"
#include "zavox/callback.hpp"

#include <algorithm>
#include <climits>
#include <cmath>

namespace zavox {

namespace {

// ---- Callbacks -------------------------------------------------------------------

// What the run's callbacks get as their context.
struct Script {
    Script(Tcl_Interp* of_interp, int variables) : interp(of_interp), n(variables) {}

    Tcl_Interp* interp;
    int n;
    bool spread = false;
    Callback value;
    Callback gradient;
    Callback progress;
    int status = TCL_OK; // TCL_ERROR once a call has failed
};

double script_value(void* context, const float* x, int* stop)
{
    Script& script = *static_cast<Script*>(context);
    double f = 0.0;
    script.status =
        outside_a_loop(script.interp, script.value.call(script.interp, x, script.n, script.spread));
    if (script.status == TCL_OK) {
        script.status = get_number(script.interp, Tcl_GetObjResult(script.interp), &f);
    }
    *stop = script.status != TCL_OK ? 1 : 0;
    return f;
}

// n doubles; a vector and a named list give floats.
int read_gradient(Script& script, Tcl_Obj* result, double* g)
{
    int count = 0;
    Tcl_Obj** words = nullptr;
    Vector vector;
    if (morvelVectorIfAny(result) == nullptr && get_words(nullptr, result, &count, &words) == TCL_OK &&
        count == script.n) {
        bool numbers = true;
        for (int i = 0; i < count && numbers; ++i) {
            numbers = get_number(nullptr, words[i], &g[i]) == TCL_OK;
        }
        if (numbers) {
            return TCL_OK;
        }
    }
    if (vector.get(script.interp, result) != TCL_OK) {
        return TCL_ERROR;
    }
    if (vector.size() != script.n) {
        return fail(script.interp, Fault::length, "-gradient",
                    Tcl_ObjPrintf("the gradient must have %d values, not %d", script.n, vector.size()));
    }
    std::copy_n(vector.data(), script.n, g);
    return TCL_OK;
}

void script_gradient(void* context, const float* x, double* g, int* stop)
{
    Script& script = *static_cast<Script*>(context);
    script.status =
        outside_a_loop(script.interp, script.gradient.call(script.interp, x, script.n, script.spread));
    if (script.status == TCL_OK) {
        Tcl_Obj* const result = Tcl_GetObjResult(script.interp);
        Tcl_IncrRefCount(result);
        script.status = read_gradient(script, result, g);
        Tcl_DecrRefCount(result);
    }
    *stop = script.status != TCL_OK ? 1 : 0;
}

Tcl_Obj* vector_value(Tcl_Interp* interp, const float* x, int n)
{
    Vector vector;
    if (vector.allocate(interp, n) != TCL_OK) {
        return nullptr;
    }
    std::copy_n(x, n, vector.writable());
    return vector.value(interp);
}

void put(Tcl_Obj* dict, const char* key, Tcl_Obj* value)
{
    Tcl_DictObjPut(nullptr, dict, Tcl_NewStringObj(key, -1), value);
}

void script_progress(void* context, const float* x, double value, int evaluations, int iteration, int* stop)
{
    Script& script = *static_cast<Script*>(context);
    Tcl_Obj* const point = vector_value(script.interp, x, script.n);
    if (point == nullptr) {
        script.status = TCL_ERROR;
        *stop = 1;
        return;
    }
    Tcl_Obj* const dict = Tcl_NewDictObj();
    put(dict, "x", point);
    put(dict, "value", Tcl_NewDoubleObj(value));
    put(dict, "evaluations", Tcl_NewIntObj(evaluations));
    put(dict, "iteration", Tcl_NewIntObj(iteration));
    const int code = script.progress.call(script.interp, dict);
    if (code == TCL_BREAK) {
        *stop = 1;
        return;
    }
    script.status = code == TCL_CONTINUE ? TCL_OK : outside_a_loop(script.interp, code);
    *stop = script.status != TCL_OK ? 1 : 0;
}

// ---- Options ---------------------------------------------------------------------

enum Option {
    opt_atmost,
    opt_differences,
    opt_digits,
    opt_equal,
    opt_fscale,
    opt_gradient,
    opt_limit,
    opt_lower,
    opt_progress,
    opt_scale,
    opt_spread,
    opt_steptolerance,
    opt_tolerance,
    opt_upper,
    option_count
};

constexpr OptionRow option_rows[] = {{"-atmost", true},    {"-differences", true}, {"-digits", true},
                                     {"-equal", true},     {"-fscale", true},      {"-gradient", true},
                                     {"-limit", true},     {"-lower", true},       {"-progress", true},
                                     {"-scale", true},     {"-spread", false},     {"-steptolerance", true},
                                     {"-tolerance", true}, {"-upper", true},       {nullptr, false}};

constexpr double default_tolerance = 1e-6;
constexpr int default_limit = 20000; // or this many for each of twenty variables
constexpr int default_limit_each = 1000;

// Rows of constraints with their sides.
struct Rows {
    int count = 0;
    Buffer<float> left; // count x n
    Vector sides;
};

// {rows sides}: a list of vectors and a vector.
int read_rows(Tcl_Interp* interp, const char* option, Tcl_Obj* word, int n, Rows* rows)
{
    int parts = 0;
    Tcl_Obj** part = nullptr;
    int count = 0;
    Tcl_Obj** row = nullptr;
    if (get_words(nullptr, word, &parts, &part) != TCL_OK || parts != 2) {
        return fail(interp, Fault::value, Tcl_GetString(word), quoted("expected {rows rhs} but got ", word));
    }
    Tcl_Obj* const list = Tcl_DuplicateObj(part[0]); // it keeps its elements whatever happens to the word
    Tcl_IncrRefCount(list);
    int status = rows->sides.get(interp, part[1]);
    if (status == TCL_OK) {
        status = get_words(interp, list, &count, &row);
    }
    if (status == TCL_OK && count != rows->sides.size()) {
        status = fail(interp, Fault::length, option,
                      Tcl_ObjPrintf("%s has %d rows but %d right sides", option, count, rows->sides.size()));
    }
    if (status == TCL_OK && !rows->left.make(std::int64_t{count} * n)) {
        status = memory_short(interp);
    }
    for (int i = 0; status == TCL_OK && i < count; ++i) {
        Vector values;
        status = values.get(interp, row[i]);
        if (status == TCL_OK && values.size() != n) {
            status =
                fail(interp, Fault::length, option,
                     Tcl_ObjPrintf("row %d of %s must have %d values, not %d", i, option, n, values.size()));
        }
        if (status == TCL_OK) {
            std::copy_n(values.data(), n, rows->left.get() + std::int64_t{i} * n);
        }
    }
    Tcl_DecrRefCount(list);
    rows->count = count;
    return status;
}

int get_at_least_zero(Tcl_Interp* interp, const char* option, Tcl_Obj* word, double* number)
{
    if (get_number(interp, word, number) != TCL_OK) {
        return TCL_ERROR;
    }
    if (!(*number >= 0.0)) {
        return fail(interp, Fault::value, Tcl_GetString(word),
                    Tcl_ObjPrintf("%s must be at least 0", option));
    }
    return TCL_OK;
}

// All that the words say.
class Request {
public:
    Request(Tcl_Interp* interp, Script& script, int n) : interp_(interp), script_(script), n_(n)
    {
        problem.tolerance = default_tolerance;
        problem.limit =
            n < INT_MAX / default_limit_each ? std::max(default_limit, default_limit_each * n) : INT_MAX;
    }

    int read(int objc, Tcl_Obj* const objv[])
    {
        OptionWords words(interp_, objc, objv, 3, option_rows);
        for (;;) {
            int row = 0;
            Tcl_Obj* value = nullptr;
            if (words.next(&row, &value) != TCL_OK) {
                return TCL_ERROR;
            }
            if (row < 0) {
                return check();
            }
            given_[row] = true;
            if (take(static_cast<Option>(row), value) != TCL_OK) {
                return TCL_ERROR;
            }
        }
    }

    bool constrained() const
    {
        return given_[opt_lower] || given_[opt_upper] || given_[opt_equal] || given_[opt_atmost];
    }

    zavo_run_problem problem{};
    int rows() const { return equal_.count + atmost_.count; }

private:
    int take(Option option, Tcl_Obj* value)
    {
        static const char* const differences[] = {"auto", "forward", "central", nullptr}; // as the run's
        const char* const name = option_rows[option].name;
        switch (option) {
        case opt_atmost:
            return read_rows(interp_, name, value, n_, &atmost_);
        case opt_equal:
            return read_rows(interp_, name, value, n_, &equal_);
        case opt_differences:
            return Tcl_GetIndexFromObj(interp_, value, differences, "differences", 0, &problem.differences);
        case opt_digits:
            return get_count(interp_, value, 1, name, &problem.digits);
        case opt_fscale:
            return get_at_least_zero(interp_, name, value, &problem.fscale);
        case opt_gradient:
            return script_.gradient.set(interp_, value, n_);
        case opt_limit:
            return get_count(interp_, value, 1, name, &problem.limit);
        case opt_lower:
            return bounds(name, value, -INFINITY, &lower_, &problem.lower);
        case opt_upper:
            return bounds(name, value, INFINITY, &upper_, &problem.upper);
        case opt_progress:
            return script_.progress.set(interp_, value, 1);
        case opt_scale:
            return vector_of_n(name, value, &scale_, &problem.sizes);
        case opt_spread:
            script_.spread = true;
            return TCL_OK;
        case opt_steptolerance:
            return get_at_least_zero(interp_, name, value, &problem.step_tolerance);
        default:
            return get_at_least_zero(interp_, name, value, &problem.tolerance);
        }
    }

    int vector_of_n(const char* option, Tcl_Obj* word, Vector* vector, const float** place)
    {
        Vector values;
        if (values.get(interp_, word) != TCL_OK) {
            return TCL_ERROR;
        }
        if (values.size() != n_) {
            return fail(interp_, Fault::length, option,
                        Tcl_ObjPrintf("%s must have %d values, not %d", option, n_, values.size()));
        }
        *vector = std::move(values);
        *place = vector->data();
        return TCL_OK;
    }

    // Infinite bounds are none, whatever their sign.
    int bounds(const char* option, Tcl_Obj* word, float none, Vector* vector, const float** place)
    {
        Vector given;
        Vector bounds;
        if (vector_of_n(option, word, &given, place) != TCL_OK || bounds.allocate(interp_, n_) != TCL_OK) {
            return TCL_ERROR;
        }
        std::transform(given.data(), given.data() + n_, bounds.writable(),
                       [none](float bound) { return std::isinf(bound) ? none : bound; });
        *vector = std::move(bounds);
        *place = vector->data();
        return TCL_OK;
    }

    int refuse(Option option, const char* why)
    {
        return fail(interp_, Fault::value, option_rows[option].name,
                    Tcl_ObjPrintf("%s has no meaning %s", option_rows[option].name, why));
    }

    // What only shows when all options are there.
    int check()
    {
        for (const Option option : {opt_differences, opt_digits}) {
            if (given_[option] && given_[opt_gradient]) {
                return refuse(option, "with -gradient");
            }
        }
        for (const Option option : {opt_fscale, opt_steptolerance}) {
            if (given_[option] && constrained()) {
                return refuse(option, "under constraints");
            }
        }
        return check_bounds() == TCL_OK && check_scale() == TCL_OK ? join_rows() : TCL_ERROR;
    }

    int check_bounds()
    {
        for (int i = 0; i < n_; ++i) {
            const float low = problem.lower != nullptr ? problem.lower[i] : -INFINITY;
            const float high = problem.upper != nullptr ? problem.upper[i] : INFINITY;
            if (!(low <= high)) {
                Tcl_Obj* const message =
                    Tcl_ObjPrintf("the lower bound of variable %d is not below or at its upper bound", i);
                return fail(interp_, Fault::value, given_[opt_lower] ? "-lower" : "-upper", message);
            }
        }
        return TCL_OK;
    }

    int check_scale()
    {
        for (int i = 0; problem.sizes != nullptr && i < n_; ++i) {
            if (!(problem.sizes[i] > 0.0F) || std::isinf(problem.sizes[i])) {
                return fail(interp_, Fault::value, "-scale", "-scale must be of values above 0");
            }
        }
        return TCL_OK;
    }

    int join_rows()
    {
        const std::int64_t count = std::int64_t{equal_.count} + atmost_.count;
        if (count > INT_MAX || !left_.make(count * n_) || !sides_.make(count)) {
            return memory_short(interp_);
        }
        std::copy_n(equal_.left.get(), std::int64_t{equal_.count} * n_, left_.get());
        std::copy_n(atmost_.left.get(), std::int64_t{atmost_.count} * n_,
                    left_.get() + std::int64_t{equal_.count} * n_);
        for (int i = 0; i < count; ++i) {
            sides_[i] = i < equal_.count ? equal_.sides[i] : atmost_.sides[i - equal_.count];
        }
        for (std::int64_t i = 0; i < count * n_ + count; ++i) {
            if (!std::isfinite(i < count * n_ ? left_[i] : sides_[i - count * n_])) {
                return fail(interp_, Fault::value, equal_.count > 0 ? "-equal" : "-atmost",
                            "constraints must be of finite numbers");
            }
        }
        problem.equalities = equal_.count;
        problem.rows = static_cast<int>(count);
        problem.left = left_.get();
        problem.sides = sides_.get();
        return TCL_OK;
    }

    Tcl_Interp* interp_;
    Script& script_;
    int n_;
    bool given_[option_count] = {};
    Rows equal_;
    Rows atmost_;
    Buffer<float> left_;
    Buffer<float> sides_;
    Vector lower_;
    Vector upper_;
    Vector scale_;
};

// ---- Outcome ---------------------------------------------------------------------

// Pairs such as {row 0}, {upper 2}.
Tcl_Obj* active_pairs(const zavo_run_outcome& outcome, int rows, int n)
{
    Tcl_Obj* const list = Tcl_NewListObj(0, nullptr);
    for (int i = 0; i < outcome.active_count; ++i) {
        const int k = outcome.active[i];
        const char* const kind = k < rows ? "row" : (k < rows + n ? "lower" : "upper");
        const int number = k < rows ? k : (k < rows + n ? k - rows : k - rows - n);
        Tcl_Obj* const pair[2] = {Tcl_NewStringObj(kind, -1), Tcl_NewIntObj(number)};
        Tcl_ListObjAppendElement(nullptr, list, Tcl_NewListObj(2, pair));
    }
    return list;
}

int put_outcome(Tcl_Interp* interp, const zavo_run_outcome& outcome, const Request& request)
{
    static constexpr const char* statuses[] = {"converged", "uncertain",    "limit",
                                               "unbounded", "inconsistent", "stopped"};
    const int n = request.problem.n;
    Vector x;
    Vector gradient;
    Vector multipliers;
    if (x.allocate(interp, n) != TCL_OK || gradient.allocate(interp, n) != TCL_OK ||
        multipliers.allocate(interp, outcome.active_count) != TCL_OK) {
        return TCL_ERROR;
    }
    std::copy_n(outcome.x, n, x.writable());
    std::transform(outcome.g, outcome.g + n, gradient.writable(),
                   [](double g) { return static_cast<float>(g); });
    Tcl_Obj* const dict = Tcl_NewDictObj();
    put(dict, "x", x.value(interp));
    put(dict, "value", Tcl_NewDoubleObj(outcome.value));
    put(dict, "status", Tcl_NewStringObj(statuses[outcome.status], -1));
    put(dict, "code", Tcl_NewIntObj(outcome.code));
    put(dict, "message", Tcl_NewStringObj(outcome.message, -1));
    put(dict, "evaluations", Tcl_NewIntObj(outcome.evaluations));
    put(dict, "gradients", Tcl_NewIntObj(outcome.gradients));
    put(dict, "iterations", Tcl_NewIntObj(outcome.iterations));
    put(dict, "gradient", gradient.value(interp));
    if (request.constrained()) {
        std::transform(outcome.multipliers, outcome.multipliers + outcome.active_count,
                       multipliers.writable(), [](double m) { return static_cast<float>(m); });
        put(dict, "active", active_pairs(outcome, request.rows(), n));
        put(dict, "multipliers", multipliers.value(interp));
    }
    Tcl_SetObjResult(interp, dict);
    return TCL_OK;
}

// The room that an outcome needs.
struct OutcomeArrays {
    Buffer<float> x;
    Buffer<double> g;
    Buffer<double> multipliers;
    Buffer<int> active;

    bool make(int n, int rows, zavo_run_outcome* outcome)
    {
        if (!x.make(n) || !g.make(n) || !multipliers.make(n) || !active.make(std::int64_t{rows} + 2LL * n)) {
            return false;
        }
        outcome->x = x.get();
        outcome->g = g.get();
        outcome->multipliers = multipliers.get();
        outcome->active = active.get();
        return true;
    }
};

int run(Tcl_Interp* interp, const Request& request, Script& script)
{
    zavo_run_outcome outcome{};
    OutcomeArrays arrays;
    if (!arrays.make(request.problem.n, request.rows(), &outcome)) {
        return memory_short(interp);
    }
    engine().minimize_run(&request.problem, &outcome);
    if (script.status != TCL_OK) {
        return TCL_ERROR;
    }
    Tcl_ResetResult(interp);
    switch (outcome.status) {
    case ZAVO_RUN_NO_MEMORY:
        return memory_short(interp);
    case ZAVO_RUN_NO_VALUE:
        return fail(interp, Fault::value, "start", "the function has no finite value at the start");
    default:
        return put_outcome(interp, outcome, request);
    }
}

} // namespace

int minimize_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    Vector start;
    if (!count_is_good(interp, objc, objv, 1, 2, -1, "command start ?-option value ...?") ||
        start.get(interp, objv[2]) != TCL_OK) {
        return TCL_ERROR;
    }
    if (start.empty()) {
        return fail_empty(interp, "minimum");
    }
    Script script(interp, start.size());
    Request request(interp, script, start.size());
    if (script.value.set(interp, objv[1], start.size()) != TCL_OK || request.read(objc, objv) != TCL_OK) {
        return TCL_ERROR;
    }
    zavo_run_problem& problem = request.problem;
    problem.n = start.size();
    problem.context = &script;
    problem.value = script_value;
    problem.gradient = script.gradient.given() ? script_gradient : nullptr;
    problem.progress = script.progress.given() ? script_progress : nullptr;
    problem.start = start.data();
    Tcl_Preserve(interp);
    const int status = run(interp, request, script);
    Tcl_Release(interp);
    return status;
}

} // namespace zavox

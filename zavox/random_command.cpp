// zavox::random: deviates of the stream that the commands of zavo draw from, and
// the stream itself.
#include "zavox/arguments.hpp"

#include <cstring>
#include <limits>
#include <tcl_generations.hpp>

namespace zavox {

namespace {

constexpr int greatest_seed = 2147483646;

using Draw = void (*)(int n, float* r);

// n deviates, each shift + scale * deviate in double precision and rounded once.
// Nothing is drawn when there is no room for them, or when the command is interrupted.
int put_deviates(Tcl_Interp* interp, int n, Draw draw, double shift, double scale)
{
    Vector deviates;
    if (deviates.allocate(interp, n) != TCL_OK) {
        return TCL_ERROR;
    }
    float* const r = deviates.writable();
    if (shift == 0.0 && scale == 1.0) {
        draw(n, r);
        return deviates.put(interp);
    }
    zavo_random_state before;
    engine().random_state_get(&before);
    draw(n, r);
    const bool done = in_parts(n, 1, [=](std::int64_t begin, std::int64_t end) {
        for (std::int64_t i = begin; i < end; ++i) {
            // The vector has been allocated. NOLINTNEXTLINE(clang-analyzer-core.NullDereference)
            r[i] = static_cast<float>(shift + scale * r[i]);
        }
    });
    if (!done) {
        engine().random_state_set(&before);
        return TCL_ERROR;
    }
    return deviates.put(interp);
}

int uniform(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    int n = 0;
    if (get_count(interp, objv[2], 0, "count", &n) != TCL_OK) {
        return TCL_ERROR;
    }
    return put_deviates(interp, n, engine().random_uniforms, 0.0, 1.0);
}

int normal(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    if (objc == 4) {
        Tcl_WrongNumArgs(interp, 2, objv, "n ?mean sd?");
        return TCL_ERROR;
    }
    int n = 0;
    double mean = 0.0;
    double sd = 1.0;
    if (get_count(interp, objv[2], 0, "count", &n) != TCL_OK ||
        (objc == 5 &&
         (get_number(interp, objv[3], &mean) != TCL_OK || get_number(interp, objv[4], &sd) != TCL_OK))) {
        return TCL_ERROR;
    }
    if (sd < 0.0) {
        return fail(interp, Fault::value, Tcl_GetString(objv[4]), "sd must not be negative");
    }
    return put_deviates(interp, n, engine().random_normals, mean, sd);
}

int exponential(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    int n = 0;
    double mean = 1.0;
    if (get_count(interp, objv[2], 0, "count", &n) != TCL_OK ||
        (objc == 4 && get_number(interp, objv[3], &mean) != TCL_OK)) {
        return TCL_ERROR;
    }
    return put_deviates(interp, n, engine().random_exponentials, 0.0, mean);
}

int seed(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    if (objc == 2) {
        Tcl_SetObjResult(interp, Tcl_NewIntObj(engine().random_seed_get()));
        return TCL_OK;
    }
    Tcl_WideInt value = 0;
    if (Tcl_GetWideIntFromObj(interp, objv[2], &value) != TCL_OK) {
        return TCL_ERROR;
    }
    if (value < 1 || value > greatest_seed) {
        return fail(interp, Fault::value, Tcl_GetString(objv[2]),
                    quoted("seed must be between 1 and 2147483646 but got ", objv[2]));
    }
    static const float no_table[128] = {};
    engine().rnses(no_table);
    engine().random_seed_set(static_cast<int>(value));
    return TCL_OK;
}

int generator(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    if (objc == 2) {
        Tcl_SetObjResult(interp, Tcl_NewIntObj(engine().random_option_get()));
        return TCL_OK;
    }
    int option = 0;
    if (Tcl_GetIntFromObj(interp, objv[2], &option) != TCL_OK) {
        return TCL_ERROR;
    }
    engine().error_forget();
    engine().random_option(option);
    return engine().error_failed() ? library_failure(interp) : TCL_OK;
}

// ---- State ---------------------------------------------------------------------
//
//     generator 2 seed 4711 table {0.25 ...}
//
// with the 128 floats of the shuffle table, none where it is empty.

constexpr int state_words = 6;
constexpr int table_size = 128;

int put_state(Tcl_Interp* interp)
{
    zavo_random_state state;
    engine().random_state_get(&state);
    Vector table;
    if (table.allocate(interp, state.filled != 0 ? table_size : 0) != TCL_OK) {
        return TCL_ERROR;
    }
    if (state.filled != 0) {
        std::memcpy(table.writable(), state.table, sizeof state.table);
    }
    Tcl_Obj* const values = table.value(interp);
    if (values == nullptr) {
        return TCL_ERROR;
    }
    Tcl_Obj* const words[state_words] = {Tcl_NewStringObj("generator", -1), Tcl_NewIntObj(state.option),
                                         Tcl_NewStringObj("seed", -1),      Tcl_NewIntObj(state.seed),
                                         Tcl_NewStringObj("table", -1),     values};
    Tcl_SetObjResult(interp, Tcl_NewListObj(state_words, words));
    return TCL_OK;
}

// False when the words are not a state; leaves no message.
bool read_state(Tcl_Interp* interp, Tcl_Obj* value, zavo_random_state* state)
{
    Tcl_Size count = 0;
    Tcl_Obj** words = nullptr;
    if (Tcl_ListObjGetElements(nullptr, value, &count, &words) != TCL_OK || count != state_words ||
        std::strcmp(Tcl_GetString(words[0]), "generator") != 0 ||
        std::strcmp(Tcl_GetString(words[2]), "seed") != 0 ||
        std::strcmp(Tcl_GetString(words[4]), "table") != 0 ||
        Tcl_GetIntFromObj(nullptr, words[1], &state->option) != TCL_OK ||
        Tcl_GetIntFromObj(nullptr, words[3], &state->seed) != TCL_OK) {
        return false;
    }
    Vector table;
    if (table.get(interp, words[5]) != TCL_OK || (!table.empty() && table.size() != table_size)) {
        Tcl_ResetResult(interp);
        return false;
    }
    state->filled = table.empty() ? 0 : 1;
    if (!table.empty()) {
        std::memcpy(state->table, table.data(), sizeof state->table);
    }
    return true;
}

int state(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    if (objc == 2) {
        return put_state(interp);
    }
    zavo_random_state wanted{};
    if (!read_state(interp, objv[2], &wanted) || engine().random_state_set(&wanted) == 0) {
        return fail(interp, Fault::value, Tcl_GetString(objv[2]),
                    quoted("expected a state of the random stream but got ", objv[2]));
    }
    return TCL_OK;
}

// ---- Jumps, quantiles --------------------------------------------------------------

int jump(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    Tcl_WideInt count = 0;
    if (Tcl_GetWideIntFromObj(interp, objv[2], &count) != TCL_OK) {
        return TCL_ERROR;
    }
    if (count < 0) {
        return fail(interp, Fault::value, Tcl_GetString(objv[2]), "count must be at least 0");
    }
    if (engine().random_jump(count) == 0) {
        const int option = engine().random_option_get();
        return fail(interp, Fault::value, Tcl_GetString(objv[2]),
                    Tcl_ObjPrintf("generator %d has a shuffle table and cannot jump", option));
    }
    return TCL_OK;
}

// Between 0 and 1 a probability keeps away from the ends, however near to them
// rounding to float would take it.
float probability(double p)
{
    const auto rounded = static_cast<float>(p);
    if (p > 0.0 && rounded == 0.0F) {
        return std::numeric_limits<float>::denorm_min();
    }
    return p < 1.0 && rounded == 1.0F ? 1.0F - 0x1p-24F : rounded;
}

int normal_quantile(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    double p = 0.0;
    engine().error_forget();
    if (morvelVectorIfAny(objv[2]) == nullptr && get_number(nullptr, objv[2], &p) == TCL_OK) {
        const double x = engine().f_normal_inverse_cdf(probability(p));
        if (engine().error_failed()) {
            return library_failure(interp);
        }
        Tcl_SetObjResult(interp, Tcl_NewDoubleObj(x));
        return TCL_OK;
    }
    Vector probabilities;
    Vector quantiles;
    if (probabilities.get(interp, objv[2]) != TCL_OK ||
        quantiles.allocate(interp, probabilities.size()) != TCL_OK) {
        return TCL_ERROR;
    }
    bool good = true;
    const float* const given = probabilities.data();
    float* const found = quantiles.writable();
    const bool done = in_parts(probabilities.size(), 30, [&](std::int64_t begin, std::int64_t end) {
        for (auto i = begin; i < end && good; ++i) {
            found[i] = engine().f_normal_inverse_cdf(given[i]);
            if (engine().error_failed() != 0) {
                library_failure(interp);
                good = false;
            }
        }
    });
    return done && good ? quantiles.put(interp) : TCL_ERROR;
}

constexpr Subcommand random_subcommands[] = {
    // clang-format off
    {"exponential", 1, 2, "n ?mean?",    exponential},
    {"generator",   0, 1, "?generator?", generator},
    {"jump",        1, 1, "count",       jump},
    {"normal",      1, 3, "n ?mean sd?", normal},
    {"quantile",    1, 1, "p",           normal_quantile},
    {"seed",        0, 1, "?seed?",      seed},
    {"state",       0, 1, "?state?",     state},
    {"uniform",     1, 1, "n",           uniform},
    {nullptr,       0, 0, nullptr,       nullptr},
    // clang-format on
};

} // namespace

int random_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    return run_subcommand(random_subcommands, interp, objc, objv);
}

} // namespace zavox

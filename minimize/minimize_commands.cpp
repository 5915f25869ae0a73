// zavo_min_uncon_multivar function ?guess?
// zavo_min_con_gen_lin function guess lower_bounds upper_bounds
//     ?ncon neq lhs_gradients rhs_constraints?

#include "core/errors/error_stack.h"
#include "core/system/memory.hpp"
#include "core/zavo.h"
#include "ext/conventions.hpp"
#include "minimize/objective_commands.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdlib>

namespace zavo::ext {

namespace {

// Error stack entries that must be free before a minimisation starts: its own
// routines nest five deep, and its procedure may call other commands.
constexpr int room_needed = 25;

// The routines that the commands stand for.
constexpr char free_routine[] = "zavo_f_min_uncon_multivar";
constexpr char constrained_routine[] = "zavo_f_min_con_gen_lin";

float unconstrained_objective(int n, float* x)
{
    return ScriptObjective::running().value(n, x);
}

void constrained_objective(int n, float* x, float* f)
{
    *f = ScriptObjective::running().value(n, x);
}

// Readies the objective for its n variables.
int prepare(Tcl_Interp* interp, const char* command, const char* routine, ScriptObjective& objective, int* n)
{
    if (core::stack_room() < room_needed) {
        return fail(interp, command, ": minimisations are nested too deeply");
    }
    if (objective.count_variables(n) != TCL_OK) {
        return TCL_ERROR;
    }
    return objective.reserve(*n) ? TCL_OK : memory_failure(interp, routine, "n", *n);
}

// A float list of `count` elements, or the text of what is wrong with it.
int find_floats(Tcl_Interp* interp, const char* command, const char* name, long long count,
                const char* not_floats, const char* wrong_count, HeldList* list)
{
    if (list->find(interp, name) != TCL_OK) {
        return TCL_ERROR;
    }
    if ((*list)->datatype != DFU_FLOAT) {
        return fail(interp, command, not_floats);
    }
    return count_of(list->get()) == count ? TCL_OK : fail(interp, command, wrong_count);
}

int find_start(Tcl_Interp* interp, const char* command, const char* name, int n, HeldList* list)
{
    return find_floats(interp, command, name, n, ": start values must be floats",
                       ": invalid number of start values", list);
}

// The solution as a Tcl list; without one, the library's error. When the interpreter
// has ended the run it is the interpreter's error.
int put_solution(Tcl_Interp* interp, ScriptObjective& objective, const char* routine, int n, float* x)
{
    if (objective.ended()) {
        std::free(x);
        return objective.raise();
    }
    if (x == nullptr) {
        Tcl_ResetResult(interp);
        return library_failure(interp);
    }
    DynList* const list = float_list(n, x);
    if (list == nullptr) {
        return memory_failure(interp, routine, "n", n);
    }
    Tcl_ResetResult(interp);
    const int status = tclDynListToTclList(interp, list);
    dfuFreeDynList(list);
    return status;
}

// The general constraints of a call; none until they are read. The matrix is a
// copy: the library transposes it while it works, and a procedure may look at
// the list.
class GeneralConstraints {
public:
    GeneralConstraints() = default;
    ~GeneralConstraints() { core::release(lhs_); }
    GeneralConstraints(const GeneralConstraints&) = delete;
    GeneralConstraints& operator=(const GeneralConstraints&) = delete;

    // words: ncon neq lhs_gradients rhs_constraints
    int read(Tcl_Interp* interp, const char* command, int n, const char* const* words)
    {
        if (Tcl_GetInt(interp, words[0], &ncon) != TCL_OK || Tcl_GetInt(interp, words[1], &neq) != TCL_OK) {
            return TCL_ERROR;
        }
        if (neq < 0 || ncon < 0 || neq > ncon) {
            return fail(interp, command, ": bad constraint n's");
        }
        if (ncon == 0) {
            return TCL_OK;
        }
        HeldList gradients;
        const long long elements = static_cast<long long>(n) * ncon;
        if (find_floats(interp, command, words[2], elements, ": gradients must be floats",
                        ": invalid number of gradients", &gradients) != TCL_OK ||
            find_floats(interp, command, words[3], ncon, ": constraints must be floats",
                        ": invalid number of constraints", &rhs_) != TCL_OK) {
            return TCL_ERROR;
        }
        lhs_ = static_cast<float*>(core::allocate(static_cast<std::size_t>(elements), sizeof(float)));
        if (lhs_ == nullptr) {
            return memory_failure(interp, constrained_routine, "ncon", ncon);
        }
        std::copy_n(floats_of(gradients.get()), elements, lhs_);
        return TCL_OK;
    }

    float* lhs() const { return lhs_; }
    const float* rhs() const { return ncon > 0 ? floats_of(rhs_.get()) : nullptr; }

    int ncon = 0;
    int neq = 0;

private:
    HeldList rhs_;
    float* lhs_ = nullptr;
};

} // namespace

int min_uncon_multivar_command(ClientData, Tcl_Interp* interp, int argc, const char* argv[])
{
    if (argc < 2) {
        return usage(interp, argv[0], " function");
    }
    ScriptObjective objective(interp, argv[1]);
    int n = 0;
    if (prepare(interp, argv[0], free_routine, objective, &n) != TCL_OK) {
        return TCL_ERROR;
    }
    if (argc == 2) {
        return put_solution(interp, objective, free_routine, n,
                            zavo_f_min_uncon_multivar(unconstrained_objective, n, 0));
    }
    HeldList guess;
    if (find_start(interp, argv[0], argv[2], n, &guess) != TCL_OK) {
        return TCL_ERROR;
    }
    return put_solution(
        interp, objective, free_routine, n,
        zavo_f_min_uncon_multivar(unconstrained_objective, n, ZAVO_START_POINT, floats_of(guess.get()), 0));
}

int min_con_gen_lin_command(ClientData, Tcl_Interp* interp, int argc, const char* argv[])
{
    if (argc != 5 && argc != 9) {
        return usage(interp, argv[0],
                     " function guess lower_bounds upper_bounds [ncon neq lhs_gradients rhs_constraints]");
    }
    ScriptObjective objective(interp, argv[1]);
    HeldList guess;
    HeldList lower;
    HeldList upper;
    GeneralConstraints general;
    int n = 0;
    if (prepare(interp, argv[0], constrained_routine, objective, &n) != TCL_OK ||
        find_start(interp, argv[0], argv[2], n, &guess) != TCL_OK ||
        find_floats(interp, argv[0], argv[3], n, ": bounds must be floats",
                    ": invalid number of lower bounds", &lower) != TCL_OK ||
        find_floats(interp, argv[0], argv[4], n, ": bounds must be floats",
                    ": invalid number of upper bounds", &upper) != TCL_OK ||
        (argc == 9 && general.read(interp, argv[0], n, argv + 5) != TCL_OK)) {
        return TCL_ERROR;
    }
    return put_solution(interp, objective, constrained_routine, n,
                        zavo_f_min_con_gen_lin(constrained_objective, n, general.ncon, general.neq,
                                               general.lhs(), general.rhs(), floats_of(lower.get()),
                                               floats_of(upper.get()), ZAVO_START_POINT,
                                               floats_of(guess.get()), 0));
}

} // namespace zavo::ext

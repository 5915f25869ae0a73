#include "ext/conventions.hpp"

#include "core/errors/error_stack.h"
#include "core/thread_state.hpp"

#include <cstdio>
#include <cstdlib>

namespace {

zavo::core::ModuleState& module_state()
{
    return zavo::core::thread_state().module;
}

} // namespace

void zavo_error_handler(int type, int code, const char* routine, const char* message)
{
    zavo::core::ModuleState& state = module_state();
    std::snprintf(state.last_error_text, sizeof state.last_error_text, "%s: %s", routine, message);
    std::snprintf(state.last_error_routine, sizeof state.last_error_routine, "%s", routine);
    state.last_error_type = type;
    state.last_error_code = code;
}

int zavo_error_result(Tcl_Interp* interp)
{
    // Both types: an error that an earlier command left behind must not fail
    // this one, whose routine may have ended with a note of its own.
    const bool ended_in_failure = zavo_error_code(1) != 0 && zavo::core::is_failure(zavo_error_type(1));
    return ended_in_failure && zavo::ext::failure_reported(interp) ? 1 : 0;
}

namespace zavo::ext {

void forget_last_error()
{
    core::ModuleState& state = module_state();
    state.last_error_type = 0;
    state.last_error_code = 0;
    state.last_error_routine[0] = '\0';
    state.last_error_text[0] = '\0';
}

int failure_seen()
{
    return core::is_failure(module_state().last_error_type) ? 1 : 0;
}

void describe_last_error(zavo_engine_error* error)
{
    const core::ModuleState& state = module_state();
    *error = {state.last_error_type, state.last_error_code, state.last_error_routine, state.last_error_text};
}

bool failure_reported(Tcl_Interp* interp)
{
    const bool failed = core::is_failure(module_state().last_error_type);
    if (failed) {
        Tcl_SetResult(interp, module_state().last_error_text, TCL_STATIC);
    }
    return failed;
}

int usage(Tcl_Interp* interp, const char* command, const char* arguments)
{
    Tcl_ResetResult(interp);
    Tcl_AppendResult(interp, "usage: ", command, arguments, nullptr);
    return TCL_ERROR;
}

int fail(Tcl_Interp* interp, const char* command, const char* text)
{
    Tcl_ResetResult(interp);
    Tcl_AppendResult(interp, command, text, nullptr);
    return TCL_ERROR;
}

int bad_datatype(Tcl_Interp* interp, const char* command)
{
    return fail(interp, command, ": data must be lists or floats");
}

int library_failure(Tcl_Interp* interp)
{
    zavo_error_result(interp);
    return TCL_ERROR;
}

int HeldList::find(Tcl_Interp* interp, const char* name)
{
    DynList* found = nullptr;
    const int status = tclFindDynList(interp, name, &found);
    if (status == TCL_OK) {
        interp_ = interp;
        list_ = found;
        morvelHoldList(interp_, list_);
    }
    return status;
}

HeldList::~HeldList()
{
    if (list_ != nullptr) {
        morvelReleaseList(interp_, list_);
    }
}

DynList* float_list(int n, float* values)
{
    DynList* const list = dfuCreateDynListWithVals(DFU_FLOAT, n, values);
    if (list == nullptr) {
        std::free(values);
    }
    return list;
}

} // namespace zavo::ext

// The commands zavo_i_machine and zavo_f_machine: one entry of a table of
// machine constants each.
#include "core/errors/error_stack.h"
#include "ext/conventions.hpp"

namespace zavo::ext {

namespace {

// Reads the index and checks its range; `range_text` is what a bad one gives.
int read_index(Tcl_Interp* interp, int argc, const char* argv[], int low, int high, const char* range_text,
               int* index)
{
    if (argc < 2) {
        return usage(interp, argv[0], " index");
    }
    if (read_int(interp, argv[1], index) != TCL_OK) {
        return TCL_ERROR;
    }
    if (*index < low || *index > high) {
        return fail(interp, argv[0], range_text);
    }
    return TCL_OK;
}

// The routines push nothing when all is well, so what an earlier command left
// would still answer the check after the call.
template <class Routine>
int look_up(Tcl_Interp* interp, Routine routine, int index, Tcl_Obj* make(decltype(routine(0))))
{
    core::clear_queries();
    const auto value = routine(index);
    if (zavo_error_result(interp) != 0) {
        return TCL_ERROR;
    }
    Tcl_SetObjResult(interp, make(value));
    return TCL_OK;
}

} // namespace

int i_machine_command(ClientData, Tcl_Interp* interp, int argc, const char* argv[])
{
    int index = 0;
    if (read_index(interp, argc, argv, 0, 12, ": index must be between 0 and 12", &index) != TCL_OK) {
        return TCL_ERROR;
    }
    return look_up(interp, zavo_i_machine, index, [](int value) { return Tcl_NewIntObj(value); });
}

int f_machine_command(ClientData, Tcl_Interp* interp, int argc, const char* argv[])
{
    int index = 0;
    if (read_index(interp, argc, argv, 1, 8, ": index must be between 1 and 8", &index) != TCL_OK) {
        return TCL_ERROR;
    }
    return look_up(interp, zavo_f_machine, index,
                   [](float value) { return Tcl_NewDoubleObj(static_cast<double>(value)); });
}

} // namespace zavo::ext

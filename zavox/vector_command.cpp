// zavox::vector: making, cutting, joining and describing vectors.
#include "zavox/arguments.hpp"

#include <algorithm>

namespace zavox {

namespace {

// vector fill value count
int fill(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    double number = 0;
    int count = 0;
    Vector result;
    if (get_number(interp, objv[2], &number) != TCL_OK ||
        get_count(interp, objv[3], 0, "count", &count) != TCL_OK ||
        result.allocate(interp, count) != TCL_OK) {
        return TCL_ERROR;
    }
    std::fill_n(result.writable(), count, static_cast<float>(number));
    return result.put(interp);
}

// vector length v
int length(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    Vector v;
    if (v.get(interp, objv[2]) != TCL_OK) {
        return TCL_ERROR;
    }
    Tcl_SetObjResult(interp, Tcl_NewIntObj(v.size()));
    return TCL_OK;
}

constexpr Subcommand subcommands[] = {
    {"fill", 2, 2, "value count", fill},
    {"length", 1, 1, "v", length},
    {nullptr, 0, 0, nullptr, nullptr},
};

} // namespace

int vector_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    return run_subcommand(subcommands, interp, objc, objv);
}

} // namespace zavox

// What an interpreter does between two commands of a script, for commands that work for
// long.
#include "morvel.h"
#include "registry.hpp"

#include <algorithm>

namespace morvel {

namespace {

// A limit is looked at once in so many commands of a script; here one look stands for
// all of them.
int check_limits(Tcl_Interp* interp)
{
    constexpr int most = 1000;
    int commands = 1;
    for (const int type : {TCL_LIMIT_COMMANDS, TCL_LIMIT_TIME}) {
        if (Tcl_LimitTypeEnabled(interp, type) != 0) {
            commands = std::max(commands, std::min(Tcl_LimitGetGranularity(interp, type), most));
        }
    }
    for (int i = 0; i < commands; ++i) {
        if (Tcl_LimitReady(interp) != 0 && Tcl_LimitCheck(interp) != TCL_OK) {
            return TCL_ERROR;
        }
    }
    return TCL_OK;
}

// What the interpreter would do before its next command. A call of no words is none, but
// the interpreter looks first whether it has been deleted or cancelled. (Cancellation came
// with Tcl 8.6; a function of its own could not be named with 8.5.)
int check_interpreter(Tcl_Interp* interp)
{
    if (Tcl_AsyncReady() != 0 && Tcl_AsyncInvoke(interp, TCL_OK) == TCL_ERROR) {
        return TCL_ERROR;
    }
    return check_limits(interp) == TCL_OK ? Tcl_EvalObjv(interp, 0, nullptr, 0) : TCL_ERROR;
}

} // namespace

} // namespace morvel

extern "C" int morvelMayGoOn(Tcl_Interp* interp)
{
    if (!morvel::start(interp)) {
        return TCL_ERROR;
    }
    const Tcl_InterpState before = Tcl_SaveInterpState(interp, TCL_OK);
    if (morvel::check_interpreter(interp) == TCL_OK) {
        return Tcl_RestoreInterpState(interp, before);
    }
    Tcl_DiscardInterpState(before);
    return TCL_ERROR;
}

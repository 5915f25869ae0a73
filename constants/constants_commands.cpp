// zavo_constant name ?unit?

#include "core/zavo.h"
#include "ext/conventions.hpp"

// Words behind the unit are ignored.
int zavo::ext::constant_command(ClientData, Tcl_Interp* interp, int argc, const char* argv[])
{
    if (argc < 2) {
        return usage(interp, argv[0], " name [unit]");
    }
    const float value = zavo_f_constant(argv[1], argc > 2 ? argv[2] : nullptr);
    if (zavo_error_result(interp)) {
        return TCL_ERROR;
    }
    Tcl_SetDoubleObj(own_result(interp), value);
    return TCL_OK;
}

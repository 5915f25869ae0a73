// zavo_constant name ?unit?

#include "constants/tables.hpp"
#include "core/errors/error_stack.h"
#include "core/zavo.h"
#include "ext/conventions.hpp"

// Words behind the unit are ignored.
int zavo::ext::constant_command(ClientData, Tcl_Interp* interp, int argc, const char* argv[])
{
    if (argc < 2) {
        return usage(interp, argv[0], " name [unit]");
    }
    if (argc == 2) { // without the frame of a routine that cannot fail
        if (const constants::ConstantRow* const row = constants::find_constant_as_written(argv[1])) {
            core::clear_queries();
            Tcl_SetDoubleObj(own_result(interp), row->value);
            return TCL_OK;
        }
    }
    const float value = zavo_f_constant(argv[1], argc > 2 ? argv[2] : nullptr);
    if (zavo_error_result(interp)) {
        return TCL_ERROR;
    }
    Tcl_SetDoubleObj(own_result(interp), value);
    return TCL_OK;
}

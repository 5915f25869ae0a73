#include "tests/support/zavox_commands.hpp"

#include "zavox/zavox.hpp"

bool support::add_zavox_commands(Tcl_Interp* interp)
{
    if (Tcl_InitStubs(interp, "8.5", 0) == nullptr) {
        return false;
    }
    Tcl_CreateNamespace(interp, "::zavox", nullptr, nullptr);
    Tcl_CreateObjCommand(interp, "::zavox::calc", zavox::calc_command, nullptr, nullptr);
    Tcl_CreateObjCommand(interp, "::zavox::vector", zavox::vector_command, nullptr, nullptr);
    return true;
}

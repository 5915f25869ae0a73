#include "tests/support/zavox_values.hpp"

#include "zavox/zavox.hpp"

bool support::add_zavox_values(Tcl_Interp* interp)
{
    if (Tcl_InitStubs(interp, "8.5", 0) == nullptr) {
        return false;
    }
    Tcl_CreateNamespace(interp, "::zavox", nullptr, nullptr);
    Tcl_CreateObjCommand(interp, "::zavox::random", zavox::random_command, nullptr, nullptr);
    Tcl_CreateObjCommand(interp, "::zavox::days", zavox::days_command, nullptr, nullptr);
    Tcl_CreateObjCommand(interp, "::zavox::date", zavox::date_command, nullptr, nullptr);
    return true;
}

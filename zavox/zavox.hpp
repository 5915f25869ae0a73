// What the files of the package share: the engine and the command procedures.
#pragma once

#include "zavox/engine.hpp"

#include <morvel.h>
#include <tcl.h>

namespace zavox {

using Command = int(ClientData, Tcl_Interp*, int objc, Tcl_Obj* const objv[]);

// One procedure a command of the namespace; a command with subcommands is one
// procedure, too (see Subcommand in arguments.hpp).
Command calc_command, vector_command;
Command constant_command, convert_command, date_command, days_command, units_command;
Command convolve_command, correlate_command, fft_command, spectrum_command;
Command minimize_command, random_command, release_command;

// The tables that fft and its like keep for an interpreter, set aside while a script runs
// in the middle of one of them, which uses them.
class OwnTables {
public:
    OwnTables(Tcl_Interp* interp, bool in_use);
    ~OwnTables();
    OwnTables(const OwnTables&) = delete;
    OwnTables& operator=(const OwnTables&) = delete;

private:
    Tcl_Interp* interp_; // null where nothing is set aside
    void* tables_ = nullptr;
};

} // namespace zavox

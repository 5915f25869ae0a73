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

} // namespace zavox

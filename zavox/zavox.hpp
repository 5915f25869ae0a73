// What the files of the package share: the engine and the command procedures.
#pragma once

#include "ext/engine.h"

#include <morvel.h>
#include <tcl.h>

namespace zavox {

// The table of the module's library; the same for every interpreter.
const zavo_engine& engine();

using Command = int(ClientData, Tcl_Interp*, int objc, Tcl_Obj* const objv[]);

// One procedure a command of the namespace; a command with subcommands is one
// procedure, too (see Subcommand in arguments.hpp).
Command vector_command;

} // namespace zavox

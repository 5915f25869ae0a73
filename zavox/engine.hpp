// The engine, for the files of the package that see no Tcl.
#pragma once

#include "ext/engine.h"

namespace zavox {

// The table of the module's library; the same for every interpreter.
const zavo_engine& engine();

} // namespace zavox

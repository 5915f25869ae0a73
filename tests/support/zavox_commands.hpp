// The commands of zavox in a program of its own, whose allocations can be made to
// fail and whose expressions come from a fuzzer.
#pragma once

#include <tcl.h>

namespace support {

// Adds zavox::calc and zavox::vector; false when the interpreter is too old.
bool add_zavox_commands(Tcl_Interp* interp);

} // namespace support

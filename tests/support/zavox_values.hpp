// The commands of zavox that read values of a form of their own, in a program whose
// input comes from a fuzzer.
#pragma once

#include <tcl.h>

namespace support {

// Adds zavox::random, zavox::days and zavox::date; false when the interpreter is
// too old.
bool add_zavox_values(Tcl_Interp* interp);

} // namespace support

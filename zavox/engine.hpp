// The engine, for the files of the package that see no Tcl.
#pragma once

#include "core/simd/path.hpp"
#include "ext/engine.h"

namespace zavox {

// The table of the module's library; the same for every interpreter.
const zavo_engine& engine();

// The engine's path: what the processor has, or less where a test forces it.
inline zavo::simd::Path path_in_use()
{
    return static_cast<zavo::simd::Path>(engine().path_in_use());
}

} // namespace zavox

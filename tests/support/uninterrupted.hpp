// Long work for tables of the engine that stand in for the module's: nobody ends it.
#pragma once

#include "ext/engine.h"

namespace support {

inline void add_long_work(zavo_engine* parts)
{
    parts->long_work_begin = [](zavo_long_work* work, Tcl_Interp*) { *work = {}; };
    parts->long_work_ended = [](long long) { return 0; };
    parts->long_work_end = [](zavo_long_work*, int status) { return status; };
}

} // namespace support

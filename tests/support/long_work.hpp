// Long work for tables of the engine that stand in for the module's: nobody ends it,
// unless a test does.
#pragma once

#include "ext/engine.h"

namespace support {

// The first question that is answered with yes, as all after it are; 0: none.
inline long ended_at_question = 0;

inline void add_long_work(zavo_engine* parts)
{
    parts->long_work_begin = [](zavo_long_work* work, Tcl_Interp*) { *work = {}; };
    parts->long_work_ended = [](long long) {
        if (ended_at_question > 1) {
            --ended_at_question;
            return 0;
        }
        return ended_at_question == 1 ? 1 : 0;
    };
    parts->long_work_end = [](zavo_long_work*, int status) { return status; };
}

// Calls work() with the first question answered with yes, then the second and so on, until
// it is true; the number of those that ended it.
template <class Work>
int endings_until_done(Work&& work)
{
    for (int endings = 0;; ++endings) {
        ended_at_question = endings + 1;
        const bool done = work();
        ended_at_question = 0;
        if (done) {
            return endings;
        }
    }
}

} // namespace support

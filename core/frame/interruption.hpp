// Ending long work early. Who calls routines and may have to stop them, such as a
// command of an interpreter, sets a question for its thread; loops of more than about
// a tenth of a second count what they do and leave when the answer is yes. Whoever
// called them leaves as well, by plain returns: what each of them owns is released,
// and what it has made so far is worth nothing. A frame's run() says then that its
// worker has not finished, as after a fault, but no error is posted.
//
// Nobody asks where no question is set, as in programs that call the library.
#pragma once

#include <cstdint>

namespace zavo::core {

struct Interruption {
    // Whether the work is to end. It may run code of the host's, which may call the
    // library; the question does not stand meanwhile.
    using Ask = bool(void* context);

    // About as many nanoseconds.
    static constexpr std::int64_t operations_between_questions = 5'000'000;

    Ask* ask = nullptr;
    void* context = nullptr;
    std::int64_t left = operations_between_questions;
    bool ended = false;
};

// The calling thread's (core/thread_state.cpp). Whoever sets a question puts back what he
// has found.
Interruption& interruption();

// Counts operations of about a nanosecond each and asks when it is time to. True: the
// caller leaves its loop. It is then true for every other loop on the way out.
bool interrupted(std::int64_t operations);
inline bool interrupted()
{
    return interruption().ended;
}

} // namespace zavo::core

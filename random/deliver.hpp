// What the three public deviate routines share.
#pragma once

#include "core/frame/interruption.hpp"
#include "core/thread_state.hpp"

#include <cstdarg>
#include <optional>

namespace zavo::random {

// Fills r with n deviates; untouched: nothing has written to r yet.
using Worker = void(int n, float* r, bool untouched);

// Runs `worker` on n floats of the caller (ZAVO_RETURN_USER) or new ones, under
// the entry frame of the routine `name`, and returns them. Null when nothing was
// generated; after an error of type 4 or above in the worker, null in place of a
// new array; null, too, when an interpreter has ended the batch. `list` holds what
// follows n.
float* deliver_deviates(const char* name, int n, std::va_list list, Worker* worker);

// draw(), which draws n deviates. When a long batch is interrupted the stream goes back to
// where it was, as if nothing had been asked for.
template <class Draw>
void draw_batch(int n, Draw&& draw)
{
    constexpr int interruptible_batch = 1 << 16;
    std::optional<core::StreamState> before;
    if (n >= interruptible_batch) {
        before = core::thread_state().stream;
    }
    draw();
    if (before && core::interrupted()) {
        core::thread_state().stream = *before;
    }
}

} // namespace zavo::random

// What the three public deviate routines share.
#pragma once

#include <cstdarg>

namespace zavo::random {

// Fills r with n deviates; untouched: nothing has written to r yet.
using Worker = void(int n, float* r, bool untouched);

// Runs `worker` on n floats of the caller (ZAVO_RETURN_USER) or new ones, under
// the entry frame of the routine `name`, and returns them. Null when nothing was
// generated; after an error of type 4 or above in the worker, null in place of a
// new array. `list` holds what follows n.
float* deliver_deviates(const char* name, int n, std::va_list list, Worker* worker);

} // namespace zavo::random

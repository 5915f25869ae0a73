// The natural logarithm rounded correctly to double. Libraries differ in the
// last bit of theirs; this one answers the same everywhere. It is the reference
// of the deviates and what the fast kernels fall back on.
#pragma once

namespace zavo::random {

// ln x of a finite, normal x > 0; minus infinity for 0.
double exact_log(double x);

} // namespace zavo::random

// A length for a padded transform.
#pragma once

#include <cstdint>

namespace zavo::fft {

// A number 2^c 3^b 5^a of at least m and below 2m, near m; 2m when there is none, and
// for m < 1. The search is not exhaustive: for each a and b only the rounded exponent c
// is tried. 7 -> 8, 10 -> 10, 11 -> 12, 17 -> 18, 1 -> 1.
std::int64_t padded_length(std::int64_t m);

} // namespace zavo::fft

// Sums of many floats. What they give when the command was interrupted is of no use.
#pragma once

namespace zavox {

// The sum of n floats, rounded to double once. NaN when an element is, or both
// infinities occur; 0 for none.
double sum_of(const float* x, int n);

// The sums of (x - mean)^2 and of x y, in double: within about 1e-14 of their sizes.
double squares_about(const float* x, int n, double mean);
double product_of(const float* x, const float* y, int n);

} // namespace zavox

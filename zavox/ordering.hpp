// Putting floats in order: sorting, extremes, quantiles. A NaN is larger than
// every number here.
#pragma once

namespace zavox {

// The indices 0 ... n-1 in the order of the floats they stand for, equal ones (0
// and -0 are) in the order of their places; NaNs are last, also when `decreasing`.
// False when memory is short or the command was interrupted.
[[nodiscard]] bool sort_indices(const float* x, int n, bool decreasing, int* indices);

// The first place of a NaN; n when there is none.
int place_of_nan(const float* x, int n);

// The first place of the least or greatest element, n > 0; of the first NaN when
// there is one. A place of no use when the command was interrupted.
int place_of_minimum(const float* x, int n);
int place_of_maximum(const float* x, int n);

// The p-quantile, 0 <= p <= 1, between the order statistics of n > 0 elements
// (type 7 of R. Hyndman and Y. Fan, "Sample quantiles in statistical packages",
// 1996); NaN when one of them is. A number of no use when the command was interrupted.
double quantile_of(const float* x, int n, double p);

} // namespace zavox

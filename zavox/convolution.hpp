// Convolution and correlation of two records of reals, as much of the full result
// as is asked for.
#pragma once

#include "zavox/fourier.hpp"

#include <cstdint>

namespace zavox {

enum class Part { full, same, valid, circular };

// How many values the part has: nx + ny - 1, max, max - min + 1, max of nx and ny.
std::int64_t part_length(Part part, int nx, int ny);

// z = the part of  full[k] = sum over j of x[j] y[k - j],  k = 0 ... nx + ny - 2:
// same from k = (min - 1) / 2 on, valid from k = min - 1 on; circular: full[k] +
// full[k + max]. nx, ny >= 1; z does not overlap x or y. False when memory is
// short, the transforms would be longer than an int says or the command is interrupted.
//
// Each of the products that the shorter record takes part in is summed directly
// when it is short, else through transforms of pieces of the longer one (overlap
// save: T. G. Stockham, "High-speed convolution and correlation", 1966).
[[nodiscard]] bool convolve(Fourier& fourier, Part part, int nx, const float* x, int ny, const float* y,
                            float* z);

// The same for  full[k] = sum over j of x[j + k - (ny - 1)] y[j]; circular: of
// x[(j + k) mod max] y[j], both padded with zeros.
[[nodiscard]] bool correlate(Fourier& fourier, Part part, int nx, const float* x, int ny, const float* y,
                             float* z);

// Up to this length of the shorter record the sums are direct.
inline constexpr int direct_limit = 64;

// The direct sums: out[i] = sum over j < nh of h[j] a[first + i - j], with a 0
// outside its na values; the terms in the order of j, in single precision. False when
// interrupted.
[[nodiscard]] bool direct_sums(int na, const float* a, int nh, const float* h, std::int64_t first,
                               std::int64_t count, float* out);

} // namespace zavox

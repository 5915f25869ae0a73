// Cosines and sines that are the same on every target.
#pragma once

namespace zavo::fft {

struct CosSin {
    float cos;
    float sin;
};

// cos and sin of x, taken in double and rounded to float: the float nearest to
// the correctly rounded double, whatever C library the program runs with.
// 0 <= x <= 7.
CosSin cos_sin(double x);

// The rotation by one of ip slots of a general pass; its angle is kept as a float.
CosSin rotation_of(int ip);

// Stores (cos, sin) of t * step for t = first .. first + count - 1 as pairs at
// `pairs`; the products are exact in double. 0 <= t * step <= 7.
void fill_cos_sin(float step, int first, int count, float* pairs);

} // namespace zavo::fft

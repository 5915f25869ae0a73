#include "fft/tables/padded_length.hpp"

#include "core/kernels/vector_kernels.h"

#include <cmath>

namespace zavo::fft {

namespace {

int nearest(double v)
{
    return static_cast<int>(v >= 0.0 ? v + 0.5 : v - 0.5);
}

// Rounded logarithm of v to the base p. No quotient of an integer and powers of
// 3 and 5 comes near enough to the geometric mean of two powers for the last bits
// of a C library's logarithm to matter.
int nearest_power(double v, double p)
{
    return nearest(std::log(v) / std::log(p));
}

} // namespace

std::int64_t padded_length(std::int64_t m)
{
    if (m < 1) {
        return 2 * m; // there is nothing to pad, and no logarithm
    }
    const double target = static_cast<double>(m);
    std::int64_t best = 2 * m;
    for (int a = 0; a <= nearest_power(target, 5.0); ++a) {
        const double fives = static_cast<double>(l_fpowi(5.0F, a));
        for (int b = 0; b <= nearest_power(target / fives, 3.0); ++b) {
            const double threes = static_cast<double>(l_fpowi(3.0F, b));
            const int last = nearest_power(target / fives / threes, 2.0);
            for (int c = nearest_power(target / (threes * fives), 2.0); c <= last; ++c) {
                const double product = static_cast<double>(l_fpowi(2.0F, c)) * threes * fives;
                const std::int64_t candidate = static_cast<std::int64_t>(product);
                if (m <= candidate && candidate < best) {
                    best = candidate;
                }
                if (best == m) {
                    return best;
                }
            }
        }
    }
    return best;
}

} // namespace zavo::fft

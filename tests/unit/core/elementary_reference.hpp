// The elementary functions beside those of the C library in long double.
#pragma once

#include "core/kernels/elementary.hpp"

#include <bit>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>

namespace zavo::test {

namespace elementary = zavo::core::elementary;
inline constexpr double inf = std::numeric_limits<double>::infinity();
inline constexpr double nan = std::numeric_limits<double>::quiet_NaN();

struct Function {
    const char* name;
    double (*ours)(double);
    long double (*reference)(long double);
    // The C library of Windows reduces arguments by a pi of 66 bits only.
    double reference_limit;
};
inline constexpr Function functions[] = {
    {"sin", elementary::sin, sinl, 100.0},  {"cos", elementary::cos, cosl, 100.0},
    {"exp", elementary::exp, expl, inf},    {"log", elementary::log, logl, inf},
    {"sinh", elementary::sinh, sinhl, inf}, {"cosh", elementary::cosh, coshl, inf},
};

// Distance from the exact value in units of the last place of a double.
inline double ulps(double value, long double exact)
{
    const auto rounded = static_cast<double>(exact);
    if (std::isnan(rounded)) {
        return std::isnan(value) ? 0 : inf;
    }
    if (std::isinf(rounded) || rounded == 0) {
        return value == rounded ? 0 : inf;
    }
    const double unit = std::fabs(rounded) < std::numeric_limits<double>::min()
                            ? std::numeric_limits<double>::denorm_min()
                            : std::ldexp(1.0, std::ilogb(rounded) - 52);
    return static_cast<double>(std::fabs((value - exact) / unit));
}

// Floats of all sizes: every step-th bit pattern.
inline void check_floats(std::uint64_t step)
{
    for (const Function& function : functions) {
        double worst = 0;
        float worst_x = 0;
        for (std::uint64_t i = 0; i < (std::uint64_t{1} << 32); i += step) {
            const float x = std::bit_cast<float>(static_cast<std::uint32_t>(i));
            if (std::fabs(x) > function.reference_limit) {
                continue;
            }
            const double error = ulps(function.ours(x), function.reference(x));
            if (error > worst) {
                worst = error;
                worst_x = x;
            }
        }
        EXPECT_LT(worst, elementary::max_error_ulp) << function.name << " at " << worst_x;
    }
}

} // namespace zavo::test

// Coefficients of Taylor series, computed by the compiler: exact factorials and odd
// numbers, and one rounded division each.
#pragma once

#include <array>
#include <cstddef>

namespace zavo::core::series {

constexpr double factorial(int n)
{
    double product = 1;
    for (int i = 2; i <= n; ++i) {
        product *= i;
    }
    return product;
}

// 1/first!, 1/(first+step)!, ... with alternating signs when `alternate`.
template <std::size_t count>
constexpr std::array<double, count> reciprocal_factorials(int first, int step, bool alternate)
{
    std::array<double, count> c{};
    for (std::size_t i = 0; i < count; ++i) {
        const double sign = alternate && i % 2 != 0 ? -1.0 : 1.0;
        c[i] = sign / factorial(first + static_cast<int>(i) * step);
    }
    return c;
}

// 1/first, 1/(first+2), ... with alternating signs when `alternate`.
template <std::size_t count>
constexpr std::array<double, count> reciprocal_odd_numbers(int first, bool alternate)
{
    std::array<double, count> c{};
    for (std::size_t i = 0; i < count; ++i) {
        const double sign = alternate && i % 2 != 0 ? -1.0 : 1.0;
        c[i] = sign / (2.0 * static_cast<double>(i) + first);
    }
    return c;
}

} // namespace zavo::core::series

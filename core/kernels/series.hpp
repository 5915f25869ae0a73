// What the elementary functions are computed with, here and in zavox. Coefficients of
// Taylor series come from the compiler: exact factorials and odd numbers, and one rounded
// division each.
#pragma once

#include <array>
#include <cstddef>

namespace zavo::core::series {

// ln 2 = high + low to 2^-102; the high part has 42 bits, so that its products with
// exponents are exact.
inline constexpr double ln2_high = 0x1.62e42fefa3800p-1;
inline constexpr double ln2_low = 0x1.ef35793c76730p-45;
inline constexpr double one_over_ln2 = 0x1.71547652b82fep+0;

// atan(i / 8).
inline constexpr std::array<double, 9> atan_of_eighths = {0.0,
                                                          0x1.fd5ba9aac2f6ep-4,
                                                          0x1.f5b75f92c80ddp-3,
                                                          0x1.6f61941e4def1p-2,
                                                          0x1.dac670561bb4fp-2,
                                                          0x1.1e00babdefeb4p-1,
                                                          0x1.4978fa3269ee1p-1,
                                                          0x1.700a7c5784634p-1,
                                                          0x1.921fb54442d18p-1};

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

#include "zavox/wide/kernels.hpp"

#include "zavox/engine.hpp"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace zavox::wide {

extern const Kernels base_kernels;
#if defined(ZAVO_X86_PATHS)
extern const Kernels avx2_kernels;
extern const Kernels avx512_kernels;
#endif

namespace {

// Digits of a finite number above zero: mantissa * 2^exponent with the mantissa's
// bit 52 set.
struct Digits {
    std::uint64_t mantissa;
    int exponent;
};

Digits digits_of(double x)
{
    const auto bits = std::bit_cast<std::uint64_t>(x);
    std::uint64_t mantissa = bits & 0xFFFFFFFFFFFFFU;
    int exponent = static_cast<int>(bits >> 52) - 1075;
    if (exponent == -1075) {
        exponent = -1074;
        const int shift = std::countl_zero(mantissa) - 11;
        mantissa <<= shift;
        exponent -= shift;
    } else {
        mantissa |= 0x10000000000000U;
    }
    return {mantissa, exponent};
}

} // namespace

const Kernels& kernels()
{
#if defined(ZAVO_X86_PATHS)
    const zavo::simd::Path path = path_in_use();
    if (path >= zavo::simd::Path::avx512) {
        return avx512_kernels;
    }
    if (path >= zavo::simd::Path::avx2) {
        return avx2_kernels;
    }
#endif
    return base_kernels;
}

// Long division in binary, bit by bit: exact.
double exact_fmod(double x, double y)
{
    if (std::isnan(x) || std::isnan(y) || std::isinf(x) || y == 0) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    const double size = std::fabs(x);
    const double divisor = std::fabs(y);
    if (size < divisor) {
        return x;
    }
    const Digits b = digits_of(divisor);
    Digits a = digits_of(size);
    for (; a.exponent > b.exponent; --a.exponent) {
        if (a.mantissa >= b.mantissa) {
            a.mantissa -= b.mantissa;
        }
        a.mantissa <<= 1;
    }
    if (a.mantissa >= b.mantissa) {
        a.mantissa -= b.mantissa;
    }
    // Exact: the remainder has no more digits than the divisor.
    const auto scaled = static_cast<double>(a.mantissa);
    return std::copysign(
        b.exponent < -1000
            ? scaled * 0x1p-1000 *
                  std::bit_cast<double>(static_cast<std::uint64_t>(b.exponent + 1000 + 1023) << 52)
            : scaled * std::bit_cast<double>(static_cast<std::uint64_t>(b.exponent + 1023) << 52),
        x);
}

double large_sin(double x)
{
    return engine().sin(x);
}

double large_cos(double x)
{
    return engine().cos(x);
}

double large_tan(double x)
{
    return engine().sin(x) / engine().cos(x);
}

// By halves.
double sum_of_parts(const double* parts)
{
    double part[partial_sums];
    for (int i = 0; i < partial_sums; ++i) {
        part[i] = parts[i];
    }
    for (int n = partial_sums / 2; n > 0; n /= 2) {
        for (int i = 0; i < n; ++i) {
            part[i] += part[i + n];
        }
    }
    return part[0];
}

} // namespace zavox::wide

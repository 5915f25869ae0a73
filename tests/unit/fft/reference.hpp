// Slow transforms from the definition, in double, and seeded test data.
#pragma once

#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <vector>

namespace zavo::test {

using Complex = std::complex<double>;

// Deterministic values in -1 .. 1 with full mantissas.
inline std::vector<float> noise(int count, std::uint64_t seed)
{
    std::vector<float> values(static_cast<std::size_t>(count));
    std::uint64_t state = seed * 0x9E3779B97F4A7C15U + 0x1234567U;
    for (float& value : values) {
        state = state * 6364136223846793005U + 1442695040888963407U;
        value =
            static_cast<float>(static_cast<std::int64_t>(state >> 11) - (std::int64_t{1} << 52)) / 0x1p52F;
    }
    return values;
}

// exp(+-2 pi i m / n); m is reduced first so that the angle is exact to a unit.
inline Complex unit_root(std::int64_t m, std::int64_t n, int sign)
{
    constexpr double two_pi = 6.283185307179586476925286766559;
    const double angle = two_pi * static_cast<double>(m % n) / static_cast<double>(n);
    return {std::cos(angle), sign * std::sin(angle)};
}

inline std::vector<Complex> naive_dft(const std::vector<Complex>& x, int sign)
{
    const auto n = static_cast<std::int64_t>(x.size());
    std::vector<Complex> roots, result(x.size());
    for (std::int64_t m = 0; m < n; ++m) {
        roots.push_back(unit_root(m, n, sign));
    }
    for (std::int64_t k = 0; k < n; ++k) {
        for (std::int64_t j = 0; j < n; ++j) {
            result[static_cast<std::size_t>(k)] +=
                x[static_cast<std::size_t>(j)] * roots[static_cast<std::size_t>(j * k % n)];
        }
    }
    return result;
}

// Packed layout of a real sequence's spectrum, and the full spectrum back.
inline std::vector<double> pack(const std::vector<Complex>& c)
{
    const std::size_t n = c.size();
    std::vector<double> r{c[0].real()};
    for (std::size_t k = 1; k <= (n - 1) / 2; ++k) {
        r.push_back(c[k].real());
        r.push_back(c[k].imag());
    }
    if (n % 2 == 0) {
        r.push_back(c[n / 2].real());
    }
    return r;
}

inline std::vector<Complex> unpack(const std::vector<float>& r)
{
    const std::size_t n = r.size();
    std::vector<Complex> c(n);
    c[0] = r[0];
    for (std::size_t k = 1; k <= (n - 1) / 2; ++k) {
        c[k] = {r[2 * k - 1], r[2 * k]};
        c[n - k] = std::conj(c[k]);
    }
    if (n % 2 == 0) {
        c[n / 2] = r[n - 1];
    }
    return c;
}

inline std::vector<Complex> to_complex(const std::vector<float>& x)
{
    return {x.begin(), x.end()};
}

inline std::vector<double> real_parts(const std::vector<Complex>& c)
{
    std::vector<double> r;
    for (const Complex& z : c) {
        r.push_back(z.real());
    }
    return r;
}

// L2 norm of the difference over that of the expected values.
template <class Found, class Expected>
double relative_error(const Found* found, const std::vector<Expected>& expected)
{
    double error = 0.0, size = 0.0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const double d = static_cast<double>(found[i]) - static_cast<double>(expected[i]);
        error += d * d;
        size += static_cast<double>(expected[i]) * static_cast<double>(expected[i]);
    }
    return size == 0.0 ? std::sqrt(error) : std::sqrt(error / size);
}

// The promised accuracy for lengths made of 2, 3 and 5: relative L2 error.
inline double error_limit(double n)
{
    return 4e-7 * std::log2(n < 2.0 ? 2.0 : n);
}

inline bool is_smooth(int n)
{
    for (const int p : {2, 3, 5}) {
        while (n % p == 0) {
            n /= p;
        }
    }
    return n == 1;
}

} // namespace zavo::test

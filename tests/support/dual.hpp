// Numbers that carry derivatives along: a value and its gradient with respect to
// up to 12 variables. Test problems are written once, for double and for Dual.
#pragma once

#include <array>
#include <cmath>

namespace zavo::test {

struct Dual {
    static constexpr int most = 12;
    double v = 0.0;
    std::array<double, most> d{};

    Dual() = default;
    Dual(double value) : v(value) {}
    static Dual variable(double value, int i)
    {
        Dual x(value);
        x.d[static_cast<std::size_t>(i)] = 1.0;
        return x;
    }
};

// value and derivative of an outer function at x.
inline Dual chain(const Dual& x, double value, double slope)
{
    Dual y(value);
    for (int i = 0; i < Dual::most; ++i) {
        y.d[i] = slope * x.d[i];
    }
    return y;
}

inline Dual combine(double value, const Dual& a, double slope_a, const Dual& b, double slope_b)
{
    Dual y(value);
    for (int i = 0; i < Dual::most; ++i) {
        y.d[i] = slope_a * a.d[i] + slope_b * b.d[i];
    }
    return y;
}

inline Dual operator+(const Dual& a, const Dual& b)
{
    return combine(a.v + b.v, a, 1.0, b, 1.0);
}
inline Dual operator-(const Dual& a, const Dual& b)
{
    return combine(a.v - b.v, a, 1.0, b, -1.0);
}
inline Dual operator-(const Dual& a)
{
    return chain(a, -a.v, -1.0);
}
inline Dual operator*(const Dual& a, const Dual& b)
{
    return combine(a.v * b.v, a, b.v, b, a.v);
}
inline Dual operator/(const Dual& a, const Dual& b)
{
    return combine(a.v / b.v, a, 1.0 / b.v, b, -a.v / (b.v * b.v));
}
inline Dual& operator+=(Dual& a, const Dual& b)
{
    return a = a + b;
}
inline Dual& operator*=(Dual& a, const Dual& b)
{
    return a = a * b;
}

inline Dual exp(const Dual& x)
{
    return chain(x, std::exp(x.v), std::exp(x.v));
}
inline Dual log(const Dual& x)
{
    return chain(x, std::log(x.v), 1.0 / x.v);
}
inline Dual sqrt(const Dual& x)
{
    return chain(x, std::sqrt(x.v), 0.5 / std::sqrt(x.v));
}
inline Dual sin(const Dual& x)
{
    return chain(x, std::sin(x.v), std::cos(x.v));
}
inline Dual cos(const Dual& x)
{
    return chain(x, std::cos(x.v), -std::sin(x.v));
}
inline Dual fabs(const Dual& x)
{
    return chain(x, std::fabs(x.v), x.v < 0.0 ? -1.0 : 1.0);
}
inline Dual atan(const Dual& x)
{
    return chain(x, std::atan(x.v), 1.0 / (1.0 + x.v * x.v));
}
// Base above 0.
inline Dual pow(const Dual& x, const Dual& y)
{
    return exp(y * log(x));
}

inline double value_of(double x)
{
    return x;
}
inline double value_of(const Dual& x)
{
    return x.v;
}

} // namespace zavo::test

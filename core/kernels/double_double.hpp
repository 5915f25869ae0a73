// Double-double arithmetic: a number as the unevaluated sum high + low, with |low| at most
// half an ulp of high.
//   T. J. Dekker, "A floating-point technique for extending the available precision",
//   Numer. Math. 18 (1971); the sum of any two doubles: D. E. Knuth.
#pragma once

namespace zavo::core::double_double {

struct Pair {
    double high;
    double low;
};

// a + b exactly, for |a| >= |b| or a = 0.
constexpr Pair quick_two_sum(double a, double b)
{
    const double sum = a + b;
    return {sum, b - (sum - a)};
}

// a + b exactly.
constexpr Pair two_sum(double a, double b)
{
    const double sum = a + b;
    const double part = sum - a;
    return {sum, (a - (sum - part)) + (b - part)};
}

// Upper 26 bits of a, and the rest.
constexpr Pair split(double a)
{
    const double scaled = 134217729.0 * a; // 2^27 + 1
    const double high = scaled - (scaled - a);
    return {high, a - high};
}

// a b exactly, unless it overflows or falls below the normal range.
constexpr Pair two_product(double a, double b)
{
    const double product = a * b;
    const Pair p = split(a);
    const Pair q = split(b);
    return {product, ((p.high * q.high - product) + p.high * q.low + p.low * q.high) + p.low * q.low};
}

constexpr Pair operator*(Pair a, Pair b)
{
    const Pair product = two_product(a.high, b.high);
    return quick_two_sum(product.high, product.low + (a.high * b.low + a.low * b.high));
}

// Of numbers that do not cancel each other.
constexpr Pair operator+(Pair a, Pair b)
{
    const Pair high = two_sum(a.high, b.high);
    const Pair low = two_sum(a.low, b.low);
    const Pair sum = quick_two_sum(high.high, high.low + low.high);
    return quick_two_sum(sum.high, sum.low + low.low);
}

// The same of any two.
constexpr Pair sum_of_any(Pair a, Pair b)
{
    const Pair high = two_sum(a.high, b.high);
    const Pair low = two_sum(a.low, b.low);
    const Pair sum = two_sum(high.high, high.low + low.high);
    return two_sum(sum.high, sum.low + low.low);
}

} // namespace zavo::core::double_double

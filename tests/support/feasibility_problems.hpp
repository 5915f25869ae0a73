// Random constraints around a known point, to see whether a feasible point is found.
#pragma once

#include "core/zavo.h"
#include "tests/support/captured_errors.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <vector>

namespace zavo::test {

inline constexpr float infinite = std::numeric_limits<float>::infinity();

class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}
    double uniform() { return static_cast<double>(next()) / 4294967296.0; }
    int below(int n) { return static_cast<int>(next() % static_cast<std::uint32_t>(n)); }
    int between(int low, int high) { return low + below(high - low + 1); }
    double normal() // nearly
    {
        double sum = -6;
        for (int i = 0; i < 12; ++i) {
            sum += uniform();
        }
        return sum;
    }

private:
    std::uint32_t next()
    {
        state_ = state_ * 6364136223846793005U + 1442695040888963407U;
        return static_cast<std::uint32_t>(state_ >> 32);
    }
    std::uint64_t state_;
};

struct Constraints {
    int n = 0;
    int ncon = 0;
    int neq = 0;
    std::vector<float> a, b, lower, upper, start;
};

// The objective: a sum of weighted squares around a centre.
inline std::vector<double> centre;
inline void bowl(int n, float* x, float* f)
{
    double sum = 0;
    for (int i = 0; i < n; ++i) {
        sum += (1 + i % 3) * (x[i] - centre[static_cast<std::size_t>(i)]) *
               (x[i] - centre[static_cast<std::size_t>(i)]);
    }
    *f = static_cast<float>(sum);
}
inline void bowl_gradient(int n, float* x, float* g)
{
    for (int i = 0; i < n; ++i) {
        g[i] = static_cast<float>(2 * (1 + i % 3) * (x[i] - centre[static_cast<std::size_t>(i)]));
    }
}

// Rows of one of four kinds: any numbers, small integers, rows of different
// lengths, sparse ones. A third of the inequalities and some bounds are met
// exactly; some equalities follow from others. far: size of the start, 0 for near.
inline Constraints around_a_point(Random& random, bool large, double far)
{
    Constraints c;
    c.n = large ? 15 : random.between(1, 8);
    c.ncon = large ? 39 : random.between(0, 12);
    c.neq = std::min(c.ncon, random.below(large ? 8 : c.n));
    const int kind = random.below(4);
    const double sizes[] = {1, 10, 100};
    const double size = sizes[random.below(3)];
    std::vector<double> point;
    for (int j = 0; j < c.n; ++j) {
        point.push_back(static_cast<float>(kind == 1 ? random.between(-5, 5) : size * random.normal()));
    }
    const double lengths[] = {0.01, 0.1, 1, 10, 100};
    for (int k = 0; k < c.ncon; ++k) {
        const double length = kind == 2 ? lengths[random.below(5)] : 1;
        const bool follows = k > 1 && k < c.neq && random.below(12) == 0;
        const int one = random.below(std::max(k, 1));
        const int other = random.below(std::max(k, 1));
        double left = 0;
        for (int j = 0; j < c.n; ++j) {
            double element = kind == 1 ? random.between(-5, 5) : length * random.normal();
            element = kind == 3 && random.uniform() < 0.6 ? 0 : element;
            if (follows) {
                element = 2.0 * c.a[one * c.n + j] + c.a[other * c.n + j];
            }
            c.a.push_back(static_cast<float>(element));
            left += static_cast<double>(c.a.back()) * point[static_cast<std::size_t>(j)];
        }
        const double slack =
            random.below(3) == 0 ? 0 : random.uniform() * size * (random.below(2) != 0 ? 1 : 0.01);
        c.b.push_back(static_cast<float>(left + (k < c.neq ? 0 : slack)));
    }
    centre.clear();
    for (const double at : point) {
        const int bounds = random.below(5);
        const auto exact = static_cast<float>(at);
        float lower =
            bounds == 0 || bounds == 2 ? static_cast<float>(at - random.uniform() * size) : -infinite;
        float upper =
            bounds == 1 || bounds == 2 ? static_cast<float>(at + random.uniform() * size) : infinite;
        if (bounds == 3) {
            lower = exact;
        } else if (bounds == 4 && random.below(4) == 0) {
            lower = upper = exact;
        }
        c.lower.push_back(lower);
        c.upper.push_back(upper);
        c.start.push_back(static_cast<float>((far > 0 ? far : size * random.below(2)) * random.normal()));
        centre.push_back(size * random.normal());
    }
    return c;
}

// Worst violation of a row, relative to the sum of the magnitudes in it. Variables
// count at least a hundredth of the greatest, and of the start; `least` is added to
// the sum.
inline double worst_violation(const Constraints& c, const float* x, double least)
{
    double greatest = 0;
    for (int j = 0; j < c.n; ++j) {
        greatest = std::fmax(greatest, std::fmax(std::fabs(x[j]), 1e-3 * std::fabs(c.start[j])));
    }
    double worst = 0;
    for (int k = 0; k < c.ncon; ++k) {
        double left = -c.b[k];
        double size = std::fabs(c.b[k]);
        double length = 0;
        for (int j = 0; j < c.n; ++j) {
            const double element = c.a[k * c.n + j];
            left += element * x[j];
            size += std::fabs(element * x[j]);
            length += element * element;
        }
        size += 0.01 * std::sqrt(length) * greatest + least;
        worst = std::fmax(worst, (k < c.neq ? std::fabs(left) : left) / size);
    }
    return worst;
}

inline bool called_inconsistent(Constraints& c, double* violation, double least = 1e-30)
{
    float* const x = zavo_f_min_con_gen_lin(bowl, c.n, c.ncon, c.neq, c.a.data(), c.b.data(), c.lower.data(),
                                            c.upper.data(), ZAVO_START_POINT, c.start.data(),
                                            ZAVO_CON_GRADIENT_FUNCTION, bowl_gradient, 0);
    const int code = zavo_error_code(1);
    const bool inconsistent = code >= 8091 && code <= 8093;
    if (x != nullptr && !inconsistent) {
        *violation = std::fmax(*violation, worst_violation(c, x, least));
    }
    std::free(x);
    return inconsistent;
}

inline int count_inconsistent(int runs, bool large, double far, double* violation)
{
    const CapturedErrors errors;
    Random random(large ? 2 : 1);
    int count = 0;
    for (int run = 0; run < runs; ++run) {
        Constraints c = around_a_point(random, large, far);
        count += called_inconsistent(c, violation) ? 1 : 0;
    }
    std::printf("%d of %d feasible problems called inconsistent, worst violation %.2g\n", count, runs,
                *violation);
    return count;
}

} // namespace zavo::test

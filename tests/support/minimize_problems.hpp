// Published test problems for the minimisers, written from the papers:
//   J. J. More, B. S. Garbow, K. E. Hillstrom: Testing unconstrained
//   optimization software, ACM Transactions on Mathematical Software 7 (1981)
//   17-41: the 18 problems of its section on unconstrained minimisation.
//   W. Hock, K. Schittkowski: Test Examples for Nonlinear Programming Codes,
//   Lecture Notes in Economics and Mathematical Systems 187 (1981): problems
//   with bounds and linear constraints, numbered as there.
// and a way to run them: with float arguments or with arguments as a script sees
// them, with difference or user gradients, every evaluation counted.
#pragma once

#include "core/zavo.h"
#include "minimize/free/controls.hpp"
#include "minimize/objective/number_text.hpp"
#include "tests/support/dual.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <map>
#include <numbers>
#include <string>
#include <vector>

namespace zavo::test {

struct Problem {
    const char* name;
    int n;
    std::vector<float> start;
    double optimum;
    double (*value)(const double* x);
    void (*gradient)(const double* x, double* g);
    std::vector<float> sizes{};  // typical sizes of badly scaled variables
    std::vector<double> units{}; // what the function's own variables are multiples of; none: 1
    // a . x = b for the first neq rows, a . x <= b for the others.
    int ncon = 0;
    int neq = 0;
    std::vector<float> a{};
    std::vector<float> b{};
    std::vector<float> xlb{};
    std::vector<float> xub{};
};

template <class Function>
Problem problem(const char* name, std::vector<float> start, double optimum, Function)
{
    const int n = static_cast<int>(start.size());
    return {name,
            n,
            std::move(start),
            optimum,
            [](const double* x) { return Function{}(x); },
            [](const double* x, double* g) {
                Dual at[Dual::most];
                for (int i = 0; i < Dual::most; ++i) {
                    at[i] = Dual::variable(x[i], i);
                }
                const Dual f = Function{}(static_cast<const Dual*>(at));
                for (int i = 0; i < Dual::most; ++i) {
                    g[i] = f.d[static_cast<std::size_t>(i)];
                }
            }};
}

template <class T>
T square(T x)
{
    return x * x;
}

// ---- More, Garbow, Hillstrom -------------------------------------------------

// clang-format off
inline std::vector<Problem> unconstrained_problems()
{
    using std::atan, std::cos, std::exp, std::fabs, std::log, std::pow, std::sin, std::sqrt;
    constexpr double pi = std::numbers::pi;
    std::vector<Problem> all;
    all.push_back(problem("Helical valley", {-1, 0, 0}, 0.0, []<class T>(const T* x) -> T {
        const double x1 = value_of(x[0]);
        const double x2 = value_of(x[1]);
        // On the axis x1 = 0 the arctangent takes its limit.
        const T angle = x1 == 0.0 ? T((x2 < 0.0 ? -0.25 : 0.25)) : atan(x[1] / x[0]) / (2.0 * pi) + (x1 < 0.0 ? 0.5 : 0.0);
        return square(10.0 * (x[2] - 10.0 * angle)) + square(10.0 * (sqrt(x[0] * x[0] + x[1] * x[1]) - 1.0)) + x[2] * x[2];
    }));
    all.push_back(problem("Biggs EXP6", {1, 2, 1, 1, 1, 1}, 0.0, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 1; i <= 13; ++i) {
            const double t = 0.1 * i;
            const double y = std::exp(-t) - 5.0 * std::exp(-10.0 * t) + 3.0 * std::exp(-4.0 * t);
            sum += square(x[2] * exp(-t * x[0]) - x[3] * exp(-t * x[1]) + x[5] * exp(-t * x[4]) - y);
        }
        return sum;
    }));
    all.push_back(problem("Gaussian", {0.4F, 1, 0}, 1.12793e-8, []<class T>(const T* x) -> T {
        constexpr double y[] = {0.0009, 0.0044, 0.0175, 0.0540, 0.1295, 0.2420, 0.3521, 0.3989};
        T sum = 0.0;
        for (int i = 1; i <= 15; ++i) {
            const double t = (8.0 - i) / 2.0;
            sum += square(x[0] * exp(-0.5 * x[1] * square(t - x[2])) - y[i <= 8 ? i - 1 : 15 - i]);
        }
        return sum;
    }));
    all.push_back(problem("Powell badly scaled", {0, 1}, 0.0, []<class T>(const T* x) -> T {
        return square(1e4 * x[0] * x[1] - 1.0) + square(exp(-x[0]) + exp(-x[1]) - 1.0001);
    }));
    all.back().sizes = {1e-5F, 10};
    all.push_back(problem("Box", {0, 10, 20}, 0.0, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 1; i <= 10; ++i) {
            const double t = 0.1 * i;
            sum += square(exp(-t * x[0]) - exp(-t * x[1]) - x[2] * (std::exp(-t) - std::exp(-10.0 * t)));
        }
        return sum;
    }));
    all.push_back(problem("Variably dimensioned", {0.9F, 0.8F, 0.7F, 0.6F, 0.5F, 0.4F, 0.3F, 0.2F, 0.1F, 0}, 0.0, []<class T>(const T* x) -> T {
        T sum = 0.0;
        T weighted = 0.0;
        for (int j = 0; j < 10; ++j) {
            sum += square(x[j] - 1.0);
            weighted += (j + 1.0) * (x[j] - 1.0);
        }
        return sum + square(weighted) + square(square(weighted));
    }));
    all.push_back(problem("Watson", {0, 0, 0, 0, 0, 0}, 2.28767e-3, []<class T>(const T* x) -> T {
        T sum = square(x[0]) + square(x[1] - x[0] * x[0] - 1.0);
        for (int i = 1; i <= 29; ++i) {
            const double t = i / 29.0;
            T derivative = 0.0;
            T value = x[0];
            double power = 1.0;
            for (int j = 1; j < 6; ++j) {
                derivative += j * power * x[j];
                power *= t;
                value += power * x[j];
            }
            sum += square(derivative - value * value - 1.0);
        }
        return sum;
    }));
    all.push_back(problem("Penalty I", {1, 2, 3, 4}, 2.24997e-5, []<class T>(const T* x) -> T {
        T sum = 0.0;
        T squares = -0.25;
        for (int j = 0; j < 4; ++j) {
            sum += 1e-5 * square(x[j] - 1.0);
            squares += x[j] * x[j];
        }
        return sum + square(squares);
    }));
    all.push_back(problem("Penalty II", {0.5F, 0.5F, 0.5F, 0.5F}, 9.37629e-6, []<class T>(const T* x) -> T {
        T sum = square(x[0] - 0.2);
        T weighted = -1.0;
        for (int i = 1; i <= 4; ++i) {
            weighted += (5.0 - i) * x[i - 1] * x[i - 1];
            if (i >= 2) {
                const double y = std::exp(i / 10.0) + std::exp((i - 1) / 10.0);
                sum += 1e-5 * square(exp(x[i - 1] / 10.0) + exp(x[i - 2] / 10.0) - y);
                sum += 1e-5 * square(exp(x[i - 1] / 10.0) - std::exp(-0.1));
            }
        }
        return sum + square(weighted);
    }));
    all.push_back(problem("Brown badly scaled", {1, 1}, 0.0, []<class T>(const T* x) -> T {
        return square(x[0] - 1e6) + square(x[1] - 2e-6) + square(x[0] * x[1] - 2.0);
    }));
    all.back().sizes = {1e6F, 2e-6F};
    all.push_back(problem("Brown and Dennis", {25, 5, -5, -1}, 85822.2, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 1; i <= 20; ++i) {
            const double t = i / 5.0;
            sum += square(square(x[0] + t * x[1] - std::exp(t)) + square(x[2] + x[3] * std::sin(t) - std::cos(t)));
        }
        return sum;
    }));
    all.push_back(problem("Gulf research", {5, 2.5F, 0.15F}, 0.0, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 1; i <= 99; ++i) {
            const double t = i / 100.0;
            const double y = 25.0 + std::pow(-50.0 * std::log(t), 2.0 / 3.0);
            sum += square(exp(-pow(fabs(y - x[1]), x[2]) / x[0]) - t);
        }
        return sum;
    }));
    all.push_back(problem("Trigonometric", {0.1F, 0.1F, 0.1F, 0.1F, 0.1F, 0.1F, 0.1F, 0.1F, 0.1F, 0.1F}, 0.0, []<class T>(const T* x) -> T {
        T cosines = 0.0;
        for (int j = 0; j < 10; ++j) {
            cosines += cos(x[j]);
        }
        T sum = 0.0;
        for (int i = 1; i <= 10; ++i) {
            sum += square(10.0 - cosines + i * (1.0 - cos(x[i - 1])) - sin(x[i - 1]));
        }
        return sum;
    }));
    all.push_back(problem("Rosenbrock, 10 variables", {-1.2F, 1, -1.2F, 1, -1.2F, 1, -1.2F, 1, -1.2F, 1}, 0.0, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < 10; i += 2) {
            sum += 100.0 * square(x[i + 1] - x[i] * x[i]) + square(1.0 - x[i]);
        }
        return sum;
    }));
    all.push_back(problem("Powell singular, 12 variables", {3, -1, 0, 1, 3, -1, 0, 1, 3, -1, 0, 1}, 0.0, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < 12; i += 4) {
            sum += square(x[i] + 10.0 * x[i + 1]) + 5.0 * square(x[i + 2] - x[i + 3]) +
                   square(square(x[i + 1] - 2.0 * x[i + 2])) + 10.0 * square(square(x[i] - x[i + 3]));
        }
        return sum;
    }));
    all.push_back(problem("Beale", {1, 1}, 0.0, []<class T>(const T* x) -> T {
        const T y = x[1];
        return square(1.5 - x[0] * (1.0 - y)) + square(2.25 - x[0] * (1.0 - y * y)) + square(2.625 - x[0] * (1.0 - y * y * y));
    }));
    all.push_back(problem("Wood", {-3, -1, -3, -1}, 0.0, []<class T>(const T* x) -> T {
        return 100.0 * square(x[1] - x[0] * x[0]) + square(1.0 - x[0]) + 90.0 * square(x[3] - x[2] * x[2]) + square(1.0 - x[2]) +
               10.0 * square(x[1] + x[3] - 2.0) + 0.1 * square(x[1] - x[3]);
    }));
    all.push_back(problem("Chebyquad", {1 / 9.0F, 2 / 9.0F, 3 / 9.0F, 4 / 9.0F, 5 / 9.0F, 6 / 9.0F, 7 / 9.0F, 8 / 9.0F}, 3.51687e-3, []<class T>(const T* x) -> T {
        T sums[9] = {};
        for (int j = 0; j < 8; ++j) {
            T before = 1.0;
            T now = 2.0 * x[j] - 1.0;
            for (int i = 1; i <= 8; ++i) {
                sums[i] += now;
                const T next = 2.0 * (2.0 * x[j] - 1.0) * now - before;
                before = now;
                now = next;
            }
        }
        T sum = 0.0;
        for (int i = 1; i <= 8; ++i) { // the integral of T_i over [0, 1] is 0 for odd i
            sum += square(sums[i] / 8.0 + (i % 2 == 0 ? 1.0 / (i * i - 1.0) : 0.0));
        }
        return sum;
    }));
    return all;
}

// The paper's least-squares problems that are not among the former, from its own
// starts; optima as given there. Where a second local minimum is a usual end of
// good programs, `optimum` is the lower one.
inline std::vector<Problem> least_squares_problems()
{
    using std::cos, std::exp, std::fabs, std::sin;
    std::vector<Problem> all;
    all.push_back(problem("Freudenstein and Roth", {0.5F, -2}, 48.98425, []<class T>(const T* x) -> T {
        return square(-13.0 + x[0] + ((5.0 - x[1]) * x[1] - 2.0) * x[1]) + square(-29.0 + x[0] + ((x[1] + 1.0) * x[1] - 14.0) * x[1]);
    }));
    all.push_back(problem("Jennrich and Sampson", {0.3F, 0.4F}, 124.362, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 1; i <= 10; ++i) {
            sum += square(2.0 + 2.0 * i - exp(static_cast<double>(i) * x[0]) - exp(static_cast<double>(i) * x[1]));
        }
        return sum;
    }));
    all.push_back(problem("Bard", {1, 1, 1}, 8.21487e-3, []<class T>(const T* x) -> T {
        constexpr double y[] = {0.14, 0.18, 0.22, 0.25, 0.29, 0.32, 0.35, 0.39, 0.37, 0.58, 0.73, 0.96, 1.34, 2.10, 4.39};
        T sum = 0.0;
        for (int i = 1; i <= 15; ++i) {
            const double u = i;
            const double v = 16.0 - i;
            sum += square(y[i - 1] - (x[0] + u / (v * x[1] + std::fmin(u, v) * x[2])));
        }
        return sum;
    }));
    all.push_back(problem("Kowalik and Osborne", {0.25F, 0.39F, 0.415F, 0.39F}, 3.07505e-4, []<class T>(const T* x) -> T {
        constexpr double y[] = {0.1957, 0.1947, 0.1735, 0.1600, 0.0844, 0.0627, 0.0456, 0.0342, 0.0323, 0.0235, 0.0246};
        constexpr double u[] = {4, 2, 1, 0.5, 0.25, 0.167, 0.125, 0.1, 0.0833, 0.0714, 0.0625};
        T sum = 0.0;
        for (int i = 0; i < 11; ++i) {
            sum += square(y[i] - x[0] * (u[i] * u[i] + u[i] * x[1]) / (u[i] * u[i] + u[i] * x[2] + x[3]));
        }
        return sum;
    }));
    all.push_back(problem("Meyer", {0.02F, 4000, 250}, 87.9458, []<class T>(const T* x) -> T {
        constexpr double y[] = {34780, 28610, 23650, 19630, 16370, 13720, 11540, 9744, 8261, 7030, 6005, 5147, 4427, 3820, 3307, 2872};
        T sum = 0.0;
        for (int i = 1; i <= 16; ++i) {
            sum += square(x[0] * exp(x[1] / (45.0 + 5.0 * i + x[2])) - y[i - 1]);
        }
        return sum;
    }));
    all.push_back(problem("Osborne 1", {0.5F, 1.5F, -1, 0.01F, 0.02F}, 5.46489e-5, []<class T>(const T* x) -> T {
        constexpr double y[] = {0.844, 0.908, 0.932, 0.936, 0.925, 0.908, 0.881, 0.850, 0.818, 0.784, 0.751, 0.718, 0.685, 0.658, 0.628, 0.603, 0.580,
                                0.558, 0.538, 0.522, 0.506, 0.490, 0.478, 0.467, 0.457, 0.448, 0.438, 0.431, 0.424, 0.420, 0.414, 0.411, 0.406};
        T sum = 0.0;
        for (int i = 0; i < 33; ++i) {
            sum += square(y[i] - (x[0] + x[1] * exp(-10.0 * i * x[3]) + x[2] * exp(-10.0 * i * x[4])));
        }
        return sum;
    }));
    all.push_back(problem("Osborne 2", {1.3F, 0.65F, 0.65F, 0.7F, 0.6F, 3, 5, 7, 2, 4.5F, 5.5F}, 4.01377e-2, []<class T>(const T* x) -> T {
        constexpr double y[] = {1.366, 1.191, 1.112, 1.013, 0.991, 0.885, 0.831, 0.847, 0.786, 0.725, 0.746, 0.679, 0.608, 0.655, 0.616, 0.606, 0.602,
                                0.626, 0.651, 0.724, 0.649, 0.649, 0.694, 0.644, 0.624, 0.661, 0.612, 0.558, 0.533, 0.495, 0.500, 0.423, 0.395, 0.375,
                                0.372, 0.391, 0.396, 0.405, 0.428, 0.429, 0.523, 0.562, 0.607, 0.653, 0.672, 0.708, 0.633, 0.668, 0.645, 0.632, 0.591,
                                0.559, 0.597, 0.625, 0.739, 0.710, 0.729, 0.720, 0.636, 0.581, 0.428, 0.292, 0.162, 0.098, 0.054};
        T sum = 0.0;
        for (int i = 0; i < 65; ++i) {
            const double t = i / 10.0;
            sum += square(y[i] - (x[0] * exp(-t * x[4]) + x[1] * exp(-1.0 * square(t - x[8]) * x[5]) +
                                  x[2] * exp(-1.0 * square(t - x[9]) * x[6]) + x[3] * exp(-1.0 * square(t - x[10]) * x[7])));
        }
        return sum;
    }));
    all.push_back(problem("Brown almost linear", {0.5F, 0.5F, 0.5F, 0.5F, 0.5F, 0.5F, 0.5F, 0.5F, 0.5F, 0.5F}, 0.0, []<class T>(const T* x) -> T {
        T total = -11.0;
        T product = 1.0;
        for (int i = 0; i < 10; ++i) {
            total += x[i];
            product *= x[i];
        }
        T sum = square(product - 1.0);
        for (int i = 0; i < 9; ++i) {
            sum += square(x[i] + total);
        }
        return sum;
    }));
    all.push_back(problem("Discrete boundary value", {-0.0826446F, -0.1487603F, -0.1983471F, -0.231405F, -0.2479339F, -0.2479339F, -0.231405F, -0.1983471F, -0.1487603F, -0.0826446F}, 0.0, []<class T>(const T* x) -> T {
        constexpr double h = 1.0 / 11.0;
        T sum = 0.0;
        for (int i = 0; i < 10; ++i) {
            const T before = i > 0 ? x[i - 1] : T(0.0);
            const T after = i < 9 ? x[i + 1] : T(0.0);
            const T cube = x[i] + (i + 1) * h + 1.0;
            sum += square(2.0 * x[i] - before - after + h * h * cube * cube * cube / 2.0);
        }
        return sum;
    }));
    all.push_back(problem("Broyden tridiagonal", {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1}, 0.0, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < 10; ++i) {
            const T before = i > 0 ? x[i - 1] : T(0.0);
            const T after = i < 9 ? x[i + 1] : T(0.0);
            sum += square((3.0 - 2.0 * x[i]) * x[i] - before - 2.0 * after + 1.0);
        }
        return sum;
    }));
    all.push_back(problem("Broyden banded", {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1}, 0.0, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < 10; ++i) {
            T band = 0.0;
            for (int j = std::max(0, i - 5); j <= std::min(9, i + 1); ++j) {
                band += j == i ? T(0.0) : x[j] * (1.0 + x[j]);
            }
            sum += square(x[i] * (2.0 + 5.0 * x[i] * x[i]) + 1.0 - band);
        }
        return sum;
    }));
    all.push_back(problem("Linear, full rank", {1, 1, 1, 1, 1, 1, 1, 1, 1, 1}, 10.0, []<class T>(const T* x) -> T {
        T total = 0.0;
        for (int i = 0; i < 10; ++i) {
            total += x[i];
        }
        T sum = 0.0;
        for (int i = 0; i < 20; ++i) {
            const T residual = -1.0 - 0.1 * total;
            sum += square(i < 10 ? residual + x[i] : residual);
        }
        return sum;
    }));
    std::vector<float> bent;
    for (int i = 1; i <= 10; ++i) {
        const double t = i / 11.0;
        bent.push_back(static_cast<float>(t * (t - 1.0)));
    }
    all.push_back(problem("Discrete integral equation", bent, 0.0, []<class T>(const T* x) -> T {
        constexpr double h = 1.0 / 11.0;
        T sum = 0.0;
        for (int i = 1; i <= 10; ++i) {
            T integral = 0.0;
            for (int j = 1; j <= 10; ++j) {
                const T base = x[j - 1] + j * h + 1.0;
                const double kernel = j <= i ? (1.0 - i * h) * j * h : i * h * (1.0 - j * h);
                integral += kernel * (base * base * base);
            }
            sum += square(x[i - 1] + 0.5 * h * integral);
        }
        return sum;
    }));
    all.push_back(problem("Linear, rank one", {1, 1, 1, 1, 1, 1, 1, 1, 1, 1}, 190.0 / 41.0, []<class T>(const T* x) -> T {
        T total = 0.0;
        for (int j = 1; j <= 10; ++j) {
            total += static_cast<double>(j) * x[j - 1];
        }
        T sum = 0.0;
        for (int i = 1; i <= 20; ++i) {
            sum += square(static_cast<double>(i) * total - 1.0);
        }
        return sum;
    }));
    all.push_back(problem("Linear, rank one, zeros", {1, 1, 1, 1, 1, 1, 1, 1, 1, 1}, 227.0 / 37.0, []<class T>(const T* x) -> T {
        T total = 0.0;
        for (int j = 2; j <= 9; ++j) {
            total += static_cast<double>(j) * x[j - 1];
        }
        T sum = 2.0; // the first and the last residual are -1
        for (int i = 2; i <= 19; ++i) {
            sum += square((i - 1.0) * total - 1.0);
        }
        return sum;
    }));
    return all;
}

// The script's view of the paper's small problems: those with published goals.
inline std::vector<Problem> small_problems()
{
    std::vector<Problem> all;
    all.push_back(problem("Rosenbrock", {-1.2F, 1}, 0.0, []<class T>(const T* x) -> T {
        return 100.0 * square(x[1] - x[0] * x[0]) + square(1.0 - x[0]);
    }));
    all.push_back(problem("Powell singular", {3, -1, 0, 1}, 0.0, []<class T>(const T* x) -> T {
        return square(x[0] + 10.0 * x[1]) + 5.0 * square(x[2] - x[3]) + square(square(x[1] - 2.0 * x[2])) +
               10.0 * square(square(x[0] - x[3]));
    }));
    for (const Problem& named : unconstrained_problems()) {
        const std::string name = named.name;
        if (name == "Wood" || name == "Beale" || name == "Helical valley") {
            all.push_back(named);
        }
    }
    return all;
}

// ---- Hock, Schittkowski --------------------------------------------------------

inline Problem constrained(Problem p, int neq, std::vector<float> a, std::vector<float> b, std::vector<float> xlb, std::vector<float> xub)
{
    p.ncon = static_cast<int>(b.size());
    p.neq = neq;
    p.a = std::move(a);
    p.b = std::move(b);
    p.xlb = std::move(xlb);
    p.xub = std::move(xub);
    return p;
}

inline std::vector<Problem> constrained_problems()
{
    using std::exp, std::log, std::pow, std::sin, std::sqrt;
    constexpr float inf = std::numeric_limits<float>::infinity();
    const float root3 = std::sqrt(3.0F);
    const auto all_of = [](std::size_t n, float value) { return std::vector<float>(n, value); };
    const auto rosenbrock = []<class T>(const T* x) -> T { return 100.0 * square(x[1] - x[0] * x[0]) + square(1.0 - x[0]); };
    std::vector<Problem> all;
    all.push_back(constrained(problem("HS1", {-2, 1}, 0.0, rosenbrock), 0, {}, {}, {-inf, -1.5F}, {inf, inf}));
    all.push_back(constrained(problem("HS2", {-2, 1}, 0.0504261879, rosenbrock), 0, {}, {}, {-inf, 1.5F}, {inf, inf}));
    all.push_back(constrained(problem("HS3", {10, 1}, 0.0, []<class T>(const T* x) -> T { return x[1] + 1e-5 * square(x[1] - x[0]); }),
                              0, {}, {}, {-inf, 0}, {inf, inf}));
    all.push_back(constrained(problem("HS4", {1.125F, 0.125F}, 8.0 / 3.0, []<class T>(const T* x) -> T {
        return (x[0] + 1.0) * (x[0] + 1.0) * (x[0] + 1.0) / 3.0 + x[1]; }), 0, {}, {}, {1, 0}, {inf, inf}));
    all.push_back(constrained(problem("HS5", {0, 0}, -1.9132229550, []<class T>(const T* x) -> T {
        return sin(x[0] + x[1]) + square(x[0] - x[1]) - 1.5 * x[0] + 2.5 * x[1] + 1.0; }), 0, {}, {}, {-1.5F, -3}, {4, 3}));
    all.push_back(constrained(problem("HS21", {-1, -1}, -99.96, []<class T>(const T* x) -> T {
        return 0.01 * x[0] * x[0] + x[1] * x[1] - 100.0; }), 0, {-10, 1}, {-10}, {2, -50}, {50, 50}));
    all.push_back(constrained(problem("HS24", {1, 0.5F}, -1.0, []<class T>(const T* x) -> T {
        return (square(x[0] - 3.0) - 9.0) * x[1] * x[1] * x[1] / (27.0 * std::sqrt(3.0)); }),
        0, {-1 / root3, 1, -1, -root3, 1, root3}, {0, 0, 6}, {0, 0}, {inf, inf}));
    all.push_back(constrained(problem("HS25", {100, 12.5F, 3}, 0.0, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 1; i <= 99; ++i) {
            const double u = 25.0 + std::pow(-50.0 * std::log(0.01 * i), 2.0 / 3.0);
            sum += square(exp(-pow(u - x[1], x[2]) / x[0]) - 0.01 * i);
        }
        return sum; }), 0, {}, {}, {0.1F, 0, 0}, {100, 25.6F, 5}));
    all.push_back(constrained(problem("HS28", {-4, 1, 1}, 0.0, []<class T>(const T* x) -> T { return square(x[0] + x[1]) + square(x[1] + x[2]); }),
        1, {1, 2, 3}, {1}, all_of(3, -inf), all_of(3, inf)));
    all.push_back(constrained(problem("HS35", {0.5F, 0.5F, 0.5F}, 1.0 / 9.0, []<class T>(const T* x) -> T {
        return 9.0 - 8.0 * x[0] - 6.0 * x[1] - 4.0 * x[2] + 2.0 * x[0] * x[0] + 2.0 * x[1] * x[1] + x[2] * x[2] + 2.0 * x[0] * x[1] + 2.0 * x[0] * x[2]; }),
        0, {1, 1, 2}, {3}, all_of(3, 0), all_of(3, inf)));
    const auto volume = []<class T>(const T* x) -> T { return -x[0] * x[1] * x[2]; };
    all.push_back(constrained(problem("HS36", {10, 10, 10}, -3300.0, volume), 0, {1, 2, 2}, {72}, all_of(3, 0), {20, 11, 42}));
    all.push_back(constrained(problem("HS37", {10, 10, 10}, -3456.0, volume), 0, {1, 2, 2, -1, -2, -2}, {72, 0}, all_of(3, 0), all_of(3, 42)));
    all.push_back(constrained(problem("HS38", {-3, -1, -3, -1}, 0.0, []<class T>(const T* x) -> T {
        return 100.0 * square(x[1] - x[0] * x[0]) + square(1.0 - x[0]) + 90.0 * square(x[3] - x[2] * x[2]) + square(1.0 - x[2]) +
               10.1 * (square(x[1] - 1.0) + square(x[3] - 1.0)) + 19.8 * (x[1] - 1.0) * (x[3] - 1.0); }),
        0, {}, {}, all_of(4, -10), all_of(4, 10)));
    all.push_back(constrained(problem("HS41", {2, 2, 2, 2}, 52.0 / 27.0, []<class T>(const T* x) -> T { return 2.0 - x[0] * x[1] * x[2]; }),
        1, {1, 2, 2, -1}, {0}, all_of(4, 0), {1, 1, 1, 2}));
    all.push_back(constrained(problem("HS44", {0, 0, 0, 0}, -15.0, []<class T>(const T* x) -> T {
        return x[0] - x[1] - x[2] - x[0] * x[2] + x[0] * x[3] + x[1] * x[2] - x[1] * x[3]; }),
        0, {1, 2, 0, 0, 4, 1, 0, 0, 3, 4, 0, 0, 0, 0, 2, 1, 0, 0, 1, 2, 0, 0, 1, 1}, {8, 12, 12, 8, 8, 5}, all_of(4, 0), all_of(4, inf)));
    all.push_back(constrained(problem("HS45", {2, 2, 2, 2, 2}, 1.0, []<class T>(const T* x) -> T { return 2.0 - x[0] * x[1] * x[2] * x[3] * x[4] / 120.0; }),
        0, {}, {}, all_of(5, 0), {1, 2, 3, 4, 5}));
    all.push_back(constrained(problem("HS48", {3, 5, -3, 2, -2}, 0.0, []<class T>(const T* x) -> T {
        return square(x[0] - 1.0) + square(x[1] - x[2]) + square(x[3] - x[4]); }),
        2, {1, 1, 1, 1, 1, 0, 0, 1, -2, -2}, {5, -3}, all_of(5, -inf), all_of(5, inf)));
    all.push_back(constrained(problem("HS49", {10, 7, 2, -3, 0.8F}, 0.0, []<class T>(const T* x) -> T {
        return square(x[0] - x[1]) + square(x[2] - 1.0) + square(square(x[3] - 1.0)) + square(square(x[4] - 1.0) * (x[4] - 1.0)); }),
        2, {1, 1, 1, 4, 0, 0, 0, 1, 0, 5}, {7, 6}, all_of(5, -inf), all_of(5, inf)));
    all.push_back(constrained(problem("HS50", {35, -31, 11, 5, -5}, 0.0, []<class T>(const T* x) -> T {
        return square(x[0] - x[1]) + square(x[1] - x[2]) + square(square(x[2] - x[3])) + square(x[3] - x[4]); }),
        3, {1, 2, 3, 0, 0, 0, 1, 2, 3, 0, 0, 0, 1, 2, 3}, {6, 6, 6}, all_of(5, -inf), all_of(5, inf)));
    all.push_back(constrained(problem("HS51", {2.5F, 0.5F, 2, -1, 0.5F}, 0.0, []<class T>(const T* x) -> T {
        return square(x[0] - x[1]) + square(x[1] + x[2] - 2.0) + square(x[3] - 1.0) + square(x[4] - 1.0); }),
        3, {1, 3, 0, 0, 0, 0, 0, 1, 1, -2, 0, 1, 0, 0, -1}, {4, 0, 0}, all_of(5, -inf), all_of(5, inf)));
    all.push_back(constrained(problem("HS52", {2, 2, 2, 2, 2}, 1859.0 / 349.0, []<class T>(const T* x) -> T {
        return square(4.0 * x[0] - x[1]) + square(x[1] + x[2] - 2.0) + square(x[3] - 1.0) + square(x[4] - 1.0); }),
        3, {1, 3, 0, 0, 0, 0, 0, 1, 1, -2, 0, 1, 0, 0, -1}, {0, 0, 0}, all_of(5, -inf), all_of(5, inf)));
    all.push_back(constrained(problem("HS53", {2, 2, 2, 2, 2}, 176.0 / 43.0, []<class T>(const T* x) -> T {
        return square(x[0] - x[1]) + square(x[1] + x[2] - 2.0) + square(x[3] - 1.0) + square(x[4] - 1.0); }),
        3, {1, 3, 0, 0, 0, 0, 0, 1, 1, -2, 0, 1, 0, 0, -1}, {0, 0, 0}, all_of(5, -10), all_of(5, 10)));
    // The six equalities have rank five.
    all.push_back(constrained(problem("HS55", {1, 2, 0, 0, 0, 2}, 19.0 / 3.0, []<class T>(const T* x) -> T {
        return x[0] + 2.0 * x[1] + 4.0 * x[4] + exp(x[0] * x[3]); }),
        6, {1, 2, 0, 0, 5, 0, 1, 1, 1, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 0, 0, 1, 0, 0, 0, 1, 0, 0, 1, 0, 0, 0, 1, 0, 0, 1},
        {6, 3, 2, 1, 2, 2}, all_of(6, 0), {1, inf, inf, 1, inf, inf}));
    all.push_back(constrained(problem("HS62", {0.7F, 0.2F, 0.1F}, -26272.51448, []<class T>(const T* x) -> T {
        return -32.174 * (255.0 * log((x[0] + x[1] + x[2] + 0.03) / (0.09 * x[0] + x[1] + x[2] + 0.03)) +
                          280.0 * log((x[1] + x[2] + 0.03) / (0.07 * x[1] + x[2] + 0.03)) +
                          290.0 * log((x[2] + 0.03) / (0.13 * x[2] + 0.03))); }),
        1, {1, 1, 1}, {1}, all_of(3, 0), all_of(3, 1)));
    all.push_back(constrained(problem("HS76", {0.5F, 0.5F, 0.5F, 0.5F}, -4.681818182, []<class T>(const T* x) -> T {
        return x[0] * x[0] + 0.5 * x[1] * x[1] + x[2] * x[2] + 0.5 * x[3] * x[3] - x[0] * x[2] + x[2] * x[3] - x[0] - 3.0 * x[1] + x[2] - x[3]; }),
        0, {1, 2, 1, 1, 3, 1, 2, -1, 0, -1, -4, 0}, {5, 4, -1.5F}, all_of(4, 0), all_of(4, inf)));
    all.push_back(constrained(problem("HS86", {0, 0, 0, 0, 1}, -32.34867897, []<class T>(const T* x) -> T {
        constexpr double e[] = {-15, -27, -36, -18, -12};
        constexpr double c[5][5] = {{30, -20, -10, 32, -10}, {-20, 39, -6, -31, 32}, {-10, -6, 10, -6, -10}, {32, -31, -6, 39, -20}, {-10, 32, -10, -20, 30}};
        constexpr double d[] = {4, 8, 10, 6, 2};
        T sum = 0.0;
        for (int i = 0; i < 5; ++i) {
            sum += e[i] * x[i] + d[i] * x[i] * x[i] * x[i];
            for (int j = 0; j < 5; ++j) {
                sum += c[i][j] * x[i] * x[j];
            }
        }
        return sum; }),
        0, {16, -2, 0, -1, 0, 0, 2, 0, -0.4F, -2, 3.5F, 0, -2, 0, 0, 0, 2, 0, 4, 1, 0, 9, 2, -1, 2.8F, -2, 0, 4, 0, 0,
            1, 1, 1, 1, 1, 1, 2, 3, 2, 1, -1, -2, -3, -4, -5, -1, -1, -1, -1, -1},
        {40, 2, 0.25F, 4, 4, 1, 40, 60, -5, -1}, all_of(5, 0), all_of(5, inf)));
    all.push_back(constrained(problem("HS110", {9, 9, 9, 9, 9, 9, 9, 9, 9, 9}, -45.77846971, []<class T>(const T* x) -> T {
        T sum = 0.0;
        T product = 1.0;
        for (int i = 0; i < 10; ++i) {
            sum += square(log(x[i] - 2.0)) + square(log(10.0 - x[i]));
            product *= x[i];
        }
        return sum - pow(product, T(0.2)); }), 0, {}, {}, all_of(10, 2.001F), all_of(10, 9.999F)));
    all.push_back(constrained(problem("HS112", all_of(10, 0.1F), -47.76109086, []<class T>(const T* x) -> T {
        constexpr double c[] = {-6.089, -17.164, -34.054, -5.914, -24.721, -14.986, -24.100, -10.708, -26.662, -22.179};
        T total = 0.0;
        for (int i = 0; i < 10; ++i) {
            total += x[i];
        }
        T sum = 0.0;
        for (int i = 0; i < 10; ++i) {
            sum += x[i] * (c[i] + log(x[i] / total));
        }
        return sum; }),
        3, {1, 2, 2, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 2, 1, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 1, 1, 2, 1},
        {2, 1, 1}, all_of(10, 1e-6F), all_of(10, inf)));
    return all;
}
// clang-format on

// ---- Running one ----------------------------------------------------------------

enum class View { compiled, script }; // arguments as floats, or through six decimals

struct Outcome {
    std::vector<float> x; // empty without a solution
    float f = 0.0F;
    int code = 0;        // of the error that tells how the run ended
    int evaluations = 0; // all of them
    int until_close = 0; // until f was close to the optimum at a feasible point; 0 for never
    int gradients = 0;   // calls of the user gradient
};

// The run that the objective functions below belong to.
struct Run {
    const Problem* problem = nullptr;
    View view = View::compiled;
    double closeness = 0.0;
    Outcome outcome;
};

inline Run& current_run()
{
    static Run run;
    return run;
}

// Largest violation of bounds and constraints, relative to 1 + the sum of the
// magnitudes in it.
template <class Real>
double violation(const Problem& p, const Real* x)
{
    double worst = 0.0;
    for (int i = 0; i < p.n && !p.xlb.empty(); ++i) {
        worst = std::fmax(worst, (p.xlb[i] - static_cast<double>(x[i])) / (1.0 + std::fabs(x[i])));
        worst = std::fmax(worst, (static_cast<double>(x[i]) - p.xub[i]) / (1.0 + std::fabs(x[i])));
    }
    for (int k = 0; k < p.ncon; ++k) {
        double left = -p.b[k];
        double size = 1.0 + std::fabs(p.b[k]);
        for (int j = 0; j < p.n; ++j) {
            const double term = static_cast<double>(p.a[k * p.n + j]) * x[j];
            left += term;
            size += std::fabs(term);
        }
        worst = std::fmax(worst, (k < p.neq ? std::fabs(left) : left) / size);
    }
    return worst;
}

// What the function is asked at: x, or what six decimals leave of it.
inline void seen_point(const Run& run, const float* x, double* seen)
{
    for (int i = 0; i < run.problem->n; ++i) {
        char text[minimize::fixed_text_size];
        minimize::format_fixed(x[i], text);
        seen[i] = run.view == View::script ? std::strtod(text, nullptr) : static_cast<double>(x[i]);
        seen[i] *= run.problem->units.empty() ? 1.0 : run.problem->units[static_cast<std::size_t>(i)];
    }
}

inline float run_objective(int, float* x)
{
    Run& run = current_run();
    double seen[Dual::most] = {};
    seen_point(run, x, seen);
    const double f = run.problem->value(seen);
    ++run.outcome.evaluations;
    if (run.outcome.until_close == 0 && std::fabs(f - run.problem->optimum) <= run.closeness &&
        violation(*run.problem, seen) <= 1e-6) {
        run.outcome.until_close = run.outcome.evaluations;
    }
    return static_cast<float>(f);
}

inline void run_constrained_objective(int n, float* x, float* f)
{
    *f = run_objective(n, x);
}

inline void run_gradient(int n, float* x, float* g)
{
    Run& run = current_run();
    double seen[Dual::most] = {};
    double gradient[Dual::most] = {};
    seen_point(run, x, seen);
    run.problem->gradient(seen, gradient);
    for (int i = 0; i < n; ++i) {
        const double unit =
            run.problem->units.empty() ? 1.0 : run.problem->units[static_cast<std::size_t>(i)];
        g[i] = static_cast<float>(gradient[i] * unit);
    }
    ++run.outcome.gradients;
}

inline void start_run(const Problem& p, View view, double closeness)
{
    current_run() = {&p, view, closeness, {}};
}

inline Outcome finish_run(const Problem& p, float* x, float f)
{
    Outcome& outcome = current_run().outcome;
    outcome.code = zavo_error_code(1);
    outcome.f = f;
    if (x != nullptr) {
        outcome.x.assign(x, x + p.n);
    }
    std::free(x);
    return outcome;
}

// closeness: what counts as close to the optimum. scaled: tell the minimiser the
// typical sizes of the variables, where the problem has them. limit:
// evaluations and iterations allowed.
inline Outcome minimize_free(const Problem& p, View view, bool user_gradient, double closeness,
                             bool scaled = false, int limit = 2000)
{
    start_run(p, view, closeness);
    float f = 0.0F;
    std::vector<float> scales(static_cast<std::size_t>(p.n), 1.0F);
    for (std::size_t i = 0; scaled && i < p.sizes.size(); ++i) {
        scales[i] = 1.0F / p.sizes[i];
    }
    // A null gradient function is as good as none.
    float* const x = zavo_f_min_uncon_multivar(
        run_objective, p.n, ZAVO_START_POINT, p.start.data(), ZAVO_RESULT_VALUE, &f, ZAVO_VARIABLE_SCALING,
        scales.data(), ZAVO_GRADIENT_FUNCTION, user_gradient ? run_gradient : nullptr,
        ZAVO_FUNCTION_EVAL_LIMIT, limit, ZAVO_ITERATION_LIMIT, limit, ZAVO_GRADIENT_EVAL_LIMIT, limit, 0);
    return finish_run(p, x, f);
}

// As the script command does: in its view, with its limits; step_tolerance 0 is
// the default one. The outcome's value is that at the point which a script sees.
inline Outcome minimize_as_script(const Problem& p, double step_tolerance = 0.0)
{
    start_run(p, View::script, 0.0);
    float* const x = zavo_f_min_uncon_multivar(
        run_objective, p.n, ZAVO_START_POINT, p.start.data(), ZAVO_STEP_TOLERANCE,
        step_tolerance > 0.0 ? step_tolerance : static_cast<double>(minimize::eps_two_thirds()), 0);
    Outcome outcome = finish_run(p, x, 0.0F);
    double seen[Dual::most] = {};
    seen_point(current_run(), outcome.x.data(), seen);
    outcome.f = static_cast<float>(p.value(seen));
    return outcome;
}

inline Outcome minimize_constrained(const Problem& p, View view, bool user_gradient, double closeness)
{
    start_run(p, view, closeness);
    std::vector<float> a = p.a;
    std::vector<float> b = p.b;
    std::vector<float> xlb = p.xlb;
    std::vector<float> xub = p.xub;
    float f = 0.0F;
    float* const x =
        zavo_f_min_con_gen_lin(run_constrained_objective, p.n, p.ncon, p.neq, a.data(), b.data(), xlb.data(),
                               xub.data(), ZAVO_START_POINT, p.start.data(), ZAVO_OBJECTIVE_VALUE, &f,
                               ZAVO_CON_GRADIENT_FUNCTION, user_gradient ? run_gradient : nullptr, 0);
    return finish_run(p, x, f);
}

// ---- Goals -----------------------------------------------------------------------

// Evaluations until a run is close to the optimum, those for differences counted:
// what good optimisers take in the script's view ...
inline const std::map<std::string, double>& free_goals()
{
    static const std::map<std::string, double> goals = {
        {"Rosenbrock", 190}, {"Powell singular", 163}, {"Wood", 290}, {"Beale", 61}, {"Helical valley", 190}};
    return goals;
}

// ... and one and a half times those of a sequential quadratic programming method in
// double precision.
inline const std::map<std::string, double>& constrained_goals()
{
    static const std::map<std::string, double> goals = {{"HS21", 1.5 * 5},  {"HS24", 1.5 * 13},
                                                        {"HS35", 1.5 * 18}, {"HS37", 1.5 * 18},
                                                        {"HS44", 1.5 * 26}, {"HS76", 1.5 * 21}};
    return goals;
}

} // namespace zavo::test

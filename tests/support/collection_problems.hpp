// Test functions of any number of variables, written from
//   N. Andrei: An Unconstrained Optimization Test Functions Collection, Advanced
//   Modeling and Optimization 10 (2008) 147-161,
// ten variables each (twelve where the function wants a multiple of three), from the
// starts given there. Optima that have no closed form were computed in double precision.
#pragma once

#include "tests/support/minimize_problems.hpp"

namespace zavo::test {

// n / pair.size() repetitions of the pair.
inline std::vector<float> repeated(std::vector<float> pair, std::size_t n)
{
    std::vector<float> all;
    while (all.size() < n) {
        all.insert(all.end(), pair.begin(), pair.end());
    }
    return all;
}

// clang-format off
inline std::vector<Problem> collection_problems()
{
    using std::cos, std::exp, std::sin;
    constexpr int n = 10;
    const auto all_of = [](float value, std::size_t count = 10) { return std::vector<float>(count, value); };
    std::vector<float> inverse_indices;
    for (int i = 1; i <= n; ++i) {
        inverse_indices.push_back(1.0F / static_cast<float>(i));
    }
    std::vector<Problem> all;
    all.push_back(problem("White and Holst", repeated({-1.2F, 1}, n), 0.0, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < n; i += 2) {
            sum += 100.0 * square(x[i + 1] - x[i] * x[i] * x[i]) + square(1.0 - x[i]);
        }
        return sum;
    }));
    all.push_back(problem("Perturbed quadratic", all_of(0.5F), 0.0, []<class T>(const T* x) -> T {
        T sum = 0.0;
        T total = 0.0;
        for (int i = 0; i < n; ++i) {
            sum += (i + 1.0) * square(x[i]);
            total += x[i];
        }
        return sum + 0.01 * square(total);
    }));
    all.push_back(problem("Raydan 1", all_of(1), 5.5, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < n; ++i) {
            sum += (i + 1) / 10.0 * (exp(x[i]) - x[i]);
        }
        return sum;
    }));
    all.push_back(problem("Raydan 2", all_of(1), n, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < n; ++i) {
            sum += exp(x[i]) - x[i];
        }
        return sum;
    }));
    all.push_back(problem("Diagonal 1", all_of(1.0F / n), -47.0828305519, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < n; ++i) {
            sum += exp(x[i]) - (i + 1.0) * x[i];
        }
        return sum;
    }));
    all.push_back(problem("Diagonal 2", inverse_indices, 5.62114562175, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < n; ++i) {
            sum += exp(x[i]) - x[i] / (i + 1.0);
        }
        return sum;
    }));
    all.push_back(problem("Diagonal 4", all_of(1), 0.0, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < n; i += 2) {
            sum += 0.5 * (square(x[i]) + 100.0 * square(x[i + 1]));
        }
        return sum;
    }));
    all.push_back(problem("Diagonal 6", all_of(1), 0.0, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < n; ++i) {
            sum += exp(x[i]) - (1.0 + x[i]);
        }
        return sum;
    }));
    all.push_back(problem("Hager", all_of(1), 3.19505893231, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < n; ++i) {
            sum += exp(x[i]) - std::sqrt(i + 1.0) * x[i];
        }
        return sum;
    }));
    all.push_back(problem("Generalized tridiagonal 1", all_of(2), 7.21121670329, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < n - 1; ++i) {
            sum += square(x[i] + x[i + 1] - 3.0) + square(square(x[i] - x[i + 1] + 1.0));
        }
        return sum;
    }));
    all.push_back(problem("Extended tridiagonal 1", all_of(2), 0.0, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < n; i += 2) {
            sum += square(x[i] + x[i + 1] - 3.0) + square(square(x[i] - x[i + 1] + 1.0));
        }
        return sum;
    }));
    all.push_back(problem("Three exponential terms", all_of(0.1F), 12.7963334833, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < n; i += 2) {
            sum += exp(x[i] + 3.0 * x[i + 1] - 0.1) + exp(x[i] - 3.0 * x[i + 1] - 0.1) + exp(-x[i] - 0.1);
        }
        return sum;
    }));
    all.push_back(problem("Himmelblau", all_of(1), 0.0, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < n; i += 2) {
            sum += square(x[i] * x[i] + x[i + 1] - 11.0) + square(x[i] + x[i + 1] * x[i + 1] - 7.0);
        }
        return sum;
    }));
    all.push_back(problem("PSC 1", repeated({3, 0.1F}, n), 3.86599528246, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < n; i += 2) {
            sum += square(x[i] * x[i] + x[i + 1] * x[i + 1] + x[i] * x[i + 1]) + square(sin(x[i])) + square(cos(x[i + 1]));
        }
        return sum;
    }));
    all.push_back(problem("Block diagonal 1", all_of(0.1F), 0.0, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < n; i += 2) {
            sum += square(x[i] * x[i] + x[i + 1] - 2.0) + square(exp(x[i] - 1.0) - x[i + 1]);
        }
        return sum;
    }));
    all.push_back(problem("Maratos", repeated({1.1F, 0.1F}, n), -5.00312110348, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < n; i += 2) {
            sum += x[i] + 100.0 * square(x[i] * x[i] + x[i + 1] * x[i + 1] - 1.0);
        }
        return sum;
    }));
    all.push_back(problem("Cliff", repeated({0, -1}, n), 0.998933068388, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < n; i += 2) {
            sum += square((x[i] - 3.0) / 100.0) - (x[i] - x[i + 1]) + exp(20.0 * (x[i] - x[i + 1]));
        }
        return sum;
    }));
    all.push_back(problem("Quadratic, perturbed diagonal", all_of(0.5F), 0.0, []<class T>(const T* x) -> T {
        T sum = 0.0;
        T total = 0.0;
        for (int i = 0; i < n; ++i) {
            sum += (i + 1) / 100.0 * square(x[i]);
            total += x[i];
        }
        return sum + square(total);
    }));
    all.push_back(problem("Hiebert", all_of(0, 2), 0.0, []<class T>(const T* x) -> T {
        return square(x[0] - 10.0) + square(x[0] * x[1] - 50000.0);
    }));
    all.push_back(problem("Quadratic QF1", all_of(1), -1.0 / (2.0 * n), []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < n; ++i) {
            sum += 0.5 * (i + 1.0) * square(x[i]);
        }
        return sum - x[n - 1];
    }));
    all.push_back(problem("Quadratic QF2", all_of(0.5F), -1.01220217172, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < n; ++i) {
            sum += 0.5 * (i + 1.0) * square(square(x[i]) - 1.0);
        }
        return sum - x[n - 1];
    }));
    all.push_back(problem("ARWHEAD", all_of(1), 0.0, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < n - 1; ++i) {
            sum += 3.0 - 4.0 * x[i] + square(x[i] * x[i] + x[n - 1] * x[n - 1]);
        }
        return sum;
    }));
    all.push_back(problem("NONDIA", all_of(-1), 0.0, []<class T>(const T* x) -> T {
        T sum = square(x[0] - 1.0);
        for (int i = 1; i < n; ++i) {
            sum += 100.0 * square(x[0] - x[i - 1] * x[i - 1]);
        }
        return sum;
    }));
    all.push_back(problem("DQDRTIC", all_of(3), 0.0, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < n - 2; ++i) {
            sum += square(x[i]) + 100.0 * square(x[i + 1]) + 100.0 * square(x[i + 2]);
        }
        return sum;
    }));
    all.push_back(problem("DIXMAANA", all_of(2, 12), 1.0, []<class T>(const T* x) -> T {
        constexpr int m = 4;
        T sum = 1.0;
        for (int i = 0; i < 3 * m; ++i) {
            sum += square(x[i]);
        }
        for (int i = 0; i < 2 * m; ++i) {
            sum += 0.125 * square(x[i]) * square(square(x[i + m]));
        }
        for (int i = 0; i < m; ++i) {
            sum += 0.125 * x[i] * x[i + 2 * m];
        }
        return sum;
    }));
    all.push_back(problem("DIXMAANE", all_of(2, 12), 1.0, []<class T>(const T* x) -> T {
        constexpr int m = 4;
        T sum = 1.0;
        for (int i = 0; i < 3 * m; ++i) {
            sum += (i + 1) / 12.0 * square(x[i]);
        }
        for (int i = 0; i < 2 * m; ++i) {
            sum += 0.125 * square(x[i]) * square(square(x[i + m]));
        }
        for (int i = 0; i < m; ++i) {
            sum += 0.125 * (i + 1) / 12.0 * x[i] * x[i + 2 * m];
        }
        return sum;
    }));
    all.push_back(problem("TRIDIA", all_of(1), 0.0, []<class T>(const T* x) -> T {
        T sum = square(x[0] - 1.0);
        for (int i = 1; i < n; ++i) {
            sum += (i + 1.0) * square(2.0 * x[i] - x[i - 1]);
        }
        return sum;
    }));
    all.push_back(problem("ENGVAL1", all_of(2), 9.17746995718, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < n - 1; ++i) {
            sum += square(square(x[i]) + square(x[i + 1])) + 3.0 - 4.0 * x[i];
        }
        return sum;
    }));
    all.push_back(problem("EDENSCH", all_of(0), 63.2846001053, []<class T>(const T* x) -> T {
        T sum = 16.0;
        for (int i = 0; i < n - 1; ++i) {
            sum += square(square(x[i] - 2.0)) + square(x[i] * x[i + 1] - 2.0 * x[i + 1]) + square(x[i + 1] + 1.0);
        }
        return sum;
    }));
    all.push_back(problem("CUBE", repeated({-1.2F, 1}, 4), 0.0, []<class T>(const T* x) -> T {
        T sum = square(x[0] - 1.0);
        for (int i = 1; i < 4; ++i) {
            sum += 100.0 * square(x[i] - x[i - 1] * x[i - 1] * x[i - 1]);
        }
        return sum;
    }));
    all.push_back(problem("LIARWHD", all_of(4), 0.0, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < n; ++i) {
            sum += 4.0 * square(square(x[i]) - x[0]) + square(x[i] - 1.0);
        }
        return sum;
    }));
    all.push_back(problem("DENSCHNB", all_of(1), 0.0, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < n; i += 2) {
            sum += square(x[i] - 2.0) + square(x[i] - 2.0) * square(x[i + 1]) + square(x[i + 1] + 1.0);
        }
        return sum;
    }));
    all.push_back(problem("DENSCHNF", repeated({2, 0}, n), 0.0, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < n; i += 2) {
            sum += square(2.0 * square(x[i] + x[i + 1]) + square(x[i] - x[i + 1]) - 8.0) +
                   square(5.0 * square(x[i]) + square(x[i + 1] - 3.0) - 9.0);
        }
        return sum;
    }));
    all.push_back(problem("Generalized quartic", all_of(1), 0.0, []<class T>(const T* x) -> T {
        T sum = 0.0;
        for (int i = 0; i < n - 1; ++i) {
            sum += square(x[i]) + square(x[i + 1] + square(x[i]));
        }
        return sum;
    }));
    return all;
}
// clang-format on

} // namespace zavo::test

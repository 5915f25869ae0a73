// Is a feasible point found whenever there is one, and only then? Random
// constraints around a known point, and integer constraints that contradict each
// other by construction: some combination of them, with multipliers that are not
// negative for the inequalities, reads 0 <= -1 (Farkas).
#include "core/zavo.h"
#include "tests/support/captured_errors.hpp"
#include "tests/support/integer_feasibility.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace {

using zavo::test::IntegerFeasibility;

constexpr float infinite = std::numeric_limits<float>::infinity();

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
std::vector<double> centre;
void bowl(int n, float* x, float* f)
{
    double sum = 0;
    for (int i = 0; i < n; ++i) {
        sum += (1 + i % 3) * (x[i] - centre[static_cast<std::size_t>(i)]) *
               (x[i] - centre[static_cast<std::size_t>(i)]);
    }
    *f = static_cast<float>(sum);
}
void bowl_gradient(int n, float* x, float* g)
{
    for (int i = 0; i < n; ++i) {
        g[i] = static_cast<float>(2 * (1 + i % 3) * (x[i] - centre[static_cast<std::size_t>(i)]));
    }
}

// Rows of one of four kinds: any numbers, small integers, rows of different
// lengths, sparse ones. A third of the inequalities and some bounds are met
// exactly; some equalities follow from others. far: size of the start, 0 for near.
Constraints around_a_point(Random& random, bool large, double far)
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

// The last inequality is minus the combination of the others, less 1.
Constraints contradictory(Random& random)
{
    Constraints c;
    c.n = random.between(1, 8);
    c.ncon = random.between(2, 12);
    c.neq = random.below(std::min(c.ncon, c.n + 1));
    std::vector<int> last(static_cast<std::size_t>(c.n), 0);
    int last_b = -1;
    for (int k = 0; k + 1 < c.ncon; ++k) {
        const int weight = k < c.neq ? random.between(-3, 3) : random.between(0, 3);
        for (int j = 0; j < c.n; ++j) {
            const int element = random.between(-5, 5);
            c.a.push_back(static_cast<float>(element));
            last[static_cast<std::size_t>(j)] -= weight * element;
        }
        const int right = random.between(-9, 9);
        c.b.push_back(static_cast<float>(right));
        last_b -= weight * right;
    }
    c.a.insert(c.a.end(), last.begin(), last.end());
    c.b.push_back(static_cast<float>(last_b));
    centre.clear();
    for (int j = 0; j < c.n; ++j) {
        c.lower.push_back(random.below(3) == 0 ? -20.0F : -infinite);
        c.upper.push_back(random.below(3) == 0 ? 20.0F : infinite);
        c.start.push_back(static_cast<float>(random.between(-3, 3)));
        centre.push_back(random.between(-3, 3));
    }
    return c;
}

// Worst violation of a row, relative to the sum of the magnitudes in it. Variables
// count at least a hundredth of the greatest, and of the start; `least` is added to
// the sum.
double worst_violation(const Constraints& c, const float* x, double least)
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

bool called_inconsistent(Constraints& c, double* violation, double least = 1e-30)
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

int count_inconsistent(int runs, bool large, double far, double* violation)
{
    const zavo::test::CapturedErrors errors;
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

TEST(feasibility, feasible_problems_are_not_called_inconsistent)
{
    double violation = 0;
    EXPECT_LE(count_inconsistent(40000, false, 0, &violation), 1);
    EXPECT_LE(violation, 1e-5);
}

TEST(feasibility, large_feasible_problems_are_not_called_inconsistent)
{
    double violation = 0;
    EXPECT_LE(count_inconsistent(4000, true, 0, &violation), 3);
    EXPECT_LE(violation, 1e-5);
}

TEST(feasibility, far_starts)
{
    double violation = 0;
    EXPECT_LE(count_inconsistent(600, true, 1e4, &violation), 2);
    EXPECT_LE(violation, 1e-5);
}

TEST(feasibility, contradictory_integer_constraints_are_never_accepted)
{
    const zavo::test::CapturedErrors errors;
    Random random(3);
    for (int run = 0; run < 10000; ++run) {
        Constraints c = contradictory(random);
        double violation = 0;
        ASSERT_TRUE(called_inconsistent(c, &violation)) << run;
    }
}

// Integer rows, sides and bounds of no plan: about half of the problems contradict
// themselves.
Constraints any_integers(Random& random)
{
    Constraints c;
    c.n = random.between(1, 6);
    c.ncon = random.between(2, 14);
    c.neq = random.below(3) == 0 ? random.below(std::min(c.ncon, c.n) + 1) : 0;
    const int largest = random.below(2) == 0 ? 2 : 5;
    for (int k = 0; k < c.ncon * c.n; ++k) {
        c.a.push_back(static_cast<float>(random.between(-largest, largest)));
    }
    for (int k = 0; k < c.ncon; ++k) {
        c.b.push_back(static_cast<float>(random.between(-9, 9)));
    }
    centre.clear();
    for (int j = 0; j < c.n; ++j) {
        c.lower.push_back(random.below(3) == 0 ? static_cast<float>(random.between(-5, 0)) : -infinite);
        c.upper.push_back(random.below(3) == 0 ? static_cast<float>(random.between(0, 5)) : infinite);
        c.start.push_back(static_cast<float>(random.between(-3, 3)));
        centre.push_back(random.between(-3, 3));
    }
    return c;
}

bool is_feasible(const Constraints& c)
{
    IntegerFeasibility exact(c.n);
    const auto columns = static_cast<std::size_t>(c.n);
    for (int k = 0; k < c.ncon; ++k) {
        const auto row = c.a.begin() + static_cast<std::ptrdiff_t>(k) * c.n;
        const std::vector<long long> a(row, row + c.n);
        const auto b = static_cast<long long>(c.b[static_cast<std::size_t>(k)]);
        k < c.neq ? exact.add_equality(a, b) : exact.add_inequality(a, b);
    }
    for (std::size_t j = 0; j < columns; ++j) {
        std::vector<long long> a(columns, 0);
        if (c.upper[j] < infinite) {
            a[j] = 1;
            exact.add_inequality(a, static_cast<long long>(c.upper[j]));
        }
        if (c.lower[j] > -infinite) {
            a[j] = -1;
            exact.add_inequality(a, static_cast<long long>(-c.lower[j]));
        }
    }
    return exact.is_feasible();
}

TEST(feasibility, the_exact_verdict_knows_small_cases)
{
    const auto verdict = [](std::vector<std::vector<long long>> rows, int neq) {
        IntegerFeasibility exact(2);
        for (std::size_t k = 0; k < rows.size(); ++k) {
            const std::vector<long long> a(rows[k].begin(), rows[k].begin() + 2);
            static_cast<int>(k) < neq ? exact.add_equality(a, rows[k][2])
                                      : exact.add_inequality(a, rows[k][2]);
        }
        return exact.is_feasible();
    };
    EXPECT_TRUE(verdict({}, 0));
    EXPECT_TRUE(verdict({{1, 1, 2}, {1, -1, 0}}, 2));               // (1, 1)
    EXPECT_TRUE(verdict({{1, 1, 2}, {2, 2, 4}}, 2));                // one and the same
    EXPECT_FALSE(verdict({{1, 1, 2}, {2, 2, 5}}, 2));               // parallel
    EXPECT_TRUE(verdict({{1, 0, 1}, {-1, 0, -1}}, 0));              // x = 1, y anything
    EXPECT_FALSE(verdict({{1, 0, 1}, {-1, 0, -2}}, 0));             // x <= 1 and x >= 2
    EXPECT_TRUE(verdict({{3, 5, 1}, {-3, 1, -2}, {0, -6, 1}}, 0));  // the sum of all: 0 <= 0
    EXPECT_FALSE(verdict({{3, 5, 1}, {-3, 1, -2}, {0, -6, 0}}, 0)); // 0 <= -1
    EXPECT_FALSE(verdict({{0, 0, -1}}, 0));
    EXPECT_FALSE(verdict({{7, 3, 1}, {-7, -3, -1}, {0, 1, 5}, {0, -1, -6}}, 1));
}

// Ten thousand inconsistent ones, and what comes between them.
TEST(feasibility, verdicts_on_integer_constraints_are_those_of_exact_arithmetic)
{
    const zavo::test::CapturedErrors errors;
    Random random(4);
    int inconsistent = 0;
    int accepted = 0;
    int feasible = 0;
    int refused = 0;
    double violation = 0;
    while (inconsistent < 10000) {
        Constraints c = any_integers(random);
        const bool exact = is_feasible(c);
        double ignored = 0;
        // Data of integers: an error of the size of a float's rounding at 1 is none.
        const bool called = called_inconsistent(c, exact ? &violation : &ignored, 1);
        (exact ? feasible : inconsistent) += 1;
        accepted += !exact && !called ? 1 : 0;
        refused += exact && called ? 1 : 0;
    }
    std::printf("%d inconsistent problems, %d accepted; %d feasible ones, %d refused, worst violation %.2g\n",
                inconsistent, accepted, feasible, refused, violation);
    EXPECT_EQ(accepted, 0);
    EXPECT_EQ(refused, 0);
    EXPECT_LE(violation, 1e-5);
}

} // namespace

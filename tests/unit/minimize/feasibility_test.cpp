// Is a feasible point found whenever there is one, and only then? Random
// constraints around a known point; integer constraints that contradict each other by
// construction: some combination of them, with multipliers that are not negative for
// the inequalities, reads 0 <= -1 (Farkas); and integer constraints whose verdict exact
// arithmetic gives.
#include "tests/support/feasibility_problems.hpp"
#include "tests/support/integer_feasibility.hpp"

#include <gtest/gtest.h>

namespace {

using namespace zavo::test;

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
    const CapturedErrors errors;
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
    const CapturedErrors errors;
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

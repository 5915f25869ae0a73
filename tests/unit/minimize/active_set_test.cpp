// The active set and the tolerant set built on it, on random data.
#include "minimize/constrained/active_set.hpp"
#include "minimize/constrained/tolerant_set.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

using namespace zavo::minimize;

struct Data {
    int n, ncon;
    std::vector<float> a, b, xlb, xub; // a by columns
    Data(int n, int ncon, unsigned seed)
        : n(n), ncon(ncon), a(static_cast<std::size_t>(n * ncon)), b(static_cast<std::size_t>(ncon)),
          xlb(static_cast<std::size_t>(n), -1.0F), xub(static_cast<std::size_t>(n), 1.0F)
    {
        std::mt19937 random(seed);
        std::uniform_real_distribution<float> uniform(-1.0F, 1.0F);
        for (float& element : a) {
            element = uniform(random);
        }
        for (float& element : b) {
            element = 0.3F + 0.5F * std::fabs(uniform(random));
        }
    }
    Constraints constraints() const { return {n, ncon, a.data(), ncon, b.data(), xlb.data(), xub.data()}; }
};

TEST(active_set, stays_triangular_and_orthogonal_through_changes)
{
    const Data data(7, 6, 3);
    const Constraints c = data.constraints();
    const int n = data.n;
    std::vector<float> z(49), v(7), r(7), change(7);
    std::vector<int> list(20);
    ActiveSet set(c, z.data(), list.data(), v.data(), r.data(), change.data());
    set.start();
    for (int k = 1; k <= 6 + 14; ++k) {
        set.list(k);
    }
    std::mt19937 random(11);
    for (int round = 0; round < 300; ++round) {
        if (set.count() < 6 && random() % 2 == 0) {
            const int place =
                set.count() + static_cast<int>(random() % (20U - static_cast<unsigned>(set.count())));
            const int k = set.constraint(place);
            if (set.add(place)) {
                ASSERT_EQ(set.constraint(set.count() - 1), k);
            }
        } else if (set.count() > 0) {
            set.remove(static_cast<int>(random() % static_cast<unsigned>(set.count())));
        }
        for (int i = 0; i < set.count(); ++i) {
            const int k = set.constraint(i);
            ASSERT_GT(std::fabs(c.along(k, set.column(i))), 1e-5);
            for (int later = i + 1; later < n; ++later) {
                ASSERT_NEAR(c.along(k, set.column(later)), 0.0, 1e-4) << "round " << round;
            }
        }
        std::vector<bool> seen(21, false);
        for (int i = 0; i < set.listed(); ++i) { // the list stays a permutation
            ASSERT_FALSE(seen[static_cast<std::size_t>(list[static_cast<std::size_t>(i)])]);
            seen[static_cast<std::size_t>(list[static_cast<std::size_t>(i)])] = true;
        }
    }
}

TEST(active_set, refuses_dependent_normals)
{
    const Data data(2, 0, 1);
    const Constraints c = data.constraints();
    std::vector<float> z(4), v(2), r(2), change(2);
    std::vector<int> list(4);
    ActiveSet set(c, z.data(), list.data(), v.data(), r.data(), change.data());
    set.start();
    set.list(c.lower(0));
    set.list(c.upper(0));
    EXPECT_TRUE(set.add(0));
    EXPECT_FALSE(set.add(1)); // the opposite bound
    EXPECT_EQ(set.count(), 1);
}

// The direction solves: least g.d + |d|^2 / 2 over directions that do not run
// towards near constraints. Checked by the Kuhn-Tucker conditions.
// x[0] <= 1 is active with the multiplier u, and w x[0] + x[1] <= b comes in by a step of
// u / w, which is all that the multiplier allows: it comes down to 0, and where u / w has
// been rounded upwards to a little less.
TEST(active_set, multipliers_are_not_negative_where_rounding_makes_them_so)
{
    Data data(2, 1, 1);
    std::mt19937 random(5);
    std::uniform_real_distribution<float> uniform(1.0F, 2.0F);
    int less = 0;
    for (int round = 0; round < 1000; ++round) {
        const float w = uniform(random);
        const float before = uniform(random);
        data.a = {w, 1.0F};
        const Constraints c = data.constraints();
        float z[4];
        float v[2];
        float r[2];
        float change[2];
        int list[5];
        ActiveSet set(c, z, list, v, r, change);
        set.start();
        set.list(c.upper(0));
        set.list(1);
        ASSERT_TRUE(set.add(0));
        float u[2] = {before, 0.0F};
        float y[2] = {1.0F, 0.0F};
        const float violation = before / w;
        ASSERT_TRUE(set.bring_in(1, violation, u, y));
        ASSERT_EQ(set.count(), 2);
        ASSERT_GE(u[0], 0.0F) << before << " and " << w;
        ASSERT_EQ(u[1], violation);
        less += static_cast<int>(before < violation * w);
    }
    EXPECT_GT(less, 30);
}

TEST(tolerant_set, direction_solves_its_quadratic_problem)
{
    for (unsigned seed = 1; seed <= 200; ++seed) {
        Data data(6, 8, seed);
        for (float& right : data.b) {
            right = 0.0F; // all pass through x = 0: all are near there
        }
        const Constraints c = data.constraints();
        std::vector<float> work(6 * 6 + 11 * 6 + 8), multipliers(6), x(6, 0.0F), g(6), d(6);
        std::vector<int> list(8 + 12);
        TolerantSet set(c, work.data(), list.data(), multipliers.data());
        set.start(x.data());
        for (int k = 1; k <= 20; ++k) {
            set.list(k);
        }
        std::mt19937 random(seed);
        std::uniform_real_distribution<float> uniform(-1.0F, 1.0F);
        for (float& element : g) {
            element = uniform(random);
        }
        const Direction found = set.direction(x.data(), g.data(), d.data());
        std::vector<double> stationary(6);
        for (int j = 0; j < 6; ++j) {
            stationary[j] = static_cast<double>(g[j]) + d[j];
        }
        for (int i = 0; i < set.active(); ++i) {
            ASSERT_GE(multipliers[i], 0.0F);
            std::vector<float> normal(6, 0.0F);
            c.add_normal(list[i], multipliers[i], normal.data());
            for (int j = 0; j < 6; ++j) {
                stationary[j] += normal[j];
            }
        }
        for (int j = 0; j < 6; ++j) {
            ASSERT_NEAR(stationary[j], 0.0, 1e-4) << "seed " << seed;
        }
        for (int k = 1; k <= 8; ++k) {
            ASSERT_LE(c.along(k, d.data()), 1e-5) << "seed " << seed;
        }
        ASSERT_LE(found.slope, 1e-6F);
        ASSERT_GT(found.cap, 0.0F);
    }
}

// The feasible point found is the nearest one: x - start is a combination of the
// active normals with multipliers of one sign.
TEST(tolerant_set, finds_the_nearest_feasible_point)
{
    for (unsigned seed = 1; seed <= 200; ++seed) {
        const Data data(5, 7, seed);
        const Constraints c = data.constraints();
        std::vector<float> work(5 * 5 + 11 * 5 + 7), multipliers(5), x(5), spare(5), start;
        std::vector<int> list(7 + 10);
        std::mt19937 random(seed);
        std::uniform_real_distribution<float> uniform(-4.0F, 4.0F);
        for (float& element : x) {
            element = uniform(random);
        }
        start = x;
        TolerantSet set(c, work.data(), list.data(), multipliers.data());
        set.start(x.data());
        for (int k = 1; k <= 17; ++k) {
            set.list(k);
        }
        bool moved = false;
        ASSERT_TRUE(set.find_feasible(x.data(), &moved, spare.data())); // 0 is feasible
        for (int k = 1; k <= 17; ++k) {
            ASSERT_GE(c.residual(k, x.data()), -1e-5F * c.size(k, x.data())) << "seed " << seed;
        }
        std::vector<double> rest(5);
        for (int j = 0; j < 5; ++j) {
            rest[j] = static_cast<double>(x[j]) - start[j];
        }
        for (int i = 0; i < set.active(); ++i) {
            ASSERT_GE(multipliers[i], 0.0F);
            std::vector<float> normal(5, 0.0F);
            c.add_normal(list[i], multipliers[i], normal.data());
            for (int j = 0; j < 5; ++j) {
                rest[j] += normal[j];
            }
        }
        for (int j = 0; j < 5; ++j) {
            ASSERT_NEAR(rest[j], 0.0, 2e-4) << "seed " << seed;
        }
    }
}

TEST(tolerant_set, tells_constraints_that_cannot_hold)
{
    Data data(2, 2, 1);
    data.a = {1, -1, 1, -1}; // x0 + x1 <= 1 and -(x0 + x1) <= -1.5, by columns
    data.b = {1, -1.5F};
    const Constraints c = data.constraints();
    std::vector<float> work(4 + 22 + 2), multipliers(2), spare(2), x = {0.2F, 0.3F};
    std::vector<int> list(6);
    TolerantSet set(c, work.data(), list.data(), multipliers.data());
    set.start(x.data());
    for (int k = 1; k <= 6; ++k) {
        set.list(k);
    }
    bool moved = false;
    EXPECT_FALSE(set.find_feasible(x.data(), &moved, spare.data()));
}

TEST(tolerant_set, accuracy_is_the_spacing_of_floats_at_100)
{
    const Data data(1, 0, 1);
    const Constraints c = data.constraints();
    std::vector<float> work(12), multipliers(1), x(1);
    std::vector<int> list(2);
    TolerantSet set(c, work.data(), list.data(), multipliers.data());
    set.start(x.data());
    EXPECT_EQ(set.data_accuracy(), std::nextafterf(100.0F, 200.0F) - 100.0F);
    EXPECT_EQ(set.tolerance(), 0.01F);
}

} // namespace

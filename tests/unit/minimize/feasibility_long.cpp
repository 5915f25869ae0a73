// As many feasible problems as show how rare a wrong verdict is.
#include "tests/support/feasibility_problems.hpp"

#include <gtest/gtest.h>

namespace {

using namespace zavo::test;

TEST(feasibility_long, five_of_200000_feasible_problems_are_called_inconsistent_at_most)
{
    double violation = 0;
    EXPECT_LE(count_inconsistent(200000, false, 0, &violation), 5);
    EXPECT_LE(violation, 1e-5);
}

TEST(feasibility_long, fifteen_of_20000_large_ones_are_at_most)
{
    double violation = 0;
    EXPECT_LE(count_inconsistent(20000, true, 0, &violation), 15);
    EXPECT_LE(violation, 1e-5);
}

} // namespace

// Sorting of vectors that are long enough to be ended on the way.
#include "zavox/ordering.hpp"

#include "tests/support/long_work.hpp"
#include "zavox/engine.hpp"

#include <gtest/gtest.h>
#include <vector>

namespace {

TEST(zavox_ordering, sorting_may_be_ended_at_every_question)
{
    constexpr int n = 2 * zavox::part_of_work + 1;
    std::vector<float> x(n);
    for (int i = 0; i < n; ++i) {
        x[static_cast<std::size_t>(i)] = static_cast<float>(n - i);
    }
    std::vector<int> indices(n);
    const int endings =
        support::endings_until_done([&] { return zavox::sort_indices(x.data(), n, false, indices.data()); });
    EXPECT_GT(endings, 4); // ranks, three digits, indices
    for (int i = 0; i < n; ++i) {
        ASSERT_EQ(indices[static_cast<std::size_t>(i)], n - 1 - i);
    }
}

} // namespace

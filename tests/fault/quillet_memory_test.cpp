// Every allocation of the list type fails in turn: the call reports it, leaves
// its arguments as they were and leaks nothing.
#include <quillet.h>

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

// Calls `attempt` with the first, second, ... allocation failing until it
// succeeds; gives the number of failures. `attempt` says whether it succeeded.
template <class Attempt>
int failures_until_success(Attempt&& attempt)
{
    for (int nth = 1;; ++nth) {
        dfuFailAllocation(nth);
        const bool good = attempt();
        dfuFailAllocation(0);
        if (good) {
            return nth - 1;
        }
        if (nth > 1000) {
            ADD_FAILURE() << "never succeeds";
            return nth;
        }
    }
}

TEST(quillet_memory, create_survives_every_failure)
{
    const int failures = failures_until_success([] {
        DynList* const list = dfuCreateDynList(DFU_FLOAT, 100);
        dfuFreeDynList(list);
        return list != nullptr;
    });
    EXPECT_EQ(failures, 2);
}

TEST(quillet_memory, create_with_values_leaves_them_to_the_caller)
{
    void* const array = std::malloc(4 * sizeof(int));
    DynList* list = nullptr;
    EXPECT_EQ(failures_until_success([&] {
                  list = dfuCreateDynListWithVals(DFU_INT, 4, array);
                  return list != nullptr;
              }),
              1);
    dfuFreeDynList(list);
}

TEST(quillet_memory, move_leaves_the_child_to_the_caller)
{
    DynList* const parent = dfuCreateDynList(DFU_LIST, 0);
    int failures = 0;
    for (int i = 0; i < 20; ++i) {
        DynList* const child = dfuCreateDynList(DFU_FLOAT, 3);
        failures += failures_until_success([&] {
            const int count = parent->count;
            const bool good = dfuMoveDynListList(parent, child) == 0;
            EXPECT_EQ(parent->count, good ? count + 1 : count);
            EXPECT_EQ(child->owner, good ? parent : nullptr);
            return good;
        });
    }
    EXPECT_EQ(failures, 4); // it grew to 4, 8, 16 and 32
    dfuFreeDynList(parent);
}

TEST(quillet_memory, growth_of_more_than_half_the_largest_count_leaves_the_child)
{
    DynList* const parent = dfuCreateDynList(DFU_LIST, 0);
    DynList* const child = dfuCreateDynList(DFU_INT, 0);
    constexpr int count = (1 << 30) + 1; // as if: twice as many fit no int
    parent->count = parent->capacity = count;
    dfuFailAllocation(1);
    EXPECT_NE(dfuMoveDynListList(parent, child), 0);
    dfuFailAllocation(0);
    EXPECT_EQ(parent->count, count);
    EXPECT_EQ(parent->capacity, count);
    EXPECT_EQ(child->owner, nullptr);
    parent->count = parent->capacity = 0;
    dfuFreeDynList(child);
    dfuFreeDynList(parent);
}

TEST(quillet_memory, copy_survives_every_failure)
{
    DynList* const list = dfuCreateDynList(DFU_LIST, 3);
    for (int i = 0; i < 3; ++i) {
        DynList* const inner = dfuCreateDynList(DFU_LIST, 1);
        DynList* const leaf = dfuCreateDynList(DFU_INT, 2);
        static_cast<int*>(leaf->values)[0] = i;
        leaf->count = 1;
        ASSERT_EQ(dfuMoveDynListList(inner, leaf), 0);
        ASSERT_EQ(dfuMoveDynListList(list, inner), 0);
    }
    const int failures = failures_until_success([&] {
        DynList* const copy = dfuCopyDynList(list);
        dfuFreeDynList(copy);
        return copy != nullptr;
    });
    EXPECT_EQ(failures, 14); // array and list of seven lists
    dfuFreeDynList(list);
}

} // namespace

#include <quillet.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <vector>

namespace {

DynList* child_of(const DynList* list, int i)
{
    return static_cast<DynList**>(list->values)[i];
}

// A float list of the given numbers.
DynList* floats(std::vector<float> numbers)
{
    auto* const array = static_cast<float*>(std::malloc(numbers.size() * sizeof(float)));
    std::memcpy(array, numbers.data(), numbers.size() * sizeof(float));
    return dfuCreateDynListWithVals(DFU_FLOAT, static_cast<int>(numbers.size()), array);
}

std::vector<float> floats_of(const DynList* list)
{
    const auto* const values = static_cast<const float*>(list->values);
    return {values, values + list->count};
}

// `leaf` inside `levels` lists of lists, one in the other.
DynList* nest(DynList* leaf, int levels)
{
    for (int i = 0; i < levels; ++i) {
        DynList* const parent = dfuCreateDynList(DFU_LIST, 0);
        EXPECT_EQ(dfuMoveDynListList(parent, leaf), 0);
        leaf = parent;
    }
    return leaf;
}

int depth_of(const DynList* list)
{
    int depth = 0;
    for (; list->datatype == DFU_LIST && list->count > 0; list = child_of(list, 0)) {
        ++depth;
    }
    return depth;
}

TEST(dynlist, new_list_is_empty_and_has_the_room_asked_for)
{
    for (const int datatype : {DFU_INT, DFU_FLOAT, DFU_LIST}) {
        for (const int capacity : {0, 1, 1000}) {
            DynList* const list = dfuCreateDynList(datatype, capacity);
            ASSERT_NE(list, nullptr);
            EXPECT_EQ(list->datatype, datatype);
            EXPECT_EQ(list->count, 0);
            EXPECT_EQ(list->capacity, capacity);
            EXPECT_EQ(list->values == nullptr, capacity == 0);
            EXPECT_EQ(list->owner, nullptr);
            dfuFreeDynList(list);
        }
    }
}

TEST(dynlist, unknown_datatype_or_negative_size_gives_none)
{
    for (const int datatype : {-1, 0, 1, 4, 6, 11, 13, INT_MAX}) {
        EXPECT_EQ(dfuCreateDynList(datatype, 1), nullptr);
        EXPECT_EQ(dfuCreateDynListWithVals(datatype, 0, nullptr), nullptr);
    }
    EXPECT_EQ(dfuCreateDynList(DFU_FLOAT, -1), nullptr);
    EXPECT_EQ(dfuCreateDynListWithVals(DFU_FLOAT, -1, nullptr), nullptr);
    EXPECT_EQ(dfuCreateDynListWithVals(DFU_FLOAT, 1, nullptr), nullptr);
}

TEST(dynlist, takes_over_the_array_it_is_given)
{
    auto* const array = static_cast<int*>(std::malloc(3 * sizeof(int)));
    array[0] = 7;
    array[2] = INT_MIN;
    DynList* const list = dfuCreateDynListWithVals(DFU_INT, 3, array);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->values, array);
    EXPECT_EQ(list->count, 3);
    EXPECT_EQ(list->capacity, 3);
    dfuFreeDynList(list); // leak detection sees whether the array went along
    dfuFreeDynList(dfuCreateDynListWithVals(DFU_INT, 0, nullptr));
    dfuFreeDynList(dfuCreateDynListWithVals(DFU_INT, 0, std::malloc(8)));
    dfuFreeDynList(nullptr);
}

TEST(dynlist, adopts_the_children_in_an_array)
{
    auto** const array = static_cast<DynList**>(std::malloc(2 * sizeof(DynList*)));
    array[0] = floats({1.5F});
    array[1] = nest(floats({2.5F}), 3);
    DynList* const list = dfuCreateDynListWithVals(DFU_LIST, 2, array);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(child_of(list, 0)->owner, list);
    EXPECT_EQ(child_of(list, 1)->owner, list);
    dfuFreeDynList(list);
}

TEST(dynlist, array_of_unfit_children_stays_with_the_caller)
{
    DynList* const a = floats({1.0F});
    DynList* const b = floats({2.0F});
    DynList* const owner = nest(floats({3.0F}), 1);
    auto** const array = static_cast<DynList**>(std::malloc(3 * sizeof(DynList*)));
    for (DynList* const unfit : {a, child_of(owner, 0), static_cast<DynList*>(nullptr)}) {
        array[0] = a;
        array[1] = b;
        array[2] = unfit;
        EXPECT_EQ(dfuCreateDynListWithVals(DFU_LIST, 3, array), nullptr);
        EXPECT_EQ(a->owner, nullptr); // and free to be used elsewhere
        EXPECT_EQ(b->owner, nullptr);
        EXPECT_EQ(child_of(owner, 0)->owner, owner);
    }
    std::free(array);
    dfuFreeDynList(a);
    dfuFreeDynList(b);
    dfuFreeDynList(owner);
}

TEST(dynlist, moved_children_keep_their_order_while_the_list_grows)
{
    DynList* const parent = dfuCreateDynList(DFU_LIST, 0);
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(dfuMoveDynListList(parent, floats({static_cast<float>(i)})), 0);
    }
    ASSERT_EQ(parent->count, 1000);
    EXPECT_GE(parent->capacity, 1000);
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(floats_of(child_of(parent, i))[0], static_cast<float>(i));
    }
    dfuFreeDynList(parent);
}

TEST(dynlist, move_is_refused_where_it_would_break_ownership)
{
    DynList* const leaf = floats({1.0F});
    DynList* const inner = nest(leaf, 1);
    DynList* const outer = nest(inner, 1);
    DynList* const other = dfuCreateDynList(DFU_LIST, 4);
    EXPECT_NE(dfuMoveDynListList(nullptr, other), 0);
    EXPECT_NE(dfuMoveDynListList(other, nullptr), 0);
    EXPECT_NE(dfuMoveDynListList(leaf, other), 0);  // a parent of numbers
    EXPECT_NE(dfuMoveDynListList(other, other), 0); // into itself
    EXPECT_NE(dfuMoveDynListList(inner, outer), 0); // into a list below it
    EXPECT_NE(dfuMoveDynListList(other, inner), 0); // owned by another
    EXPECT_NE(dfuMoveDynListList(outer, inner), 0); // owned by the parent already
    other->state = DFU_REGISTERED;
    EXPECT_NE(dfuMoveDynListList(outer, other), 0);
    other->state = 0;
    EXPECT_EQ(other->count, 0);
    EXPECT_EQ(outer->count, 1);
    EXPECT_EQ(inner->count, 1);
    dfuFreeDynList(outer);
    dfuFreeDynList(other);
}

TEST(dynlist, freeing_a_list_that_has_an_owner_does_nothing)
{
    DynList* const parent = nest(floats({4.0F}), 1);
    dfuFreeDynList(child_of(parent, 0));
    EXPECT_EQ(floats_of(child_of(parent, 0)), std::vector<float>{4.0F});
    parent->state = DFU_REGISTERED;
    dfuFreeDynList(parent);
    EXPECT_EQ(parent->count, 1);
    parent->state = 0;
    dfuFreeDynList(parent);
}

TEST(dynlist, nesting_costs_no_stack)
{
    constexpr int levels = 1'000'000;
    DynList* const deep = nest(floats({5.0F}), levels);
    DynList* const copy = dfuCopyDynList(deep);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(depth_of(copy), levels);
    dfuFreeDynList(deep);
    EXPECT_EQ(depth_of(copy), levels);
    dfuFreeDynList(copy);
}

TEST(dynlist, nesting_from_the_top_down_works_alike)
{
    DynList* const root = dfuCreateDynList(DFU_LIST, 0);
    DynList* parent = root;
    for (int i = 0; i < 2000; ++i) {
        DynList* const child = dfuCreateDynList(DFU_LIST, 1);
        ASSERT_EQ(dfuMoveDynListList(parent, child), 0);
        ASSERT_EQ(dfuMoveDynListList(parent, floats({1.0F})), 0);
        ASSERT_NE(dfuMoveDynListList(child, root), 0);
        parent = child;
    }
    dfuFreeDynList(root);
}

TEST(dynlist, copy_is_equal_and_its_own)
{
    DynList* const list = dfuCreateDynList(DFU_LIST, 7);
    ASSERT_EQ(dfuMoveDynListList(list, floats({1.0F, 2.0F})), 0);
    ASSERT_EQ(dfuMoveDynListList(list, dfuCreateDynList(DFU_LIST, 5)), 0);
    ASSERT_EQ(dfuMoveDynListList(list, nest(floats({3.0F}), 2)), 0);
    ASSERT_EQ(dfuMoveDynListList(list, dfuCreateDynList(DFU_INT, 0)), 0);
    dfuHoldDynList(child_of(list, 0));
    DynList* const copy = dfuCopyDynList(list);
    dfuReleaseDynList(child_of(list, 0));
    ASSERT_NE(copy, nullptr);
    static_cast<float*>(child_of(list, 0)->values)[0] = -1.0F;
    dfuFreeDynList(list);

    ASSERT_EQ(copy->count, 4);
    EXPECT_EQ(copy->holds, 0);
    EXPECT_EQ(floats_of(child_of(copy, 0)), (std::vector<float>{1.0F, 2.0F}));
    EXPECT_EQ(child_of(copy, 1)->datatype, DFU_LIST);
    EXPECT_EQ(child_of(copy, 1)->count, 0);
    EXPECT_EQ(depth_of(child_of(copy, 2)), 2);
    EXPECT_EQ(child_of(copy, 3)->datatype, DFU_INT);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(child_of(copy, i)->owner, copy);
    }
    ASSERT_EQ(dfuMoveDynListList(copy, floats({9.0F})), 0); // and it grows
    dfuFreeDynList(copy);
    EXPECT_EQ(dfuCopyDynList(nullptr), nullptr);
}

TEST(dynlist, held_list_outlives_its_freeing)
{
    DynList* const list = floats({6.0F});
    dfuHoldDynList(list);
    dfuHoldDynList(list);
    dfuFreeDynList(list);
    dfuFreeDynList(list); // no more than the first time
    dfuReleaseDynList(list);
    EXPECT_EQ(floats_of(list), std::vector<float>{6.0F});
    DynList* const other = dfuCreateDynList(DFU_LIST, 1);
    EXPECT_NE(dfuMoveDynListList(other, list), 0); // it is on its way out
    dfuFreeDynList(other);
    dfuReleaseDynList(list);
}

TEST(dynlist, hold_without_freeing_changes_nothing)
{
    DynList* const list = floats({6.0F});
    dfuHoldDynList(list);
    dfuReleaseDynList(list);
    EXPECT_EQ(list->holds, 0);
    dfuFreeDynList(list);
    dfuHoldDynList(nullptr);
    dfuReleaseDynList(nullptr);
}

TEST(dynlist, held_list_takes_its_hold_along_under_new_owners)
{
    DynList* const list = floats({7.0F});
    dfuHoldDynList(list);
    DynList* const outer = nest(list, 2);
    EXPECT_EQ(outer->holds, 1);
    auto** const array = static_cast<DynList**>(std::malloc(sizeof(DynList*)));
    array[0] = outer;
    DynList* const root = dfuCreateDynListWithVals(DFU_LIST, 1, array);
    ASSERT_NE(root, nullptr);
    dfuFreeDynList(root);
    EXPECT_EQ(floats_of(list), std::vector<float>{7.0F});
    dfuReleaseDynList(list); // and the whole tree goes
}

TEST(dynlist, growth_stops_at_the_largest_count)
{
    DynList* const parent = dfuCreateDynList(DFU_LIST, 0);
    DynList* const child = dfuCreateDynList(DFU_INT, 0);
    parent->count = parent->capacity = INT_MAX; // as if; nothing is read there
    EXPECT_NE(dfuMoveDynListList(parent, child), 0);
    if (sizeof(void*) == 4) {
        parent->count = parent->capacity = 1 << 29; // twice as many pointers do not fit
        EXPECT_NE(dfuMoveDynListList(parent, child), 0);
    }
    parent->count = parent->capacity = 0;
    EXPECT_EQ(dfuMoveDynListList(parent, child), 0);
    dfuFreeDynList(parent);
}

TEST(dynlist, allocation_refuses_products_that_do_not_fit)
{
    // Through a volatile, or the compiler warns of the very sizes under test.
    volatile std::size_t huge = SIZE_MAX / 4 + 1;
    EXPECT_EQ(dfuAllocate(huge, 4), nullptr);
    EXPECT_EQ(dfuAllocate(huge, huge), nullptr);
    for (const std::size_t count : {0, 1}) {
        void* const block = dfuAllocate(count, 0);
        EXPECT_NE(block, nullptr);
        std::free(block);
    }
    if (sizeof(void*) == 4) {
        EXPECT_EQ(dfuCreateDynList(DFU_FLOAT, 1 << 30), nullptr);
    }
}

#ifndef ZAVO_WITHOUT_ASSERTS
TEST(dynlist_death_test, a_release_without_a_hold_is_a_mistake)
{
    DynList* const list = dfuCreateDynList(DFU_INT, 0);
    EXPECT_DEATH(dfuReleaseDynList(list), "holds > 0");
    dfuFreeDynList(list);
}
#endif

} // namespace

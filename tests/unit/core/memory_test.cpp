#include "core/system/memory.hpp"

#include "core/system/platform.hpp"

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <vector>

namespace {

using namespace zavo::core;

TEST(memory, the_nth_allocation_fails_and_only_that_one)
{
    zavo_fail_allocation(2);
    void* const first = allocate(4, 4);
    void* const second = allocate(4, 4);
    void* const third = allocate(4, 4);
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(second, nullptr);
    EXPECT_NE(third, nullptr);
    EXPECT_EQ(zavo_allocation_count(), 3);
    zavo_fail_allocation(0);
    release(first);
    release(third);
}

TEST(memory, products_beyond_a_size_are_failed_allocations)
{
    EXPECT_EQ(allocate(SIZE_MAX / 2, 4), nullptr);
    EXPECT_EQ(allocate_zeroed(SIZE_MAX / 4 + 2, 4), nullptr);
    EXPECT_EQ(take_work(SIZE_MAX / 2, 2), nullptr);
    EXPECT_EQ(take_work(SIZE_MAX / 2, 1), nullptr);
    for (void* const none : {allocate(0, 4), allocate(4, 0), allocate_zeroed(0, 4), allocate_zeroed(4, 0),
                             reallocate(nullptr, 0)}) {
        EXPECT_NE(none, nullptr); // so that null always means failure
        release(none);
    }
}

TEST(memory, work_blocks_are_aligned_and_given_back_in_any_order)
{
    void* const mark = work_mark();
    std::vector<void*> blocks;
    for (std::size_t bytes : {1U, 63U, 64U, 4096U, 5U}) {
        void* const block = take_work(bytes, 1);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 64, 0U);
        std::memset(block, 0x5a, bytes);
        blocks.push_back(block);
    }
    give_back_work(blocks[2]);
    give_back_work(blocks[4]);
    give_back_work(nullptr);
    give_back_work(blocks[0]);
    EXPECT_NE(work_mark(), mark);
    release_work_since(mark);
    EXPECT_EQ(work_mark(), mark);
}

TEST(memory, a_result_array_frees_what_it_did_not_hand_over)
{
    float own[2] = {1, 2};
    {
        ResultArray<float> array;
        ASSERT_TRUE(array.allocate(10));
        ASSERT_TRUE(array.allocate(20)); // the first one is freed
        array.borrow(own);
        EXPECT_TRUE(array.borrowed());
        EXPECT_EQ(array.hand_over(), own);
        EXPECT_EQ(array.get(), nullptr);
    }
    ResultArray<float> array;
    ASSERT_TRUE(array.allocate(3));
    float* const handed = array.hand_over();
    std::free(handed);
}

TEST(memory, from_the_nth_on_all_fail_when_asked_to)
{
    zavo_fail_allocation(-2);
    void* const first = allocate(1, 1);
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(allocate(1, 1), nullptr);
    EXPECT_EQ(allocate_zeroed(1, 1), nullptr);
    EXPECT_EQ(reallocate(nullptr, 1), nullptr);
    zavo_fail_allocation(0);
    release(first);
}

#if !defined(__SANITIZE_ADDRESS__) // which ends the process
TEST(memory, more_than_the_system_has_is_a_failed_allocation)
{
    EXPECT_EQ(allocate(SIZE_MAX / 4, 1), nullptr);
    EXPECT_EQ(allocate_zeroed(SIZE_MAX / 4, 1), nullptr);
    EXPECT_EQ(take_work(SIZE_MAX / 4, 1), nullptr);
}
#endif

// Blocks of many megabytes come from the system another way.
TEST(memory, large_blocks_are_malloc_blocks_too)
{
    namespace platform = zavo::platform;
    const std::size_t sizes[] = {platform::large_block - 1, platform::large_block, platform::large_block + 1,
                                 3 * platform::large_block + 12345};
    for (const std::size_t bytes : sizes) {
        auto* block = static_cast<unsigned char*>(allocate(bytes, 1));
        ASSERT_NE(block, nullptr);
        for (std::size_t i = 0; i < bytes; i += 1000) {
            block[i] = static_cast<unsigned char>(i / 1000);
        }
        block[bytes - 1] = 77;
        block = static_cast<unsigned char*>(reallocate(block, 2 * bytes));
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(block[bytes - 1], 77);
        EXPECT_EQ(block[4000000], static_cast<unsigned char>(4000));
        std::free(block);
    }
}

} // namespace

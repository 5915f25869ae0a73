#include "core/system/memory.hpp"

#include "core/system/platform.hpp"

#include <cstdint>

namespace zavo::core {

// A work block's header; the block itself starts `work_alignment` bytes behind
// the aligned start of the header.
struct WorkBlock {
    WorkBlock* older;
    WorkBlock* newer;
    void* memory; // what malloc returned
};

} // namespace zavo::core

namespace {

using zavo::core::memory_state;
using zavo::core::MemoryState;
using zavo::core::WorkBlock;

bool must_fail()
{
    MemoryState& state = memory_state();
    ++state.allocations;
    if (state.until_failure > 0) {
        --state.until_failure;
        return false;
    }
    const bool fails = state.until_failure == 0;
    if (fails && !state.rest_fails) {
        state.until_failure = -1;
    }
    return fails;
}

constexpr std::size_t work_alignment = 64;
static_assert(sizeof(WorkBlock) <= work_alignment);

WorkBlock* header_of(void* block)
{
    return reinterpret_cast<WorkBlock*>(static_cast<unsigned char*>(block) - work_alignment);
}

bool product_overflows(std::size_t count, std::size_t size)
{
    return size != 0 && count > SIZE_MAX / 2 / size;
}

} // namespace

extern "C" void zavo_fail_allocation(long nth)
{
    memory_state().until_failure = std::labs(nth) - 1;
    memory_state().rest_fails = nth < 0;
    memory_state().allocations = 0;
}

extern "C" long zavo_allocation_count(void)
{
    return memory_state().allocations;
}

namespace zavo::core {

void* allocate(std::size_t count, std::size_t size) noexcept
{
    if (must_fail() || product_overflows(count, size)) {
        return nullptr;
    }
    const std::size_t bytes = count * size;
    if (bytes >= platform::large_block) {
        return platform::allocate_large(bytes);
    }
    if (bytes >= platform::aligned_block) {
        return platform::allocate_aligned(bytes);
    }
    return std::malloc(bytes != 0 ? bytes : 1);
}

void* allocate_zeroed(std::size_t count, std::size_t size) noexcept
{
    if (must_fail() || product_overflows(count, size)) {
        return nullptr;
    }
    return std::calloc(count != 0 ? count : 1, size != 0 ? size : 1);
}

void* reallocate(void* block, std::size_t bytes) noexcept
{
    if (must_fail()) {
        return nullptr;
    }
    return std::realloc(block, bytes != 0 ? bytes : 1);
}

void release(void* block) noexcept
{
    std::free(block);
}

void* take_work(std::size_t count, std::size_t size) noexcept
{
    if (product_overflows(count, size) || count * size > SIZE_MAX / 2 - 2 * work_alignment) {
        return nullptr;
    }
    void* const memory = allocate(count * size + 2 * work_alignment, 1);
    if (memory == nullptr) {
        return nullptr;
    }
    const auto start = reinterpret_cast<std::uintptr_t>(memory);
    const std::uintptr_t aligned = (start + work_alignment - 1) & ~(std::uintptr_t{work_alignment} - 1);
    auto* const header =
        reinterpret_cast<WorkBlock*>(static_cast<unsigned char*>(memory) + (aligned - start));
    WorkBlock*& newest = memory_state().newest_work;
    *header = {newest, nullptr, memory};
    if (newest != nullptr) {
        newest->newer = header;
    }
    newest = header;
    return reinterpret_cast<unsigned char*>(header) + work_alignment;
}

void give_back_work(void* block) noexcept
{
    if (block == nullptr) {
        return;
    }
    WorkBlock* const header = header_of(block);
    if (header->newer != nullptr) {
        header->newer->older = header->older;
    } else {
        memory_state().newest_work = header->older;
    }
    if (header->older != nullptr) {
        header->older->newer = header->newer;
    }
    release(header->memory);
}

void* work_mark() noexcept
{
    return memory_state().newest_work;
}

void release_work_since(void* mark) noexcept
{
    const MemoryState& state = memory_state();
    while (state.newest_work != nullptr && state.newest_work != mark) {
        give_back_work(reinterpret_cast<unsigned char*>(state.newest_work) + work_alignment);
    }
}

} // namespace zavo::core

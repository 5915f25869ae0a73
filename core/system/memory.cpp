#include "core/system/memory.hpp"

#include "core/system/platform.hpp"

#include <cstdint>

namespace {

// Allocations that succeed before one fails; negative when none is to fail.
long until_failure = -1;
long allocations = 0;

bool must_fail()
{
    ++allocations;
    return until_failure >= 0 && until_failure-- == 0;
}

// A work block's header; the block itself starts `work_alignment` bytes behind
// the aligned start of the header.
struct WorkBlock {
    WorkBlock* older;
    WorkBlock* newer;
    void* memory; // what malloc returned
};
constexpr std::size_t work_alignment = 64;
static_assert(sizeof(WorkBlock) <= work_alignment);

WorkBlock* newest_work = nullptr;

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
    until_failure = nth > 0 ? nth - 1 : -1;
    allocations = 0;
}

extern "C" long zavo_allocation_count(void)
{
    return allocations;
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
    *header = {newest_work, nullptr, memory};
    if (newest_work != nullptr) {
        newest_work->newer = header;
    }
    newest_work = header;
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
        newest_work = header->older;
    }
    if (header->older != nullptr) {
        header->older->newer = header->newer;
    }
    release(header->memory);
}

void* work_mark() noexcept
{
    return newest_work;
}

void release_work_since(void* mark) noexcept
{
    while (newest_work != nullptr && newest_work != mark) {
        give_back_work(reinterpret_cast<unsigned char*>(newest_work) + work_alignment);
    }
}

} // namespace zavo::core

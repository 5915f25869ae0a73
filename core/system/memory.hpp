// Every allocation of the library. All of it comes from malloc, so arrays that
// reach a caller are released with free().
#pragma once

#include <cstddef>
#include <cstdlib>
#include <utility>

extern "C" {
// For tests: makes the nth allocation of this thread from now on fail (1 is the
// next one), -nth also all that follow it; 0 switches that off. zavo_allocation_count
// counts the thread's calls since the last switch.
void zavo_fail_allocation(long nth);
long zavo_allocation_count(void);
}

namespace zavo::core {

// What a thread has taken; its work blocks by age.
struct WorkBlock;
struct MemoryState {
    long until_failure = -1; // allocations that succeed before one fails; negative when none is to fail
    bool rest_fails = false; // with all after it
    long allocations = 0;
    WorkBlock* newest_work = nullptr;
};
MemoryState& memory_state(); // the calling thread's (core/thread_state.cpp)

// count elements of `size` bytes; null when memory is short or the product
// does not fit a size_t. allocate_zeroed clears them.
[[nodiscard]] void* allocate(std::size_t count, std::size_t size) noexcept;
[[nodiscard]] void* allocate_zeroed(std::size_t count, std::size_t size) noexcept;
[[nodiscard]] void* reallocate(void* block, std::size_t bytes) noexcept;
void release(void* block) noexcept;

// Work storage. A block belongs to the routine whose EntryFrame is innermost
// when it is taken and is released with that frame at the latest, also when a
// trapped fault has jumped out of the worker. Outside every frame the taker
// must give it back. Blocks are 64-byte aligned.
[[nodiscard]] void* take_work(std::size_t count, std::size_t size) noexcept;
void give_back_work(void* block) noexcept;

template <class T>
[[nodiscard]] T* take_work(std::size_t count) noexcept
{
    return static_cast<T*>(take_work(count, sizeof(T)));
}

// Marks for EntryFrame: the newest block, and the release of all newer ones.
void* work_mark() noexcept;
void release_work_since(void* mark) noexcept;

// A result array: allocated here or borrowed from the caller. Stands outside
// the fault trap. What it allocated and has not handed over it frees.
template <class T>
class ResultArray {
public:
    ResultArray() = default;
    ResultArray(const ResultArray&) = delete;
    ResultArray& operator=(const ResultArray&) = delete;
    ~ResultArray() { drop(); }

    void borrow(T* array)
    {
        drop();
        data_ = array;
        borrowed_ = true;
    }
    [[nodiscard]] bool allocate(std::size_t count)
    {
        drop();
        data_ = static_cast<T*>(core::allocate(count, sizeof(T)));
        return data_ != nullptr;
    }
    bool borrowed() const { return borrowed_; }
    T* get() const { return data_; }
    T* hand_over()
    {
        borrowed_ = false;
        return std::exchange(data_, nullptr);
    }

private:
    void drop()
    {
        if (!borrowed_) {
            release(data_);
        }
        data_ = nullptr;
        borrowed_ = false;
    }
    T* data_ = nullptr;
    bool borrowed_ = false;
};

} // namespace zavo::core

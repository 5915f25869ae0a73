// Work storage from the engine's allocator.
#pragma once

#include "zavox/engine.hpp"

#include <cassert>
#include <cstddef>
#include <cstdint>

namespace zavox {

// An array of `count` T, none when memory is short. Nothing is constructed.
template <class T>
class Buffer {
public:
    Buffer() = default;
    explicit Buffer(std::int64_t count) { make(count); }
    ~Buffer() { engine().release(values_); }
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;

    // In place of what was there.
    bool make(std::int64_t count)
    {
        assert(count >= 0);
        engine().release(values_);
        count_ = count;
        values_ = static_cast<T*>(engine().allocate(static_cast<std::size_t>(count), sizeof(T)));
        return values_ != nullptr;
    }
    T* get() const { return values_; }
    T& operator[](std::int64_t i) const
    {
        assert(i >= 0 && i < count_);
        return values_[i];
    }
    explicit operator bool() const { return values_ != nullptr; }

private:
    T* values_ = nullptr;
    std::int64_t count_ = 0; // for asserts alone
};

} // namespace zavox

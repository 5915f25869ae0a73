// An array that grows, of plain values, from the lists' allocator.
#pragma once

#include <quillet.h>

#include <cassert>
#include <cstdlib>
#include <cstring>

namespace zavox {

template <class T>
class GrowingArray {
public:
    GrowingArray() = default;
    ~GrowingArray() { std::free(values_); }
    GrowingArray(const GrowingArray&) = delete;
    GrowingArray& operator=(const GrowingArray&) = delete;

    // False when memory is short; the array is then as it was.
    [[nodiscard]] bool push(const T& value)
    {
        if (size_ == room_ && !grow()) {
            return false;
        }
        values_[size_++] = value;
        return true;
    }
    // The last one, which leaves the array.
    T pop()
    {
        assert(size_ > 0);
        return values_[--size_];
    }
    void drop(int count)
    {
        assert(count >= 0 && count <= size_);
        size_ -= count;
    }

    int size() const { return size_; }
    T& operator[](int i) { return *at(i); }
    const T& operator[](int i) const { return *at(i); }
    // The i-th from the end, which is 0.
    T& from_end(int i) { return *at(size_ - 1 - i); }

private:
    T* at(int i) const
    {
        assert(values_ != nullptr && i >= 0 && i < size_);
        return values_ + i;
    }
    bool grow()
    {
        const int room = room_ == 0 ? 16 : 2 * room_;
        auto* const values = static_cast<T*>(dfuAllocate(static_cast<std::size_t>(room), sizeof(T)));
        if (values == nullptr) {
            return false;
        }
        if (size_ > 0) {
            std::memcpy(values, values_, static_cast<std::size_t>(size_) * sizeof(T));
        }
        std::free(values_);
        values_ = values;
        room_ = room;
        return true;
    }

    T* values_ = nullptr;
    int size_ = 0;
    int room_ = 0;
};

} // namespace zavox

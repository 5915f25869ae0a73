// A fuzz target's input, read byte by byte; behind its end stand zeros.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace zavo::fuzz {

class Bytes {
public:
    Bytes(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
    bool at_end() const { return at_ >= size_; }
    std::uint8_t byte() { return at_ < size_ ? data_[at_++] : 0; }
    // One of 0 .. count - 1.
    int below(int count) { return (byte() | byte() << 8) % count; }
    int integer()
    {
        std::uint8_t raw[4];
        for (std::uint8_t& each : raw) {
            each = byte();
        }
        int value = 0;
        std::memcpy(&value, raw, sizeof value);
        return value;
    }
    // Mostly small numbers that make sense together, sometimes any float at all.
    float number()
    {
        const std::uint8_t first = byte();
        if (first != 255) {
            return (static_cast<float>(first) - 127.0F) / 16.0F;
        }
        const int raw = integer();
        float value = 0.0F;
        std::memcpy(&value, &raw, sizeof value);
        return value;
    }
    std::vector<float> numbers(int n)
    {
        std::vector<float> values;
        for (int i = 0; i < n; ++i) {
            values.push_back(number());
        }
        return values;
    }

private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t at_ = 0;
};

// What must hold, holds, also in a build without assertions.
inline void require(bool good)
{
    if (!good) {
        std::abort();
    }
}

} // namespace zavo::fuzz

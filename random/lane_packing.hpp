// Packing of lanes for instruction sets that have no instruction for it.
#pragma once

#include <cstdint>
#include <cstring>

namespace zavo::random {

// See lanes_scalar.hpp. Every lane is written, and the next one over it unless it stays.
template <int width>
struct LanePacking {
    template <class Floats>
    static void pack(float* to, Floats x, unsigned lanes)
    {
        float each[width];
        static_assert(sizeof each == sizeof x);
        std::memcpy(each, &x, sizeof each);
        for (int i = 0; i < width; ++i) {
            *to = each[i];
            to += lanes >> i & 1;
        }
    }
    static void pack_places(std::uint32_t* to, std::uint32_t first, unsigned lanes)
    {
        for (std::uint32_t i = 0; i < width; ++i) {
            *to = first + i;
            to += lanes >> i & 1;
        }
    }
};

} // namespace zavo::random

// Roots of unity in double precision, the same bits on every target.
//
// exp(2 pi i t / n) is the product of two table values, at t = high * step and
// t = low, so that about 2 sqrt(n) sines and cosines serve all n roots; the error
// is a few roundings of a double.
#pragma once

#include "zavox/buffer.hpp"

#include <cstdint>

namespace zavox {

struct Root {
    double cos;
    double sin;
};

class Roots {
public:
    // n >= 1; false when memory is short.
    [[nodiscard]] bool make(std::int64_t n);

    // 0 <= t < n.
    Root operator[](std::int64_t t) const
    {
        const Root a = high_[t >> shift_];
        const Root b = low_[t & mask_];
        return {a.cos * b.cos - a.sin * b.sin, a.sin * b.cos + a.cos * b.sin};
    }

private:
    Buffer<Root> low_;
    Buffer<Root> high_;
    int shift_ = 0;
    std::int64_t mask_ = 0;
};

} // namespace zavox

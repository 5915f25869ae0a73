// V transforms side by side as lanes of the passes, and the vector room's names.
#pragma once

#include "core/simd/vectors.hpp"
#include "fft/tables/shape.hpp"

namespace zavo::fft {

namespace { // compiled for several instruction sets: see inlining.hpp

using namespace simd;

// V transforms side by side: value i of transform t stands at i * V + t. Complex
// values are V real parts, then V imaginary parts.
template <int V>
struct VectorLanes {
    using Value = Vector<V>;
    static constexpr Index stride = V;
    static ZAVO_INLINE Value load(const float* p) { return simd::load<V>(p); }
    static ZAVO_INLINE void store(float* p, const Value& v) { simd::store<V>(p, v); }
};

// An int for each of V lanes: places in a table, or a mask of -1 and 0.
template <int V>
struct Ints {
    typedef int Type __attribute__((vector_size(4 * V)));
};

} // namespace

} // namespace zavo::fft

// Shapes and views that every pass shares.
//
// A pass of radix ip sees its n = ido * l1 * ip values as three-dimensional
// arrays, first index fastest:
//
//     split  (i, k, j):  i + ido * (k + l1 * j)    ip slabs, far apart
//     joined (i, j, k):  i + ido * (j + ip * k)    ip rows, side by side
//     nested (i, k, j):  the same places; the sub-transforms that a butterfly joins
//                        lie side by side, so that a part of the array is a
//                        whole
// A forward real pass reads split and writes joined, a backward one the reverse;
// a complex pass reads joined and writes split in both directions.
//
// Lanes say what one "value" is: one float (the definition of every result), or
// a register of floats that belong to independent transforms of the same shape
// and lie `stride` floats apart from value to value. The passes are templates on
// Lanes, so a wider register is a new lane type and not a second pass.
#pragma once

#include "core/frame/interruption.hpp"
#include "core/simd/inlining.hpp"

#include <cstddef>
#include <cstdint>
#include <limits>

namespace zavo::fft {

using Index = std::ptrdiff_t;

// Asks whether the work goes on (core/frame/interruption.hpp) in loops over n values,
// but for those that are done before anybody would ask.
ZAVO_INLINE bool interrupted_at(Index n, Index operations)
{
    constexpr Index interruptible_length = Index{1} << 13;
    return n >= interruptible_length && core::interrupted(operations);
}

struct Shape {
    Index ido; // values a factor's sub-transform has before this pass
    Index l1;  // independent butterflies of the same twiddle
    Index ip;  // radix
};

enum class Direction { forward, backward };

// One float at a time; complex values as pairs.
struct ScalarLanes {
    using Value = float;
    static constexpr Index stride = 1;
    static ZAVO_INLINE Value load(const float* p) { return *p; }
    static ZAVO_INLINE void store(float* p, Value v) { *p = v; }
};

template <class Lanes>
struct SplitView {
    Index ido, l1;
    explicit ZAVO_INLINE SplitView(const Shape& shape) : ido(shape.ido), l1(shape.l1) {}
    ZAVO_INLINE Index at(Index i, Index k, Index j) const { return Lanes::stride * (i + ido * (k + l1 * j)); }
};

template <class Lanes>
struct JoinedView {
    Index ido, ip;
    explicit ZAVO_INLINE JoinedView(const Shape& shape) : ido(shape.ido), ip(shape.ip) {}
    ZAVO_INLINE Index at(Index i, Index j, Index k) const { return Lanes::stride * (i + ido * (j + ip * k)); }
};

// The places of a joined array in the order of indices of a split one.
template <class Lanes>
struct NestedView : JoinedView<Lanes> {
    using JoinedView<Lanes>::JoinedView;
    ZAVO_INLINE Index at(Index i, Index k, Index j) const { return JoinedView<Lanes>::at(i, j, k); }
};

template <class Lanes>
ZAVO_INLINE void copy_values(Index count, const float* from, float* to)
{
    for (Index i = 0; i < count; ++i) {
        Lanes::store(to + i * Lanes::stride, Lanes::load(from + i * Lanes::stride));
    }
}

// n * a + b as a count for an allocation; a count that no allocation can serve
// when it does not fit a size_t.
inline std::size_t count_of_floats(Index n, int a, int b)
{
    const std::uint64_t count =
        static_cast<std::uint64_t>(n) * static_cast<unsigned>(a) + static_cast<unsigned>(b);
    constexpr std::size_t most = std::numeric_limits<std::size_t>::max();
    return count > most ? most : static_cast<std::size_t>(count);
}

} // namespace zavo::fft

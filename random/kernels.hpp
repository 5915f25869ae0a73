// The inner loops of the deviates, one set for each instruction set. Every set
// gives the same bits; core/simd/path.hpp says which one runs.
#pragma once

#include "core/frame/interruption.hpp"
#include "random/congruence.hpp"

#include <cassert>
#include <cstddef>
#include <cstdint>

namespace zavo::random {

struct Kernels {
    // Writes the deviates of the n >= 1 states that follow x to r and returns
    // the last of these states.
    std::uint32_t (*uniform)(const Multiplier& a, std::uint32_t x, std::size_t n, float* r);

    // The same by non-temporal stores, for arrays larger than the cache.
    std::uint32_t (*uniform_large)(const Multiplier& a, std::uint32_t x, std::size_t n, float* r);

    // The same as `uniform`, writing also the states themselves.
    std::uint32_t (*uniform_and_states)(const Multiplier& a, std::uint32_t x, std::size_t n, float* r,
                                        std::uint32_t* states);

    // Replaces each of n uniform deviates by -ln of it.
    void (*minus_log)(std::size_t n, float* r);

    // Replaces each of n uniform deviates by l_inverse_normal of it. True when
    // one of them was outside (0, 1).
    bool (*normal)(std::size_t n, float* r);
};

// A batch that is drawn and then transformed is done in blocks, which stay in
// the cache between the two: work(count, r) for each.
template <class Work>
void in_blocks(int n, float* r, Work&& work)
{
    assert(n < 1 || r != nullptr);
    constexpr int block = 32768;
    constexpr int nanoseconds = 4; // or so, for each
    while (n > 0) {
        const int count = n < block ? n : block;
        work(count, r);
        n -= count;
        r += count;
        if (n > 0 && core::interrupted(nanoseconds * count)) {
            return;
        }
    }
}

// What the deviates 0 and 1 count as where they must not lie on the ends.
inline constexpr float least_inside = unit_scale;
inline constexpr float greatest_inside = 1.0F - 0x1p-24F;

extern const Kernels scalar_kernels;
extern const Kernels sse2_kernels;
extern const Kernels avx2_kernels;
extern const Kernels avx512_kernels;
extern const Kernels neon_kernels;

// The set of the path in use.
const Kernels& kernels();

} // namespace zavo::random

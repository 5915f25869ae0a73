// The inner loops of the deviates, one set for each instruction set. Every set
// gives the same bits; which one runs is found out once, from the processor.
#pragma once

#include "random/congruence.hpp"

#include <cstddef>
#include <cstdint>

namespace zavo::random {

struct Kernels {
    const char* name;

    // Writes the deviates of the n >= 1 states that follow x to r and returns
    // the last of these states.
    std::uint32_t (*uniform)(const Multiplier& a, std::uint32_t x, std::size_t n, float* r);

    // The same, for arrays larger than the cache, which it passes by.
    std::uint32_t (*uniform_large)(const Multiplier& a, std::uint32_t x, std::size_t n, float* r);

    // The same as `uniform`, writing also the states themselves.
    std::uint32_t (*uniform_and_states)(const Multiplier& a, std::uint32_t x, std::size_t n, float* r,
                                        std::uint32_t* states);

    // Replaces each of n uniform deviates by -ln of it.
    void (*minus_log)(std::size_t n, float* r);

    // Replaces each of n uniform deviates by the inverse normal distribution
    // function of it; a deviate outside (0, 1) posts its error.
    void (*normal)(std::size_t n, float* r);
};

extern const Kernels scalar_kernels;
extern const Kernels sse2_kernels;
extern const Kernels avx2_kernels;
extern const Kernels avx512_kernels;

// The widest set that this processor runs.
const Kernels& kernels();

// For tests and benchmarks: the i-th set that this processor runs, slowest
// first, null behind the last; and a set to use from now on, null for the
// widest.
const Kernels* available_kernels(int i);
void use_kernels(const Kernels* set);

} // namespace zavo::random

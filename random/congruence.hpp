// The multiplicative congruence x <- a x mod m, m = 2^31 - 1, in exact integers.
//
// m is a Mersenne prime: 2^31 = 1 (mod m), so a product of two residues is
// reduced by adding its upper to its lower 31 bits. Jumping k steps ahead is one
// multiplication by a^k mod m, which lets independent lanes produce consecutive
// members of the one sequence.
//
// S. K. Park, K. W. Miller, "Random number generators: good ones are hard to
// find" (1988), for the modulus and 16807; G. S. Fishman, L. R. Moore, "An
// exhaustive analysis of multiplicative congruential random number generators
// with modulus 2^31 - 1" (1986), for the two other multipliers.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zavo::random {

inline constexpr std::uint32_t modulus = 2147483647;

// Deviates are x times this, rounded once to float; x = m - 64 and above become
// exactly 1.
inline constexpr float unit_scale = 0x1p-31F;

// Longest jump that a block of lanes makes.
inline constexpr int max_lanes = 64;

// a b mod m for 1 <= a, b < m. The result is never 0, m being prime.
constexpr std::uint32_t multiply_mod(std::uint32_t a, std::uint32_t b)
{
    const std::uint64_t product = std::uint64_t{a} * b;
    const auto sum =
        static_cast<std::uint32_t>(product & modulus) + static_cast<std::uint32_t>(product >> 31);
    return sum >= modulus ? sum - modulus : sum;
}

// The state that lies `count` steps behind x: a^count x mod m, by squaring.
// Powers repeat after m - 1 at the latest (Fermat).
constexpr std::uint32_t jumped(std::uint32_t x, std::uint32_t a, std::uint64_t count)
{
    for (count %= modulus - 1; count != 0; count /= 2) {
        if (count % 2 != 0) {
            x = multiply_mod(x, a);
        }
        a = multiply_mod(a, a);
    }
    return x;
}
static_assert(jumped(1, 16807, 10000) == 1043618065);

// A multiplier and its powers: power[i] = a^(i+1) mod m.
struct Multiplier {
    alignas(64) std::uint32_t power[max_lanes];
};

constexpr Multiplier powers_of(std::uint32_t a)
{
    Multiplier multiplier{};
    std::uint32_t power = 1;
    for (int i = 0; i < max_lanes; ++i) {
        power = multiply_mod(power, a);
        multiplier.power[i] = power;
    }
    return multiplier;
}

} // namespace zavo::random

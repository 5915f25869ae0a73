// One lane: the deviate kernels in plain arithmetic. The operations are those
// of every other lane type; see lanes_avx2.hpp for the vector form.
#pragma once

#include "random/congruence.hpp"

#include <bit>
#include <cmath>

namespace zavo::random {

struct ScalarLanes {
    static constexpr int width = 1;  // states or floats in a vector
    static constexpr int parts = 1;  // vectors of doubles that hold as many
    static constexpr int chains = 1; // independent vectors of states in flight

    using States = std::uint32_t;
    using Floats = float;
    using Doubles = double;
    using Bits = std::uint64_t; // the doubles as 64-bit integers

    // States and what becomes of them.
    static States load_states(const std::uint32_t* x) { return *x; }
    static void store_states(std::uint32_t* to, States x) { *to = x; }
    static States all_states(std::uint32_t x) { return x; }
    // x a mod m, with a in the form that factor() gives it.
    static States factor(States a) { return a; }
    static States multiply(States x, States a) { return multiply_mod(x, a); }
    static Floats unit(States x) { return static_cast<float>(static_cast<std::int32_t>(x)) * unit_scale; }

    // Floats.
    static Floats load(const float* r) { return *r; }
    static void store(float* r, Floats x) { *r = x; }
    static void stream(float* r, Floats x) { *r = x; }
    static void end_stream() {}
    static Floats all(float x) { return x; }
    static Floats magnitude(Floats x) { return std::fabs(x); }
    static Floats with_sign_of(Floats x, Floats sign) { return std::copysign(x, sign); }
    // Bit i is set when a < b in lane i; never with a NaN.
    static unsigned less(Floats a, Floats b) { return a < b ? 1U : 0U; }

    // Doubles, part by part.
    static Doubles widen(Floats x, int) { return static_cast<double>(x); }
    static Floats narrow(const Doubles (&x)[parts]) { return static_cast<float>(x[0]); }
    static Doubles all(double x) { return x; }
    static Doubles root(Doubles x) { return std::sqrt(x); }
    static Bits bits(Doubles x) { return std::bit_cast<Bits>(x); }
    static Doubles from_bits(Bits x) { return std::bit_cast<Doubles>(x); }
    static Bits all_bits(std::uint64_t x) { return x; }

    // Bit i is set when lane i is within `reach` ulp of a double of the midpoint of two
    // floats.
    static unsigned near_middle(const Doubles (&x)[parts], std::uint32_t reach)
    {
        const std::uint64_t below = std::bit_cast<std::uint64_t>(x[0]) & 0x1fffffffU;
        return below - (0x10000000U - reach) < 2 * std::uint64_t{reach} ? 1U : 0U;
    }

    // Writes the lanes of x whose bit is set, packed, behind `to`; up to `width`
    // places are overwritten.
    static void pack(float* to, Floats x, unsigned) { *to = x; }
    static void pack_places(std::uint32_t* to, std::uint32_t first, unsigned) { *to = first; }
};

} // namespace zavo::random

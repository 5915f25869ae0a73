// V lanes of the compiler's vectors: what is the same for every instruction set. The
// names are explained in lanes_scalar.hpp.
#pragma once

#include "core/simd/vectors.hpp"
#include "random/congruence.hpp"

#include <cstdint>
#include <cstring>

namespace zavo::random {

template <int V>
struct VectorLanes {
    static constexpr int width = V;
    static constexpr int parts = 2;
    static constexpr int chains = 4;

    // NOLINTBEGIN(modernize-use-using): the attribute needs a typedef
    typedef std::uint32_t States __attribute__((vector_size(4 * V)));
    typedef std::int32_t SignedStates __attribute__((vector_size(4 * V)));
    typedef double Doubles __attribute__((vector_size(4 * V)));
    typedef std::uint64_t Bits __attribute__((vector_size(4 * V)));
    // NOLINTEND(modernize-use-using)
    using Floats = simd::Vector<V>;

    static States load_states(const std::uint32_t* x)
    {
        States states;
        std::memcpy(&states, x, sizeof states);
        return states;
    }
    static void store_states(std::uint32_t* to, States x) { std::memcpy(to, &x, sizeof x); }
    static States all_states(std::uint32_t x) { return States{} + x; }
    // 2a: 64-bit products with it have the product's part above bit 31 in the upper
    // half and twice the rest in the lower one.
    static States factor(States a) { return a << 1; }
    // States are below 2^31.
    static Floats unit(States x)
    {
        return __builtin_convertvector(reinterpret_cast<SignedStates>(x), Floats) * unit_scale;
    }

    static Floats load(const float* r) { return simd::load<V>(r); }
    static void store(float* r, Floats x) { simd::store<V>(r, x); }
    static Floats all(float x) { return simd::broadcast<V>(x); }
    static Floats magnitude(Floats x)
    {
        return reinterpret_cast<Floats>(reinterpret_cast<States>(x) & 0x7fffffffU);
    }
    static Floats with_sign_of(Floats x, Floats sign)
    {
        return reinterpret_cast<Floats>((reinterpret_cast<States>(x) & 0x7fffffffU) |
                                        (reinterpret_cast<States>(sign) & 0x80000000U));
    }

    static Doubles all(double x) { return Doubles{} + x; }
    static Bits bits(Doubles x) { return reinterpret_cast<Bits>(x); }
    static Doubles from_bits(Bits x) { return reinterpret_cast<Doubles>(x); }
    static Bits all_bits(std::uint64_t x) { return Bits{} + x; }
};

} // namespace zavo::random

// Four lanes of NEON, which every 64-bit ARM processor has.
#pragma once

#include "random/congruence.hpp"
#include "random/lane_packing.hpp"

#include <arm_neon.h>

namespace zavo::random {

struct NeonLanes : LanePacking<4> {
    static constexpr int width = 4;
    static constexpr int parts = 2;
    static constexpr int chains = 4;

    using States = uint32x4_t;
    using Floats = float32x4_t;
    using Doubles = float64x2_t;
    using Bits = unsigned long long __attribute__((vector_size(16)));

    static States load_states(const std::uint32_t* x) { return vld1q_u32(x); }
    static void store_states(std::uint32_t* to, States x) { vst1q_u32(to, x); }
    static States all_states(std::uint32_t x) { return vdupq_n_u32(x); }

    // 64-bit products with 2a: the upper half is then the product's part above bit 31
    // and the lower one twice the rest.
    static States factor(States a) { return vshlq_n_u32(a, 1); }
    static States multiply(States x, States twice_a)
    {
        const uint32x4_t first = vreinterpretq_u32_u64(vmull_u32(vget_low_u32(x), vget_low_u32(twice_a)));
        const uint32x4_t last = vreinterpretq_u32_u64(vmull_high_u32(x, twice_a));
        const uint32x4_t sum = vsraq_n_u32(vuzp2q_u32(first, last), vuzp1q_u32(first, last), 1);
        // The sum is below 2m; from 2^31 on it loses m, that is 2^31 - 1.
        return vsraq_n_u32(vandq_u32(sum, vdupq_n_u32(0x7fffffff)), sum, 31);
    }
    static Floats unit(States x) { return vcvtq_f32_u32(x) * vdupq_n_f32(unit_scale); }

    static Floats load(const float* r) { return vld1q_f32(r); }
    static void store(float* r, Floats x) { vst1q_f32(r, x); }
    static void stream(float* r, Floats x) { vst1q_f32(r, x); }
    static void end_stream() {}
    static Floats all(float x) { return vdupq_n_f32(x); }
    static Floats magnitude(Floats x) { return vabsq_f32(x); }
    static Floats with_sign_of(Floats x, Floats sign) { return vbslq_f32(vdupq_n_u32(0x80000000U), sign, x); }
    static unsigned less(Floats a, Floats b) { return bits_of_lanes(vcltq_f32(a, b)); }

    static Doubles widen(Floats x, int part)
    {
        return part == 0 ? vcvt_f64_f32(vget_low_f32(x)) : vcvt_high_f64_f32(x);
    }
    static Floats narrow(const Doubles (&x)[parts]) { return vcvt_high_f32_f64(vcvt_f32_f64(x[0]), x[1]); }
    static Doubles all(double x) { return vdupq_n_f64(x); }
    static Doubles root(Doubles x) { return vsqrtq_f64(x); }
    static Bits bits(Doubles x) { return reinterpret_cast<Bits>(x); }
    static Doubles from_bits(Bits x) { return reinterpret_cast<Doubles>(x); }
    static Bits all_bits(std::uint64_t x) { return Bits{x, x}; }

    static unsigned near_middle(const Doubles (&x)[parts], std::uint32_t reach)
    {
        const uint32x4_t low = vuzp1q_u32(vreinterpretq_u32_f64(x[0]), vreinterpretq_u32_f64(x[1]));
        // The 29 bits below a float's last, at the top of a word: the distance, upwards
        // and downwards, from the midpoint, whose highest bit alone is set.
        const uint32x4_t distance = vaddq_u32(vshlq_n_u32(low, 3), vdupq_n_u32(0x80000000U + (reach << 3)));
        return bits_of_lanes(vcltq_u32(distance, vdupq_n_u32(2 * (reach << 3))));
    }

private:
    // Bit i is set when all bits of lane i are.
    static unsigned bits_of_lanes(uint32x4_t mask)
    {
        return vaddvq_u32(vandq_u32(mask, uint32x4_t{1, 2, 4, 8}));
    }
};

} // namespace zavo::random

// Eight lanes of AVX2. The names are explained in lanes_scalar.hpp.
#pragma once

#include "core/simd/intrinsics.hpp"
#include "random/vector_lanes.hpp"

namespace zavo::random {

// order[mask]: the numbers of the set bits, upwards, one a byte.
struct LaneOrders {
    std::uint64_t order[256];
};

constexpr LaneOrders make_lane_orders()
{
    LaneOrders orders{};
    for (unsigned mask = 0; mask < 256; ++mask) {
        int place = 0;
        for (std::uint64_t lane = 0; lane < 8; ++lane) {
            if (mask >> lane & 1) {
                orders.order[mask] |= lane << place;
                place += 8;
            }
        }
    }
    return orders;
}

inline constexpr LaneOrders lane_orders = make_lane_orders();

struct Avx2Lanes : VectorLanes<8> {
    // 64-bit products of the even and of the odd lanes:
    //   even  | low 0 | high 0 |      ->  high  | high 0 | high 1 |
    //   odd   | low 1 | high 1 |          low   | low 0  | low 1  |
    static States multiply(States x, States twice_a)
    {
        const __m256i even = _mm256_mul_epu32((__m256i)x, (__m256i)twice_a);
        const __m256i odd = _mm256_mul_epu32(_mm256_srli_epi64((__m256i)x, 32), (__m256i)twice_a);
        const __m256i high = _mm256_blend_epi32(_mm256_srli_epi64(even, 32), odd, 0xaa);
        const __m256i low = _mm256_blend_epi32(even, _mm256_slli_epi64(odd, 32), 0xaa);
        const __m256i sum = _mm256_add_epi32(high, _mm256_srli_epi32(low, 1));
        // A sum below m becomes huge without m, so the minimum keeps it.
        return (States)_mm256_min_epu32(sum, _mm256_sub_epi32(sum, _mm256_set1_epi32(modulus)));
    }

    static void stream(float* r, Floats x) { _mm256_stream_ps(r, x); }
    static void end_stream() { _mm_sfence(); }
    static unsigned less(Floats a, Floats b)
    {
        return static_cast<unsigned>(_mm256_movemask_ps(_mm256_cmp_ps(a, b, _CMP_LT_OQ)));
    }

    static Doubles widen(Floats x, int part)
    {
        return _mm256_cvtps_pd(part == 0 ? _mm256_castps256_ps128(x) : _mm256_extractf128_ps(x, 1));
    }
    static Floats narrow(const Doubles (&x)[parts])
    {
        return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm256_cvtpd_ps(x[0])), _mm256_cvtpd_ps(x[1]), 1);
    }
    static Doubles root(Doubles x) { return _mm256_sqrt_pd(x); }
    // As in lanes_sse2.hpp, then the pairs back in order.
    static unsigned near_middle(const Doubles (&x)[parts], std::uint32_t reach)
    {
        const __m256i low = _mm256_castps_si256(
            _mm256_shuffle_ps(_mm256_castpd_ps(x[0]), _mm256_castpd_ps(x[1]), _MM_SHUFFLE(2, 0, 2, 0)));
        const int shifted_reach = static_cast<int>(reach << 3);
        const __m256i distance =
            _mm256_add_epi32(_mm256_slli_epi32(low, 3), _mm256_set1_epi32(shifted_reach));
        const __m256i limit = _mm256_set1_epi32(static_cast<int>(0x80000000U + 2 * (reach << 3)));
        const __m256i near = _mm256_cmpgt_epi32(limit, distance);
        const __m256i ordered = _mm256_permute4x64_epi64(near, _MM_SHUFFLE(3, 1, 2, 0));
        return static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(ordered)));
    }

    static void pack(float* to, Floats x, unsigned lanes)
    {
        _mm256_storeu_ps(to, _mm256_permutevar8x32_ps(x, chosen(lanes)));
    }
    static void pack_places(std::uint32_t* to, std::uint32_t first, unsigned lanes)
    {
        store_states(to, all_states(first) + (States)chosen(lanes));
    }

private:
    static __m256i chosen(unsigned lanes)
    {
        const __m128i order = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(&lane_orders.order[lanes]));
        return _mm256_cvtepu8_epi32(order);
    }
};

} // namespace zavo::random

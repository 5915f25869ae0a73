// Four lanes of SSE2, which every x86 processor of both targets has.
#pragma once

#include "core/simd/intrinsics.hpp"
#include "random/lane_packing.hpp"
#include "random/vector_lanes.hpp"

namespace zavo::random {

struct Sse2Lanes : VectorLanes<4>, LanePacking<4> {
    // Lanes 0 and 2, then 1 and 3.
    static States multiply(States x, States twice_a)
    {
        const __m128 even = _mm_castsi128_ps(_mm_mul_epu32((__m128i)x, (__m128i)twice_a));
        const __m128 odd = _mm_castsi128_ps(_mm_mul_epu32(_mm_srli_epi64((__m128i)x, 32), (__m128i)twice_a));
        const __m128i high = _mm_castps_si128(_mm_shuffle_ps(even, odd, _MM_SHUFFLE(3, 1, 3, 1)));
        const __m128i low = _mm_castps_si128(_mm_shuffle_ps(even, odd, _MM_SHUFFLE(2, 0, 2, 0)));
        const __m128i sum = _mm_add_epi32(high, _mm_srli_epi32(low, 1));
        // The sum is below 2m; from 2^31 on it loses m, that is 2^31 - 1.
        const __m128i folded =
            _mm_add_epi32(_mm_and_si128(sum, _mm_set1_epi32(0x7fffffff)), _mm_srli_epi32(sum, 31));
        return (States)_mm_shuffle_epi32(folded, _MM_SHUFFLE(3, 1, 2, 0));
    }

    static void stream(float* r, Floats x) { _mm_stream_ps(r, x); }
    static void end_stream() { _mm_sfence(); }
    static unsigned less(Floats a, Floats b)
    {
        return static_cast<unsigned>(_mm_movemask_ps(_mm_cmplt_ps(a, b)));
    }

    static Doubles widen(Floats x, int part) { return _mm_cvtps_pd(part == 0 ? x : _mm_movehl_ps(x, x)); }
    static Floats narrow(const Doubles (&x)[parts])
    {
        return _mm_movelh_ps(_mm_cvtpd_ps(x[0]), _mm_cvtpd_ps(x[1]));
    }
    static Doubles root(Doubles x) { return _mm_sqrt_pd(x); }
    static unsigned near_middle(const Doubles (&x)[parts], std::uint32_t reach)
    {
        const __m128i low = _mm_castps_si128(
            _mm_shuffle_ps(_mm_castpd_ps(x[0]), _mm_castpd_ps(x[1]), _MM_SHUFFLE(2, 0, 2, 0)));
        // The 29 bits below a float's last, at the top of a word; the midpoint is moved
        // to the smallest integer.
        const int shifted_reach = static_cast<int>(reach << 3);
        const __m128i distance = _mm_add_epi32(_mm_slli_epi32(low, 3), _mm_set1_epi32(shifted_reach));
        const __m128i limit = _mm_set1_epi32(static_cast<int>(0x80000000U + 2 * (reach << 3)));
        return static_cast<unsigned>(_mm_movemask_ps(_mm_castsi128_ps(_mm_cmplt_epi32(distance, limit))));
    }
};

} // namespace zavo::random

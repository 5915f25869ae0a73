// Sixteen lanes of AVX-512 (F, DQ, VL). The names are explained in
// lanes_scalar.hpp.
#pragma once

#include "core/simd/intrinsics.hpp"
#include "random/vector_lanes.hpp"

namespace zavo::random {

struct Avx512Lanes : VectorLanes<16> {
    // As in lanes_avx2.hpp.
    static States multiply(States x, States twice_a)
    {
        const __m512i even = _mm512_mul_epu32((__m512i)x, (__m512i)twice_a);
        const __m512i odd = _mm512_mul_epu32(_mm512_srli_epi64((__m512i)x, 32), (__m512i)twice_a);
        const __m512i high = _mm512_mask_blend_epi32(0xaaaa, _mm512_srli_epi64(even, 32), odd);
        const __m512i low = _mm512_mask_blend_epi32(0xaaaa, even, _mm512_slli_epi64(odd, 32));
        const __m512i sum = _mm512_add_epi32(high, _mm512_srli_epi32(low, 1));
        return (States)_mm512_min_epu32(sum, _mm512_sub_epi32(sum, _mm512_set1_epi32(modulus)));
    }

    static void stream(float* r, Floats x) { _mm512_stream_ps(r, x); }
    static void end_stream() { _mm_sfence(); }
    static unsigned less(Floats a, Floats b) { return _mm512_cmp_ps_mask(a, b, _CMP_LT_OQ); }

    static Doubles widen(Floats x, int part)
    {
        return _mm512_cvtps_pd(part == 0 ? _mm512_castps512_ps256(x) : _mm512_extractf32x8_ps(x, 1));
    }
    static Floats narrow(const Doubles (&x)[parts])
    {
        return _mm512_insertf32x8(_mm512_castps256_ps512(_mm512_cvtpd_ps(x[0])), _mm512_cvtpd_ps(x[1]), 1);
    }
    static Doubles root(Doubles x) { return _mm512_sqrt_pd(x); }
    static unsigned near_middle(const Doubles (&x)[parts], std::uint32_t reach)
    {
        return near_middle_of(x[0], reach) | near_middle_of(x[1], reach) << 8;
    }

    static void pack(float* to, Floats x, unsigned lanes)
    {
        _mm512_storeu_ps(to, _mm512_maskz_compress_ps(static_cast<__mmask16>(lanes), x));
    }
    static void pack_places(std::uint32_t* to, std::uint32_t first, unsigned lanes)
    {
        const __m512i number = _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
        const __m512i places = _mm512_add_epi32((__m512i)all_states(first), number);
        store_states(to, (States)_mm512_maskz_compress_epi32(static_cast<__mmask16>(lanes), places));
    }

private:
    static unsigned near_middle_of(Doubles x, std::uint32_t reach)
    {
        const __m512i below = _mm512_and_si512(_mm512_castpd_si512(x), _mm512_set1_epi64(0x1fffffff));
        const __m512i distance = _mm512_sub_epi64(below, _mm512_set1_epi64(0x10000000 - std::int64_t{reach}));
        return _mm512_cmplt_epu64_mask(distance, _mm512_set1_epi64(2 * std::int64_t{reach}));
    }
};

} // namespace zavo::random

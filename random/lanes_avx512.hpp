// Sixteen lanes of AVX-512 (F, DQ, VL). The names are explained in
// lanes_scalar.hpp.
#pragma once

#include "random/congruence.hpp"

#include <immintrin.h>

namespace zavo::random {

struct Avx512Lanes {
    static constexpr int width = 16;
    static constexpr int parts = 2;
    static constexpr int chains = 4;

    using States = __m512i;
    using Floats = __m512;
    using Doubles = __m512d;
    using Bits = unsigned long long __attribute__((vector_size(64)));

    static States load_states(const std::uint32_t* x) { return _mm512_loadu_si512(x); }
    static void store_states(std::uint32_t* to, States x) { _mm512_storeu_si512(to, x); }
    static States all_states(std::uint32_t x) { return _mm512_set1_epi32(static_cast<int>(x)); }

    // As in lanes_avx2.hpp.
    static States factor(States a) { return _mm512_slli_epi32(a, 1); }
    static States multiply(States x, States twice_a)
    {
        const __m512i even = _mm512_mul_epu32(x, twice_a);
        const __m512i odd = _mm512_mul_epu32(_mm512_srli_epi64(x, 32), twice_a);
        const __m512i high = _mm512_mask_blend_epi32(0xaaaa, _mm512_srli_epi64(even, 32), odd);
        const __m512i low = _mm512_mask_blend_epi32(0xaaaa, even, _mm512_slli_epi64(odd, 32));
        const __m512i sum = _mm512_add_epi32(high, _mm512_srli_epi32(low, 1));
        return _mm512_min_epu32(sum, _mm512_sub_epi32(sum, _mm512_set1_epi32(modulus)));
    }
    static Floats unit(States x) { return _mm512_mul_ps(_mm512_cvtepi32_ps(x), _mm512_set1_ps(unit_scale)); }

    static Floats load(const float* r) { return _mm512_loadu_ps(r); }
    static void store(float* r, Floats x) { _mm512_storeu_ps(r, x); }
    static void stream(float* r, Floats x) { _mm512_stream_ps(r, x); }
    static void end_stream() { _mm_sfence(); }
    static Floats all(float x) { return _mm512_set1_ps(x); }
    static Floats magnitude(Floats x) { return _mm512_andnot_ps(_mm512_set1_ps(-0.0F), x); }
    static Floats with_sign_of(Floats x, Floats sign)
    {
        return _mm512_or_ps(magnitude(x), _mm512_and_ps(sign, _mm512_set1_ps(-0.0F)));
    }
    static unsigned less(Floats a, Floats b) { return _mm512_cmp_ps_mask(a, b, _CMP_LT_OQ); }

    static Doubles widen(Floats x, int part)
    {
        return _mm512_cvtps_pd(part == 0 ? _mm512_castps512_ps256(x) : _mm512_extractf32x8_ps(x, 1));
    }
    static Floats narrow(const Doubles (&x)[parts])
    {
        return _mm512_insertf32x8(_mm512_castps256_ps512(_mm512_cvtpd_ps(x[0])), _mm512_cvtpd_ps(x[1]), 1);
    }
    static Doubles all(double x) { return _mm512_set1_pd(x); }
    static Doubles root(Doubles x) { return _mm512_sqrt_pd(x); }
    static Bits bits(Doubles x) { return reinterpret_cast<Bits>(x); }
    static Doubles from_bits(Bits x) { return reinterpret_cast<Doubles>(x); }
    static Bits all_bits(std::uint64_t x) { return Bits{x, x, x, x, x, x, x, x}; }

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
        const __m512i places = _mm512_add_epi32(all_states(first), number);
        store_states(to, _mm512_maskz_compress_epi32(static_cast<__mmask16>(lanes), places));
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

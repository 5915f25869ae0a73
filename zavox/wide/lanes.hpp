// Vectors of doubles of the compiler's own (GCC and Clang vector extensions), of
// any number of lanes, and the few operations that these lack. Nothing here
// depends on the number of lanes or on the processor: each lane goes through the
// same operations of IEEE 754 in the same order everywhere.
//
// Included by blocks_*.cpp only, which are compiled for one set of instructions
// each; all of it is inlined there.
#pragma once

#include "core/simd/inlining.hpp"
#include "core/simd/intrinsics.hpp"

#include <cstdint>
#include <cstring>

namespace zavox::wide {

template <int N>
struct Lanes {
    static constexpr int count = N;
    typedef double Doubles __attribute__((vector_size(8 * N)));         // NOLINT(modernize-use-using)
    typedef std::int64_t Integers __attribute__((vector_size(8 * N)));  // NOLINT(modernize-use-using)
    typedef std::uint64_t Naturals __attribute__((vector_size(8 * N))); // NOLINT(modernize-use-using)
    typedef float Floats __attribute__((vector_size(4 * N)));           // NOLINT(modernize-use-using)
    typedef std::uint32_t Words __attribute__((vector_size(4 * N)));    // NOLINT(modernize-use-using)
};

// 16 pairs of numbers, side by side and apart.
struct TableOfPairs {
    double pairs[16][2];
    double first[16];
    double second[16];
};

template <class L>
struct Ops {
    using D = typename L::Doubles;
    using I = typename L::Integers;
    using U = typename L::Naturals;
    static constexpr int n = L::count;

    static ZAVO_INLINE D load(const double* p)
    {
        D x;
        std::memcpy(&x, p, sizeof x);
        return x;
    }
    static ZAVO_INLINE void store(double* p, D x) { std::memcpy(p, &x, sizeof x); }
    static ZAVO_INLINE D widen(const float* p)
    {
        // g++ 12 converts by halves
#if defined(__AVX512F__)
        if constexpr (n == 8) {
            return _mm512_cvtps_pd(_mm256_loadu_ps(p));
        }
#endif
#if defined(__AVX__)
        if constexpr (n == 4) {
            return _mm256_cvtps_pd(_mm_loadu_ps(p));
        }
#endif
        typename L::Floats x;
        std::memcpy(&x, p, sizeof x);
        return __builtin_convertvector(x, D);
    }
    static ZAVO_INLINE void narrow(float* p, D x)
    {
        const typename L::Floats y = __builtin_convertvector(x, typename L::Floats);
        std::memcpy(p, &y, sizeof y);
    }
    static ZAVO_INLINE D all(double x)
    {
        return D{} + x;
    }
    static ZAVO_INLINE I all_integers(std::int64_t x)
    {
        return I{} + x;
    }
    // The same bits as lanes of another type.
    template <class To, class From>
    static ZAVO_INLINE To cast(From x)
    {
        To y;
        static_assert(sizeof y == sizeof x);
        std::memcpy(&y, &x, sizeof y);
        return y;
    }
    static ZAVO_INLINE I bits(D x)
    {
        return cast<I>(x);
    }
    static ZAVO_INLINE D number(I x)
    {
        return cast<D>(x);
    }
    // Lanes whose value will be thrown away may hold anything, so sums of patterns are
    // those of naturals, which wrap round.
    static ZAVO_INLINE U natural(I x)
    {
        return cast<U>(x);
    }
    static ZAVO_INLINE I integer_of(U x)
    {
        return cast<I>(x);
    }
    // mask: all bits of a lane set, or none
    static ZAVO_INLINE D select(I mask, D yes, D no)
    {
        return mask ? yes : no;
    }
    static ZAVO_INLINE I select(I mask, I yes, I no)
    {
        return mask ? yes : no;
    }
    static ZAVO_INLINE bool any(I mask)
    {
#if defined(__AVX512DQ__)
        if constexpr (n == 8) {
            return _mm512_movepi64_mask(reinterpret_cast<__m512i>(mask)) != 0;
        }
#endif
#if defined(__AVX__)
        if constexpr (n == 4) {
            return _mm256_movemask_pd(reinterpret_cast<__m256d>(mask)) != 0;
        }
#endif
#if defined(__SSE2__)
        if constexpr (n == 2) {
            return _mm_movemask_pd(reinterpret_cast<__m128d>(mask)) != 0;
        }
#endif
        std::int64_t found = 0;
        for (int i = 0; i < n; ++i) {
            found |= mask[i];
        }
        return found != 0;
    }
    static ZAVO_INLINE D abs(D x)
    {
        return number(bits(x) & all_integers(INT64_MAX));
    }
    static ZAVO_INLINE I sign_bit(D x)
    {
        return bits(x) & all_integers(INT64_MIN);
    }
    static ZAVO_INLINE D with_sign(D size, D sign)
    {
        return number((bits(size) & all_integers(INT64_MAX)) | sign_bit(sign));
    }
    static ZAVO_INLINE I is_nan(D x)
    {
        return x != x;
    }
    static ZAVO_INLINE D sqrt(D x)
    {
#if defined(__AVX512F__)
        if constexpr (n == 8) {
            return _mm512_sqrt_pd(x);
        }
#endif
#if defined(__AVX__)
        if constexpr (n == 4) {
            return _mm256_sqrt_pd(x);
        }
#endif
#if defined(__SSE2__)
        if constexpr (n == 2) {
            return _mm_sqrt_pd(x);
        }
#endif
        D y = x;
        for (int i = 0; i < n; ++i) {
            y[i] = __builtin_sqrt(x[i]);
        }
        return y;
    }

    // x - y z, where y z is exact, so that it does not matter whether it is rounded.
    static ZAVO_INLINE D minus_exact_product(D x, D y, D z)
    {
#if defined(__AVX512F__)
        if constexpr (n == 8) {
            return _mm512_fnmadd_pd(y, z, x);
        }
#endif
        return x - y * z;
    }
    // The larger; b where one is NaN.
    static ZAVO_INLINE D larger(D a, D b)
    {
#if defined(__AVX512F__)
        if constexpr (n == 8) {
            return _mm512_max_pd(a, b);
        }
#endif
        return a > b ? a : b;
    }
    // The entries of a table that the last four bits of k count.
    static ZAVO_INLINE void pick(const TableOfPairs& table, I k, D* first, D* second)
    {
#if defined(__AVX512F__)
        if constexpr (n == 8) {
            const auto at = reinterpret_cast<__m512i>(k);
            *first = _mm512_permutex2var_pd(load(table.first), at, load(table.first + 8));
            *second = _mm512_permutex2var_pd(load(table.second), at, load(table.second + 8));
            return;
        }
#endif
        std::int64_t at[n];
        std::memcpy(at, &k, sizeof at);
        const auto pair = [&](int i) ZAVO_INLINED { return table.pairs[at[i] & 15]; };
#if defined(__AVX2__)
        if constexpr (n == 4) {
            const __m256d even =
                _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadu_pd(pair(0))), _mm_loadu_pd(pair(2)), 1);
            const __m256d odd =
                _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadu_pd(pair(1))), _mm_loadu_pd(pair(3)), 1);
            *first = _mm256_unpacklo_pd(even, odd);
            *second = _mm256_unpackhi_pd(even, odd);
            return;
        }
#endif
#if defined(__SSE2__)
        if constexpr (n == 2) {
            const __m128d even = _mm_loadu_pd(pair(0));
            const __m128d odd = _mm_loadu_pd(pair(1));
            *first = _mm_unpacklo_pd(even, odd);
            *second = _mm_unpackhi_pd(even, odd);
            return;
        }
#endif
        for (int i = 0; i < n; ++i) {
            (*first)[i] = pair(i)[0];
            (*second)[i] = pair(i)[1];
        }
    }

    // The nearest integer, halves to even, as a double; for |x| < 2^51.
    static ZAVO_INLINE D nearest(D x)
    {
        const D magic = all(0x1.8p52);
        return (x + magic) - magic;
    }
    // The same with its value in the low bits of an integer, of two's complement.
    static ZAVO_INLINE D nearest(D x, I* integer)
    {
        const D magic = all(0x1.8p52);
        const D shifted = x + magic;
        *integer = integer_of(natural(bits(shifted)) - natural(bits(magic)));
        return shifted - magic;
    }
    // Doubles of integers within 2^51.
    static ZAVO_INLINE D to_double(I x)
    {
        const D magic = all(0x1.8p52);
        return number(integer_of(natural(x) + natural(bits(magic)))) - magic;
    }
    // 2^k for -1022 <= k <= 1023.
    static ZAVO_INLINE D power_of_two(I k)
    {
        return number(integer_of((natural(k) + UINT64_C(1023)) << 52));
    }
    // x 2^k for integers |k| < 2040, rounded where it leaves the normal range.
    static ZAVO_INLINE D scale(D x, D k)
    {
        I first;
        I second;
        const D half = nearest(k * all(0.5), &first);
        nearest(k - half, &second);
        return x * power_of_two(first) * power_of_two(second);
    }
};

} // namespace zavox::wide

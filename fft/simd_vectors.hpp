// Registers of V floats and how values get in and out of them: pairs (real and
// imaginary part side by side in memory, apart in registers), the same in falling
// order, and transposition. Arithmetic is that of the compiler's vector types.
//
// Included by the sources that are compiled for one instruction set each.
#pragma once

#include "fft/shape.hpp"

#include <immintrin.h>
#include <utility>

namespace zavo::fft {

namespace { // compiled for several instruction sets: see shape.hpp

template <int V>
struct Register {
    typedef float Type __attribute__((vector_size(4 * V)));
    typedef float Unaligned __attribute__((vector_size(4 * V), aligned(4), may_alias));
};
template <int V>
using Vector = typename Register<V>::Type;

template <int V>
ZAVO_INLINE Vector<V> load(const float* p)
{
    return *reinterpret_cast<const typename Register<V>::Unaligned*>(p);
}
template <int V>
ZAVO_INLINE void store(float* p, Vector<V> v)
{
    *reinterpret_cast<typename Register<V>::Unaligned*>(p) = v;
}

template <class T, std::size_t... I>
ZAVO_INLINE T broadcast_to(float value, std::index_sequence<I...>)
{
    return T{(static_cast<void>(I), value)...};
}
template <int V>
ZAVO_INLINE Vector<V> broadcast(float value)
{
    return broadcast_to<Vector<V>>(value, std::make_index_sequence<static_cast<std::size_t>(V)>{});
}

// ---- parts of registers ----------------------------------------------------------
// Only the places first <= i < last of a register are read or written; the rest
// is zero, and its memory need not exist.

#ifdef __AVX512F__
ZAVO_INLINE __mmask16 places(int first, int last)
{
    const unsigned below_last = last >= 16 ? 0xFFFFU : last <= 0 ? 0U : (1U << last) - 1U;
    const unsigned below_first = first >= 16 ? 0xFFFFU : first <= 0 ? 0U : (1U << first) - 1U;
    return static_cast<__mmask16>(below_last & ~below_first);
}
template <int V>
ZAVO_INLINE Vector<V> load_places(const float* p, int first, int last)
{
    if constexpr (V == 16) {
        return (Vector<16>)_mm512_maskz_loadu_ps(places(first, last), p);
    } else {
        return (Vector<8>)_mm256_maskz_loadu_ps(static_cast<__mmask8>(places(first, last)), p);
    }
}
template <int V>
ZAVO_INLINE void store_places(float* p, Vector<V> v, int first, int last)
{
    if constexpr (V == 16) {
        _mm512_mask_storeu_ps(p, places(first, last), (__m512)v);
    } else {
        _mm256_mask_storeu_ps(p, static_cast<__mmask8>(places(first, last)), (__m256)v);
    }
}
#else
ZAVO_INLINE __m256i places(int first, int last)
{
    const __m256i place = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    return _mm256_andnot_si256(_mm256_cmpgt_epi32(_mm256_set1_epi32(first), place),
                               _mm256_cmpgt_epi32(_mm256_set1_epi32(last), place));
}
template <int V>
ZAVO_INLINE Vector<V> load_places(const float* p, int first, int last)
{
    return (Vector<8>)_mm256_maskload_ps(p, places(first, last));
}
template <int V>
ZAVO_INLINE void store_places(float* p, Vector<V> v, int first, int last)
{
    _mm256_maskstore_ps(p, places(first, last), (__m256)v);
}
#endif

// ---- pairs ---------------------------------------------------------------------------

template <class T, std::size_t... I>
ZAVO_INLINE T even_places(T a, T b, std::index_sequence<I...>)
{
    return __builtin_shufflevector(a, b, static_cast<int>(2 * I)...);
}
template <class T, std::size_t... I>
ZAVO_INLINE T odd_places(T a, T b, std::index_sequence<I...>)
{
    return __builtin_shufflevector(a, b, static_cast<int>(2 * I + 1)...);
}
template <class T, std::size_t... I>
ZAVO_INLINE T even_places_falling(T a, T b, std::index_sequence<I...>)
{
    return __builtin_shufflevector(a, b, static_cast<int>(2 * (sizeof...(I) - 1 - I))...);
}
template <class T, std::size_t... I>
ZAVO_INLINE T odd_places_falling(T a, T b, std::index_sequence<I...>)
{
    return __builtin_shufflevector(a, b, static_cast<int>(2 * (sizeof...(I) - 1 - I) + 1)...);
}
// Half h (0 or 1) of the pairs a[0] b[0] a[1] b[1] ...
template <int h, class T, std::size_t... I>
ZAVO_INLINE T interleaved(T a, T b, std::index_sequence<I...>)
{
    constexpr std::size_t V = sizeof...(I);
    return __builtin_shufflevector(a, b, static_cast<int>((I % 2) * V + h * V / 2 + I / 2)...);
}
template <int h, class T, std::size_t... I>
ZAVO_INLINE T interleaved_falling(T a, T b, std::index_sequence<I...>)
{
    constexpr std::size_t V = sizeof...(I);
    return __builtin_shufflevector(a, b, static_cast<int>((I % 2) * V + V - 1 - (h * V / 2 + I / 2))...);
}
template <int V>
using Places = std::make_index_sequence<static_cast<std::size_t>(V)>;

// The complex values of a run of V pairs.
template <int V>
struct Pairs {
    Vector<V> re, im;
};

// Lane t holds the pair at p + 2 t; with `full` false only t < count exist.
template <int V, bool full>
ZAVO_INLINE Pairs<V> load_pairs(const float* p, int count)
{
    Vector<V> a, b;
    if constexpr (full) {
        a = load<V>(p);
        b = load<V>(p + V);
    } else {
        a = load_places<V>(p, 0, 2 * count);
        b = load_places<V>(p + V, 0, 2 * count - V);
    }
    return {even_places(a, b, Places<V>{}), odd_places(a, b, Places<V>{})};
}

template <int V, bool full>
ZAVO_INLINE void store_pairs(float* p, const Vector<V>& re, const Vector<V>& im, int count)
{
    const Vector<V> a = interleaved<0>(re, im, Places<V>{});
    const Vector<V> b = interleaved<1>(re, im, Places<V>{});
    if constexpr (full) {
        store<V>(p, a);
        store<V>(p + V, b);
    } else {
        store_places<V>(p, a, 0, 2 * count);
        store_places<V>(p + V, b, 0, 2 * count - V);
    }
}

// Lane t holds the pair at p - 2 t.
template <int V, bool full>
ZAVO_INLINE Pairs<V> load_pairs_falling(const float* p, int count)
{
    const float* const low = p - 2 * (V - 1);
    Vector<V> a, b;
    if constexpr (full) {
        a = load<V>(low);
        b = load<V>(low + V);
    } else {
        a = load_places<V>(low, 2 * (V - count), V);
        b = load_places<V>(low + V, 2 * (V - count) - V, V);
    }
    return {even_places_falling(a, b, Places<V>{}), odd_places_falling(a, b, Places<V>{})};
}

template <int V, bool full>
ZAVO_INLINE void store_pairs_falling(float* p, const Vector<V>& re, const Vector<V>& im, int count)
{
    const Vector<V> a = interleaved_falling<0>(re, im, Places<V>{});
    const Vector<V> b = interleaved_falling<1>(re, im, Places<V>{});
    float* const low = p - 2 * (V - 1);
    if constexpr (full) {
        store<V>(low, a);
        store<V>(low + V, b);
    } else {
        store_places<V>(low, a, 2 * (V - count), V);
        store_places<V>(low + V, b, 2 * (V - count) - V, V);
    }
}

// ---- transposition ------------------------------------------------------------------

// Rows r and r + s exchange the halves of every block of 2 s places.
template <int s, int half, class T, std::size_t... I>
ZAVO_INLINE T exchange(T a, T b, std::index_sequence<I...>)
{
    constexpr std::size_t V = sizeof...(I);
    return __builtin_shufflevector(
        a, b, static_cast<int>(((I / s) % 2) * V + (I / (2 * s)) * (2 * s) + half * s + I % s)...);
}

template <int V, int s = V / 2>
ZAVO_INLINE void transpose(Vector<V>* rows)
{
    if constexpr (s >= 1) {
        for (int r = 0; r < V; ++r) {
            if ((r & s) == 0) {
                const Vector<V> a = rows[r], b = rows[r + s];
                rows[r] = exchange<s, 0>(a, b, Places<V>{});
                rows[r + s] = exchange<s, 1>(a, b, Places<V>{});
            }
        }
        transpose<V, s / 2>(rows);
    }
}

// ---- lanes -----------------------------------------------------------------------------

// V transforms side by side: value i of transform t stands at i * V + t. Complex
// values are V real parts, then V imaginary parts.
template <int V>
struct VectorLanes {
    using Value = Vector<V>;
    static constexpr Index stride = V;
    static ZAVO_INLINE Value load(const float* p) { return fft::load<V>(p); }
    static ZAVO_INLINE void store(float* p, const Value& v) { fft::store<V>(p, v); }
    static ZAVO_INLINE void store_pair(float* p, const Value& re, const Value& im)
    {
        fft::store<V>(p, re);
        fft::store<V>(p + V, im);
    }
};

// The same places, but complex values leave as V pairs.
template <int V>
struct PairLanes : VectorLanes<V> {
    static ZAVO_INLINE void store_pair(float* p, const Vector<V>& re, const Vector<V>& im)
    {
        store_pairs<V, true>(p, re, im, V);
    }
};

} // namespace

} // namespace zavo::fft

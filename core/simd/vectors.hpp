// Registers of V floats and how values get in and out of them: pairs (real and
// imaginary part side by side in memory, apart in registers), the same in falling
// order, transposes. Arithmetic and most shuffles are those of the compiler's vector
// types; intrinsics stand where an instruction has no such form.
#pragma once

#include "core/simd/inlining.hpp"
#include "core/simd/intrinsics.hpp"

#include <cstddef>
#include <cstdint>
#include <utility>

namespace zavo::simd {

namespace { // compiled for several instruction sets: see inlining.hpp

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
    Vector<V> v = *reinterpret_cast<const typename Register<V>::Unaligned*>(p);
#ifdef __AVX2__
    if constexpr (V > 4) { // (code with narrow registers is not limited by loads)
        asm("" : "+v"(v)); // or else every instruction that takes v would read it again
    }
#endif
    return v;
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
#elif defined(__AVX2__)
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
#else
template <int V>
ZAVO_INLINE Vector<V> load_places(const float* p, int first, int last)
{
    Vector<V> v{};
    for (int i = first < 0 ? 0 : first; i < V && i < last; ++i) {
        v[i] = p[i];
    }
    return v;
}
template <int V>
ZAVO_INLINE void store_places(float* p, Vector<V> v, int first, int last)
{
    for (int i = first < 0 ? 0 : first; i < V && i < last; ++i) {
        p[i] = v[i];
    }
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
// Half h (0 or 1) of the pairs a[0] b[0] a[1] b[1] ...
template <int h, class T, std::size_t... I>
ZAVO_INLINE T interleaved(T a, T b, std::index_sequence<I...>)
{
    constexpr std::size_t V = sizeof...(I);
    return __builtin_shufflevector(a, b, static_cast<int>((I % 2) * V + h * V / 2 + I / 2)...);
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

// The lane order that takes one shuffle for a register, and none across quarters: lane t
// holds the pair folded<V>(t). Lanes in reverse hold the pairs in reverse.
template <int V>
constexpr int folded(int t)
{
    return t / 4 * 2 + t % 2 + t % 4 / 2 * (V / 2);
}

// In every four places, the even (h = 0) or odd ones of a and then of b.
template <int h, class T, std::size_t... I>
ZAVO_INLINE T mixed_halves(T a, T b, std::index_sequence<I...>)
{
    constexpr std::size_t V = sizeof...(I);
    return __builtin_shufflevector(a, b, static_cast<int>(I % 4 / 2 * V + I / 4 * 4 + I % 2 * 2 + h)...);
}
// In every four places, the first two (h = 0) or the last two of a and of b in turn.
template <int h, class T, std::size_t... I>
ZAVO_INLINE T mixed_singles(T a, T b, std::index_sequence<I...>)
{
    constexpr std::size_t V = sizeof...(I);
    return __builtin_shufflevector(a, b, static_cast<int>((I % 2) * V + I / 4 * 4 + 2 * h + I % 4 / 2)...);
}
template <class T, std::size_t... I>
ZAVO_INLINE T reversed(T a, std::index_sequence<I...>)
{
    return __builtin_shufflevector(a, a, static_cast<int>(sizeof...(I) - 1 - I)...);
}
template <class T, std::size_t... I>
ZAVO_INLINE T pairs_reversed(T a, std::index_sequence<I...>)
{
    return __builtin_shufflevector(a, a, static_cast<int>((sizeof...(I) / 2 - 1 - I / 2) * 2 + I % 2)...);
}

// Prefetches the floats from p + ahead on; nothing need be there.
enum Fetch { for_reading, for_writing };
template <int floats, Fetch what>
ZAVO_INLINE void fetch(const float* p, std::ptrdiff_t ahead)
{
    const auto at = reinterpret_cast<std::uintptr_t>(p) + static_cast<std::uintptr_t>(ahead) * sizeof(float);
    for (std::size_t byte = 0; byte < floats * sizeof(float); byte += 64) {
        __builtin_prefetch(reinterpret_cast<const void*>(at + byte), what == for_writing ? 1 : 0);
    }
}

// V / 2 pairs from low and as many from high.
template <int V>
ZAVO_INLINE Pairs<V> load_folded(const float* low, const float* high)
{
    const Vector<V> a = load<V>(low), b = load<V>(high);
    return {mixed_halves<0>(a, b, Places<V>{}), mixed_halves<1>(a, b, Places<V>{})};
}
template <int V>
ZAVO_INLINE Pairs<V> load_folded(const float* p)
{
    return load_folded<V>(p, p + V);
}
template <int V>
ZAVO_INLINE void store_folded(float* low, float* high, const Vector<V>& re, const Vector<V>& im)
{
    store<V>(low, mixed_singles<0>(re, im, Places<V>{}));
    store<V>(high, mixed_singles<1>(re, im, Places<V>{}));
}
template <int V>
ZAVO_INLINE void store_folded(float* p, const Vector<V>& re, const Vector<V>& im)
{
    store_folded<V>(p, p + V, re, im);
}

// The same with pair t at p - 2 t.
template <int V>
ZAVO_INLINE Pairs<V> load_folded_falling(const float* p)
{
    const Pairs<V> rising = load_folded<V>(p - 2 * (V - 1));
    return {reversed(rising.re, Places<V>{}), reversed(rising.im, Places<V>{})};
}
template <int V>
ZAVO_INLINE void store_folded_falling(float* p, const Vector<V>& re, const Vector<V>& im)
{
    float* const low = p - 2 * (V - 1);
    store<V>(low, pairs_reversed(mixed_singles<1>(re, im, Places<V>{}), Places<V>{}));
    store<V>(low + V, pairs_reversed(mixed_singles<0>(re, im, Places<V>{}), Places<V>{}));
}

// ---- transposition ------------------------------------------------------------------

// In every four places, the first two (h = 0) or the last two of a and then of b.
template <int h, class T, std::size_t... I>
ZAVO_INLINE T mixed_doubles(T a, T b, std::index_sequence<I...>)
{
    constexpr std::size_t V = sizeof...(I);
    return __builtin_shufflevector(a, b, static_cast<int>(I % 4 / 2 * V + I / 4 * 4 + 2 * h + I % 2)...);
}
// Four rows of quarters of four places: each block of 4 by 4 transposed.
template <class T>
ZAVO_INLINE void transpose_quarters(T* rows)
{
    constexpr Places<static_cast<int>(sizeof(T) / sizeof(float))> places;
    const T low_02 = mixed_singles<0>(rows[0], rows[2], places);
    const T low_13 = mixed_singles<0>(rows[1], rows[3], places);
    const T high_02 = mixed_singles<1>(rows[0], rows[2], places);
    const T high_13 = mixed_singles<1>(rows[1], rows[3], places);
    rows[0] = mixed_singles<0>(low_02, low_13, places);
    rows[1] = mixed_singles<1>(low_02, low_13, places);
    rows[2] = mixed_singles<0>(high_02, high_13, places);
    rows[3] = mixed_singles<1>(high_02, high_13, places);
}

// Even (h = 0) or odd quarters of a and then of b.
template <int h, class T, std::size_t... I>
ZAVO_INLINE T quarters_joined(T a, T b, std::index_sequence<I...>)
{
    constexpr std::size_t V = sizeof...(I);
    return __builtin_shufflevector(a, b, static_cast<int>((I / 4 * 2 + h) * V / 4 + I % 4)...);
}
// Half h of a and half h of b.
template <int h, class T, std::size_t... I>
ZAVO_INLINE T halves_joined(T a, T b, std::index_sequence<I...>)
{
    constexpr std::size_t V = sizeof...(I);
    return __builtin_shufflevector(a, b, static_cast<int>(I / (V / 2) * V + h * V / 2 + I % (V / 2))...);
}

// work(0), work(1) ... work(count - 1), each argument an integral_constant.
template <class Work, int... i>
ZAVO_INLINE void unroll(const Work& work, std::integer_sequence<int, i...>)
{
    (work(std::integral_constant<int, i>{}), ...);
}
template <int count, class Work>
ZAVO_INLINE void unroll(const Work& work)
{
    unroll(work, std::make_integer_sequence<int, count>{});
}

// V rows of V values, each at from(i), to rows at to(i).
template <int V, class From, class To>
ZAVO_INLINE void transpose(const From& from, const To& to)
{
    constexpr Places<V> places;
    Vector<V> rows[V];
    unroll<V>([&](auto i) ZAVO_INLINED { rows[i] = load<V>(from(i)); });
    unroll<V / 4>([&](auto i) ZAVO_INLINED { transpose_quarters(rows + 4 * i); });
    unroll<4>([&](auto c) ZAVO_INLINED {
        if constexpr (V == 4) {
            store<4>(to(c), rows[c]);
        } else if constexpr (V == 8) {
            store<8>(to(c), halves_joined<0>(rows[c], rows[4 + c], places));
            store<8>(to(4 + c), halves_joined<1>(rows[c], rows[4 + c], places));
        } else {
            unroll<2>([&](auto h) ZAVO_INLINED {
                const Vector<V> low = halves_joined<h>(rows[c], rows[4 + c], places);
                const Vector<V> high = halves_joined<h>(rows[8 + c], rows[12 + c], places);
                store<V>(to(8 * h + c), quarters_joined<0>(low, high, places));
                store<V>(to(8 * h + 4 + c), quarters_joined<1>(low, high, places));
            });
        }
    });
}

// Two rows of two values of eight bytes, each row at from(i), to rows at to(i).
template <class From, class To>
ZAVO_INLINE void transpose_pairs(const From& from, const To& to)
{
    const Vector<4> a = load<4>(from(0)), b = load<4>(from(1));
    store<4>(to(0), mixed_doubles<0>(a, b, Places<4>{}));
    store<4>(to(1), mixed_doubles<1>(a, b, Places<4>{}));
}

} // namespace

} // namespace zavo::simd

// The rotation of the general odd-radix passes. For slabs of few values V output slots
// to a register, each lane with its own recurrence; else V neighbours of a slab.
#pragma once

#include "fft/passes/rotation.hpp"
#include "fft/wide/simd.hpp"
#include "fft/wide/simd_lanes.hpp"
#include "fft/wide/simd_prime.hpp"

#include <bit>
#include <cstdint>

namespace zavo::fft {

namespace { // compiled for several instruction sets: see inlining.hpp

// Registers in flight: one recurrence alone is latency-bound.
constexpr int rotation_registers = 4;

// The rotations by w, 2 w, 3 w ..., as the recurrence has them.
struct RotationRun {
    Rotation<float> at{1.0F, 0.0F};
    CosSin w;

    template <int V>
    ZAVO_INLINE void next(Rotation<Vector<V>>* lanes)
    {
        float re[V * rotation_registers], im[V * rotation_registers];
        for (int t = 0; t < V * rotation_registers; ++t) {
            at.advance(w.cos, w.sin);
            re[t] = at.re;
            im[t] = at.im;
        }
        for (int r = 0; r < rotation_registers; ++r) {
            lanes[r].re = load<V>(re + V * r);
            lanes[r].im = load<V>(im + V * r);
        }
    }
};

// The output slots l .. of one value: cosines[...] and sines[...] of a run.
template <int V>
ZAVO_INLINE void rotate_run(Index slab, Index ip, const Rotation<Vector<V>>* by_l, const float* x,
                            Vector<V>* cosines, Vector<V>* sines)
{
    Rotation<Vector<V>> by_lj[rotation_registers];
    for (int r = 0; r < rotation_registers; ++r) {
        by_lj[r] = by_l[r];
        cosines[r] = x[0] + by_l[r].re * x[slab];
        sines[r] = by_l[r].im * x[slab * (ip - 1)];
    }
    for (Index j = 2; j < (ip + 1) / 2; ++j) {
        const float xj = x[slab * j];
        const float xc = x[slab * (ip - j)];
        for (int r = 0; r < rotation_registers; ++r) {
            by_lj[r].advance(by_l[r].re, by_l[r].im);
            cosines[r] = cosines[r] + by_lj[r].re * xj;
            sines[r] = sines[r] + by_lj[r].im * xc;
        }
    }
}

// Half h of a.
template <int h, class T, std::size_t... I>
ZAVO_INLINE auto half_of(T a, std::index_sequence<I...>)
{
    return __builtin_shufflevector(a, a, static_cast<int>(h * sizeof...(I) + I)...);
}

// The pairs at table + at[t]. Each is gathered as one value of twice the size, since a
// gather loads its values one by one.
template <int V>
ZAVO_INLINE Pairs<V> look_up(const float* table, typename Ints<V>::Type at)
{
    const auto low_places = half_of<0>(at, Places<V / 2>{});
    const auto high_places = half_of<1>(at, Places<V / 2>{});
    Vector<V> low, high;
    // A gather depends on what its destination register held before. Behind a mask that
    // the compiler cannot see through that stays a register of zeros, which depends on
    // nothing.
#ifdef __AVX512F__
    if constexpr (V == 16) {
        __mmask8 all = 0xFF;
        asm("" : "+Yk"(all));
        const __m512d zeros = _mm512_setzero_pd();
        low = (Vector<16>)_mm512_mask_i32gather_pd(zeros, all, (__m256i)low_places, table, sizeof(float));
        high = (Vector<16>)_mm512_mask_i32gather_pd(zeros, all, (__m256i)high_places, table, sizeof(float));
    }
#endif
#ifdef __AVX2__
    if constexpr (V == 8) {
        const auto* const pairs = reinterpret_cast<const double*>(table);
        __m256d all = _mm256_castsi256_pd(_mm256_set1_epi64x(-1));
        asm("" : "+x"(all));
        const __m256d zeros = _mm256_setzero_pd();
        low = (Vector<8>)_mm256_mask_i32gather_pd(zeros, pairs, (__m128i)low_places, all, sizeof(float));
        high = (Vector<8>)_mm256_mask_i32gather_pd(zeros, pairs, (__m128i)high_places, all, sizeof(float));
    }
#endif
    return {even_places(low, high, Places<V>{}), odd_places(low, high, Places<V>{})};
}

// The output slots l .. l + V - 1 of the two values x[0] and x[1] of every slot, by
// the rotations in the table: see rotate_complex_sums. Slots beyond `half` come out
// as copies of slot 1.
template <Direction d, int V>
ZAVO_INLINE void look_up_run(Index slab, Index ip, Index l, const float* x, const float* wa, int step,
                             Vector<V>* cosines, Vector<V>* sines)
{
    using O = typename Ints<V>::Type;
    const Index half = (ip - 1) / 2;
    const int turn = step * static_cast<int>(ip);
    O advance;
    for (int t = 0; t < V; ++t) {
        advance[t] = step * static_cast<int>(l + t <= half ? l + t : 1);
    }
    O at = advance - step;
    const auto turns = [&]() ZAVO_INLINED {
        const Pairs<V> w = look_up<V>(wa, at);
        return Pairs<V>{w.re, d == Direction::forward ? -w.im : w.im};
    };
    // Sums in variables of their own, which stay in registers.
    const float* xj = x + slab;
    const float* xc = x + slab * (ip - 1);
    const Pairs<V> first = turns();
    Vector<V> c0 = x[0] + first.re * xj[0];
    Vector<V> c1 = x[1] + first.re * xj[1];
    Vector<V> s0 = first.im * xc[0];
    Vector<V> s1 = first.im * xc[1];
    for (Index j = 2; j <= half; ++j) {
        at += advance;
        at -= (at >= turn - step) & turn;
        xj += slab;
        xc -= slab;
        const Pairs<V> w = turns();
        c0 = c0 + w.re * xj[0];
        c1 = c1 + w.re * xj[1];
        s0 = s0 + w.im * xc[0];
        s1 = s1 + w.im * xc[1];
    }
    cosines[0] = c0;
    cosines[1] = c1;
    sines[0] = s0;
    sines[1] = s1;
}

// The sums of a real general pass for slabs of few values.
template <int V>
void rotate_few_real(Index slab, Index ip, CosSin w, const float* x, float* y)
{
    constexpr Index run = V * rotation_registers;
    const Index half = (ip - 1) / 2;
    RotationRun rotations{{1.0F, 0.0F}, w};
    for (Index l = 1; l <= half; l += run) {
        if (interrupted_at(slab * ip, run / V * slab * ip)) {
            return;
        }
        Rotation<Vector<V>> by_l[rotation_registers];
        rotations.next<V>(by_l);
        const Index count = half + 1 - l < run ? half + 1 - l : run;
        for (Index i = 0; i < slab; ++i) {
            Vector<V> cosines[rotation_registers], sines[rotation_registers];
            rotate_run<V>(slab, ip, by_l, x + i, cosines, sines);
            for (Index t = 0; t < count; ++t) {
                y[i + slab * (l + t)] = cosines[t / V][t % V];
                y[i + slab * (ip - l - t)] = sines[t / V][t % V];
            }
        }
    }
}

// The same for a complex one.
template <Direction d, int V>
void rotate_few_complex(Index slab, Index ip, const float* x, float* y, const float* wa, Index step)
{
    const Index half = (ip - 1) / 2;
    for (Index l = 1; l <= half; l += V) {
        if (interrupted_at(slab * ip, V * slab * ip / 4)) { // looked up one at a time
            return;
        }
        const Index count = half + 1 - l < V ? half + 1 - l : V;
        for (Index i = 0; i < slab; i += 2) {
            Vector<V> cosines[2], sines[2];
            look_up_run<d, V>(slab, ip, l, x + i, wa, static_cast<int>(step), cosines, sines);
            for (Index t = 0; t < count; ++t) {
                for (int part = 0; part < 2; ++part) {
                    y[i + part + slab * (l + t)] = cosines[part][t];
                    y[i + part + slab * (ip - l - t)] = sines[part][t];
                }
            }
        }
    }
}

// ---- slabs of many values: V neighbours of a slab to a register ------------------------

// Output slots that share the loads of a slab, and the rotations of each of them by
// every input slot, j = 1 .. half.
constexpr int slots_at_once = 4;
constexpr Index most_turns = 512;
struct Turns {
    float cos[slots_at_once];
    float sin[slots_at_once];
};

// The sums of the slots l .. l + count - 1 at V neighbours.
template <int V>
ZAVO_INLINE void rotate_neighbours(Index slab, Index ip, const Turns* turns, Index l, Index count,
                                   const float* x, float* y)
{
    const Vector<V> x0 = load<V>(x);
    Vector<V> xj = load<V>(x + slab);
    Vector<V> xc = load<V>(x + slab * (ip - 1));
    Vector<V> cosines[slots_at_once], sines[slots_at_once];
    for (int s = 0; s < slots_at_once; ++s) {
        cosines[s] = x0 + turns[1].cos[s] * xj;
        sines[s] = turns[1].sin[s] * xc;
    }
    for (Index j = 2; j < (ip + 1) / 2; ++j) {
        xj = load<V>(x + slab * j);
        xc = load<V>(x + slab * (ip - j));
        for (int s = 0; s < slots_at_once; ++s) {
            cosines[s] = cosines[s] + turns[j].cos[s] * xj;
            sines[s] = sines[s] + turns[j].sin[s] * xc;
        }
    }
    for (Index s = 0; s < count; ++s) {
        store<V>(y + slab * (l + s), cosines[s]);
        store<V>(y + slab * (ip - l - s), sines[s]);
    }
}

// All sums of slabs of at least V values. fill(l, count, turns) sets the rotations of the
// slots l .. l + count - 1, and those beyond to any values: their sums are not stored.
template <int V, class Fill>
ZAVO_INLINE void rotate_slabs(Index slab, Index ip, const float* x, float* y, const Fill& fill)
{
    Turns turns[most_turns + 1];
    const Index half = (ip - 1) / 2;
    for (Index l = 1; l <= half; l += slots_at_once) {
        if (interrupted_at(slab * ip, slots_at_once * slab * ip / V)) {
            return;
        }
        const Index count = half + 1 - l < slots_at_once ? half + 1 - l : slots_at_once;
        fill(l, count, turns);
        Index i = 0;
        do {
            const Index at = i < slab - V ? i : slab - V; // the last ones overlap
            rotate_neighbours<V>(slab, ip, turns, l, count, x + at, y + at);
            i += V;
        } while (i < slab);
    }
}

// From this radix on slabs of few values gain.
constexpr Index large_radix = 13;

// The sums of a real general pass, in slabs of at least V values.
template <int V>
void rotate_real_slabs(Index slab, Index ip, CosSin w, const float* x, float* y)
{
    Rotation<float> last{1.0F, 0.0F}; // of the slots, which come in rising order
    rotate_slabs<V>(slab, ip, x, y, [&](Index, Index count, Turns* turns) {
        float re[slots_at_once], im[slots_at_once];
        for (Index s = 0; s < slots_at_once; ++s) {
            if (s < count) {
                last.advance(w.cos, w.sin);
            }
            re[s] = last.re;
            im[s] = last.im;
        }
        // Four recurrences side by side: one alone is latency-bound.
        const Rotation<Vector<slots_at_once>> by_l{load<slots_at_once>(re), load<slots_at_once>(im)};
        Rotation<Vector<slots_at_once>> by_lj = by_l;
        for (Index j = 1; j < (ip + 1) / 2; ++j) {
            if (j > 1) {
                by_lj.advance(by_l.re, by_l.im);
            }
            store<slots_at_once>(turns[j].cos, by_lj.re);
            store<slots_at_once>(turns[j].sin, by_lj.im);
        }
    });
}

template <int V>
bool rotate_real(Index slab, Index ip, CosSin w, const float* x, float* y)
{
    if (slab < V || (ip - 1) / 2 > most_turns) {
        if (V > 8 && (slab >= 4 || ip < 2 * V) && (ip - 1) / 2 <= most_turns) {
            return avx2_path.rotate_real(slab, ip, w, x, y);
        }
        if constexpr (V == 8) {
            if (slab >= 4 && (ip - 1) / 2 <= most_turns) {
                return rotate_real<4>(slab, ip, w, x, y);
            }
        }
        if constexpr (V > 4) {
            if (ip >= large_radix && ip >= slab) {
                rotate_few_real<V>(slab, ip, w, x, y);
                return true;
            }
        }
        return false;
    }
    rotate_real_slabs<V>(slab, ip, w, x, y);
    return true;
}

// One function for both directions: forward turns the sign bits of the sines.
template <int V>
void rotate_complex_slabs(Direction d, Index slab, Index ip, const float* x, float* y, const float* wa,
                          Index step)
{
    const std::uint32_t sign = d == Direction::forward ? 0x80000000U : 0U;
    rotate_slabs<V>(slab, ip, x, y, [&](Index l, Index count, Turns* turns) {
        for (Index s = 0; s < slots_at_once; ++s) {
            const Index slot = s < count ? l + s : l;
            Index b = 0;
            for (Index j = 1; j < (ip + 1) / 2; ++j) {
                b = b + slot >= ip ? b + slot - ip : b + slot;
                const float* const w = wa + step * (b - 1);
                turns[j].cos[s] = w[0];
                turns[j].sin[s] = std::bit_cast<float>(std::bit_cast<std::uint32_t>(w[1]) ^ sign);
            }
        }
    });
}

template <int V>
bool rotate_complex(Direction d, Index slab, Index ip, const float* x, float* y, const float* wa, Index step)
{
    const bool forward = d == Direction::forward;
    if (slab < V || (ip - 1) / 2 > most_turns) {
        if (V > 8 && (slab >= 4 || ip < 2 * V) && (ip - 1) / 2 <= most_turns) {
            return avx2_path.rotate_complex(d, slab, ip, x, y, wa, step);
        }
        if constexpr (V == 8) {
            if (slab >= 4 && (ip - 1) / 2 <= most_turns) {
                return rotate_complex<4>(d, slab, ip, x, y, wa, step);
            }
        }
        if constexpr (V > 4) {
            if (ip >= smallest_ordered_prime && ip <= largest_ordered_prime && ip >= 4 * slab) {
                if (rotate_prime_complex<V>(d, slab, ip, x, y, wa, step)) {
                    return true;
                }
            }
            if (ip >= large_radix && ip >= 4 * slab && step * ip <= most_looked_up) {
                const auto rotate = forward ? rotate_few_complex<Direction::forward, V>
                                            : rotate_few_complex<Direction::backward, V>;
                rotate(slab, ip, x, y, wa, step);
                return true;
            }
        }
        return false;
    }
    rotate_complex_slabs<V>(d, slab, ip, x, y, wa, step);
    return true;
}

// ---- V transforms side by side ---------------------------------------------------------

// VectorLanes whose general passes keep their sums in registers. A slab of values is one
// of V times as many floats.
template <int V>
struct RotatingVectorLanes : VectorLanes<V> {
    static bool rotate_real_sums(Index slab, Index ip, CosSin w, const float* x, float* y)
    {
        if ((ip - 1) / 2 > most_turns) {
            return false;
        }
        rotate_real_slabs<V>(V * slab, ip, w, x, y);
        return true;
    }
    template <Direction d>
    static bool rotate_complex_sums(Index slab, Index ip, const float* x, float* y, const float* wa,
                                    Index step)
    {
        if ((ip - 1) / 2 > most_turns) {
            return false;
        }
        rotate_complex_slabs<V>(d, V * slab, ip, x, y, wa, step);
        return true;
    }
};

} // namespace

} // namespace zavo::fft

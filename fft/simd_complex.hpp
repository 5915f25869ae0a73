// Whole complex transforms in registers of V values; simd_whole.hpp says what G and R
// are. Value r + R g of the input takes this way:
//
//     columns   the passes of the first factors, V neighbouring r at a time, in
//               the G slots of a block that stays in the innermost cache
//     turn      blocks of V by V values are transposed, so that V neighbouring
//               results k of the columns lie side by side: a chunk of R slots
//     rows      the passes of the other factors, chunk by chunk; the last one
//               leaves for the result, frequency k + G times the row's
//
// All passes of radix 2 to 5 but the last stay in place: digits come out in reverse
// order, and the two places that read a finished block, the turn and the last pass,
// count in that order.
//
// The butterflies are those of run_complex with ScalarLanes and so are the bits.
#pragma once

#include "fft/complex_passes.hpp"
#include "fft/simd_whole.hpp"

#include <utility>

namespace zavo::fft {

namespace { // compiled for several instruction sets: see shape.hpp

// From this length on the result is fetched ahead of its writing.
constexpr Index far_complex_length = 2048;

// ---- butterflies of V lanes ----------------------------------------------------------

// load(j, re, im) and store(j, re, im) say where; twiddle(j, re, im) multiplies
// result j.
template <Direction d, class Radix, int V, class Load, class Twiddle, class Store>
ZAVO_INLINE void complex_step(const Load& load, const Twiddle& twiddle, const Store& store)
{
    constexpr int ip = Radix::ip;
    Vector<V> re[ip], im[ip], yre[ip], yim[ip];
    for (int j = 0; j < ip; ++j) {
        load(j, re[j], im[j]);
    }
    Radix::butterfly(re, im, yre, yim);
    for (int j = 0; j < ip; ++j) {
        if (j > 0) {
            twiddle(j, yre[j], yim[j]);
        }
        store(j, yre[j], yim[j]);
    }
}

// ---- columns -----------------------------------------------------------------------------

// The twiddles of V neighbouring columns, in laced order like all values here.
template <int V, int ip>
struct ColumnTwiddles {
    Pairs<V> w[ip];
    ZAVO_INLINE ColumnTwiddles(const float* wa, Index block)
    {
        for (int j = 1; j < ip; ++j) {
            w[j] = load_laced<V>(wa + (j - 1) * block);
        }
    }
};

// The first pass of the columns whose first value is at p.
template <Direction d, class Radix, int V>
void first_columns_pass(Index rows, Index inner, const float* __restrict p, float* __restrict slots,
                        const float* __restrict wa)
{
    constexpr int ip = Radix::ip;
    const Index block = 2 * rows * inner;
    for (Index u = 0; u < inner; ++u) {
        const ColumnTwiddles<V, ip> w(wa, block);
        const Slots<V> out{slots, 2 * V * inner};
        complex_step<d, Radix, V>(
            [&](int j, Vector<V>& re, Vector<V>& im) {
                const Pairs<V> x = load_laced<V>(p + block * j);
                re = x.re;
                im = x.im;
            },
            [&](int j, Vector<V>& re, Vector<V>& im) { apply_twiddle<d>(w.w[j].re, w.w[j].im, re, im); },
            [&](int j, const Vector<V>& re, const Vector<V>& im) { out.store(j, re, im); });
        p += 2 * rows;
        wa += 2 * rows;
        slots += 2 * V;
    }
}

// A later pass; l1 results of the earlier ones share a twiddle.
template <Direction d, class Radix, int V>
void columns_pass(Index rows, Index inner, Index l1, float* slots, const float* __restrict wa)
{
    constexpr int ip = Radix::ip;
    for (Index u = 0; u < inner; ++u) {
        const ColumnTwiddles<V, ip> w(wa, 2 * rows * inner);
        Slots<V> at{slots, 2 * V * inner};
        for (Index k = 0; k < l1; ++k) {
            complex_step<d, Radix, V>(
                [&](int j, Vector<V>& re, Vector<V>& im) { at.load(j, re, im); },
                [&](int j, Vector<V>& re, Vector<V>& im) { apply_twiddle<d>(w.w[j].re, w.w[j].im, re, im); },
                [&](int j, const Vector<V>& re, const Vector<V>& im) { at.store(j, re, im); });
            at.first += at.step * ip;
        }
        wa += 2 * rows;
        slots += 2 * V;
    }
}

// Where the results of the columns stand.
template <int V>
ZAVO_INLINE void find_results(const Factors& factors, const Cut& cut, const float* slots,
                              const float** result)
{
    result[0] = slots;
    Index found = 1;
    for (int t = 0; t < cut.first; ++t) {
        const Index more = found * (factors.ip[t] - 1);
        for (Index k = 0; k < more; ++k) {
            result[found + k] = result[k] + 2 * V * cut.inner[t];
        }
        found += more;
    }
}

// V results of V columns, to V slots whose lanes are results, in folded order.
template <int V>
ZAVO_INLINE void turn_block(const float* const* result, float* to)
{
    for (int part = 0; part < 2 * V; part += V) {
        transpose<V>([&](int k) { return result[folded<V>(k)] + part; },
                     [&](int r) { return to + 2 * V * laced<V>(r) + part; });
    }
}

// ---- rows -----------------------------------------------------------------------------------

// A pass of `blocks` blocks.
template <Direction d, class Radix, int V>
void rows_pass(Index ido, Index blocks, float* slots, const float* __restrict wa)
{
    constexpr int ip = Radix::ip;
    Slots<V> at{slots, 2 * V * ido};
    for (Index b = 0; b < blocks; ++b) {
        for (Index u = 0; u < ido; ++u) {
            const float* const w = wa + 2 * u;
            complex_step<d, Radix, V>(
                [&](int j, Vector<V>& re, Vector<V>& im) { at.load(j, re, im); },
                [&](int j, Vector<V>& re, Vector<V>& im) {
                    apply_twiddle<d>(w[2 * (j - 1) * ido], w[2 * (j - 1) * ido + 1], re, im);
                },
                [&](int j, const Vector<V>& re, const Vector<V>& im) { at.store(j, re, im); });
            at.first += 2 * V;
        }
        at.first += at.step * (ip - 1);
    }
}

// The last pass of a block in which the digits of the factors from `which` on are
// open. Frequency f of the block goes to q + stride * f. `far`: into memory that is
// not in a near cache.
template <Direction d, class Radix, int V, bool far>
void last_rows_pass(const Factors& factors, const Cut& cut, int which, float* slots, float* q, Index stride)
{
    const int last = factors.count - 1;
    const Index innermost = which < last ? factors.ip[which] : 1;
    const Index slot_step = 2 * V * factors.ido(which);
    const Index q_step = stride * cut.weight[which];
    const Index result_step = stride * cut.weight[last];
    Index digit[most_factors] = {};
    for (;;) {
        Slots<V> in{slots, 2 * V};
        float* to = q;
        for (Index k = 0; k < innermost; ++k) {
            complex_step<d, Radix, V>([&](int j, Vector<V>& re, Vector<V>& im) { in.load(j, re, im); },
                                      [](int, Vector<V>&, Vector<V>&) {},
                                      [&](int j, const Vector<V>& re, const Vector<V>& im) {
                                          store_folded<V>(to + result_step * j, re, im);
                                          if constexpr (far) {
                                              fetch<2 * V, for_writing>(to + result_step * j, 2 * q_step);
                                          }
                                      });
            in.first += slot_step;
            to += q_step;
        }
        int t = which + 1;
        for (; t < last; ++t) {
            slots += 2 * V * factors.ido(t);
            q += stride * cut.weight[t];
            if (++digit[t] < factors.ip[t]) {
                break;
            }
            slots -= 2 * V * factors.ido(t) * factors.ip[t];
            q -= stride * cut.weight[t] * factors.ip[t];
            digit[t] = 0;
        }
        if (t >= last) {
            return;
        }
    }
}

// The passes of the factors from `which` on over one block of rows.
template <Direction d, int V>
void rows_block(const Factors& factors, const Cut& cut, int which, float* slots, float* q, Index stride,
                const float* twiddles)
{
    const int last = factors.count - 1;
    const auto pass = [&](int t, Index blocks) {
        for_complex_radix<d>(factors.ip[t], [&](auto radix) {
            rows_pass<d, decltype(radix), V>(factors.ido(t), blocks, slots,
                                             twiddles + 2 * factors.twiddle_offset(t));
        });
    };
    if (2 * V * factors.after[which] > near_floats && which + 1 < last) {
        pass(which, 1);
        for (Index j = 0; j < factors.ip[which]; ++j) {
            rows_block<d, V>(factors, cut, which + 1, slots + 2 * V * factors.ido(which) * j,
                             q + stride * cut.weight[which] * j, stride, twiddles);
        }
        return;
    }
    Index blocks = 1;
    for (int t = which; t < last; ++t) {
        pass(t, blocks);
        blocks *= factors.ip[t];
    }
    for_complex_radix<d>(factors.ip[last], [&](auto radix) {
        if (factors.n < far_complex_length) {
            last_rows_pass<d, decltype(radix), V, false>(factors, cut, which, slots, q, stride);
        } else {
            last_rows_pass<d, decltype(radix), V, true>(factors, cut, which, slots, q, stride);
        }
    });
}

// ---- rows of any radix --------------------------------------------------------------------------

// The passes of the factors from `first` on over w transforms side by side, to and
// fro between `from` and `to`; says where the values are.
template <Direction d, int w>
float* complex_lanes(const Factors& factors, int first, float* from, float* to, const float* twiddles)
{
    for (int which = first; which < factors.count; ++which) {
        complex_pass<d, typename LanesOf<w>::Type>(factors.shape_within(first, which), from, to, from,
                                                   twiddles + 2 * factors.twiddle_offset(which));
        std::swap(from, to);
    }
    return from;
}

// Of a chunk, which may have a large prime factor at its end.
template <Direction d, int V>
void rows_any(const Factors& factors, const Cut& cut, float* chunk, float* partner, float* q,
              const float* twiddles)
{
    const float* const found = complex_lanes<d, V>(factors, cut.first, chunk, partner, twiddles);
    for (Index m = 0; m < cut.rows; ++m) {
        store_folded<V>(q + 2 * cut.group * m, load<V>(found + 2 * V * m), load<V>(found + 2 * V * m + V));
    }
}

// ---- all ---------------------------------------------------------------------------------------

template <int V>
ZAVO_INLINE Cut choose_complex_cut(const Factors& factors)
{
    return choose_cut<V>(factors, 1, [](Index group, Index rows, int& width) {
        width = group >= V && rows >= V ? V : 0;
        return rows;
    });
}

template <Direction d, int V>
bool complex_whole(const Factors& factors, const Cut& cut, const float* p, float* q, float* scratch,
                   const float* twiddles)
{
    const Index rows = cut.rows;
    const Index group = cut.group;
    const bool smooth = is_smooth(factors);
    WholeWork work(cut, 2, !smooth);
    if (work.slots == nullptr) {
        return false;
    }
    float* const slots = work.slots;
    const auto chunk = [&](Index k) { return k % V == 0 ? scratch + 2 * rows * k : work.tail; };

    const float* result[most_slots];
    find_results<V>(factors, cut, slots, result);
    for_blocks<V>(rows, [&](Index r) {
        for_complex_radix<d>(factors.ip[0], [&](auto radix) {
            first_columns_pass<d, decltype(radix), V>(rows, cut.inner[0], p + 2 * r, slots, twiddles + 2 * r);
        });
        for (int t = 1; t < cut.first; ++t) {
            const float* const wa = twiddles + 2 * (factors.twiddle_offset(t) + r);
            for_complex_radix<d>(factors.ip[t], [&](auto radix) {
                columns_pass<d, decltype(radix), V>(rows, cut.inner[t], factors.l1(t), slots, wa);
            });
        }
        for_blocks<V>(group, [&](Index k) { turn_block<V>(result + k, chunk(k) + 2 * V * r); });
    });
    for_blocks<V>(group, [&](Index k) {
        if (smooth) {
            rows_block<d, V>(factors, cut, cut.first, chunk(k), q + 2 * k, 2 * group, twiddles);
        } else {
            rows_any<d, V>(factors, cut, chunk(k), work.partner, q + 2 * k, twiddles);
        }
    });
    return true;
}

// In the widest registers, V at most, that rows and columns fill; false when there
// are none.
template <Direction d, int V>
bool complex_whole_up_to(const Factors& factors, const float* p, float* q, float* scratch,
                         const float* twiddles)
{
    const Cut cut = choose_complex_cut<V>(factors);
    if (cut.first != 0) {
        return complex_whole<d, V>(factors, cut, p, q, scratch, twiddles);
    }
    if constexpr (V > 4) {
        return complex_whole_up_to<d, V / 2>(factors, p, q, scratch, twiddles);
    }
    return false;
}

} // namespace

} // namespace zavo::fft

// Whole complex transforms of lengths made of 2, 3 and 5, in registers of V values.
//
// The factors are cut in two: G is the product of the first, R = n / G that of the
// others. Value r + R g of the input takes this way:
//
//     columns   the passes of the first factors, V neighbouring r at a time, in
//               the G slots of a block that stays in the innermost cache
//     turn      blocks of V by V values are transposed, so that V neighbouring
//               results k of the columns lie side by side: a chunk of R slots
//     rows      the passes of the other factors, chunk by chunk; the last one
//               leaves for the result, frequency k + G times the row's
//
// A slot is V real parts and V imaginary parts. All passes but the last stay in
// place: digits come out in reverse order, and the two places that read a finished
// block, the turn and the last pass, count in that order. Where V does not divide
// R or G, the last block overlaps the one before it and computes the same again.
//
// The butterflies are those of run_complex with ScalarLanes and so are the bits.
#pragma once

#include "core/memory.hpp"
#include "fft/complex_radices.hpp"
#include "fft/factors.hpp"
#include "fft/simd_vectors.hpp"

namespace zavo::fft {

namespace { // compiled for several instruction sets: see shape.hpp

// Most slots of a block of columns: 32 KB of the widest registers.
constexpr Index most_column_slots = 256;
// A block of rows up to this size runs pass by pass, a larger one depth first.
constexpr Index near_floats = 8 * 1024;
// From this length on the result is fetched ahead of its writing.
constexpr Index far_length = 2048;

// Where the factor list is cut. first = 0: nowhere.
struct SmoothCut {
    int first = 0;
    Index group = 1;            // G
    Index rows = 1;             // R
    Index inner[most_factors];  // product of the factors behind, up to the cut
    Index weight[most_factors]; // product of the factors before, from the cut on
};

// The work of the passes, padded to full registers, is least.
template <int V>
ZAVO_INLINE void choose_smooth_cut(const Factors& factors, SmoothCut& cut)
{
    Index least = 0;
    for (int first = 1; first < factors.count; ++first) {
        const Index group = factors.l1(first);
        const Index rows = factors.after[first];
        if (group < V || rows < V || group > most_column_slots) {
            continue;
        }
        const Index columns_work = ((rows + V - 1) & -V) * group * first;
        const Index rows_work = ((group + V - 1) & -V) * rows * (factors.count - first);
        if (cut.first == 0 || columns_work + rows_work < least) {
            cut.first = first;
            cut.group = group;
            cut.rows = rows;
            least = columns_work + rows_work;
        }
    }
    if (cut.first != 0) {
        Index product = 1;
        for (int t = cut.first - 1; t >= 0; --t) {
            cut.inner[t] = product;
            product *= factors.ip[t];
        }
        product = 1;
        for (int t = cut.first; t < factors.count; ++t) {
            cut.weight[t] = product;
            product *= factors.ip[t];
        }
    }
}

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

// Calls work() with an object of the radix's type.
template <Direction d, class Work>
ZAVO_INLINE void for_radix(Index ip, const Work& work)
{
    switch (ip) {
    case 2:
        work(ComplexRadix2<d>{});
        return;
    case 3:
        work(ComplexRadix3<d>{});
        return;
    case 4:
        work(ComplexRadix4<d>{});
        return;
    default:
        work(ComplexRadix5<d>{});
    }
}

// V slots a distance apart, as a pass reads and writes them.
template <int V>
struct Slots {
    float* first;
    Index step;
    ZAVO_INLINE void load(int j, Vector<V>& re, Vector<V>& im) const
    {
        re = fft::load<V>(first + step * j);
        im = fft::load<V>(first + step * j + V);
    }
    ZAVO_INLINE void store(int j, const Vector<V>& re, const Vector<V>& im) const
    {
        fft::store<V>(first + step * j, re);
        fft::store<V>(first + step * j + V, im);
    }
};

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
ZAVO_INLINE void find_results(const Factors& factors, const SmoothCut& cut, const float* slots,
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
void last_rows_pass(const Factors& factors, const SmoothCut& cut, int which, float* slots, float* q,
                    Index stride)
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
void rows_block(const Factors& factors, const SmoothCut& cut, int which, float* slots, float* q, Index stride,
                const float* twiddles)
{
    const int last = factors.count - 1;
    const auto pass = [&](int t, Index blocks) {
        for_radix<d>(factors.ip[t], [&](auto radix) {
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
    for_radix<d>(factors.ip[last], [&](auto radix) {
        if (factors.n < far_length) {
            last_rows_pass<d, decltype(radix), V, false>(factors, cut, which, slots, q, stride);
        } else {
            last_rows_pass<d, decltype(radix), V, true>(factors, cut, which, slots, q, stride);
        }
    });
}

// ---- all ---------------------------------------------------------------------------------------

// Starts of blocks of V among `count`: work(start).
template <int V, class Work>
ZAVO_INLINE void for_blocks(Index count, const Work& work)
{
    Index start = 0;
    for (; count - start > V; start += V) {
        work(start);
    }
    work(count - V);
}

template <Direction d, int V>
bool complex_smooth(const Factors& factors, const SmoothCut& cut, const float* p, float* q, float* scratch,
                    const float* twiddles)
{
    const Index rows = cut.rows;
    const Index group = cut.group;
    alignas(64) float slots[2 * V * most_column_slots];
    const float* result[most_column_slots];
    float* tail = nullptr; // the chunk that overlaps another
    if (group % V != 0) {
        tail = core::take_work<float>(static_cast<std::size_t>(2 * V * rows));
        if (tail == nullptr) {
            return false;
        }
    }
    const auto chunk = [&](Index k) { return k % V == 0 ? scratch + 2 * rows * k : tail; };

    find_results<V>(factors, cut, slots, result);
    for_blocks<V>(rows, [&](Index r) {
        for_radix<d>(factors.ip[0], [&](auto radix) {
            first_columns_pass<d, decltype(radix), V>(rows, cut.inner[0], p + 2 * r, slots, twiddles + 2 * r);
        });
        for (int t = 1; t < cut.first; ++t) {
            const float* const wa = twiddles + 2 * (factors.twiddle_offset(t) + r);
            for_radix<d>(factors.ip[t], [&](auto radix) {
                columns_pass<d, decltype(radix), V>(rows, cut.inner[t], factors.l1(t), slots, wa);
            });
        }
        for_blocks<V>(group, [&](Index k) { turn_block<V>(result + k, chunk(k) + 2 * V * r); });
    });
    for_blocks<V>(group, [&](Index k) {
        rows_block<d, V>(factors, cut, cut.first, chunk(k), q + 2 * k, 2 * group, twiddles);
    });
    core::give_back_work(tail);
    return true;
}

} // namespace

} // namespace zavo::fft

// Whole complex transforms in registers of V values; simd_whole.hpp says what G and R
// are. Value r + R g of the input takes this way:
//
//     columns   the passes of the first factors, V neighbouring r at a time, in
//               the G slots of a block that stays in L1
//     transpose blocks of V by V values, so that V neighbouring results k of the
//               columns lie side by side: a chunk of R slots
//     rows      the passes of the other factors, chunk by chunk; the last one
//               leaves for the result, frequency k + G times the row's
//
// All passes of radix 2 to 5 but the last stay in place and leave their results in
// digit-reversed order; the two that read a finished block, the transpose and the last
// pass, count in that order. Where rows can end in order ("rows in order"), the chunks are
// parts of the result.
//
// The butterflies are those of run_complex with ScalarLanes and so are the bits.
#pragma once

#include "fft/passes/complex_passes.hpp"
#include "fft/wide/simd_rotation.hpp"
#include "fft/wide/simd_whole.hpp"

#include <utility>

namespace zavo::fft {

namespace { // compiled for several instruction sets: see inlining.hpp

// From this length on the result is prefetched for writing.
constexpr Index far_complex_length = 2048;
// From this length on the next columns are prefetched while those before are worked on:
// they are more streams than the hardware prefetcher tracks.
constexpr Index scattered_complex_length = 64 * 1024;

// ---- butterflies of V lanes ----------------------------------------------------------

// One butterfly: load(j, re, im) reads input j, twiddle(j, re, im) multiplies result j,
// and store(j, re, im) writes it.
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

// A backward transform is a forward one whose values have their real and imaginary parts
// swapped, before and after. With radices 2 and 4 the bits are the same: all
// differences are taken the same way round (simd_test.cpp compares). So code of a
// length's own is compiled for one direction; the first pass reads, and the last one
// writes, either way.
template <int V>
ZAVO_INLINE void exchange_if(bool exchanged, Vector<V>& re, Vector<V>& im)
{
    if (exchanged) {
        const Vector<V> real = re;
        re = im;
        im = real;
    }
}

// ---- columns -----------------------------------------------------------------------------

// The twiddles of V neighbouring columns, in folded order like all values here.
template <int V, int ip>
struct ColumnTwiddles {
    Pairs<V> w[ip];
    ZAVO_INLINE ColumnTwiddles(const float* wa, Index block)
    {
        for (int j = 1; j < ip; ++j) {
            w[j] = load_folded<V>(wa + (j - 1) * block);
        }
    }
};

// The pairs of the next V columns, in each of `count` rows.
template <int V>
ZAVO_INLINE void fetch_next_columns(const float* p, Index rows, Index count)
{
    for (Index g = 0; g < count; ++g) {
        fetch<2 * V, for_reading>(p + 2 * rows * g, 2 * V);
    }
}

// The first pass of the columns whose first value is at p.
template <Direction d, class Radix, int V>
ZAVO_INLINE void first_columns_pass(bool exchanged, Index rows, Index inner, const float* __restrict p,
                                    float* __restrict slots, const float* __restrict wa)
{
    constexpr int ip = Radix::ip;
    const Index block = 2 * rows * inner;
    for (Index u = 0; u < inner; ++u) {
        const ColumnTwiddles<V, ip> w(wa, block);
        const Slots<V> out{slots, 2 * V * inner};
        complex_step<d, Radix, V>(
            [&](int j, Vector<V>& re, Vector<V>& im) ZAVO_INLINED {
                const Pairs<V> x = load_folded<V>(p + block * j);
                re = x.re;
                im = x.im;
                exchange_if<V>(exchanged, re, im);
            },
            [&](int j, Vector<V>& re, Vector<V>& im)
                ZAVO_INLINED { apply_twiddle<d>(w.w[j].re, w.w[j].im, re, im); },
            [&](int j, const Vector<V>& re, const Vector<V>& im) ZAVO_INLINED { out.store(j, re, im); });
        p += 2 * rows;
        wa += 2 * rows;
        slots += 2 * V;
    }
}

// A later pass; l1 results of the earlier ones share a twiddle.
template <Direction d, class Radix, int V>
ZAVO_INLINE void columns_pass(Index rows, Index inner, Index l1, float* slots, const float* __restrict wa)
{
    constexpr int ip = Radix::ip;
    for (Index u = 0; u < inner; ++u) {
        const ColumnTwiddles<V, ip> w(wa, 2 * rows * inner);
        Slots<V> at{slots, 2 * V * inner};
        for (Index k = 0; k < l1; ++k) {
            complex_step<d, Radix, V>(
                [&](int j, Vector<V>& re, Vector<V>& im) ZAVO_INLINED { at.load(j, re, im); },
                [&](int j, Vector<V>& re, Vector<V>& im)
                    ZAVO_INLINED { apply_twiddle<d>(w.w[j].re, w.w[j].im, re, im); },
                [&](int j, const Vector<V>& re, const Vector<V>& im) ZAVO_INLINED { at.store(j, re, im); });
            at.first += at.step * ip;
        }
        wa += 2 * rows;
        slots += 2 * V;
    }
}

// V results of V columns, to V slots `step` apart whose lanes are results, in folded
// order. slot(k): where result k of them stands.
template <int V, class Slot>
ZAVO_INLINE void turn_block(const float* slots, const Slot& slot, float* to, Index step)
{
    for (int part = 0; part < 2 * V; part += V) {
        transpose<V>([&](int k) ZAVO_INLINED { return slots + 2 * V * slot(folded<V>(k)) + part; },
                     [&](int r) ZAVO_INLINED { return to + step * folded<V>(r) + part; });
    }
}

// ---- rows -----------------------------------------------------------------------------------

// A pass of `blocks` blocks over slots `step` apart.
template <Direction d, class Radix, int V>
ZAVO_INLINE void rows_pass(Index ido, Index blocks, float* slots, Index step, const float* __restrict wa)
{
    constexpr int ip = Radix::ip;
    for (Index u = 0; u < ido; ++u) {
        const float* const w = wa + 2 * u;
        Slots<V> at{slots + step * u, step * ido};
        for (Index b = 0; b < blocks; ++b) {
            complex_step<d, Radix, V>(
                [&](int j, Vector<V>& re, Vector<V>& im) ZAVO_INLINED { at.load(j, re, im); },
                [&](int j, Vector<V>& re, Vector<V>& im) ZAVO_INLINED {
                    apply_twiddle<d>(w[2 * (j - 1) * ido], w[2 * (j - 1) * ido + 1], re, im);
                },
                [&](int j, const Vector<V>& re, const Vector<V>& im) ZAVO_INLINED { at.store(j, re, im); });
            at.first += at.step * ip;
        }
    }
}

// The last pass of a block that is the transform of the factors from `which` on.
// Frequency f of the block goes to q + stride * f. `far`: into memory that is not in L1
// or L2.
template <Direction d, class Radix, int V, bool far>
ZAVO_INLINE void last_rows_pass(bool exchanged, const Factors& factors, const Cut& cut, int which,
                                float* slots, float* q, Index stride)
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
            complex_step<d, Radix, V>([&](int j, Vector<V>& re, Vector<V>& im)
                                          ZAVO_INLINED { in.load(j, re, im); },
                                      [](int, Vector<V>&, Vector<V>&) ZAVO_INLINED {},
                                      [&](int j, Vector<V>& re, Vector<V>& im) ZAVO_INLINED {
                                          exchange_if<V>(exchanged, re, im);
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

// The passes of the factors from `which` on over one block of rows, pass by pass.
template <Direction d, int V, class Plan, class Which>
void near_rows(const Plan& plan, Which which, float* slots, float* q, Index stride, const float* twiddles)
{
    const Factors& factors = plan.factors;
    Index blocks = 1;
    plan.for_factors(which, plan.last(), [&](auto t) {
        plan.template with_complex_radix<d>(t, [&](auto radix) {
            plan.loops([&]() {
                rows_pass<d, decltype(radix), V>(factors.ido(t), blocks, slots, 2 * V,
                                                 twiddles + 2 * factors.twiddle_offset(t));
            });
        });
        blocks *= factors.ip[t];
    });
    plan.template with_complex_radix<d>(plan.last(), [&](auto radix) {
        decide(is_long<V, far_complex_length>(plan), [&](auto far) {
            plan.loops([&]() {
                last_rows_pass<d, decltype(radix), V, decltype(far)::value>(plan.exchanged, factors, plan.cut,
                                                                            which, slots, q, stride);
            });
        });
    });
}

// The same for a block of any size, a large one depth first.
template <Direction d, int V>
__attribute__((noinline)) ZAVO_FLATTEN void rows_block(const FoundPlan& plan, int which, float* slots,
                                                       float* q, Index stride, const float* twiddles)
{
    const Factors& factors = plan.factors;
    if (2 * V * factors.after[which] <= near_floats || which + 1 == factors.count) {
        near_rows<d, V>(plan, which, slots, q, stride, twiddles);
        return;
    }
    plan.with_complex_radix<d>(which, [&](auto radix) {
        plan.loops([&]() {
            rows_pass<d, decltype(radix), V>(factors.ido(which), 1, slots, 2 * V,
                                             twiddles + 2 * factors.twiddle_offset(which));
        });
    });
    for (Index j = 0; j < factors.ip[which]; ++j) {
        rows_block<d, V>(plan, which + 1, slots + 2 * V * factors.ido(which) * j,
                         q + stride * plan.cut.weight[which] * j, stride, twiddles);
    }
}

// ---- rows in order ------------------------------------------------------------------------------
// Where R has the same radices from both ends, a row can end where its frequencies
// belong: slot m of V neighbouring k stands 2 G m floats behind the first. Every pass of
// the second half puts its digit in the place of the one that stands as far from the
// other end, and so the digits come out in order. The slots are the result's own, and
// the transform takes one array less of L1.

constexpr ZAVO_INLINE bool rows_are_symmetric(const Factors& factors, const Cut& cut)
{
    for (int t = cut.first; t < factors.count; ++t) {
        if (factors.ip[t] != factors.ip[cut.first + factors.count - 1 - t]) {
            return false;
        }
    }
    return true;
}

// A pass with an exchange of its digit and that of `far`, which count slots in steps of
// ido and far_ido. outer: blocks that share the digits before far's.
template <Direction d, class Radix, int V, bool last>
ZAVO_INLINE void exchanging_pass(bool exchanged, Index far_ido, Index ido, Index outer, float* q, Index step,
                                 const float* __restrict wa)
{
    constexpr int ip = Radix::ip;
    const auto tile = [&](Index slot, const float* w) ZAVO_INLINED {
        const auto row = [&](int e) ZAVO_INLINED {
            return Slots<V>{q + step * (slot + far_ido * e), step * ido};
        };
        const auto put = [&](int e, int j, Vector<V> re, Vector<V> im) ZAVO_INLINED {
            const Slots<V> out = row(e);
            if constexpr (last) {
                exchange_if<V>(exchanged, re, im);
                store_folded<V>(out.first + out.step * j, re, im);
            } else {
                out.store(j, re, im);
            }
        };
        // What belongs to a row that has not been read is held until then.
        Vector<V> held_re[ip][ip], held_im[ip][ip];
        unroll<ip>([&](auto e) ZAVO_INLINED {
            complex_step<d, Radix, V>(
                [&](int j, Vector<V>& re, Vector<V>& im) ZAVO_INLINED { row(e).load(j, re, im); },
                [&](int j, Vector<V>& re, Vector<V>& im) ZAVO_INLINED {
                    if constexpr (!last) {
                        apply_twiddle<d>(w[2 * (j - 1) * ido], w[2 * (j - 1) * ido + 1], re, im);
                    }
                },
                [&](int j, const Vector<V>& re, const Vector<V>& im) ZAVO_INLINED {
                    if (j < e) {
                        put(e, j, held_re[j][e], held_im[j][e]);
                    }
                    if (j <= e) {
                        put(j, e, re, im);
                    } else {
                        held_re[e][j] = re;
                        held_im[e][j] = im;
                    }
                });
        });
    };
    for (Index block = 0; block < outer; ++block) {
        for (Index between = 0; between < far_ido; between += ip * ido) {
            for (Index u = 0; u < ido; ++u) {
                tile(ip * far_ido * block + between + u, wa + 2 * u);
            }
        }
    }
}

// All passes over the rows of V neighbouring k, of a KnownPlan.
template <Direction d, int V, class Plan>
void rows_in_order(const Plan& plan, float* q, const float* twiddles)
{
    const Factors& factors = plan.factors;
    const Index step = 2 * plan.cut.group;
    constexpr int both_ends = decltype(plan.first())::value + decltype(plan.last())::value;
    constexpr int last = decltype(plan.last())::value;
    plan.for_factors(plan.first(), Number<last + 1>{}, [&](auto number) {
        constexpr int t = decltype(number)::value;
        constexpr int far = both_ends - t;
        const float* const wa = twiddles + 2 * factors.twiddle_offset(t);
        plan.template with_complex_radix<d>(number, [&](auto radix) {
            using Radix = decltype(radix);
            if constexpr (t <= far) {
                rows_pass<d, Radix, V>(factors.ido(t), plan.cut.weight[t], q, step, wa);
            } else {
                exchanging_pass<d, Radix, V, t == last>(plan.exchanged, factors.ido(far), factors.ido(t),
                                                        plan.cut.weight[far], q, step, wa);
            }
        });
    });
}

// ---- rows of any radix --------------------------------------------------------------------------

// The passes of the factors first .. end - 1, of transforms that begin with factor `begin`,
// over V of them side by side, with `from` and `to` as ping-pong buffers; says where the
// values are.
template <Direction d, int V>
__attribute__((noinline)) float* complex_lanes(const Factors& factors, int begin, int first, int end,
                                               float* from, float* to, const float* twiddles)
{
    for (int which = first; which < end; ++which) {
        complex_pass<d, RotatingVectorLanes<V>>(factors.shape_within(begin, which), from, to, from,
                                                twiddles + 2 * factors.twiddle_offset(which));
        std::swap(from, to);
    }
    return from;
}

// Of a chunk, which may have a large prime factor at its end.
template <Direction d, int V>
__attribute__((noinline)) void rows_any(const Factors& factors, const Cut& cut, float* chunk, float* partner,
                                        float* q, const float* twiddles)
{
    const float* const found =
        complex_lanes<d, V>(factors, cut.first, cut.first, factors.count, chunk, partner, twiddles);
    for (Index m = 0; m < cut.rows; ++m) {
        store_folded<V>(q + 2 * cut.group * m, load<V>(found + 2 * V * m), load<V>(found + 2 * V * m + V));
    }
}

// ---- all ---------------------------------------------------------------------------------------

// Floats of storage besides the slots: the second ping-pong buffer of chunks whose passes
// are not in place, and the chunk that overlaps another.
constexpr ZAVO_INLINE Index complex_storage(const Factors& factors, const Cut& cut)
{
    return cut.chunk_floats(2) * (!is_smooth(factors) + cut.has_tail());
}
constexpr ZAVO_INLINE bool fits_stack(const Factors& factors, const Cut& cut)
{
    return cut.slot_floats() + complex_storage(factors, cut) <= stack_floats;
}

template <int V>
constexpr ZAVO_INLINE Cut choose_complex_cut(const Factors& factors)
{
    return choose_cut(factors, 1, [&](Cut& cut) ZAVO_INLINED {
        cut.rows_width = cut.columns_width = V;
        cut.columns = cut.rows;
        return cut.group >= V && cut.rows >= V &&
               (fits_stack(factors, cut) || complex_storage(factors, cut) <= 2 * factors.n);
    });
}

struct FoundComplexPlan : FoundPlan {
    static constexpr bool has_order = false; // whether rows can end in order, and gain by it
    const Results& results;
};

template <int V, class List>
constexpr Cut known_complex_cut = choose_complex_cut<V>(List::factors);

template <int V, class List>
struct KnownComplexPlan : KnownPlan<List, known_complex_cut<V, List>.first> {
    static constexpr bool exchanged = false;
    static constexpr const Cut& cut = known_complex_cut<V, List>;
    static constexpr bool has_order =
        List::factors.n >= far_complex_length && rows_are_symmetric(List::factors, cut);
    static constexpr Results results = [] {
        Results found{};
        found.find(List::factors, cut);
        return found;
    }();
};

// The same for both directions.
template <int V, class List>
struct EitherComplexPlan : KnownComplexPlan<V, List> {
    static_assert(std::all_of(List::factors.ip, List::factors.ip + List::factors.count,
                              [](Index ip) { return ip == 2 || ip == 4; }));
    bool exchanged;
};

// How many blocks of columns a pass takes before the next pass begins: one of a single
// block has to wait for what the pass before has stored. With registers of 16 lanes there
// are too few blocks for that to pay.
template <int V, class Plan>
constexpr Index columns_at_once = 1;
template <class Plan>
requires Plan::is_known constexpr Index columns_at_once<8, Plan> = Plan::cut.rows % 16 == 0 ? 2 : 1;

// Whether the slots of a block's results are at the same distances in every block, so
// that these are known when compiling.
template <int V, class Plan>
constexpr bool slots_add_up = false;
template <int V, class Plan>
requires Plan::is_known constexpr bool slots_add_up<V, Plan> = [] {
    const std::uint16_t* const slot = Plan::results.slot;
    bool add_up = Plan::cut.group % V == 0;
    for (Index k = 0; k < Plan::cut.group; ++k) {
        add_up = add_up && slot[k] == slot[k / V * V] + slot[k % V];
    }
    return add_up;
}();

template <Direction d, int V, class Plan>
void complex_whole(const Plan& plan, const float* p, float* q, float* scratch, float* work,
                   const float* twiddles)
{
    constexpr Index at_once = columns_at_once<V, Plan>;
    alignas(64) float on_stack[stack_floats];
    const Factors& factors = plan.factors;
    const Cut& cut = plan.cut;
    const Index rows = cut.rows;
    const Index group = cut.group;
    const bool smooth = always_smooth<V, Plan> || is_smooth(factors);
    float* const slots = on_stack;
    float* const partner = fits_stack(factors, cut) ? on_stack + at_once * cut.slot_floats() : work;
    float* const tail = partner + (smooth ? 0 : cut.chunk_floats(2));
    assert(partner != nullptr && cut.group * cut.rows == factors.n);
    // Rows in order have to lie in a result that is not read any more, and slots across
    // two lines of the cache would cost more than an array does.
    const bool in_order =
        Plan::has_order && p != q && reinterpret_cast<std::uintptr_t>(q) % (sizeof(float) * V) == 0;
    const Index step = in_order ? 2 * group : 2 * V;
    const auto chunk = [&](Index k) ZAVO_INLINED {
        return in_order ? q + 2 * k : k % V == 0 ? scratch + 2 * rows * k : tail;
    };

    for_blocks<at_once * V>(rows, [&](Index first) {
        if (interrupted_in(plan, V * group)) {
            return;
        }
        if (plan.template is_at_least<scattered_complex_length>()) {
            fetch_next_columns<V>(p + 2 * first, rows, group);
            fetch_next_columns<V>(twiddles + 2 * first, rows, group - 1);
        }
        // work(r, its slots)
        const auto for_columns = [&](const auto& work) ZAVO_INLINED {
            for (Index b = 0; b < at_once; ++b) {
                work(first + V * b, slots + cut.slot_floats() * b);
            }
        };
        plan.template with_complex_radix<d>(Number<0>{}, [&](auto radix) {
            plan.loops([&]() {
                for_columns([&](Index r, float* of_block) ZAVO_INLINED {
                    first_columns_pass<d, decltype(radix), V>(plan.exchanged, rows, cut.inner[0], p + 2 * r,
                                                              of_block, twiddles + 2 * r);
                });
            });
        });
        plan.for_factors(Number<1>{}, plan.first(), [&](auto t) {
            const float* const wa = twiddles + 2 * factors.twiddle_offset(t);
            plan.template with_complex_radix<d>(t, [&](auto radix) {
                plan.loops([&]() {
                    for_columns([&](Index r, float* of_block) ZAVO_INLINED {
                        columns_pass<d, decltype(radix), V>(rows, cut.inner[t], factors.l1(t), of_block,
                                                            wa + 2 * r);
                    });
                });
            });
        });
        for_columns([&](Index r, const float* of_block) ZAVO_INLINED {
            for_blocks<V>(group, [&](Index k) {
                const std::uint16_t* const slot = plan.results.slot + k;
                float* const to = chunk(k) + step * r;
                if constexpr (slots_add_up<V, Plan>) {
                    turn_block<V>(
                        of_block + 2 * V * slot[0], [](int i) ZAVO_INLINED { return Plan::results.slot[i]; },
                        to, step);
                } else {
                    turn_block<V>(
                        of_block, [&](int i) ZAVO_INLINED { return slot[i]; }, to, step);
                }
            });
        });
    });
    for_blocks<V>(group, [&](Index k) {
        if (interrupted_in(plan, V * rows)) {
            return;
        }
        if (in_order) {
            if constexpr (Plan::has_order) {
                rows_in_order<d, V>(plan, chunk(k), twiddles);
            }
        } else if constexpr (Plan::is_known) {
            near_rows<d, V>(plan, plan.first(), chunk(k), q + 2 * k, 2 * group, twiddles);
        } else {
            if (smooth) {
                rows_block<d, V>(plan, cut.first, chunk(k), q + 2 * k, 2 * group, twiddles);
            } else if constexpr (!always_smooth<V, Plan>) {
                rows_any<d, V>(factors, cut, chunk(k), partner, q + 2 * k, twiddles);
            }
        }
    });
}

} // namespace

} // namespace zavo::fft

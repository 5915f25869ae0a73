// Whole real transforms in registers; simd_whole.hpp says what G and R are. Forward, the
// values x[g + G m] take this way:
//
//     rows      G transforms of length R, W neighbouring g side by side: a chunk
//     turn      blocks are transposed, so that C neighbouring frequencies t of one g
//               lie side by side
//     columns   the passes of the first factors. The frequencies that come of one t
//               are R m + t and R m - t, the members of t; G of them, for C
//               neighbouring t, stay in the innermost cache
//
// and backward the same way back. The frequencies without a partner, t = 0 and
// t = R / 2, are one transform of G values each, taken one value at a time.
//
// The butterflies are those of run_real with ScalarLanes and so are the bits.
#pragma once

#include "fft/passes/complex_radices.hpp"
#include "fft/passes/real_passes.hpp"
#include "fft/wide/simd_whole.hpp"

#include <algorithm>
#include <utility>

namespace zavo::fft {

namespace { // compiled for several instruction sets: see shape.hpp

// From this length on the values outside are fetched ahead.
constexpr Index far_real_length = 32 * 1024;

// With even R the registers may reach t = R / 2, whose values are put right
// afterwards.
template <int V>
constexpr ZAVO_INLINE Cut choose_real_cut(const Factors& factors)
{
    return choose_cut<V>(factors, 2, [](Index, Index rows, int& width) ZAVO_INLINED {
        const Index partners = (rows - 1) / 2;
        width = width_for<V>(partners);
        if (rows % 2 == 0 && width_for<V>(rows / 2) > width) {
            width = width_for<V>(rows / 2);
            return rows / 2;
        }
        return partners;
    });
}

// ---- rows ----------------------------------------------------------------------------
// V transforms of length R between places `group` apart and a chunk.

// Of radices 2 to 5. The transforms of length after[t] that factor t makes lie one
// after the other, those that it makes one of side by side; so a part of the chunk
// can go through many passes while it is near. Even and odd factors write to the
// chunk and to its partner in turn, the first one to the chunk.
template <Direction d, int V, class Plan>
struct SmoothRows {
    const Plan& plan;
    float* chunk;
    float* partner;
    const float* twiddles;

    ZAVO_INLINE float* made_by(int t) const { return (t - plan.cut.first) % 2 == 0 ? chunk : partner; }

    // The pass of factor t in `count` transforms that begin with value `start`.
    ZAVO_INLINE void pass(int t, Index start, Index count) const
    {
        const Factors& factors = plan.factors;
        float* const joined = made_by(t) + V * start;
        float* const apart = made_by(t + 1) + V * start;
        const Shape shape{factors.ido(t), count, factors.ip[t]};
        const float* const wa = twiddles + factors.twiddle_offset(t);
        for_real_radix(shape.ip, [&](auto radix) ZAVO_INLINED {
            plan.loops([&]() ZAVO_INLINED {
                real_radix_pass<d, decltype(radix), VectorLanes<V>, AllFrequencies, NestedView>(
                    shape, d == Direction::forward ? apart : joined, d == Direction::forward ? joined : apart,
                    wa);
            });
        });
    }

    // The pass of the last factor, in the transforms that factors t to the last one
    // but one join. outside: value 0 of the whole of them.
    template <class Radix, bool far, class Outside>
    ZAVO_INLINE void outer_pass(int t, Index start, Outside* outside) const
    {
        constexpr int ip = Radix::ip;
        const Factors& factors = plan.factors;
        const Cut& cut = plan.cut;
        const int last = factors.count - 1;
        const Index step = cut.group * cut.weight[last];
        float* at = made_by(last) + V * start;
        Index digit[most_factors] = {};
        for (;;) {
            const Index innermost = t < last ? factors.ip[last - 1] : 1;
            Outside* leaf = outside;
            for (Index n = 0; n < innermost; ++n) {
                Vector<V> x[ip], y[ip];
                for (int j = 0; j < ip; ++j) {
                    x[j] = load<V>(d == Direction::forward ? leaf + step * j : at + V * j);
                    if constexpr (far) { // what the next lanes have there
                        fetch<V, d == Direction::forward ? for_reading : for_writing>(leaf + step * j, V);
                    }
                }
                if constexpr (d == Direction::forward) {
                    Radix::forward_first(x, y);
                } else {
                    Radix::backward_first(x, y);
                }
                for (int j = 0; j < ip; ++j) {
                    if constexpr (d == Direction::forward) {
                        store<V>(at + V * j, y[j]);
                    } else {
                        store<V>(leaf + step * j, y[j]);
                    }
                }
                at += V * ip;
                leaf += t < last ? cut.group * cut.weight[last - 1] : 0;
            }
            int carry = last - 2;
            for (; carry >= t; --carry) {
                outside += cut.group * cut.weight[carry];
                if (++digit[carry] < factors.ip[carry]) {
                    break;
                }
                outside -= cut.group * cut.weight[carry] * factors.ip[carry];
                digit[carry] = 0;
            }
            if (carry < t) {
                return;
            }
        }
    }

    template <class Outside>
    ZAVO_INLINE void outer(int t, Index start, Outside* outside) const
    {
        const Factors& factors = plan.factors;
        for_real_radix(factors.ip[factors.count - 1], [&](auto radix) ZAVO_INLINED {
            if (factors.n < far_real_length) {
                plan.loops([&]() ZAVO_INLINED { outer_pass<decltype(radix), false>(t, start, outside); });
            } else {
                plan.loops([&]() ZAVO_INLINED { outer_pass<decltype(radix), true>(t, start, outside); });
            }
        });
    }

    // The transform of factors t and on that begins with value `start`, pass by pass.
    template <class Outside>
    ZAVO_INLINE void run_near(int t, Index start, Outside* outside) const
    {
        const Factors& factors = plan.factors;
        const int last = factors.count - 1;
        if constexpr (d == Direction::backward) {
            Index count = 1;
            plan.for_factors(t, last, [&](int s) ZAVO_INLINED {
                pass(s, start, count);
                count *= factors.ip[s];
            });
            outer(t, start, outside);
        } else {
            outer(t, start, outside);
            Index count = factors.after[t] / factors.ip[last];
            plan.for_factors_falling(t, last, [&](int s) ZAVO_INLINED {
                count /= factors.ip[s];
                pass(s, start, count);
            });
        }
    }

    // The same for one of any size, a large one depth first.
    template <class Outside>
    void run(int t, Index start, Outside* outside) const
    {
        const Factors& factors = plan.factors;
        const Cut& cut = plan.cut;
        if (2 * V * factors.after[t] <= near_floats || t + 1 == factors.count) {
            run_near(t, start, outside);
            return;
        }
        if constexpr (d == Direction::backward) {
            pass(t, start, 1);
        }
        for (Index j = 0; j < factors.ip[t]; ++j) {
            run(t + 1, start + factors.after[t + 1] * j, outside + cut.group * cut.weight[t] * j);
        }
        if constexpr (d == Direction::forward) {
            pass(t, start, 1);
        }
    }

    template <class Outside>
    ZAVO_INLINE void run_all(Outside* outside) const
    {
        if constexpr (Plan::is_near) {
            run_near(plan.cut.first, 0, outside);
        } else {
            run(plan.cut.first, 0, outside);
        }
    }
};

// Of any radices.
template <int V, class Plan>
ZAVO_INLINE void rows_forward(const Plan& plan, const float* p, float* chunk, float* partner,
                              const float* twiddles)
{
    const Factors& factors = plan.factors;
    const Cut& cut = plan.cut;
    if (is_smooth(factors)) {
        SmoothRows<Direction::forward, V, Plan>{plan, chunk, partner, twiddles}.run_all(p);
        return;
    }
    const bool odd = (factors.count - cut.first) % 2 != 0;
    float* from = odd ? partner : chunk;
    float* to = odd ? chunk : partner;
    for (Index m = 0; m < cut.rows; ++m) {
        store<V>(from + V * m, load<V>(p + cut.group * m));
    }
    for (int which = factors.count - 1; which >= cut.first; --which) {
        real_pass<Direction::forward, VectorLanes<V>>(factors.shape_within(cut.first, which), from, to, from,
                                                      twiddles + factors.twiddle_offset(which));
        std::swap(from, to);
    }
}

template <int V, class Plan>
ZAVO_INLINE void rows_backward(const Plan& plan, float* chunk, float* partner, float* q,
                               const float* twiddles)
{
    const Factors& factors = plan.factors;
    const Cut& cut = plan.cut;
    if (is_smooth(factors)) {
        SmoothRows<Direction::backward, V, Plan>{plan, chunk, partner, twiddles}.run_all(q);
        return;
    }
    float* from = chunk;
    float* to = partner;
    for (int which = cut.first; which < factors.count; ++which) {
        real_pass<Direction::backward, VectorLanes<V>>(factors.shape_within(cut.first, which), from, to, from,
                                                       twiddles + factors.twiddle_offset(which));
        std::swap(from, to);
    }
    for (Index m = 0; m < cut.rows; ++m) {
        store<V>(q + cut.group * m, load<V>(from + V * m));
    }
}

// Calls work(t) for the factors before the cut; forward, the last of them is the first.
template <Direction d, class Plan, class Work>
ZAVO_INLINE void for_first_factors(const Plan& plan, const Work& work)
{
    if constexpr (d == Direction::forward) {
        plan.for_factors_falling(0, plan.cut.first, work);
    } else {
        plan.for_factors(0, plan.cut.first, work);
    }
}

// ---- columns -----------------------------------------------------------------------------

// The frequency base + sign * t.
struct Member {
    int base;
    int sign;
};

// The members of t: before(which) begins those that the transforms have before (forward)
// or after (backward) the pass of factor `which`, whole() those of the whole spectrum.
// A pass of radix ip makes ip of one.
struct Members {
    Member all[2 * most_slots];
    int start[most_factors + 1];

    constexpr ZAVO_INLINE void find(const Factors& factors, int first)
    {
        start[first] = 0;
        all[0] = {0, 1};
        int count = 1;
        for (int which = first - 1; which >= 0; --which) {
            const Member* const from = all + start[which + 1];
            Member* to = all + start[which + 1] + count;
            start[which] = start[which + 1] + count;
            const int ido = static_cast<int>(factors.ido(which));
            const int ip = static_cast<int>(factors.ip[which]);
            for (int e = 0; e < count; ++e) {
                for (int j = 0; j < ip; ++j) {
                    *to++ = j % 2 == 0 ? Member{ido * (j / 2) + from[e].base, from[e].sign}
                                       : Member{ido * ((j + 1) / 2) - from[e].base, -from[e].sign};
                }
            }
            count *= ip;
        }
    }
    ZAVO_INLINE const Member* before(int which) const { return all + start[which + 1]; }
    ZAVO_INLINE const Member* whole() const { return all + start[0]; }
};

// The pairs of a member for the V frequencies from t on, in laced order. Frequency f
// stands at values[2 f + zero].
template <int V, int sign>
ZAVO_INLINE Pairs<V> load_member(const float* values, Index zero, Member member, Index t)
{
    if constexpr (sign > 0) {
        return load_laced<V>(values + (2 * (member.base + t) + zero));
    } else {
        return load_laced_falling<V>(values + (2 * (member.base - t) + zero));
    }
}
template <int V, int sign>
ZAVO_INLINE void store_member(float* values, Index zero, Member member, Index t, const Vector<V>& re,
                              const Vector<V>& im)
{
    if constexpr (sign > 0) {
        store_laced<V>(values + (2 * (member.base + t) + zero), re, im);
    } else {
        store_laced_falling<V>(values + (2 * (member.base - t) + zero), re, im);
    }
}

// One pass in the slots of the V columns from t on, for one member of `sign`. That of
// factor 0, the outermost, has the spectrum in place of the slots of its members.
template <Direction d, class Radix, int V, bool outermost, int sign, class Spectrum>
ZAVO_INLINE void real_member_pass(const Shape& shape, Member member, const Member* outer, Index t,
                                  float* slots, Spectrum* spectrum, const float* __restrict wa)
{
    constexpr int ip = Radix::ip;
    Slots<V> at{slots, 2 * V * shape.l1};
    Pairs<V> w[ip];
    for (int j = 1; j < ip; ++j) {
        w[j] = load_member<V, sign>(wa, (j - 1) * shape.ido - 2, member, t);
    }
    for (Index k = 0; k < shape.l1; ++k) {
        Vector<V> re[ip], im[ip], yre[ip], yim[ip];
        unroll<ip>([&](auto j) ZAVO_INLINED {
            constexpr int outer_sign = j % 2 == 0 ? sign : -sign;
            if constexpr (outermost && d == Direction::backward) {
                const Pairs<V> x = load_member<V, outer_sign>(spectrum, -1, outer[j], t);
                re[j] = x.re;
                im[j] = x.im;
            } else {
                at.load(j, re[j], im[j]);
            }
            if constexpr (d == Direction::forward && j > 0) {
                apply_twiddle<d>(w[j].re, w[j].im, re[j], im[j]);
            }
        });
        if constexpr (d == Direction::forward) {
            Radix::forward_inner(re, im, yre, yim);
        } else {
            Radix::backward_inner(re, im, yre, yim);
        }
        unroll<ip>([&](auto j) ZAVO_INLINED {
            constexpr int outer_sign = j % 2 == 0 ? sign : -sign;
            if constexpr (d == Direction::backward && j > 0) {
                apply_twiddle<d>(w[j].re, w[j].im, yre[j], yim[j]);
            }
            if constexpr (outermost && d == Direction::forward) {
                store_member<V, outer_sign>(spectrum, -1, outer[j], t, yre[j], yim[j]);
            } else {
                at.store(j, yre[j], yim[j]);
            }
        });
        at.first += 2 * V;
    }
}

template <Direction d, class Radix, int V, bool outermost, class Spectrum>
ZAVO_INLINE void real_columns_pass(const Shape& shape, Index count, const Member* members,
                                   const Member* outer, Index t, float* slots, Spectrum* spectrum,
                                   const float* __restrict wa)
{
    for (Index e = 0; e < count; ++e) {
        if (members[e].sign > 0) {
            real_member_pass<d, Radix, V, outermost, 1>(shape, members[e], outer, t, slots, spectrum, wa);
        } else {
            real_member_pass<d, Radix, V, outermost, -1>(shape, members[e], outer, t, slots, spectrum, wa);
        }
        slots += 2 * V * shape.l1 * Radix::ip;
        outer += Radix::ip;
    }
}

// The pairs that the next columns have in the spectrum.
template <Direction d, int V, class Spectrum>
void fetch_columns(const Member* members, Index count, Index t, Spectrum* spectrum)
{
    constexpr Fetch what = d == Direction::forward ? for_writing : for_reading;
    for (Index e = 0; e < count; ++e) {
        const Index first = members[e].sign > 0 ? members[e].base + t : members[e].base - t - (V - 1);
        fetch<2 * V, what>(spectrum, 2 * first - 1);
    }
}

template <Direction d, int V, class Plan, class Spectrum>
ZAVO_INLINE void columns_block(const Plan& plan, Index t, float* slots, Spectrum* spectrum,
                               const float* twiddles)
{
    const Factors& factors = plan.factors;
    const Cut& cut = plan.cut;
    const Members& members = plan.members;
    if (factors.n >= far_real_length) {
        fetch_columns<d, V>(members.whole(), cut.group, t + V, spectrum);
    }
    const auto pass = [&](int which) ZAVO_INLINED {
        const Shape shape = factors.shape(which);
        const Index count = members.start[which] - members.start[which + 1];
        const float* const wa = twiddles + factors.twiddle_offset(which);
        for_real_radix(factors.ip[which], [&](auto radix) ZAVO_INLINED {
            using Radix = decltype(radix);
            if (which == 0) {
                plan.loops([&]() ZAVO_INLINED {
                    real_columns_pass<d, Radix, V, true>(shape, count, members.before(0), members.whole(), t,
                                                         slots, spectrum, wa);
                });
            } else {
                plan.loops([&]() ZAVO_INLINED {
                    real_columns_pass<d, Radix, V, false>(shape, count, members.before(which),
                                                          members.whole(), t, slots, spectrum, wa);
                });
            }
        });
    };
    for_first_factors<d>(plan, pass);
}

// ---- the frequencies without a partner ----------------------------------------------------

// The frequencies R m (inner = 2) or R (m + 1/2) (inner = 1) of the whole transform
// and their packed result: work(i, at) for value i of it and its place.
template <Index inner, class Work>
ZAVO_INLINE void for_unpaired(const Cut& cut, const Work& work)
{
    Index i = 0;
    if (inner == 2) {
        work(i++, 0);
    }
    for (Index at = inner * cut.rows - 1; i + 1 < cut.group; i += 2, at += 2 * cut.rows) {
        work(i, at);
        work(i + 1, at + 1);
    }
    if (i < cut.group) {
        work(i, cut.group * cut.rows - 1);
    }
}

// The pass next to the rows, which joins one value each of the columns, for four
// columns at a time.
template <Direction d, Index inner>
ZAVO_INLINE void four_unpaired(Index l1, const float* from, float* to)
{
    using Radix = RealRadix4;
    for (Index k = 0; k < l1; k += 4) {
        float joined[4 * 4];
        const auto row = [&](int j) ZAVO_INLINED { return joined + 4 * j; };
        Vector<4> x[4], y[4];
        if constexpr (d == Direction::backward) {
            transpose<4>([&](int c) ZAVO_INLINED { return from + 4 * (k + c); }, row);
        }
        for (int j = 0; j < 4; ++j) {
            x[j] = load<4>(d == Direction::forward ? from + k + l1 * j : row(j));
        }
        if constexpr (d == Direction::forward && inner == 2) {
            Radix::forward_first(x, y);
        } else if constexpr (d == Direction::forward) {
            Radix::forward_last(x, y);
        } else if constexpr (inner == 2) {
            Radix::backward_first(x, y);
        } else {
            Radix::backward_last(x, y);
        }
        for (int j = 0; j < 4; ++j) {
            store<4>(d == Direction::forward ? row(j) : to + k + l1 * j, y[j]);
        }
        if constexpr (d == Direction::forward) {
            transpose<4>(row, [&](int c) ZAVO_INLINED { return to + 4 * (k + c); });
        }
    }
}

// All of these frequencies. They are worked out before the columns and go to their
// places afterwards: the columns may write there, and the processor works on both at
// the same time.
template <Direction d, Index inner, class Plan>
struct Unpaired {
    const Plan& plan;
    float values[2][most_slots];
    int at = 0; // which of the two arrays

    explicit ZAVO_INLINE Unpaired(const Plan& of) : plan(of) {}

    // Takes them from a row of the chunks (forward) or from the spectrum.
    template <int W, class Chunk>
    ZAVO_INLINE void take_row(const Chunk& chunk, Index row)
    {
        for_blocks<W>(plan.cut.group,
                      [&](Index g) ZAVO_INLINED { store<W>(values[0] + g, load<W>(chunk(g) + W * row)); });
    }
    ZAVO_INLINE void take_spectrum(const float* spectrum)
    {
        for_unpaired<inner>(plan.cut, [&](Index i, Index f) ZAVO_INLINED { values[0][i] = spectrum[f]; });
    }

    template <int W, class Chunk>
    ZAVO_INLINE void give_row(const Chunk& chunk, Index row) const
    {
        for_blocks<W>(plan.cut.group,
                      [&](Index g) ZAVO_INLINED { store<W>(chunk(g) + W * row, load<W>(values[at] + g)); });
    }
    ZAVO_INLINE void give_spectrum(float* spectrum) const
    {
        for_unpaired<inner>(plan.cut, [&](Index i, Index f) ZAVO_INLINED { spectrum[f] = values[at][i]; });
    }

    // The passes of the first factors.
    ZAVO_INLINE void transform(const float* twiddles)
    {
        const Factors& factors = plan.factors;
        const Cut& cut = plan.cut;
        const auto pass = [&](int which) ZAVO_INLINED {
            const Shape shape{cut.inner[which], factors.l1(which), factors.ip[which]};
            if (shape.ido == 1 && shape.ip == 4 && shape.l1 % 4 == 0) {
                four_unpaired<d, inner>(shape.l1, values[at], values[1 - at]);
            } else {
                for_real_radix(shape.ip, [&](auto radix) ZAVO_INLINED {
                    plan.loops([&]() ZAVO_INLINED {
                        real_radix_pass<d, decltype(radix), ScalarLanes>(
                            shape, values[at], values[1 - at], twiddles + factors.twiddle_offset(which),
                            SpreadFrequencies<inner>{cut.rows});
                    });
                });
            }
            at = 1 - at;
        };
        for_first_factors<d>(plan, pass);
    }
};

// ---- all ---------------------------------------------------------------------------------------

// The columns from t on between W-wide chunks, which begin at chunk(g), and C-wide
// slots.
template <Direction d, int W, int C, class Chunk>
ZAVO_INLINE void turn_real(const Cut& cut, const Chunk& chunk, Index t, float* slots)
{
    constexpr int V = std::min(W, C);
    for_blocks<W>(cut.group, [&](Index g) ZAVO_INLINED {
        if (cut.group * cut.rows >= far_real_length) { // the rows of the next columns
            constexpr Fetch what = d == Direction::forward ? for_reading : for_writing;
            for (Index row = 2 * t + 2 * C - 1; row < 2 * t + 4 * C - 1; ++row) {
                fetch<W, what>(chunk(g), W * row);
            }
        }
        for (int part = 0; part < 2; ++part) {
            for (int w = 0; w < W; w += V) {
                for (int c = 0; c < C; c += V) {
                    // there is no second part of t = R / 2
                    const auto rows = [&](int i) ZAVO_INLINED {
                        return chunk(g) + W * std::min(2 * (t + laced<C>(c + i)) - 1 + part, cut.rows - 1) +
                               w;
                    };
                    const auto columns = [&](int i) ZAVO_INLINED {
                        return slots + 2 * C * (g + w + i) + C * part + c;
                    };
                    if constexpr (d == Direction::forward) {
                        transpose<V>(rows, columns);
                    } else {
                        transpose<V>(columns, rows);
                    }
                }
            }
        }
    });
}

struct FoundRealPlan : FoundPlan {
    Members members;

    ZAVO_INLINE FoundRealPlan(const Factors& list, const Cut& place) : FoundPlan{list, place}
    {
        members.find(list, place.first);
    }
};

template <int V, class List>
struct KnownRealPlan : KnownPlan<List> {
    static constexpr Cut cut = choose_real_cut<V>(List::factors);
    static constexpr Members members = [] {
        Members found{};
        found.find(List::factors, cut.first);
        return found;
    }();
};

template <Direction d, int W, int C, class Plan>
ZAVO_INLINE bool real_whole(const Plan& plan, const float* p, float* q, float* scratch, const float* twiddles)
{
    const Factors& factors = plan.factors;
    const Cut& cut = plan.cut;
    // The result can serve as a partner, which no cache has to hold besides: forward
    // until the columns write it; backward beside a single chunk, and in its place where
    // the last pass of the rows reads the partner.
    const bool result_serves = p != q && (d == Direction::forward || (cut.group == W && is_smooth(factors) &&
                                                                      2 * W * cut.rows <= near_floats));
    WholeWork work(cut, 1, !result_serves);
    if (work.slots == nullptr) {
        return false;
    }
    float* chunks = scratch;
    float* partner = result_serves ? q : work.partner;
    if (d == Direction::backward && result_serves && (factors.count - 1 - cut.first) % 2 != 0) {
        std::swap(chunks, partner);
    }
    const auto chunk = [&](Index g) ZAVO_INLINED { return g % W == 0 ? chunks + cut.rows * g : work.tail; };
    const auto columns = [&](auto* spectrum) ZAVO_INLINED {
        for_blocks<C>(cut.columns, [&](Index before_t) ZAVO_INLINED {
            const Index t = before_t + 1;
            if constexpr (d == Direction::forward) {
                turn_real<d, W, C>(cut, chunk, t, work.slots);
            }
            columns_block<d, C>(plan, t, work.slots, spectrum, twiddles);
            if constexpr (d == Direction::backward) {
                turn_real<d, W, C>(cut, chunk, t, work.slots);
            }
        });
    };
    const bool has_half = cut.rows % 2 == 0;
    Unpaired<d, 2, Plan> zero{plan};
    Unpaired<d, 1, Plan> half{plan};
    if constexpr (d == Direction::forward) {
        for_blocks<W>(cut.group, [&](Index g) ZAVO_INLINED {
            rows_forward<W>(plan, p + g, chunk(g), partner, twiddles);
        });
        zero.template take_row<W>(chunk, 0);
        zero.transform(twiddles);
        if (has_half) {
            half.template take_row<W>(chunk, cut.rows - 1);
            half.transform(twiddles);
        }
        columns(q);
        zero.give_spectrum(q);
        if (has_half) {
            half.give_spectrum(q);
        }
    } else {
        zero.take_spectrum(p);
        zero.transform(twiddles);
        if (has_half) {
            half.take_spectrum(p);
            half.transform(twiddles);
        }
        columns(p);
        zero.template give_row<W>(chunk, 0);
        if (has_half) {
            half.template give_row<W>(chunk, cut.rows - 1);
        }
        for_blocks<W>(cut.group, [&](Index g) ZAVO_INLINED {
            rows_backward<W>(plan, chunk(g), partner, q + g, twiddles);
        });
    }
    return true;
}

// The same with the widths that the cut names, W and C at most.
template <Direction d, int W, int C>
bool real_whole_up_to(const Factors& factors, const Cut& cut, const float* p, float* q, float* scratch,
                      const float* twiddles)
{
    if constexpr (W > 4) {
        if (cut.rows_width < W) {
            return real_whole_up_to<d, W / 2, C>(factors, cut, p, q, scratch, twiddles);
        }
    }
    if constexpr (C > 4) {
        if (cut.columns_width < C) {
            return real_whole_up_to<d, W, C / 2>(factors, cut, p, q, scratch, twiddles);
        }
    }
    return real_whole<d, W, C>(FoundRealPlan{factors, cut}, p, q, scratch, twiddles);
}

} // namespace

} // namespace zavo::fft

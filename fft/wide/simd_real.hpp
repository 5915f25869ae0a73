// Whole real transforms in registers; simd_whole.hpp says what G and R are. Forward, the
// values x[g + G m] take this way:
//
//     rows      G transforms of length R, W neighbouring g side by side: a chunk
//     transpose blocks, so that C neighbouring frequencies t of one g lie side by side
//     columns   the passes of the first factors. The frequencies that come of one t
//               are R m + t and R m - t, the members of t; G of them, for C
//               neighbouring t, stay in L1
//
// and backward the same way back. The frequencies without a partner, t = 0 and
// t = R / 2, are one transform of G values each, taken one value at a time.
//
// The butterflies are those of run_real with ScalarLanes and so are the bits.
#pragma once

#include "fft/passes/complex_radices.hpp"
#include "fft/passes/real_passes.hpp"
#include "fft/wide/simd_rotation.hpp"
#include "fft/wide/simd_whole.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace zavo::fft {

namespace { // compiled for several instruction sets: see inlining.hpp

// From this length on values of the caller's arrays are prefetched.
constexpr Index far_real_length = 32 * 1024;
// From this length on rows backward go out in strips of so many neighbours, four lines of
// the cache. Up to the other length the cut leaves a G of whole strips, and rows of at most
// short_rows values, where that can be: they, their partner and the stage are in L1 or near
// it. Longer transforms lose more by columns that are further apart.
constexpr Index strip = 64;
constexpr Index shortest_in_strips = 16 * 1024;
constexpr Index end_of_short_rows = 256 * 1024;
constexpr Index short_rows = 512;

// Columns: with even R the registers may reach t = R / 2, whose values are put right
// afterwards. Rows: the widest registers whose overlapping chunk fits the stack. Columns
// have the same registers, half or at most twice of them; other pairs would be code for
// a handful of lengths.
template <int V>
constexpr ZAVO_INLINE Cut choose_real_cut(const Factors& factors)
{
    const auto fit = [](Cut& cut) ZAVO_INLINED {
        cut.columns = (cut.rows - 1) / 2;
        cut.columns_width = width_for<V>(cut.columns);
        if (cut.rows % 2 == 0 && width_for<V>(cut.rows / 2) > cut.columns_width) {
            cut.columns_width = width_for<V>(cut.rows / 2);
            cut.columns = cut.rows / 2;
        }
        cut.rows_width = std::min(width_for<V>(cut.group), 2 * cut.columns_width);
        // (columns twice as wide pay at 1000 and its like, with the widest registers)
        constexpr int wider = V > 8 ? 2 : 1;
        cut.columns_width = std::min(cut.columns_width, wider * cut.rows_width);
        const auto floats = [&]() ZAVO_INLINED {
            return cut.slot_floats() + (cut.has_tail() ? cut.chunk_floats(1) : 0);
        };
        while (cut.rows_width > 4 && floats() > stack_floats) {
            cut.rows_width /= 2;
            cut.columns_width = std::min(cut.columns_width, wider * cut.rows_width);
        }
        return cut.rows_width != 0 && cut.columns_width != 0 && floats() <= stack_floats;
    };
    if (factors.n >= shortest_in_strips && factors.n < end_of_short_rows) {
        for (const Index longest : {short_rows, factors.n}) {
            const Cut found = choose_cut(factors, 2, [&](Cut& cut) ZAVO_INLINED {
                return cut.group >= strip && cut.rows <= longest && fit(cut) && !cut.has_tail();
            });
            if (found.first != 0) {
                return found;
            }
        }
    }
    return choose_cut(factors, 2, fit);
}

struct FoundRealPlan : FoundPlan {
    const RealPlan& whole; // for a lender
    const Members& members;

    explicit ZAVO_INLINE FoundRealPlan(const RealPlan& plan)
        : FoundPlan{plan.factors, plan.cut}, whole(plan), members(plan.members)
    {
    }
};

// ---- rows ----------------------------------------------------------------------------

// Rows backward of a long transform end in a block on the stack, and go out from there a
// strip of neighbours at a time. Their places are so many powers of two apart that all
// share a few sets of the cache, and each visit waits for its line, but hardly longer for
// four of them.

// Where the values of a block of rows stand, by the digits of the factors t and on.
struct DigitSteps {
    Index step[most_factors];
    Index floats; // from the first value to the end of the last one
};

// In the stage: in order, a strip for each value, with a line left out wherever a step
// would be a power of two that the sets of the cache repeat after.
ZAVO_INLINE DigitSteps stage_steps(const Factors& factors, int t)
{
    constexpr Index longest_plain_step = 256;
    constexpr Index line = 16;
    DigitSteps steps;
    Index step = strip;
    for (int s = t; s < factors.count; ++s) {
        steps.step[s] = step;
        step *= factors.ip[s];
        step += step >= longest_plain_step ? line : 0;
    }
    steps.floats = step;
    return steps;
}

// The strips of a stage, to q, q + apart, ...
template <int V>
__attribute__((noinline)) void write_stage(const Factors& factors, int t, const DigitSteps& steps,
                                           const float* stage, float* q, Index apart)
{
    Index digit[most_factors] = {};
    for (;;) {
        const float* from = stage;
        for (Index n = 0; n < factors.ip[t]; ++n) {
            for (Index at = 0; at < strip; at += V) {
                store<V>(q + at, load<V>(from + at));
            }
            from += steps.step[t];
            q += apart;
        }
        int carry = t + 1;
        for (; carry < factors.count; ++carry) {
            stage += steps.step[carry];
            if (++digit[carry] < factors.ip[carry]) {
                break;
            }
            stage -= steps.step[carry] * factors.ip[carry];
            digit[carry] = 0;
        }
        if (carry == factors.count) {
            return;
        }
    }
}

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
    Index apart; // from value to value outside: G, or V where a chunk was copied out

    ZAVO_INLINE float* made_by(int t) const { return (t - plan.cut.first) % 2 == 0 ? chunk : partner; }

    // The pass of factor t in `count` transforms that begin with value `start`.
    template <class Which>
    void pass(Which t, Index start, Index count) const
    {
        const Factors& factors = plan.factors;
        float* const joined = made_by(t) + V * start;
        float* const nested = made_by(t + 1) + V * start;
        const Shape shape{factors.ido(t), count, factors.ip[t]};
        const float* const wa = twiddles + factors.twiddle_offset(t);
        plan.with_real_radix(t, [&](auto radix) {
            plan.loops([&]() {
                real_radix_pass<d, decltype(radix), VectorLanes<V>, AllFrequencies, NestedView>(
                    shape, d == Direction::forward ? nested : joined,
                    d == Direction::forward ? joined : nested, wa);
            });
        });
    }

    // The pass of the last factor, in the transforms that factors t to the last one
    // but one join. outside: value 0 of the whole of them; step_of(s): from there to the
    // value whose digit of factor s is one more.
    template <class Radix, bool far, class Outside, class StepOf>
    ZAVO_INLINE void outer_pass(int t, Index start, Outside* outside, const StepOf& step_of) const
    {
        constexpr int ip = Radix::ip;
        const Factors& factors = plan.factors;
        const int last = factors.count - 1;
        const Index step = step_of(last);
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
                leaf += t < last ? step_of(last - 1) : 0;
            }
            int carry = last - 2;
            for (; carry >= t; --carry) {
                outside += step_of(carry);
                if (++digit[carry] < factors.ip[carry]) {
                    break;
                }
                outside -= step_of(carry) * factors.ip[carry];
                digit[carry] = 0;
            }
            if (carry < t) {
                return;
            }
        }
    }

    template <class Outside>
    void outer(int t, Index start, Outside* outside) const
    {
        plan.with_real_radix(plan.last(), [&](auto radix) {
            decide(is_long<V, far_real_length>(plan), [&](auto far) {
                plan.loops([&]() {
                    outer_pass<decltype(radix), decltype(far)::value>(
                        t, start, outside, [&](int s) ZAVO_INLINED { return apart * plan.cut.weight[s]; });
                });
            });
        });
    }

    // The transform of factors t and on that begins with value `start`, pass by pass.
    template <class Which, class Outside>
    void run_near(Which t, Index start, Outside* outside) const
    {
        const Factors& factors = plan.factors;
        if constexpr (d == Direction::backward) {
            Index count = 1;
            plan.for_factors(t, plan.last(), [&](auto s) {
                pass(s, start, count);
                count *= factors.ip[s];
            });
            outer(t, start, outside);
        } else {
            outer(t, start, outside);
            Index count = factors.after[t] / factors.ip[plan.last()];
            plan.for_factors_falling(t, plan.last(), [&](auto s) {
                count /= factors.ip[s];
                pass(s, start, count);
            });
        }
    }

    // The same for a chunk that is such a transform, backward and to a stage.
    __attribute__((noinline)) ZAVO_FLATTEN void run_to_stage(int t, float* stage,
                                                             const DigitSteps& steps) const
    {
        Index count = 1;
        for (int s = t; s < plan.last(); ++s) {
            pass(s, 0, count);
            count *= plan.factors.ip[s];
        }
        plan.with_real_radix(plan.last(), [&](auto radix) {
            plan.loops([&]() {
                outer_pass<decltype(radix), false>(t, 0, stage,
                                                   [&](int s) ZAVO_INLINED { return steps.step[s]; });
            });
        });
    }

    // Backward, the passes of the factors t to end - 1, depth first.
    __attribute__((noinline)) ZAVO_FLATTEN void run_until(int end, int t, Index start) const
    {
        const Factors& factors = plan.factors;
        pass(t, start, 1);
        for (Index j = 0; j < factors.ip[t] && t + 1 < end; ++j) {
            run_until(end, t + 1, start + factors.after[t + 1] * j);
        }
    }

    // The transform of factors t and on, of any size, a large one depth first.
    template <class Outside>
    __attribute__((noinline)) ZAVO_FLATTEN void run(int t, Index start, Outside* outside) const
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
            run(t + 1, start + factors.after[t + 1] * j, outside + apart * cut.weight[t] * j);
        }
        if constexpr (d == Direction::forward) {
            pass(t, start, 1);
        }
    }

    // by_pass: pass by pass, so that nothing is left of the partner when the last pass
    // begins.
    template <class Outside>
    void run_all(Outside* outside, bool by_pass) const
    {
        if constexpr (Plan::is_known) {
            run_near(plan.first(), 0, outside);
        } else if (by_pass) {
            run_near(plan.cut.first, 0, outside);
        } else {
            run(plan.cut.first, 0, outside);
        }
    }
};

// Rows of any radices: w values side by side, with `from` and `to` as ping-pong buffers;
// says where they are.
template <Direction d, int V>
__attribute__((noinline)) float* real_lanes(const Factors& factors, int first, float* from, float* to,
                                            const float* twiddles)
{
    for (int t = first; t < factors.count; ++t) {
        const int which = d == Direction::forward ? first + factors.count - 1 - t : t;
        real_pass<d, RotatingVectorLanes<V>>(factors.shape_within(first, which), from, to, from,
                                             twiddles + factors.twiddle_offset(which));
        std::swap(from, to);
    }
    return from;
}

// Whether the last pass of the rows (forward: the first one) reads (writes) the chunk
// and not its partner.
template <class Plan>
ZAVO_INLINE bool rows_are_odd(const Plan& plan)
{
    return (plan.last() - plan.first()) % 2 == 0;
}

// V values from p, p + apart, ... to a chunk. by_pass: p is the chunk, when the rows are
// even, or its partner, when they are odd.
template <int V, class Plan>
void rows_forward(const Plan& plan, const float* p, Index apart, bool by_pass, float* chunk, float* partner,
                  const float* twiddles)
{
    if constexpr (!Plan::is_known && is_lent<V>) {
        lender<V>->real_passes.rows_forward(plan.whole, p, apart, by_pass, chunk, partner, twiddles);
    } else {
        const Factors& factors = plan.factors;
        if (always_smooth<V, Plan> || is_smooth(factors)) {
            SmoothRows<Direction::forward, V, Plan>{plan, chunk, partner, twiddles, apart}.run_all(p,
                                                                                                   by_pass);
            return;
        }
        if constexpr (!always_smooth<V, Plan>) {
            float* const from = rows_are_odd(plan) ? partner : chunk;
            if (!by_pass) {
                for (Index m = 0; m < plan.cut.rows; ++m) {
                    store<V>(from + V * m, load<V>(p + apart * m));
                }
            }
            real_lanes<Direction::forward, V>(factors, plan.cut.first, from, from == chunk ? partner : chunk,
                                              twiddles);
        }
    }
}

// The way back; `partner` may be part of q when `by_pass` is set.
template <int V, class Plan>
void rows_backward(const Plan& plan, float* chunk, float* partner, float* q, bool by_pass,
                   const float* twiddles)
{
    if constexpr (!Plan::is_known && is_lent<V>) {
        lender<V>->real_passes.rows_backward(plan.whole, chunk, partner, q, by_pass, twiddles);
    } else {
        const Factors& factors = plan.factors;
        const Cut& cut = plan.cut;
        if (always_smooth<V, Plan> || is_smooth(factors)) {
            SmoothRows<Direction::backward, V, Plan>{plan, chunk, partner, twiddles, cut.group}.run_all(
                q, by_pass);
            return;
        }
        if constexpr (!always_smooth<V, Plan>) {
            const float* const from =
                real_lanes<Direction::backward, V>(factors, cut.first, chunk, partner, twiddles);
            for (Index m = 0; m < cut.rows; ++m) {
                store<V>(q + cut.group * m, load<V>(from + V * m));
            }
        }
    }
}

// Calls work(t) for the factors before the cut; forward, the last of them is the first.
template <Direction d, class Plan, class Work>
void for_first_factors(const Plan& plan, const Work& work)
{
    if constexpr (d == Direction::forward) {
        plan.for_factors_falling(Number<0>{}, plan.first(), work);
    } else {
        plan.for_factors(Number<0>{}, plan.first(), work);
    }
}

// ---- columns -----------------------------------------------------------------------------

// The pairs of a member for the V frequencies from t on, in folded order. Frequency f
// stands at values[2 f + zero].
template <int V, int sign>
ZAVO_INLINE Pairs<V> load_member(const float* values, Index zero, Member member, Index t)
{
    if constexpr (sign > 0) {
        return load_folded<V>(values + (2 * (member.base + t) + zero));
    } else {
        return load_folded_falling<V>(values + (2 * (member.base - t) + zero));
    }
}
template <int V, int sign>
ZAVO_INLINE void store_member(float* values, Index zero, Member member, Index t, const Vector<V>& re,
                              const Vector<V>& im)
{
    if constexpr (sign > 0) {
        store_folded<V>(values + (2 * (member.base + t) + zero), re, im);
    } else {
        store_folded_falling<V>(values + (2 * (member.base - t) + zero), re, im);
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
__attribute__((noinline)) void fetch_columns(const Member* members, Index count, Index t, Spectrum* spectrum)
{
    constexpr Fetch what = d == Direction::forward ? for_writing : for_reading;
    for (Index e = 0; e < count; ++e) {
        const Index first = members[e].sign > 0 ? members[e].base + t : members[e].base - t - (V - 1);
        fetch<2 * V, what>(spectrum, 2 * first - 1);
    }
}

template <Direction d, int V, class Plan, class Spectrum>
void columns_block(const Plan& plan, Index t, float* slots, Spectrum* spectrum, const float* twiddles)
{
    if constexpr (!Plan::is_known && d == Direction::forward && is_lent<V>) {
        lender<V>->real_passes.columns_forward(plan.whole, t, slots, spectrum, twiddles);
    } else {
        const Factors& factors = plan.factors;
        const Cut& cut = plan.cut;
        const Members& members = plan.members;
        if (is_long<V, far_real_length>(plan)) {
            fetch_columns<d, V>(members.whole(), cut.group, t + V, spectrum);
        }
        for_first_factors<d>(plan, [&](auto which) {
            const Shape shape = factors.shape(which);
            const Index count = members.start[which] - members.start[which + 1];
            const float* const wa = twiddles + factors.twiddle_offset(which);
            plan.with_real_radix(which, [&](auto radix) {
                decide(is_zero(which), [&](auto outermost) {
                    plan.loops([&]() {
                        real_columns_pass<d, decltype(radix), V, decltype(outermost)::value>(
                            shape, count, members.before(which), members.whole(), t, slots, spectrum, wa);
                    });
                });
            });
        });
    }
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
        for (int j = 0; j < 4; ++j) {
            if constexpr (d == Direction::forward) {
                x[j] = load<4>(from + k + l1 * j);
            } else {
                // One at a time, as the pass before has just stored them: no store forwards
                // to a wider load, which would stall.
                const float* const at = from + 4 * k + j;
                x[j] = Vector<4>{at[0], at[4], at[8], at[12]};
            }
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

// The passes of the first factors over these values, with `from` and `to` as ping-pong buffers; says
// which of the two has them then.
template <Direction d, Index inner, class Plan>
int unpaired_passes(const Plan& plan, float* from, float* to, const float* twiddles)
{
    const Factors& factors = plan.factors;
    const Cut& cut = plan.cut;
    int at = 0;
    for_first_factors<d>(plan, [&](auto which) {
        const Shape shape{cut.inner[which], factors.l1(which), factors.ip[which]};
        if (shape.ido == 1 && shape.ip == 4 && shape.l1 % 4 == 0) {
            four_unpaired<d, inner>(shape.l1, from, to);
        } else {
            plan.with_real_radix(which, [&](auto radix) {
                plan.loops([&]() {
                    real_radix_pass<d, decltype(radix), ScalarLanes>(shape, from, to,
                                                                     twiddles + factors.twiddle_offset(which),
                                                                     SpreadFrequencies<inner>{cut.rows});
                });
            });
        }
        std::swap(from, to);
        at = 1 - at;
    });
    return at;
}

// The same of a found plan, once in the code for all widths.
template <Direction d, Index inner>
__attribute__((noinline)) ZAVO_FLATTEN int found_unpaired_passes(const RealPlan& plan, float* from, float* to,
                                                                 const float* twiddles)
{
    return unpaired_passes<d, inner>(FoundRealPlan{plan}, from, to, twiddles);
}

// All of these frequencies. They are worked out before the columns and go to their
// places afterwards: the columns may write there, and the processor works on both at
// the same time.
template <Direction d, Index inner, class Plan>
struct Unpaired {
    const Plan& plan;
    alignas(64) float values[2][most_slots];
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

    void transform(const float* twiddles)
    {
        if constexpr (Plan::is_known) {
            at = unpaired_passes<d, inner>(plan, values[0], values[1], twiddles);
        } else if constexpr (is_lent<8>) {
            at = lender<8>->real_passes.unpaired[static_cast<int>(d)][inner - 1](plan.whole, values[0],
                                                                                 values[1], twiddles);
        } else {
            at = found_unpaired_passes<d, inner>(plan.whole, values[0], values[1], twiddles);
        }
    }
};

// ---- all ---------------------------------------------------------------------------------------

// The columns from t on between W-wide chunks, which begin at chunk(g), and C-wide
// slots.
template <Direction d, int W, int C, class Chunk>
ZAVO_INLINE void turn_real(const Cut& cut, const Chunk& chunk, Index t, float* slots)
{
    constexpr int V = std::min(W, C);
    for_blocks<W>(cut.group, [&](Index g) {
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
                        return chunk(g) + W * std::min(2 * (t + folded<C>(c + i)) - 1 + part, cut.rows - 1) +
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

template <int V, class List>
constexpr Cut known_real_cut = choose_real_cut<V>(List::factors);

template <int V, class List>
struct KnownRealPlan : KnownPlan<List, known_real_cut<V, List>.first> {
    static constexpr const Cut& cut = known_real_cut<V, List>;
    static constexpr Members members = [] {
        Members found{};
        found.find(List::factors, cut.first);
        return found;
    }();
};

// Whether a partner fits the stack; chunks of a known length overlap no others.
template <class Plan>
constexpr bool known_storage_fits =
    !Plan::cut.has_tail() && Plan::cut.slot_floats() + Plan::cut.chunk_floats(1) <= stack_floats;

// The rows of all chunks, with the result for a partner.
template <int W, class Plan, class Chunk>
void all_rows_forward(const Plan& plan, const float* p, float* partner, const Chunk& chunk,
                      const float* twiddles)
{
    for_blocks<W>(plan.cut.group, [&](Index g) {
        if (interrupted_in(plan, W * plan.cut.rows)) {
            return;
        }
        rows_forward<W>(plan, p + g, plan.cut.group, false, chunk(g), partner, twiddles);
    });
}

// rows_forward, once in the code for all its calls.
template <int V>
__attribute__((noinline)) ZAVO_FLATTEN void called_rows_forward(const RealPlan& plan, const float* p,
                                                                Index apart, bool by_pass, float* chunk,
                                                                float* partner, const float* twiddles)
{
    rows_forward<V>(FoundRealPlan{plan}, p, apart, by_pass, chunk, partner, twiddles);
}

// The same where the result is p, which is read to the last chunk: chunks that are still
// empty serve as partners, and the last one is copied out of p, which is free then.
template <int W, class Plan, class Chunk>
__attribute__((noinline)) ZAVO_FLATTEN void all_rows_in_place(const Plan& plan, const float* p, float* q,
                                                              const Chunk& chunk, const float* twiddles)
{
    const Cut& cut = plan.cut;
    const Index last = cut.group / W * W - W; // of those that overlap no other
    if (cut.has_tail()) {
        const Index tail = cut.group - W;
        called_rows_forward<W>(plan.whole, p + tail, cut.group, false, chunk(tail), chunk(0), twiddles);
    }
    for (Index g = 0; g < last; g += W) {
        if (interrupted_in(plan, W * cut.rows)) {
            return;
        }
        called_rows_forward<W>(plan.whole, p + g, cut.group, false, chunk(g), chunk(last), twiddles);
    }
    float* const copy = chunk(last);
    for (Index m = 0; m < cut.rows; ++m) {
        store<W>(copy + W * m, load<W>(p + last + cut.group * m));
    }
    const float* from = copy;
    if (rows_are_odd(plan)) {
        std::memcpy(q, copy, static_cast<std::size_t>(W * cut.rows) * sizeof(float));
        from = q;
    }
    called_rows_forward<W>(plan.whole, from, Index{W}, true, copy, q, twiddles);
}

// The same way back. The first chunk has the result for a partner, and the others the
// place of the first.
template <int W, class Plan, class Chunk>
void all_rows_backward(const Plan& plan, float* q, const Chunk& chunk, float* scratch, const float* twiddles)
{
    const Cut& cut = plan.cut;
    for_blocks<W>(cut.group, [&](Index g) {
        if (interrupted_in(plan, W * cut.rows)) {
            return;
        }
        float* const values = chunk(g);
        float* const partner = g == 0 && values == scratch ? q : scratch;
        rows_backward<W>(plan, values, partner, q + g, g == 0, twiddles);
    });
}

// How many values of a row follow each other in a strip: as many as G lacks.
ZAVO_INLINE Index values_of_strip(const Cut& cut)
{
    return cut.group < strip ? strip / cut.group : 1;
}

// Whether rows backward go out in strips. Values that follow each other differ in the
// first digit of the rows.
template <int W, class Plan>
ZAVO_INLINE bool in_strips(const Plan& plan)
{
    const Index values = values_of_strip(plan.cut);
    return is_long<W, shortest_in_strips>(plan) && plan.cut.group * values % strip == 0 &&
           plan.factors.ip[plan.first()] % values == 0 && !plan.cut.has_tail() && is_smooth(plan.factors);
}

// The chunks lie side by side in scratch. Those of a strip first take the passes that
// leave blocks of rows small enough for a stage, and then block by block the others; a
// block has a partner of its own beside the stage.
template <int W>
__attribute__((noinline)) void rows_in_strips(const FoundRealPlan& plan, float* q, float* scratch,
                                              float* on_stack, const float* twiddles)
{
    using Rows = SmoothRows<Direction::backward, W, FoundRealPlan>;
    constexpr Index most_staged = 16 * 1024;
    const Factors& factors = plan.factors;
    const Cut& cut = plan.cut;
    int near = cut.first;
    while (strip * factors.after[near] > most_staged) {
        ++near;
    }
    const DigitSteps steps = stage_steps(factors, near);
    const Index block = factors.after[near];
    float* const stage = on_stack;
    const Index stage_floats = (steps.floats + 15) / 16 * 16;
    float* const block_partner = on_stack + stage_floats;
    assert(stage_floats + W * block <= stack_floats);
    assert(near > cut.first || cut.group >= strip);
    const bool odd = (near - cut.first) % 2 != 0;
    const Index values = values_of_strip(cut);
    const Index neighbours = strip / values;
    const Index apart = factors.after[cut.first + 1]; // values of a row that follow each other
    for (Index g = 0; g < cut.group; g += neighbours) {
        // The first strip has the result for a partner, and the others the place of the first.
        float* const partner = g == 0 ? q : scratch;
        float* const chunks = scratch + cut.rows * g;
        for (Index c = 0; c < neighbours && near > cut.first; c += W) {
            if (interrupted_in(plan, W * cut.rows)) {
                return;
            }
            // The last of these passes is to end in the chunk.
            float* const chunk = chunks + cut.rows * c;
            if (odd) {
                std::memcpy(partner, chunk, static_cast<std::size_t>(W * cut.rows) * sizeof(float));
            }
            Rows{plan, odd ? partner : chunk, odd ? chunk : partner, twiddles, 0}.run_until(near, cut.first,
                                                                                            0);
        }
        for (Index start = 0; start < cut.rows; start += block) {
            if (start / apart % values != 0) {
                continue; // went out with one before it
            }
            if (interrupted_in(plan, strip * block)) {
                return;
            }
            for (Index v = 0; v < values; ++v) {
                for (Index c = 0; c < neighbours; c += W) {
                    float* const from = chunks + cut.rows * c + W * (start + apart * v);
                    Rows{plan, odd ? block_partner : from, odd ? from : block_partner, twiddles, 0}
                        .run_to_stage(near, stage + neighbours * v + c, steps);
                }
            }
            Index first_place = 0;
            Index digits = start / block;
            for (int t = near - 1; t >= cut.first; --t) {
                first_place += digits % factors.ip[t] * cut.weight[t];
                digits /= factors.ip[t];
            }
            write_stage<W>(factors, near, steps, stage, q + g + cut.group * first_place,
                           cut.group * cut.weight[near]);
        }
    }
}

template <Direction d, int W, int C, class Plan>
void real_whole(const Plan& plan, const float* p, float* q, float* scratch, const float* twiddles)
{
    alignas(64) float on_stack[stack_floats];
    const Cut& cut = plan.cut;
    float* const slots = on_stack;
    float* const tail = on_stack + cut.slot_floats();
    assert(cut.group * cut.rows == plan.factors.n);
    assert(cut.slot_floats() + cut.has_tail() * cut.chunk_floats(1) <= stack_floats);
    // What the last pass of the rows backward reads may not lie in the result.
    const bool smooth = always_smooth<W, Plan> || is_smooth(plan.factors);
    const bool strips = d == Direction::backward && in_strips<W>(plan);
    const bool starts_in_result = d == Direction::backward && !strips && rows_are_odd(plan) != smooth;
    float* first = starts_in_result && p != q ? q : scratch;
    const auto chunk = [&](Index g) ZAVO_INLINED {
        return g == 0 ? first : g % W == 0 ? scratch + cut.rows * g : tail;
    };
    const auto columns = [&](auto* spectrum) {
        for_blocks<C>(cut.columns, [&](Index before_t) {
            if (interrupted_in(plan, 2 * C * cut.group)) {
                return;
            }
            const Index t = before_t + 1;
            if constexpr (d == Direction::forward) {
                turn_real<d, W, C>(cut, chunk, t, slots);
            }
            columns_block<d, C>(plan, t, slots, spectrum, twiddles);
            if constexpr (d == Direction::backward) {
                turn_real<d, W, C>(cut, chunk, t, slots);
            }
        });
    };
    const bool has_half = cut.rows % 2 == 0;
    Unpaired<d, 2, Plan> zero{plan};
    Unpaired<d, 1, Plan> half{plan};
    if constexpr (d == Direction::forward) {
        if constexpr (Plan::is_known) {
            static_assert(known_storage_fits<Plan>);
            all_rows_forward<W>(plan, p, p != q ? q : tail, chunk, twiddles);
        } else if (p != q) {
            all_rows_forward<W>(plan, p, q, chunk, twiddles);
        } else {
            all_rows_in_place<W>(plan, p, q, chunk, twiddles);
        }
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
        if (starts_in_result && p == q) {
            std::memcpy(q, scratch, static_cast<std::size_t>(W * cut.rows) * sizeof(float));
            first = q;
        }
        if constexpr (!Plan::is_known && W == native_width) {
            if (strips) {
                rows_in_strips<W>(plan, q, scratch, slots, twiddles); // of which nothing is left by now
                return;
            }
        }
        all_rows_backward<W>(plan, q, chunk, scratch, twiddles);
    }
}

} // namespace

} // namespace zavo::fft

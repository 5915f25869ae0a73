// The transforms that simd.hpp offers for one instruction set.
#pragma once

#include "fft/wide/simd.hpp"
#include "fft/wide/simd_complex.hpp"
#include "fft/wide/simd_real.hpp"
#include "fft/wide/simd_rotation.hpp"

namespace zavo::fft {

namespace { // compiled for several instruction sets: see inlining.hpp

// The path with registers half as wide, for what these are too wide for.
template <int V>
constexpr const SimdPath* narrower_path = nullptr;
template <>
constexpr const SimdPath* narrower_path<16> = &avx2_path;

// ---- columns of an array -------------------------------------------------------------------

// Pairs at p + stride * m to lanes, and back.
template <int w>
void gather_pairs(const float* p, Index stride, Index rows, float* lanes)
{
    for (Index m = 0; m < rows; ++m) {
        if constexpr (w > 1) {
            const Pairs<w> z = load_pairs<w, true>(p + stride * m, w);
            store<w>(lanes + 2 * w * m, z.re);
            store<w>(lanes + 2 * w * m + w, z.im);
        } else {
            lanes[2 * m] = p[stride * m];
            lanes[2 * m + 1] = p[stride * m + 1];
        }
    }
}

template <int w>
void scatter_pairs(const float* lanes, Index rows, float* q, Index stride)
{
    for (Index m = 0; m < rows; ++m) {
        if constexpr (w > 1) {
            store_pairs<w, true>(q + stride * m, load<w>(lanes + 2 * w * m), load<w>(lanes + 2 * w * m + w),
                                 w);
        } else {
            q[stride * m] = lanes[2 * m];
            q[stride * m + 1] = lanes[2 * m + 1];
        }
    }
}

// The columns of p from c on, w at a time, as long as there are so many; says where it
// has got to. work: room for 4 w m floats.
template <int w>
Index columns_of_width(Direction d, const Factors& factors, Index c, Index n, const float* p, Index ldp,
                       float* q, Index ldq, float* work, const float* twiddles)
{
    const Index m = factors.n;
    for (; n - c >= w; c += w) {
        float* const a = work;
        float* const b = work + 2 * w * m;
        gather_pairs<w>(p + 2 * c, 2 * ldp, m, a);
        const float* const found = d == Direction::forward
                                       ? complex_lanes<Direction::forward, w>(factors, 0, a, b, twiddles)
                                       : complex_lanes<Direction::backward, w>(factors, 0, a, b, twiddles);
        scatter_pairs<w>(found, m, q + 2 * c, 2 * ldq);
    }
    return c;
}

// Narrower registers are those of the path below, which every processor with this one
// has too: nothing is compiled twice.
template <int V>
void columns(Direction d, const Factors& factors, Index n, const float* p, Index ldp, float* q, Index ldq,
             float* work, const float* twiddles)
{
    Index c = columns_of_width<V>(d, factors, 0, n, p, ldp, q, ldq, work, twiddles);
    if constexpr (V > 8) {
        narrower_path<V>->columns(d, factors, n - c, p + 2 * c, ldp, q + 2 * c, ldq, work, twiddles);
    } else {
        c = columns_of_width<V / 2>(d, factors, c, n, p, ldp, q, ldq, work, twiddles);
        columns_of_width<1>(d, factors, c, n, p, ldp, q, ldq, work, twiddles);
    }
}

// ---- runs: what a plan calls ----------------------------------------------------------------

// A function for each length and direction: the optimiser does worse on all in one.
template <Direction d, int V, class List>
void run_known_real(const Plan&, const float* p, float* q, float* scratch, float*, const float* twiddles)
{
    using Known = KnownRealPlan<V, List>;
    real_whole<d, Known::cut.rows_width, Known::cut.columns_width>(Known{}, p, q, scratch, twiddles);
}
template <Direction d, int V, class List>
void run_known_complex(const Plan&, const float* p, float* q, float* scratch, float* work,
                       const float* twiddles)
{
    complex_whole<d, V>(KnownComplexPlan<V, List>{}, p, q, scratch, work, twiddles);
}

template <Direction d, int W, int C>
void run_found_real(const Plan& plan, const float* p, float* q, float* scratch, float*, const float* twiddles)
{
    const auto& found = static_cast<const RealPlan&>(plan);
    real_whole<d, W, C>(FoundRealPlan{{found.factors, found.cut}, found.members}, p, q, scratch, twiddles);
}
template <Direction d, int V>
void run_found_complex(const Plan& plan, const float* p, float* q, float* scratch, float* work,
                       const float* twiddles)
{
    const auto& found = static_cast<const ComplexPlan&>(plan);
    if (work == nullptr && !fits_stack(found.factors, found.cut)) {
        run_complex<d, ScalarLanes>(found.factors, 0, p, q, scratch, twiddles);
        return;
    }
    complex_whole<d, V>(FoundComplexPlan{{found.factors, found.cut}, found.results}, p, q, scratch, work,
                        twiddles);
}

// ---- plans -------------------------------------------------------------------------------------

// The lengths with code of their own, and the order of factors that the builder of tables
// gives them. Both kinds of transform have these alike.
template <class Work>
ZAVO_INLINE bool for_known_list(const Factors& factors, const Work& work)
{
    const auto try_list = [&](auto list) ZAVO_INLINED {
        constexpr const Factors& known = decltype(list)::factors;
        if (factors.count != known.count || !std::equal(known.ip, known.ip + known.count, factors.ip)) {
            return false;
        }
        work(list);
        return true;
    };
    switch (factors.n) {
    case 64:
        return try_list(FactorList<4, 4, 4>{});
    case 128:
        return try_list(FactorList<2, 4, 4, 4>{});
    case 256:
        return try_list(FactorList<4, 4, 4, 4>{});
    case 512:
        return try_list(FactorList<2, 4, 4, 4, 4>{});
    case 1024:
        return try_list(FactorList<4, 4, 4, 4, 4>{});
    case 2048:
        return try_list(FactorList<2, 4, 4, 4, 4, 4>{});
    case 4096:
        return try_list(FactorList<4, 4, 4, 4, 4, 4>{});
    default:
        return false;
    }
}

ZAVO_INLINE void set_runs(Plan& plan, Run forward, Run backward)
{
    plan.run[static_cast<int>(Direction::forward)] = forward;
    plan.run[static_cast<int>(Direction::backward)] = backward;
}

// A short real transform is latency-bound, so that narrower registers win.
template <int V>
constexpr Index shortest_known_real = V > 8 ? 1024 : 0;

// The runs with the widths that the cut names: W and C, or one of them and half of the
// other.
template <int W, int C>
void set_real_widths(RealPlan& plan)
{
    if (plan.cut.rows_width == W && plan.cut.columns_width == C) {
        set_runs(plan, run_found_real<Direction::forward, W, C>, run_found_real<Direction::backward, W, C>);
    }
}

// Shorter transforms of other lengths are faster one value at a time. Measured:
// ./zavo bench fft, "wide beside scalar".
constexpr Index shortest_found_real = 100;
constexpr Index shortest_found_complex = 40;

// The plan for plan.factors; false when the scalar path serves this length better.
template <int V>
bool plan_real(RealPlan& plan)
{
    const Factors& factors = plan.factors;
    if (for_known_list(factors, [&](auto list) ZAVO_INLINED {
            using List = decltype(list);
            if constexpr (List::factors.n < shortest_known_real<V>) {
                narrower_path<V>->plan_real(plan);
            } else {
                set_runs(plan, run_known_real<Direction::forward, V, List>,
                         run_known_real<Direction::backward, V, List>);
            }
        })) {
        return true;
    }
    if (factors.n < shortest_found_real) {
        return false;
    }
    plan.cut = choose_real_cut<V>(factors);
    if (V > 8 && std::max(plan.cut.rows_width, plan.cut.columns_width) < V) {
        return narrower_path<V>->plan_real(plan);
    }
    if (plan.cut.first == 0) {
        return false;
    }
    plan.members.find(factors, plan.cut.first);
    set_real_widths<V, V>(plan);
    set_real_widths<V, V / 2>(plan);
    set_real_widths<V / 2, V>(plan);
    if constexpr (V == 8) {
        set_real_widths<V / 2, V / 2>(plan);
    }
    return true;
}

template <int V>
bool plan_complex(ComplexPlan& plan)
{
    const Factors& factors = plan.factors;
    if (for_known_list(factors, [&](auto list) ZAVO_INLINED {
            using List = decltype(list);
            constexpr int width = known_complex_cut<V, List>.first != 0 ? V : V / 2;
            if constexpr (width >= 8 && width < V) {
                narrower_path<V>->plan_complex(plan);
            } else {
                set_runs(plan, run_known_complex<Direction::forward, width, List>,
                         run_known_complex<Direction::backward, width, List>);
            }
        })) {
        return true;
    }
    if (factors.n < shortest_found_complex) {
        return false;
    }
    plan.cut = choose_complex_cut<V>(factors);
    if (plan.cut.first != 0) {
        set_runs(plan, run_found_complex<Direction::forward, V>, run_found_complex<Direction::backward, V>);
    } else if constexpr (V > 8) {
        return narrower_path<V>->plan_complex(plan);
    } else {
        plan.cut = choose_complex_cut<V / 2>(factors);
        if (plan.cut.first == 0) {
            return false;
        }
        set_runs(plan, run_found_complex<Direction::forward, V / 2>,
                 run_found_complex<Direction::backward, V / 2>);
    }
    plan.results.find(factors, plan.cut);
    return true;
}

} // namespace

} // namespace zavo::fft

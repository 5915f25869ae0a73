// The transforms that simd.hpp offers for one instruction set.
#pragma once

#include "fft/wide/simd.hpp"
#include "fft/wide/simd_known.hpp"
#include "fft/wide/simd_rotation.hpp"

namespace zavo::fft {

namespace { // compiled for several instruction sets: see inlining.hpp

// ---- columns of an array -------------------------------------------------------------------

// Pairs at p + stride * m to lanes, and back; `count` lanes have some.
template <int V>
void gather_pairs(const float* p, Index stride, Index rows, int count, float* lanes)
{
    for (Index m = 0; m < rows; ++m) {
        const Pairs<V> z = load_pairs<V, false>(p + stride * m, count);
        store<V>(lanes + 2 * V * m, z.re);
        store<V>(lanes + 2 * V * m + V, z.im);
    }
}

template <int V>
void scatter_pairs(const float* lanes, Index rows, int count, float* q, Index stride)
{
    for (Index m = 0; m < rows; ++m) {
        store_pairs<V, false>(q + stride * m, load<V>(lanes + 2 * V * m), load<V>(lanes + 2 * V * m + V),
                              count);
    }
}

// The first pass, of values that lie as in the array, and the last one.
template <Direction d, class Radix, int V>
void first_pass_from_array(const Shape& shape, const float* p, Index stride, float* lanes, const float* wa)
{
    for (Index u = 0; u < shape.ido; ++u) {
        const float* const w = wa + 2 * u;
        const Slots<V> out{lanes + 2 * V * u, 2 * V * shape.ido};
        complex_step<d, Radix, V>(
            [&](int j, Vector<V>& re, Vector<V>& im) ZAVO_INLINED {
                const Pairs<V> x = load_folded<V>(p + stride * (u + shape.ido * j));
                re = x.re;
                im = x.im;
            },
            [&](int j, Vector<V>& re, Vector<V>& im) ZAVO_INLINED {
                apply_twiddle<d>(w[2 * (j - 1) * shape.ido], w[2 * (j - 1) * shape.ido + 1], re, im);
            },
            [&](int j, const Vector<V>& re, const Vector<V>& im) ZAVO_INLINED { out.store(j, re, im); });
    }
}

template <Direction d, class Radix, int V>
void last_pass_to_array(const Shape& shape, const float* lanes, float* q, Index stride)
{
    for (Index k = 0; k < shape.l1; ++k) {
        const float* const in = lanes + 2 * V * Radix::ip * k;
        complex_step<d, Radix, V>(
            [&](int j, Vector<V>& re, Vector<V>& im) ZAVO_INLINED {
                re = load<V>(in + 2 * V * j);
                im = load<V>(in + 2 * V * j + V);
            },
            [](int, Vector<V>&, Vector<V>&) ZAVO_INLINED {},
            [&](int j, const Vector<V>& re, const Vector<V>& im)
                ZAVO_INLINED { store_folded<V>(q + stride * (k + shape.l1 * j), re, im); });
    }
}

// V columns, of which `count` exist; the other lanes carry zeros.
template <Direction d, int V>
void some_columns(const Factors& factors, int count, const float* p, Index p_stride, float* q, Index q_stride,
                  float* a, float* b, const float* twiddles)
{
    const int last = factors.count - 1;
    if (count < V || last == 0 || !is_smooth(factors)) {
        gather_pairs<V>(p, p_stride, factors.n, count, a);
        const float* const found = complex_lanes<d, V>(factors, 0, 0, last + 1, a, b, twiddles);
        scatter_pairs<V>(found, factors.n, count, q, q_stride);
        return;
    }
    for_complex_radix<d>(factors.ip[0], [&](auto radix) {
        first_pass_from_array<d, decltype(radix), V>(factors.shape(0), p, p_stride, a, twiddles);
    });
    const float* const found = complex_lanes<d, V>(factors, 0, 1, last, a, b, twiddles);
    for_complex_radix<d>(factors.ip[last], [&](auto radix) {
        last_pass_to_array<d, decltype(radix), V>(factors.shape(last), found, q, q_stride);
    });
}

// Each of n columns of m values of p, to the same column of q, V at a time. work: room for
// 4 m V floats.
template <int V>
void columns(Direction d, const Factors& factors, Index n, const float* p, Index ldp, float* q, Index ldq,
             float* work, const float* twiddles)
{
    const auto run =
        d == Direction::forward ? some_columns<Direction::forward, V> : some_columns<Direction::backward, V>;
    for (Index c = 0; c < n; c += V) {
        run(factors, static_cast<int>(std::min<Index>(V, n - c)), p + 2 * c, 2 * ldp, q + 2 * c, 2 * ldq,
            work, work + 2 * V * factors.n, twiddles);
    }
}

// ---- runs: what a plan calls ----------------------------------------------------------------

template <Direction d, int W, int C>
ZAVO_FLATTEN void run_found_real(const Plan& plan, const float* p, float* q, float* scratch, float*,
                                 const float* twiddles)
{
    const auto& found = static_cast<const RealPlan&>(plan);
    real_whole<d, W, C>(FoundRealPlan{found}, p, q, scratch, twiddles);
}
template <Direction d, int V>
ZAVO_FLATTEN void run_found_complex(const Plan& plan, const float* p, float* q, float* scratch, float* work,
                                    const float* twiddles)
{
    const auto& found = static_cast<const ComplexPlan&>(plan);
    complex_whole<d, V>(FoundComplexPlan{{found.factors, found.cut}, found.results}, p, q, scratch, work,
                        twiddles);
}

// ---- passes that are lent -------------------------------------------------------------------

template <int V>
ZAVO_FLATTEN void lent_rows_backward(const RealPlan& plan, float* chunk, float* partner, float* q,
                                     bool by_pass, const float* twiddles)
{
    rows_backward<V>(FoundRealPlan{plan}, chunk, partner, q, by_pass, twiddles);
}
template <int V>
ZAVO_FLATTEN void lent_columns_forward(const RealPlan& plan, Index t, float* slots, float* spectrum,
                                       const float* twiddles)
{
    columns_block<Direction::forward, V>(FoundRealPlan{plan}, t, slots, spectrum, twiddles);
}
template <int V>
constexpr RealPasses real_passes = {
    called_rows_forward<V>,
    lent_rows_backward<V>,
    lent_columns_forward<V>,
    {{found_unpaired_passes<Direction::forward, 1>, found_unpaired_passes<Direction::forward, 2>},
     {found_unpaired_passes<Direction::backward, 1>, found_unpaired_passes<Direction::backward, 2>}},
};

// ---- powers of two with code of their own ----------------------------------------------------

// In the order of factors that the builder of tables gives them. Both kinds of transform
// have these alike; simd_short.cpp and simd_neon.cpp have the shorter ones, which are
// latency-bound: registers of 16 floats are too wide for them.
template <int V>
constexpr KnownLength real_powers[] = {
    whole_real<V, 4, 4, 4, 4, 4>,    // 1024
    whole_real<V, 2, 4, 4, 4, 4, 4>, // 2048
    whole_real<V, 4, 4, 4, 4, 4, 4>, // 4096
};
template <int V>
constexpr KnownLength complex_powers[] = {
    either_way_complex<V, 4, 4, 4, 4>,       // 256
    either_way_complex<V, 2, 4, 4, 4, 4>,    // 512
    either_way_complex<V, 4, 4, 4, 4, 4>,    // 1024
    either_way_complex<V, 2, 4, 4, 4, 4, 4>, // 2048
    either_way_complex<V, 4, 4, 4, 4, 4, 4>, // 4096
};
template <int count>
constexpr KnownPowers powers(const KnownLength (&lengths)[count])
{
    const auto length_of = [](const KnownLength& known) {
        return static_cast<Index>(std::bit_cast<float>(known.record[0]));
    };
    return {lengths, length_of(lengths[0]), length_of(lengths[count - 1])};
}

// ---- plans -------------------------------------------------------------------------------------

ZAVO_INLINE void set_runs(Plan& plan, Run forward, Run backward)
{
    plan.way = Way::found;
    plan.needs_work = false;
    plan.run[static_cast<int>(Direction::forward)] = forward;
    plan.run[static_cast<int>(Direction::backward)] = backward;
}

// The runs with the widths that the cut names.
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
constexpr Index shortest_found_complex = 60;

// The plan for plan.factors; false when the scalar path serves this length better.
template <int V>
bool plan_real(RealPlan& plan)
{
    const Factors& factors = plan.factors;
    if (factors.n < shortest_found_real) {
        return false;
    }
    plan.cut = choose_real_cut<V>(factors);
    if (V > 8 && std::max(plan.cut.rows_width, plan.cut.columns_width) < V) {
        return lender<V / 2>->plan_real(plan);
    }
    if (plan.cut.first == 0 || (plan.cut.rows_width < 8 && !is_smooth(factors))) {
        return false;
    }
    plan.members.find(factors, plan.cut.first);
    set_real_widths<V, V>(plan);
    if constexpr (V > 4) {
        set_real_widths<V, V / 2>(plan);
        set_real_widths<V / 2, (V > 8 ? V : V / 2)>(plan);
    }
    return true;
}

template <int V>
bool plan_complex(ComplexPlan& plan)
{
    const Factors& factors = plan.factors;
    if (factors.n < shortest_found_complex) {
        return false;
    }
    plan.cut = V > 4 || is_smooth(factors) ? choose_complex_cut<V>(factors) : Cut{};
    if (plan.cut.first != 0) {
        set_runs(plan, run_found_complex<Direction::forward, V>, run_found_complex<Direction::backward, V>);
    } else if constexpr (V == 8) {
        plan.cut = is_smooth(factors) ? choose_complex_cut<V / 2>(factors) : Cut{};
        if (plan.cut.first == 0) {
            return false;
        }
        set_runs(plan, run_found_complex<Direction::forward, V / 2>,
                 run_found_complex<Direction::backward, V / 2>);
    } else if constexpr (V > 8) {
        return lender<V / 2>->plan_complex(plan);
    } else {
        return false;
    }
    plan.needs_work = !fits_stack(factors, plan.cut);
    plan.results.find(factors, plan.cut);
    return true;
}

} // namespace

} // namespace zavo::fft

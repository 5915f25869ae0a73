// The transforms that simd.hpp offers for one instruction set.
#pragma once

#include "fft/wide/simd_complex.hpp"
#include "fft/wide/simd_real.hpp"
#include "fft/wide/simd_rotation.hpp"

namespace zavo::fft {

namespace { // compiled for several instruction sets: see shape.hpp

// ---- columns of an array -------------------------------------------------------------------

// Calls work(width, column) for chunks of a group, the width as a type.
template <int w>
struct Width {
    static constexpr int value = w;
};
template <int V, class Work>
ZAVO_INLINE void for_chunks(Index group, Work&& work)
{
    Index c = 0;
    for (; group - c >= V; c += V) {
        work(Width<V>{}, c);
    }
    if (V > 8 && group - c >= 8) {
        work(Width<8>{}, c);
        c += 8;
    }
    if (group - c >= 4) {
        work(Width<4>{}, c);
        c += 4;
    }
    for (; c < group; ++c) {
        work(Width<1>{}, c);
    }
}

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

// Each of n columns of m values of p, to the same column of q, V at a time. work:
// room for 4 m V floats.
template <Direction d, int V>
void complex_columns(const Factors& factors, Index n, const float* p, Index ldp, float* q, Index ldq,
                     float* work, const float* twiddles)
{
    const Index m = factors.n;
    for_chunks<V>(n, [&](auto width, Index c) {
        constexpr int w = width.value;
        float* const a = work;
        float* const b = work + 2 * w * m;
        gather_pairs<w>(p + 2 * c, 2 * ldp, m, a);
        const float* const found = complex_lanes<d, w>(factors, 0, a, b, twiddles);
        scatter_pairs<w>(found, m, q + 2 * c, 2 * ldq);
    });
}

template <int V>
void columns(Direction d, const Factors& factors, Index n, const float* p, Index ldp, float* q, Index ldq,
             float* work, const float* twiddles)
{
    if (d == Direction::forward) {
        complex_columns<Direction::forward, V>(factors, n, p, ldp, q, ldq, work, twiddles);
    } else {
        complex_columns<Direction::backward, V>(factors, n, p, ldp, q, ldq, work, twiddles);
    }
}

// ---- lengths that cannot be cut --------------------------------------------------------------

// A length that cannot be cut still gains when a large radix does the work.
constexpr Index large_radix = 13;

template <int V>
bool try_scalar_real(Direction d, const Factors& factors, const float* p, float* q, float* scratch,
                     const float* twiddles)
{
    if (factors.ip[factors.count - 1] < large_radix) {
        return false;
    }
    if (d == Direction::forward) {
        run_real<Direction::forward, WideScalarLanes<V>>(factors, 0, p, q, scratch, twiddles);
    } else {
        run_real<Direction::backward, WideScalarLanes<V>>(factors, 0, p, q, scratch, twiddles);
    }
    return true;
}

// Offsets into the table have to fit an int.
constexpr Index most_looked_up = Index{1} << 28;

template <int V>
bool try_scalar_complex(Direction d, const Factors& factors, const float* p, float* q, float* scratch,
                        const float* twiddles)
{
    if (factors.ip[factors.count - 1] < large_radix || factors.n > most_looked_up) {
        return false;
    }
    if (d == Direction::forward) {
        run_complex<Direction::forward, WideScalarLanes<V>>(factors, 0, p, q, scratch, twiddles);
    } else {
        run_complex<Direction::backward, WideScalarLanes<V>>(factors, 0, p, q, scratch, twiddles);
    }
    return true;
}

// ---- the faces: false when the length is not one for this path --------------------------------

// A function for each length and direction: the optimiser does worse on all in one.
template <Direction d, int V, class List>
__attribute__((noinline)) bool real_known(const float* p, float* q, float* scratch, const float* twiddles)
{
    // A short transform waits for its results rather than for room in the processor.
    constexpr int widest = List::factors.n < 1024 ? std::min(V, 8) : V;
    const KnownRealPlan<widest, List> plan;
    return real_whole<d, plan.cut.rows_width, plan.cut.columns_width>(plan, p, q, scratch, twiddles);
}
template <Direction d, int V, class List>
__attribute__((noinline)) bool complex_known(const float* p, float* q, float* scratch, const float* twiddles)
{
    constexpr int width = complex_width<V>(List::factors);
    return complex_whole<d, width>(KnownComplexPlan<width, List>{}, p, q, scratch, twiddles);
}

template <int V>
bool try_known_real(Direction d, Index n, const float* record, const float* p, float* q, float* scratch,
                    const float* twiddles)
{
    return for_known_length(n, record, [&](auto list) ZAVO_INLINED {
        using List = decltype(list);
        return d == Direction::forward ? real_known<Direction::forward, V, List>(p, q, scratch, twiddles)
                                       : real_known<Direction::backward, V, List>(p, q, scratch, twiddles);
    });
}

template <int V>
bool try_real(Direction d, const Factors& factors, const float* p, float* q, float* scratch,
              const float* twiddles)
{
    const Cut cut = choose_real_cut<V>(factors);
    if (cut.first == 0) {
        return try_scalar_real<V>(d, factors, p, q, scratch, twiddles);
    }
    return d == Direction::forward
               ? real_whole_up_to<Direction::forward, V, V>(factors, cut, p, q, scratch, twiddles)
               : real_whole_up_to<Direction::backward, V, V>(factors, cut, p, q, scratch, twiddles);
}

template <int V>
bool try_known_complex(Direction d, Index n, const float* record, const float* p, float* q, float* scratch,
                       const float* twiddles)
{
    return for_known_length(n, record, [&](auto list) ZAVO_INLINED {
        using List = decltype(list);
        return d == Direction::forward ? complex_known<Direction::forward, V, List>(p, q, scratch, twiddles)
                                       : complex_known<Direction::backward, V, List>(p, q, scratch, twiddles);
    });
}

template <int V>
bool try_complex(Direction d, const Factors& factors, const float* p, float* q, float* scratch,
                 const float* twiddles)
{
    const bool whole = d == Direction::forward
                           ? complex_whole_up_to<Direction::forward, V>(factors, p, q, scratch, twiddles)
                           : complex_whole_up_to<Direction::backward, V>(factors, p, q, scratch, twiddles);
    return whole || try_scalar_complex<V>(d, factors, p, q, scratch, twiddles);
}

} // namespace

} // namespace zavo::fft

// Whole transforms in registers of V floats.
//
// The first factors of the list, whose product is the group G, and the others,
// whose product is N = n / G, are treated apart:
//
//     x[G m + g]  --lanes-->  G transforms of length N, V values of g side by side
//                 --along-->  the passes of the first factors, V frequencies each
//
// A forward real transform goes from left to right; a backward real and every
// complex one from right to left. Between the two stands a transposition. The
// lanes' part runs chunk by chunk of V transforms, each through all its passes
// before the next, so that a chunk stays in the cache however long n is.
//
// All of it moves whole butterflies about and changes none of them: the results
// have the bits of run_real and run_complex with ScalarLanes.
#pragma once

#include "fft/complex_passes.hpp"
#include "fft/real_passes.hpp"
#include "fft/simd_complex.hpp"
#include "fft/simd_passes.hpp"
#include "fft/simd_real.hpp"
#include "fft/simd_rotation.hpp"

namespace zavo::fft {

namespace { // compiled for several instruction sets: see shape.hpp

// Where the factor list is cut; first = 0 when it cannot be.
struct Cut {
    int first = 0;
    Index group = 1;
    Index rows = 1;
};

// A chunk of the lanes' part should not fill more than this.
constexpr Index chunk_floats = 128 * 1024;

template <int V>
ZAVO_INLINE int cut_quality(Index group)
{
    return group % V == 0 ? 4 : group % 8 == 0 ? 3 : group >= 12 ? 2 : group == 4 ? 1 : 0;
}

template <int V>
inline Cut choose_cut(const Factors& factors, int parts)
{
    Cut best;
    int quality = 0;
    for (int first = 1; first < factors.count && factors.ip[first - 1] <= 5; ++first) {
        const Cut cut{first, factors.l1(first), factors.after[first]};
        const bool fits = cut.rows * V * parts <= chunk_floats;
        const bool best_fits = best.rows * V * parts <= chunk_floats;
        const int found = cut_quality<V>(cut.group);
        if (cut.rows >= 4 && (found > quality || (found >= quality && fits && !best_fits))) {
            best = cut;
            quality = found;
        }
    }
    return best;
}

template <int w>
struct LanesOf {
    using Type = VectorLanes<w>;
};
template <>
struct LanesOf<1> {
    using Type = ScalarLanes;
};

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

// ---- in and out of the lanes -----------------------------------------------------------
// `rows` values of w transforms: strided, row m at p + stride * m; in lanes, row m
// at w * m; apart, transform t at rows * t.

template <int w>
void gather(const float* p, Index stride, Index rows, float* lanes)
{
    using Lanes = typename LanesOf<w>::Type;
    for (Index m = 0; m < rows; ++m) {
        Lanes::store(lanes + w * m, Lanes::load(p + stride * m));
    }
}

template <int w>
void scatter(const float* lanes, Index rows, float* q, Index stride)
{
    using Lanes = typename LanesOf<w>::Type;
    for (Index m = 0; m < rows; ++m) {
        Lanes::store(q + stride * m, Lanes::load(lanes + w * m));
    }
}

template <int w>
void lanes_to_apart(const float* __restrict lanes, Index rows, float* __restrict apart)
{
    Index m = 0;
    if constexpr (w > 1) {
        for (; m + w <= rows; m += w) {
            Vector<w> block[w];
            for (int r = 0; r < w; ++r) {
                block[r] = load<w>(lanes + w * (m + r));
            }
            transpose<w>(block);
            for (int r = 0; r < w; ++r) {
                store<w>(apart + rows * r + m, block[r]);
            }
        }
    }
    for (; m < rows; ++m) {
        for (int t = 0; t < w; ++t) {
            apart[rows * t + m] = lanes[w * m + t];
        }
    }
}

template <int w>
void apart_to_lanes(const float* __restrict apart, Index rows, float* __restrict lanes)
{
    Index m = 0;
    if constexpr (w > 1) {
        for (; m + w <= rows; m += w) {
            Vector<w> block[w];
            for (int r = 0; r < w; ++r) {
                block[r] = load<w>(apart + rows * r + m);
            }
            transpose<w>(block);
            for (int r = 0; r < w; ++r) {
                store<w>(lanes + w * (m + r), block[r]);
            }
        }
    }
    for (; m < rows; ++m) {
        for (int t = 0; t < w; ++t) {
            lanes[w * m + t] = apart[rows * t + m];
        }
    }
}

// Complex: pairs apart, to w real parts and w imaginary parts a row.
template <int w>
void pairs_apart_to_lanes(const float* __restrict apart, Index rows, float* __restrict lanes)
{
    Index m = 0;
    if constexpr (w > 1) {
        for (; m + w <= rows; m += w) {
            Vector<w> re[w], im[w];
            for (int r = 0; r < w; ++r) {
                const Pairs<w> z = load_pairs<w, true>(apart + 2 * (rows * r + m), w);
                re[r] = z.re;
                im[r] = z.im;
            }
            transpose<w>(re);
            transpose<w>(im);
            for (int r = 0; r < w; ++r) {
                store<w>(lanes + 2 * w * (m + r), re[r]);
                store<w>(lanes + 2 * w * (m + r) + w, im[r]);
            }
        }
    }
    for (; m < rows; ++m) {
        for (int t = 0; t < w; ++t) {
            lanes[2 * w * m + t] = apart[2 * (rows * t + m)];
            lanes[2 * w * m + w + t] = apart[2 * (rows * t + m) + 1];
        }
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

inline void copy_floats(const float* from, float* to, Index count)
{
    __builtin_memcpy(to, from, static_cast<std::size_t>(count) * sizeof(float));
}

// ---- the lanes' passes -------------------------------------------------------------------

// The factors from cut.first on, from `from` (or, given, `source` in its place)
// to and fro between `from` and `to`; says where the values are.
template <Direction d, int w>
float* real_lanes(const Factors& factors, const Cut& cut, const float* source, float* from, float* to,
                  const float* twiddles)
{
    const int passes = factors.count - cut.first;
    for (int t = 0; t < passes; ++t) {
        const int which = d == Direction::forward ? factors.count - 1 - t : cut.first + t;
        const Shape shape = factors.shape_within(cut.first, which);
        real_pass<d, typename LanesOf<w>::Type>(shape, t == 0 ? source : from, to, from,
                                                twiddles + factors.twiddle_offset(which));
        float* const swap = from;
        from = to;
        to = swap;
    }
    return from;
}

// The same for complex values. With `result` the last pass leaves its values
// there as pairs, w of them a row.
template <Direction d, int w>
float* complex_lanes(const Factors& factors, const Cut& cut, float* from, float* to, float* result,
                     const float* twiddles)
{
    using Lanes = typename LanesOf<w>::Type;
    for (int which = cut.first; which < factors.count; ++which) {
        const Shape shape = factors.shape_within(cut.first, which);
        const float* const wa = twiddles + 2 * factors.twiddle_offset(which);
        if constexpr (w > 1) {
            if (result != nullptr && which + 1 == factors.count) {
                complex_pass<d, Lanes, PairLanes<w>>(shape, from, result, to, wa);
                return result;
            }
        }
        complex_pass<d, Lanes>(shape, from, to, from, wa);
        float* const swap = from;
        from = to;
        to = swap;
    }
    return from;
}

// ---- whole transforms ----------------------------------------------------------------------

template <int V>
void real_forward(const Factors& factors, const Cut& cut, const float* p, float* q, float* scratch,
                  const float* twiddles)
{
    constexpr Direction d = Direction::forward;
    const bool odd_lanes = (factors.count - cut.first) % 2 != 0;
    const bool in_place = p == q;
    const bool odd_steps = (factors.count + 1) % 2 != 0;
    float* const start = in_place || odd_steps ? scratch : q;
    float* const other = start == q ? scratch : q;
    if (in_place) {
        for_chunks<V>(cut.group, [&](auto width, Index c) {
            gather<width.value>(p + c, cut.group, cut.rows, start + cut.rows * c);
        });
    }
    for_chunks<V>(cut.group, [&](auto width, Index c) {
        constexpr int w = width.value;
        float* const a = start + cut.rows * c;
        float* const b = other + cut.rows * c;
        const bool direct = !in_place && cut.group == w;
        if (!in_place && !direct) {
            gather<w>(p + c, cut.group, cut.rows, a);
        }
        float* const found = real_lanes<d, w>(factors, cut, direct ? p : a, a, b, twiddles);
        lanes_to_apart<w>(found, cut.rows, found == a ? b : a);
    });
    float* from = odd_lanes ? start : other;
    for (int which = cut.first - 1; which >= 0; --which) {
        float* const to = from == q ? scratch : q;
        real_pass_along<d, V>(factors.shape(which), from, to, twiddles + factors.twiddle_offset(which));
        from = to;
    }
    if (from != q) {
        copy_floats(from, q, factors.n);
    }
}

template <int V>
void real_backward(const Factors& factors, const Cut& cut, const float* p, float* q, float* scratch,
                   const float* twiddles)
{
    constexpr Direction d = Direction::backward;
    const bool direct = cut.group == V || cut.group == 8 || cut.group == 4;
    float* const end = direct ? q : scratch;
    // Backwards from the end: the lanes' passes and the transposition, then the
    // passes along, decide where the first of these must write.
    const bool flips = (factors.count - cut.first + 1 + cut.first - 1) % 2 != 0;
    float* to = (end == q) != flips ? q : scratch;
    const float* from = p;
    if (p == to) {
        copy_floats(p, scratch, factors.n);
        from = scratch;
    }
    for (int which = 0; which < cut.first; ++which) {
        real_pass_along<d, V>(factors.shape(which), from, to, twiddles + factors.twiddle_offset(which));
        from = to;
        to = to == q ? scratch : q;
    }
    for_chunks<V>(cut.group, [&](auto width, Index c) {
        constexpr int w = width.value;
        float* const a = const_cast<float*>(from) + cut.rows * c;
        float* const b = to + cut.rows * c;
        apart_to_lanes<w>(a, cut.rows, b);
        real_lanes<d, w>(factors, cut, b, b, a, twiddles);
    });
    if (!direct) {
        for_chunks<V>(cut.group, [&](auto width, Index c) {
            scatter<width.value>(scratch + cut.rows * c, cut.rows, q + c, cut.group);
        });
    }
}

template <Direction d, int V>
void complex_whole(const Factors& factors, const Cut& cut, const float* p, float* q, float* scratch,
                   const float* twiddles)
{
    const bool whole_group = cut.group == V || cut.group == 8 || cut.group == 4;
    const bool direct = whole_group && factors.ip[factors.count - 1] <= 5;
    float* const end = direct ? q : scratch;
    const bool flips = factors.count % 2 != 0;
    float* to = (end == q) != flips ? q : scratch;
    const float* from = p;
    if (p == to) {
        copy_floats(p, scratch, 2 * factors.n);
        from = scratch;
    }
    for (int which = 0; which < cut.first; ++which) {
        complex_pass_along<d, V>(factors.shape(which), from, to,
                                 twiddles + 2 * factors.twiddle_offset(which));
        from = to;
        to = to == q ? scratch : q;
    }
    for_chunks<V>(cut.group, [&](auto width, Index c) {
        constexpr int w = width.value;
        float* const a = const_cast<float*>(from) + 2 * cut.rows * c;
        float* const b = to + 2 * cut.rows * c;
        pairs_apart_to_lanes<w>(a, cut.rows, b);
        complex_lanes<d, w>(factors, cut, b, a, direct ? q : nullptr, twiddles);
    });
    if (!direct) {
        for_chunks<V>(cut.group, [&](auto width, Index c) {
            scatter_pairs<width.value>(scratch + 2 * cut.rows * c, cut.rows, q + 2 * c, 2 * cut.group);
        });
    }
}

// Each of n columns of m values of p, to the same column of q, V at a time. work:
// room for 4 m V floats.
template <Direction d, int V>
void complex_columns(const Factors& factors, Index n, const float* p, Index ldp, float* q, Index ldq,
                     float* work, const float* twiddles)
{
    const Index m = factors.n;
    const Cut whole{0, 1, m};
    for_chunks<V>(n, [&](auto width, Index c) {
        constexpr int w = width.value;
        float* const a = work;
        float* const b = work + 2 * w * m;
        gather_pairs<w>(p + 2 * c, 2 * ldp, m, a);
        const float* const found = complex_lanes<d, w>(factors, whole, a, b, nullptr, twiddles);
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

template <int V>
bool try_real(Direction d, const Factors& factors, const float* p, float* q, float* scratch,
              const float* twiddles)
{
    RealCut whole;
    choose_real_cut<V>(factors, whole);
    if (whole.first != 0) {
        return d == Direction::forward
                   ? real_whole_of_widths<Direction::forward, V, V>(factors, whole, p, q, scratch, twiddles)
                   : real_whole_of_widths<Direction::backward, V, V>(factors, whole, p, q, scratch, twiddles);
    }
    const Cut cut = choose_cut<V>(factors, 1);
    if (cut.first == 0) {
        return try_scalar_real<V>(d, factors, p, q, scratch, twiddles);
    }
    if (d == Direction::forward) {
        real_forward<V>(factors, cut, p, q, scratch, twiddles);
    } else {
        real_backward<V>(factors, cut, p, q, scratch, twiddles);
    }
    return true;
}

// Lengths made of 2, 3 and 5, in the widest registers that they fill.
template <int V>
bool try_smooth(Direction d, const Factors& factors, const float* p, float* q, float* scratch,
                const float* twiddles)
{
    SmoothCut cut;
    choose_smooth_cut<V>(factors, cut);
    if (cut.first == 0) {
        if constexpr (V > 4) {
            return try_smooth<V / 2>(d, factors, p, q, scratch, twiddles);
        }
        return false;
    }
    return d == Direction::forward
               ? complex_smooth<Direction::forward, V>(factors, cut, p, q, scratch, twiddles)
               : complex_smooth<Direction::backward, V>(factors, cut, p, q, scratch, twiddles);
}

template <int V>
bool try_complex(Direction d, const Factors& factors, const float* p, float* q, float* scratch,
                 const float* twiddles)
{
    if (factors.ip[factors.count - 1] <= 5 && try_smooth<V>(d, factors, p, q, scratch, twiddles)) {
        return true;
    }
    const Cut cut = choose_cut<V>(factors, 2);
    if (cut.first == 0) {
        return try_scalar_complex<V>(d, factors, p, q, scratch, twiddles);
    }
    if (d == Direction::forward) {
        complex_whole<Direction::forward, V>(factors, cut, p, q, scratch, twiddles);
    } else {
        complex_whole<Direction::backward, V>(factors, cut, p, q, scratch, twiddles);
    }
    return true;
}

} // namespace

} // namespace zavo::fft

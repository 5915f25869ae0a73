// What whole transforms in registers share: where the factor list is cut, blocks of
// registers, and storage.
//
// plan.hpp says what G and R are. Complex transforms and backward real ones take the
// first factors in columns of G values and the others in rows of R; forward real ones
// come from the rows.
#pragma once

#include "fft/passes/complex_radices.hpp"
#include "fft/passes/real_radices.hpp"
#include "fft/tables/plan.hpp"
#include "fft/wide/simd.hpp"
#include "fft/wide/simd_lanes.hpp"

#include <algorithm>
#include <bit>
#include <cstdint>

namespace zavo::fft {

namespace { // compiled for several instruction sets: see inlining.hpp

// A block of rows up to this size runs pass by pass, a larger one depth first.
constexpr Index near_floats = 8 * 1024;
// Work storage on the stack: the slots of a block of columns and, as far as it fits
// beside them, a chunk that overlaps another.
constexpr Index stack_floats = 24 * 1024;

// Lanes of the widest registers that the source is compiled for. A plan has narrower ones
// where its rows or columns do not fill these: hardly ever in a long transform.
#if defined(__AVX512F__)
constexpr int native_width = 16;
#elif defined(__AVX2__)
constexpr int native_width = 8;
#else
constexpr int native_width = 4;
#endif

// Whether found plans call the real passes over registers of V floats of another path, the
// lender, so that the source does not have them once more.
template <int V>
constexpr bool is_lent = V == 8 && native_width > 8;
template <int V>
constexpr const SimdPath* lender = nullptr;
template <>
constexpr const SimdPath* lender<8> = is_lent<8> ? &avx2_path : nullptr;

// Large factors stand last.
constexpr ZAVO_INLINE bool is_smooth(const Factors& factors)
{
    return factors.ip[factors.count - 1] <= 5;
}

// Whether nothing but radices 2 to 5 comes to a plan's rows of V lanes: registers of 4 do
// not pay for others.
template <int V, class Plan>
constexpr bool always_smooth = Plan::is_known || V < 8;

// The widest registers, V at most, that `count` values fill; 0 below 4.
template <int V>
constexpr ZAVO_INLINE int width_for(Index count)
{
    return count >= V ? V : V > 4 ? width_for<(V > 4 ? V / 2 : V)>(count) : 0;
}

// Relative cost of one value in each of `count` neighbours; a wide register costs more
// than a narrow one.
constexpr ZAVO_INLINE std::int64_t padded_work(Index count, int width)
{
    const int shift = std::countr_zero(static_cast<unsigned>(width)); // a division would be slow
    return ((count + width - 1) >> shift) * (width == 16 ? 3 : 2);
}

// The cut with the least work. For each place, fit(cut) sets the widths and the number
// of columns, of `values` values of a row each; false when the registers or the storage
// do not fit.
template <class Fit>
constexpr ZAVO_INLINE Cut choose_cut(const Factors& factors, int values, const Fit& fit)
{
    Cut cut;
    std::int64_t least = 0;
    for (int first = 1; first < factors.count && factors.ip[first - 1] <= 5; ++first) {
        Cut place;
        place.first = first;
        place.group = factors.l1(first);
        place.rows = factors.after[first];
        if (place.group > most_slots) {
            break;
        }
        if (!fit(place)) {
            continue;
        }
        const std::int64_t work =
            padded_work(place.group, place.rows_width) * place.rows * (factors.count - first) +
            padded_work(place.columns, place.columns_width) * place.group * first * values;
        if (cut.first == 0 || work < least) {
            cut = place;
            least = work;
        }
    }
    cut.multiply_up(factors);
    return cut;
}

// ---- plans -----------------------------------------------------------------------
// A plan is a factor list and its cut, and says how to go through the factors. What
// is known when compiling leaves no loops over factors and no strides to look up,
// which is half the time of a short transform.
//
// Passes are written once for both kinds: the number of a factor, and a question that a
// pass asks, are values in a FoundPlan and types in a KnownPlan. What a KnownPlan does
// not do is then never compiled, and not thrown away by the optimiser afterwards.

template <int i>
using Number = std::integral_constant<int, i>;

// work(std::true_type) or work(std::false_type), by a question that is a type or a value.
template <bool answer, class Work>
void decide(std::bool_constant<answer> question, const Work& work)
{
    work(question);
}
template <class Work>
void decide(bool question, const Work& work)
{
    if (question) {
        work(std::true_type{});
    } else {
        work(std::false_type{});
    }
}

template <int i>
ZAVO_INLINE std::bool_constant<i == 0> is_zero(Number<i>)
{
    return {};
}
ZAVO_INLINE bool is_zero(int i)
{
    return i == 0;
}

struct FoundPlan {
    static constexpr bool is_known = false;
    static constexpr bool exchanged = false; // see exchange_if in simd_complex.hpp
    const Factors& factors;
    const Cut& cut;

    ZAVO_INLINE int first() const { return cut.first; }
    ZAVO_INLINE int last() const { return factors.count - 1; }
    template <Index length>
    ZAVO_INLINE bool is_at_least() const
    {
        return factors.n >= length;
    }

    // work(radix) with the butterfly of factor t.
    template <Direction d, class Work>
    void with_complex_radix(int t, const Work& work) const
    {
        for_complex_radix<d>(factors.ip[t], work);
    }
    template <class Work>
    void with_real_radix(int t, const Work& work) const
    {
        for_real_radix(factors.ip[t], work);
    }

    // work(), the loops of one pass: in a function of their own, with all its registers.
    template <class Work>
    static __attribute__((noinline)) ZAVO_FLATTEN void loops(const Work& work)
    {
        work();
    }

    // work(t) for the factors begin <= t < end.
    template <class Work>
    void for_factors(int begin, int end, const Work& work) const
    {
        for (int t = begin; t < end; ++t) {
            work(t);
        }
    }
    template <class Work>
    void for_factors_falling(int begin, int end, const Work& work) const
    {
        for (int t = end - 1; t >= begin; --t) {
            work(t);
        }
    }
};

template <int... ip>
struct FactorList {
    static constexpr Factors factors = [] {
        Factors list{};
        list.n = (Index{1} * ... * ip);
        for (const int factor : {ip...}) {
            list.ip[list.count++] = factor;
        }
        list.multiply_up();
        return list;
    }();
};

// first_row: the first factor of the rows.
template <class List, int first_row>
struct KnownPlan {
    static constexpr bool is_known = true;
    static constexpr const Factors& factors = List::factors;

    ZAVO_INLINE Number<first_row> first() const { return {}; }
    ZAVO_INLINE Number<List::factors.count - 1> last() const { return {}; }
    template <Index length>
    ZAVO_INLINE std::bool_constant<(List::factors.n >= length)> is_at_least() const
    {
        return {};
    }

    template <Direction d, int t, class Work>
    void with_complex_radix(Number<t>, const Work& work) const
    {
        work(ComplexRadix<d, static_cast<int>(List::factors.ip[t])>{});
    }
    template <int t, class Work>
    void with_real_radix(Number<t>, const Work& work) const
    {
        work(RealRadix<static_cast<int>(List::factors.ip[t])>{});
    }

    template <class Work>
    static void loops(const Work& work)
    {
        work();
    }

    template <int begin, int end, class Work>
    void for_factors(Number<begin>, Number<end>, const Work& work) const
    {
        unroll<end - begin>([&](auto i) { work(Number<begin + i>{}); });
    }
    template <int begin, int end, class Work>
    void for_factors_falling(Number<begin>, Number<end>, const Work& work) const
    {
        unroll<end - begin>([&](auto i) { work(Number<end - 1 - i>{}); });
    }
};

// Whether a plan is at least so long, with rows or columns of V lanes. Found plans with narrow
// ones are compiled without what only pays in long transforms.
template <int V, Index length, class Plan>
auto is_long(const Plan& plan)
{
    if constexpr (!Plan::is_known && V < native_width) {
        return std::false_type{};
    } else {
        return plan.template is_at_least<length>();
    }
}

// ---- interruption ----------------------------------------------------------------

// Shorter transforms are done before anybody would ask.
constexpr Index interruptible_whole_length = Index{1} << 17;

// Whether the run was interrupted, so that the next block of a plan, of so many values, is
// skipped.
template <class Plan>
ZAVO_INLINE bool interrupted_in(const Plan& plan, Index values)
{
    return plan.template is_at_least<interruptible_whole_length>() && core::interrupted(values);
}

// ---- storage ---------------------------------------------------------------------

// Calls work(start) for blocks of V among `count` >= V; where V does not divide count,
// the last block overlaps the one before it.
template <int V, class Work>
ZAVO_INLINE void for_blocks(Index count, const Work& work)
{
    Index start = 0;
    do {
        work(std::min(start, count - V));
        start += V;
    } while (start < count);
}

// Slots a distance apart: V real parts and then V imaginary parts each.
template <int V>
struct Slots {
    float* first;
    Index step;
    ZAVO_INLINE void load(int j, Vector<V>& re, Vector<V>& im) const
    {
        re = simd::load<V>(first + step * j);
        im = simd::load<V>(first + step * j + V);
    }
    ZAVO_INLINE void store(int j, const Vector<V>& re, const Vector<V>& im) const
    {
        simd::store<V>(first + step * j, re);
        simd::store<V>(first + step * j + V, im);
    }
};

} // namespace

} // namespace zavo::fft

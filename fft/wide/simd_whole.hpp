// What whole transforms in registers share: where the factor list is cut, blocks of
// registers, and storage.
//
// The factors are cut in two: G is the product of the first, R = n / G that of the
// others. Complex transforms and backward real ones take the first factors in columns
// of G values and the others in rows of R; forward real ones come from the rows.
#pragma once

#include "core/system/memory.hpp"
#include "fft/tables/factors.hpp"
#include "fft/wide/simd_vectors.hpp"

#include <algorithm>
#include <bit>
#include <cstdint>

namespace zavo::fft {

namespace { // compiled for several instruction sets: see shape.hpp

// Most slots of a block of columns: 32 KB of the widest registers.
constexpr Index most_slots = 256;
// A block of rows up to this size runs pass by pass, a larger one depth first.
constexpr Index near_floats = 8 * 1024;
// Work storage that is taken from the stack.
constexpr Index stack_floats = 16 * 1024;

// Large factors stand last.
constexpr ZAVO_INLINE bool is_smooth(const Factors& factors)
{
    return factors.ip[factors.count - 1] <= 5;
}

// Where the list is cut. first = 0: nowhere.
struct Cut {
    int first = 0;
    int rows_width = 0; // registers of the rows and of the columns
    int columns_width = 0;
    Index group = 1;                 // G
    Index rows = 1;                  // R
    Index columns = 0;               // how many, see choose_cut
    Index inner[most_factors] = {};  // product of the factors behind, up to the cut
    Index weight[most_factors] = {}; // product of the factors before, from the cut on

    constexpr ZAVO_INLINE void multiply_up(const Factors& factors)
    {
        Index product = 1;
        for (int t = first - 1; t >= 0; --t) {
            inner[t] = product;
            product *= factors.ip[t];
        }
        product = 1;
        for (int t = first; t < factors.count; ++t) {
            weight[t] = product;
            product *= factors.ip[t];
        }
    }
};

// The widest registers, V at most, that `count` values fill; 0 below 4.
template <int V>
constexpr ZAVO_INLINE int width_for(Index count)
{
    return count >= V ? V : V > 4 ? width_for<(V > 4 ? V / 2 : V)>(count) : 0;
}

// Time for a value of each of `count` neighbours, in no unit: a register takes longer
// when it is wide.
constexpr ZAVO_INLINE std::int64_t padded_work(Index count, int width)
{
    const int shift = std::countr_zero(static_cast<unsigned>(width)); // a division would take its time
    return ((count + width - 1) >> shift) * (width == 16 ? 3 : 2);
}

// The cut with the least work. columns(group, rows, width) says how many columns there
// are, of `values` values of a row each, and which registers they fill.
template <int V, class Columns>
constexpr ZAVO_INLINE Cut choose_cut(const Factors& factors, int values, const Columns& columns)
{
    Cut cut;
    std::int64_t least = 0;
    for (int first = 1; first < factors.count && factors.ip[first - 1] <= 5; ++first) {
        const Index group = factors.l1(first);
        const Index rows = factors.after[first];
        const int rows_width = width_for<V>(group);
        int columns_width = 0;
        const Index count = columns(group, rows, columns_width);
        if (rows_width == 0 || columns_width == 0 || group > most_slots) {
            continue;
        }
        const std::int64_t work = padded_work(group, rows_width) * rows * (factors.count - first) +
                                  padded_work(count, columns_width) * group * first * values;
        if (cut.first == 0 || work < least) {
            cut.first = first;
            cut.rows_width = rows_width;
            cut.columns_width = columns_width;
            cut.group = group;
            cut.rows = rows;
            cut.columns = count;
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

struct FoundPlan {
    static constexpr bool is_near = false; // a block of rows is known to be a near one
    const Factors& factors;
    const Cut& cut;

    // work(), the loops of one pass: in a function of their own, with all its registers.
    template <class Work>
    static __attribute__((noinline)) void loops(const Work& work)
    {
        work();
    }

    // work(t) for the factors first <= t < end.
    template <class Work>
    ZAVO_INLINE void for_factors(int first, int end, const Work& work) const
    {
        for (int t = first; t < end; ++t) {
            work(t);
        }
    }
    template <class Work>
    ZAVO_INLINE void for_factors_falling(int first, int end, const Work& work) const
    {
        for (int t = end - 1; t >= first; --t) {
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

    // Whether a table's record lists these factors.
    static ZAVO_INLINE bool is_in(const float* record)
    {
        const float* at = record + 2;
        return record[1] == static_cast<float>(sizeof...(ip)) && (... && (*at++ == static_cast<float>(ip)));
    }
};

template <class List>
struct KnownPlan {
    static constexpr bool is_near = true;
    static constexpr const Factors& factors = List::factors;

    template <class Work>
#ifdef __SANITIZE_ADDRESS__ // see for_known_length
    static __attribute__((noinline)) void loops(const Work& work)
#else
    static ZAVO_INLINE void loops(const Work& work)
#endif
    {
        work();
    }
    template <class Work>
    ZAVO_INLINE void for_factors(int first, int end, const Work& work) const
    {
        unroll<factors.count>([&](auto t) ZAVO_INLINED {
            if (t >= first && t < end) {
                work(t);
            }
        });
    }
    template <class Work>
    ZAVO_INLINE void for_factors_falling(int first, int end, const Work& work) const
    {
        unroll<factors.count>([&](auto n) ZAVO_INLINED {
            const int t = factors.count - 1 - n;
            if (t >= first && t < end) {
                work(t);
            }
        });
    }
};

// Calls work(list) for the factor list that is in the record of a table for length n;
// false when it is none of the known ones. Both kinds of transform have these alike.
template <class Work>
ZAVO_INLINE bool for_known_length(Index n, const float* record, const Work& work)
{
    const auto try_list = [&](auto list) ZAVO_INLINED { return list.is_in(record) && work(list); };
    switch (n) {
    case 64:
        return try_list(FactorList<4, 4, 4>{});
    case 256:
        return try_list(FactorList<4, 4, 4, 4>{});
    case 2048:
        return try_list(FactorList<2, 4, 4, 4, 4, 4>{});
#ifndef __SANITIZE_ADDRESS__ // with its checks, each length takes half a minute to compile
    case 128:
        return try_list(FactorList<2, 4, 4, 4>{});
    case 512:
        return try_list(FactorList<2, 4, 4, 4, 4>{});
    case 1024:
        return try_list(FactorList<4, 4, 4, 4, 4>{});
    case 4096:
        return try_list(FactorList<4, 4, 4, 4, 4, 4>{});
#endif
    default:
        return false;
    }
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
        re = fft::load<V>(first + step * j);
        im = fft::load<V>(first + step * j + V);
    }
    ZAVO_INLINE void store(int j, const Vector<V>& re, const Vector<V>& im) const
    {
        fft::store<V>(first + step * j, re);
        fft::store<V>(first + step * j + V, im);
    }
};

// Storage beside the table's scratch: the slots of a block of columns, a partner for
// chunks of rows, and the chunk that overlaps another. Null slots: memory is short.
struct WholeWork {
    alignas(64) float on_stack[stack_floats];
    float* taken = nullptr;
    float* slots = nullptr;
    float* partner = nullptr;
    float* tail = nullptr;

    // parts: floats a value.
    WholeWork(const Cut& cut, int parts, bool has_partner)
    {
        const Index slot_floats = 2 * cut.columns_width * cut.group;
        const Index chunk_floats = (parts * cut.rows_width * cut.rows + 15) / 16 * 16;
        const bool has_tail = cut.group % cut.rows_width != 0;
        const Index floats = slot_floats + chunk_floats * (has_partner + has_tail);
        if (floats <= stack_floats) {
            slots = on_stack;
        } else {
            slots = taken = core::take_work<float>(static_cast<std::size_t>(floats));
        }
        if (slots != nullptr) {
            partner = slots + slot_floats;
            tail = partner + (has_partner ? chunk_floats : 0);
        }
    }
    WholeWork(const WholeWork&) = delete;
    WholeWork& operator=(const WholeWork&) = delete;
    ~WholeWork() { core::give_back_work(taken); }
};

} // namespace

} // namespace zavo::fft

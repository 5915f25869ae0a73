// What a transform knows of its length before it starts: the factors, where their list
// is cut in two, the places that the passes count in, and the functions that run it. A
// plan is found once for a table's record (transforms.cpp keeps the latest ones) and
// holds no memory of its own.
//
// The cut: n = G R, where G is the product of the factors before the cut and R that of
// the others. Seen as a matrix of G rows and R columns, a complex transform runs the
// first factors down its columns, transposes, and runs the others along the rows: the
// four-step method (W. M. Gentleman, G. Sande, "Fast Fourier transforms: for fun and
// profit", AFIPS Proc. 29 (1966); D. H. Bailey, "FFTs in external or hierarchical
// memory", J. Supercomputing 4 (1990)), with the twiddles where the definition's passes
// have them, so that no bit differs.
#pragma once

#include "fft/tables/factors.hpp"

#include <cassert>
#include <cstdint>

namespace zavo::fft {

// Most slots of a block of columns: 32 KB of the widest registers, which L1 holds.
inline constexpr Index most_slots = 256;

// Where the list is cut. first = 0: nowhere.
struct Cut {
    int first = 0;
    int rows_width = 0; // lanes of a register of the rows and of the columns
    int columns_width = 0;
    Index group = 1;                 // G
    Index rows = 1;                  // R
    Index columns = 0;               // how many columns are worked on
    Index inner[most_factors] = {};  // product of the factors behind, up to the cut
    Index weight[most_factors] = {}; // product of the factors before, from the cut on

    // Floats of a block of columns, and of a chunk of rows of values of `parts` floats,
    // to whole lines of the cache.
    constexpr ZAVO_INLINE Index slot_floats() const { return 2 * columns_width * group; }
    constexpr ZAVO_INLINE Index chunk_floats(int parts) const
    {
        return (parts * rows_width * rows + 15) / 16 * 16;
    }
    // Whether the last chunk overlaps the one before it.
    constexpr ZAVO_INLINE bool has_tail() const { return (group & (rows_width - 1)) != 0; }

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

// Complex: the slots where the results of the columns stand, in the order of the
// results; the passes stay in place and leave them with their digits reversed.
struct Results {
    std::uint16_t slot[most_slots];

    constexpr ZAVO_INLINE void find(const Factors& factors, const Cut& cut)
    {
        slot[0] = 0;
        Index found = 1;
        for (int t = 0; t < cut.first; ++t) {
            const Index more = found * (factors.ip[t] - 1);
            for (Index k = 0; k < more; ++k) {
                slot[found + k] = static_cast<std::uint16_t>(slot[k] + cut.inner[t]);
            }
            found += more;
        }
        assert(found == cut.group);
    }
};

// Real: the frequency base + sign * t.
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
        assert(count == factors.l1(first));
    }
    ZAVO_INLINE const Member* before(int which) const { return all + start[which + 1]; }
    ZAVO_INLINE const Member* whole() const { return all + start[0]; }
};

struct Plan;

// The transform of p to q, which are the same array or do not overlap; n values each,
// as scratch. work: n complex values for a complex transform, or null; a real one has
// none.
using Run = void (*)(const Plan&, const float* p, float* q, float* scratch, float* work,
                     const float* twiddles);

// One value at a time; in registers, by a plan that is data; by code of the length's own.
enum class Way { scalar, found, known };

struct Plan {
    Run run[2]; // by Direction
    Way way;
    bool needs_work; // and is not to be run without
    Factors factors;
    Cut cut;
};
struct RealPlan : Plan {
    Members members;
};
struct ComplexPlan : Plan {
    Results results;
};

} // namespace zavo::fft

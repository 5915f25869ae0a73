// The code paths that are compiled for one instruction set each.
#pragma once

#include "fft/passes/spectrum_product.hpp"
#include "fft/tables/plan.hpp"
#include "fft/tables/twiddle.hpp"

#include <bit>
#include <cstdint>
#include <cstring>

namespace zavo::fft {

// A length with straight-line code of its own, which finds its way without a plan.
inline constexpr int known_record_floats = 8;
struct KnownLength {
    // The transform of p to q, which are the same array or do not overlap.
    using Run = void (*)(const float* p, float* q, float* params);
    std::uint32_t record[known_record_floats]; // bits of the beginning of the record that it is for
    Run run[2];                                // by Direction

    ZAVO_INLINE bool is_for(const float* factor_record) const
    {
        return std::memcmp(static_cast<const void*>(factor_record), record, sizeof record) == 0;
    }
};

// The short ones, which all paths of a family of processors share.
inline constexpr Index longest_short = 512;
struct ShortLengths {
    const KnownLength* first;
    std::uint8_t number[longest_short + 1]; // from 1 on; 0: the length is none of these

    // Null when there is none for n.
    ZAVO_INLINE const KnownLength* find(Index n) const
    {
        return n <= longest_short && number[n] != 0 ? first + (number[n] - 1) : nullptr;
    }
};
extern const ShortLengths short_real;
extern const ShortLengths short_complex;

// The powers of two from `least` to `most`, which a path has in addition.
struct KnownPowers {
    const KnownLength* first;
    Index least;
    Index most;

    ZAVO_INLINE const KnownLength* find(Index n) const
    {
        return (n & (n - 1)) == 0 && n >= least && n <= most
                   ? first + (std::countr_zero(static_cast<std::uint64_t>(n)) -
                              std::countr_zero(static_cast<std::uint64_t>(least)))
                   : nullptr;
    }
};

// Passes of real plans over registers of one width, of a chunk of rows or a block of columns:
// rows_forward, rows_backward and columns_block of simd_real.hpp.
struct RealPasses {
    void (*rows_forward)(const RealPlan&, const float* p, Index apart, bool by_pass, float* chunk,
                         float* partner, const float* twiddles);
    void (*rows_backward)(const RealPlan&, float* chunk, float* partner, float* q, bool by_pass,
                          const float* twiddles);
    void (*columns_forward)(const RealPlan&, Index t, float* slots, float* spectrum, const float* twiddles);
    // By direction, and R (m + 1/2) before R m.
    int (*unpaired[2][2])(const RealPlan&, float* from, float* to, const float* twiddles);
};

struct SimdPath {
    KnownPowers known_real;
    KnownPowers known_complex;
    // Completes the plan for plan.factors, of a length or an order of factors that is not
    // known; false when the path has nothing for it.
    bool (*plan_real)(RealPlan& plan);
    bool (*plan_complex)(ComplexPlan& plan);
    // Lent to a path with wider registers; null where there is none.
    RealPasses real_passes;
    // Complex transforms of length factors.n of n columns, by rows with the column
    // dimensions ldp and ldq. work: column_work(factors.n) floats.
    void (*columns)(Direction, const Factors&, Index n, const float* p, Index ldp, float* q, Index ldq,
                    float* work, const float* twiddles);
    // The sums of a general pass, rotation.hpp's but for y_0; false when they are faster
    // one value at a time.
    bool (*rotate_real)(Index slab, Index ip, CosSin w, const float* x, float* y);
    bool (*rotate_complex)(Direction, Index slab, Index ip, const float* x, float* y, const float* wa,
                           Index step);
    // As in transforms.hpp.
    void (*multiply_spectra)(Product, Index n, const float* x, const float* y, float* z);
    void (*divide)(Index n, float* values, float divisor);
    // fill_cos_sin of twiddle.hpp.
    void (*fill_cos_sin)(float step, int first, int count, float* pairs);
};

// Offsets into a table have to fit an int.
inline constexpr Index most_looked_up = Index{1} << 28;

inline std::size_t column_work(Index m)
{
    return count_of_floats(m, 64, 0);
}

extern const SimdPath avx2_path;
extern const SimdPath avx512_path;
extern const SimdPath neon_path;

} // namespace zavo::fft

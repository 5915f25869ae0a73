// The code paths that are compiled for one instruction set each.
#pragma once

#include "fft/passes/spectrum_product.hpp"
#include "fft/tables/plan.hpp"
#include "fft/tables/twiddle.hpp"

#include <cstdint>
#include <cstring>

namespace zavo::fft {

struct SimdPath {
    // Completes the plan for plan.factors; false when the path has nothing for this
    // length.
    bool (*plan_real)(RealPlan& plan);
    bool (*plan_complex)(ComplexPlan& plan);
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

// A short length with straight code of its own, which finds its way without a plan.
inline constexpr Index longest_short = 240;
inline constexpr int short_record_floats = 8;
struct ShortLength {
    // The transform of p to q, which are the same array or do not overlap.
    using Run = void (*)(const float* p, float* q, float* params);
    std::uint32_t record[short_record_floats]; // bits of the beginning of the record that it is for
    Run run[2];                                // by Direction
};
struct ShortLengths {
    const ShortLength* first;
    std::uint8_t number[longest_short + 1]; // from 1 on; 0: the length is none of these

    // Null when there is none for n and the factors that its table's record lists.
    ZAVO_INLINE const ShortLength* of(Index n, const float* record) const
    {
        if (n > longest_short || number[n] == 0) {
            return nullptr;
        }
        const ShortLength* const found = first + (number[n] - 1);
        std::uint32_t bits[short_record_floats];
        std::memcpy(bits, record, sizeof bits);
        std::uint32_t differing = 0;
        for (int i = 0; i < short_record_floats; ++i) {
            differing |= bits[i] ^ found->record[i];
        }
        return differing == 0 ? found : nullptr;
    }
};
// For the paths from AVX2 on.
extern const ShortLengths short_real;
extern const ShortLengths short_complex;

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

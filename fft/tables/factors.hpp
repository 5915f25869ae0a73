// Factorisation of a length, the factor record of a parameter table, and the
// builders of the twiddle regions.
//
// A factor record is 15 floats: n, the number of factors, the factors in order,
// all stored as floats and read back rounded to nearest.
#pragma once

#include "fft/tables/shape.hpp"

namespace zavo::fft {

inline constexpr int record_floats = 15;
inline constexpr int most_factors = 20; // 3 to the 19th is the longest list of an int

struct Factors {
    Index n;
    int count;
    Index ip[most_factors];
    Index before[most_factors + 1]; // product of the factors before each
    Index after[most_factors + 1];  // product of each and those behind it

    // The products, once count and ip stand.
    constexpr ZAVO_INLINE void multiply_up()
    {
        before[0] = 1;
        for (int i = 0; i < count; ++i) {
            before[i + 1] = before[i] * ip[i];
        }
        after[count] = 1;
        for (int i = count; i > 0; --i) {
            after[i - 1] = after[i] * ip[i - 1];
        }
    }

    // l1 of a pass: the product of the factors before it.
    constexpr ZAVO_INLINE Index l1(int which) const { return before[which]; }
    constexpr ZAVO_INLINE Index ido(int which) const { return after[which + 1]; }
    constexpr ZAVO_INLINE Shape shape(int which) const { return {ido(which), l1(which), ip[which]}; }
    // The same for one of the l1(first) transforms that the factors from `first`
    // on make up.
    constexpr ZAVO_INLINE Shape shape_within(int first, int which) const
    {
        Index inner = 1;
        for (int i = first; i < which; ++i) {
            inner *= ip[i];
        }
        return {ido(which), inner, ip[which]};
    }
    // Where a factor's block starts in the real table's twiddle region; twice
    // that in the complex table's. The blocks before it hold n - n/l1 values.
    constexpr ZAVO_INLINE Index twiddle_offset(int which) const { return n - after[which]; }
};

// n as a product of 4, 3, 2, 5 and odd numbers, tried in the order of the kind
// of transform (real: 4 2 3 5, complex: 3 4 2 5); a factor 2 is put first.
Factors real_factors(Index n);
Factors complex_factors(Index n);

// The factors that a record of a table for length n holds. A record that does
// not multiply up to n (more factors than it has room for, or not a record at
// all) is ignored; n is factored instead.
Factors read_real_record(Index n, const float* record);
Factors read_complex_record(Index n, const float* record);

// parts * n + 15 floats, all zero; null when memory is short.
float* new_table(Index n, int parts);

// Twiddle and factor regions of a table: n and 15 floats, or 2n and 15.
void build_real_table(Index n, float* twiddles, float* record);
void build_complex_table(Index n, float* twiddles, float* record);

// The table itself; null, and released, when its building was interrupted.
float* unless_interrupted(float* table);

} // namespace zavo::fft

// The short lengths with code of their own, for processors with AVX2 and for those with
// more: registers of 16 floats are too wide for them. Nothing in here runs before the
// processor has been asked.

#include "fft/wide/simd_short.hpp"

namespace zavo::fft {

namespace {

// The factors in the order that the builder of tables gives them.
constexpr KnownLength real_lengths[] = {
    straight_real<2, 4>,          // 8
    straight_real<2, 7>,          // 14
    straight_real<2, 3, 7>,       // 42
    straight_real<4, 4>,          // 16
    straight_real<2, 4, 4>,       // 32
    straight_real<4, 4, 3>,       // 48
    whole_real<8, 4, 4, 4>,       // 64
    whole_real<8, 2, 4, 4, 3>,    // 96
    whole_real<8, 2, 4, 3, 5>,    // 120
    whole_real<8, 4, 4, 3, 5>,    // 240
    whole_real<8, 2, 4, 4, 4>,    // 128
    whole_real<8, 4, 4, 4, 4>,    // 256
    whole_real<8, 2, 4, 4, 4, 4>, // 512
};
constexpr KnownLength complex_lengths[] = {
    straight_complex<2, 4>,            // 8
    whole_complex<4, 4, 4>,            // 16
    whole_complex<4, 2, 4, 4>,         // 32
    flat_complex<3, 4, 4>,             // 48
    flat_complex<4, 4, 4>,             // 64
    flat_complex<2, 3, 4, 4>,          // 96
    flat_complex<2, 3, 4, 5>,          // 120
    either_way_complex<8, 2, 4, 4, 4>, // 128
    whole_complex<8, 3, 4, 4, 5>,      // 240
};

} // namespace

constinit const ShortLengths short_real = in_order(real_lengths);
constinit const ShortLengths short_complex = in_order(complex_lengths);

} // namespace zavo::fft

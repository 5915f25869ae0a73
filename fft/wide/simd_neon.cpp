// The transforms for 64-bit ARM processors.

#include "fft/wide/simd.hpp"

#include "fft/tables/twiddle_block.hpp"
#include "fft/wide/simd_engine.hpp"
#include "fft/wide/simd_spectrum.hpp"

namespace zavo::fft {

namespace {

// The factors in the order that the builder of tables gives them.
constexpr KnownLength short_real_lengths[] = {
    whole_real<4, 4, 4, 4>,       // 64
    whole_real<4, 2, 4, 4, 4>,    // 128
    whole_real<4, 4, 4, 4, 4>,    // 256
    whole_real<4, 2, 4, 4, 4, 4>, // 512
};
constexpr KnownLength short_complex_lengths[] = {
    whole_complex<4, 4, 4>,            // 16
    whole_complex<4, 2, 4, 4>,         // 32
    either_way_complex<4, 4, 4, 4>,    // 64
    either_way_complex<4, 2, 4, 4, 4>, // 128
};

} // namespace

constinit const ShortLengths short_real = in_order(short_real_lengths);
constinit const ShortLengths short_complex = in_order(short_complex_lengths);

const SimdPath neon_path = {
    powers(real_powers<4>),
    powers(complex_powers<4>),
    plan_real<4>,
    plan_complex<4>,
    {},
    columns<4>,
    rotate_real<4>,
    rotate_complex<4>,
    multiply_spectra_by<4>,
    divide_by<4>,
    fill_cos_sin_by<DoublePair>,
};

} // namespace zavo::fft

// The transforms for processors with AVX-512. Compiled with its flags; nothing in
// here runs before the processor has been asked.

#include "fft/wide/simd.hpp"

#include "fft/tables/twiddle_block.hpp"
#include "fft/wide/simd_engine.hpp"
#include "fft/wide/simd_registers.hpp"
#include "fft/wide/simd_spectrum.hpp"

namespace zavo::fft {

namespace {

// 128 is left to the short lengths that all paths share.
constexpr KnownLength complex_lengths[] = {
    complex_64,
    {},
    complex_powers<16>[0],
    complex_powers<16>[1],
    complex_powers<16>[2],
    complex_powers<16>[3],
    complex_powers<16>[4],
};

} // namespace

const SimdPath avx512_path = {
    powers(real_powers<16>),
    powers(complex_lengths),
    plan_real<16>,
    plan_complex<16>,
    {},
    columns<16>,
    rotate_real<16>,
    rotate_complex<16>,
    multiply_spectra_by<16>,
    divide_by<16>,
    fill_cos_sin_by<DoubleLanes<64>>,
};

} // namespace zavo::fft

// The transforms for 64-bit ARM processors.

#include "fft/wide/simd.hpp"

#include "fft/tables/twiddle_block.hpp"
#include "fft/wide/simd_engine.hpp"
#include "fft/wide/simd_spectrum.hpp"

namespace zavo::fft {

const SimdPath neon_path = {
    plan_real<4>,      plan_complex<4>,        columns<4>,   rotate_real<4>,
    rotate_complex<4>, multiply_spectra_by<4>, divide_by<4>, fill_cos_sin_by<DoublePair>,
};

} // namespace zavo::fft

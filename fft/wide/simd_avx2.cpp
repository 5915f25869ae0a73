// The transforms for processors with AVX2. Compiled with its flags; nothing in
// here runs before the processor has been asked.

#include "fft/wide/simd.hpp"

#include "fft/tables/twiddle_block.hpp"
#include "fft/wide/simd_engine.hpp"
#include "fft/wide/simd_spectrum.hpp"

namespace zavo::fft {

const SimdPath avx2_path = {
    powers(real_powers<8>),
    powers(complex_powers<8>),
    plan_real<8>,
    plan_complex<8>,
    real_passes<8>,
    columns<8>,
    rotate_real<8>,
    rotate_complex<8>,
    multiply_spectra_by<8>,
    divide_by<8>,
    fill_cos_sin_by<DoubleLanes<32>>,
};

} // namespace zavo::fft

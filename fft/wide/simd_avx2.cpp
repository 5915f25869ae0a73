// The transforms for processors with AVX2. Compiled with its flags; nothing in
// here runs before the processor has been asked.

#include "fft/wide/simd.hpp"

#include "fft/tables/twiddle_block.hpp"
#include "fft/wide/simd_engine.hpp"
#include "fft/wide/simd_spectrum.hpp"

namespace zavo::fft {

const SimdPath avx2_path = {
    try_real<8>, try_complex<8>,         try_known_real<8>, try_known_complex<8>,
    columns<8>,  multiply_spectra_by<8>, divide_by<8>,      fill_cos_sin_by<DoubleLanes<32>>,
};

} // namespace zavo::fft

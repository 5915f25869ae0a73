// The transforms for processors with AVX2. Compiled with its flags; nothing in
// here runs before the processor has been asked.

#include "fft/simd.hpp"

#include "fft/simd_engine.hpp"
#include "fft/simd_spectrum.hpp"
#include "fft/twiddle_block.hpp"

namespace zavo::fft {

const SimdPath avx2_path = {
    try_real<8>, try_complex<8>,         try_known_real<8>, try_known_complex<8>,
    columns<8>,  multiply_spectra_by<8>, divide_by<8>,      fill_cos_sin_by<DoubleLanes<32>>,
};

} // namespace zavo::fft

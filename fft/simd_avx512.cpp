// The transforms for processors with AVX-512. Compiled with its flags; nothing in
// here runs before the processor has been asked.

#include "fft/simd.hpp"

#include "fft/simd_engine.hpp"
#include "fft/simd_spectrum.hpp"
#include "fft/twiddle_block.hpp"

namespace zavo::fft {

const SimdPath avx512_path = {
    try_real<16>, try_complex<16>,         try_known_real<16>, try_known_complex<16>,
    columns<16>,  multiply_spectra_by<16>, divide_by<16>,      fill_cos_sin_by<DoubleLanes<64>>,
};

} // namespace zavo::fft

// The engine's table as far as the numerics without an interpreter use it.

#include "zavox/engine.hpp"

#include "core/kernels/elementary.hpp"
#include "core/simd/path.hpp"
#include "core/system/memory.hpp"
#include "fft/complex_fft.h"
#include "fft/real_fft.h"
#include "tests/support/long_work.hpp"

const zavo_engine& zavox::engine()
{
    static const zavo_engine table = [] {
        zavo_engine parts{};
        parts.f_fft_real_init = zavo_f_fft_real_init;
        parts.c_fft_complex_init = zavo_c_fft_complex_init;
        parts.allocate = zavo::core::allocate;
        parts.release = zavo::core::release;
        parts.sin = zavo::core::elementary::sin;
        parts.cos = zavo::core::elementary::cos;
        parts.fft_real_forward = l_f2trf;
        parts.fft_real_backward = l_f2trb;
        parts.fft_complex_forward = l_f2tcf;
        parts.fft_complex_backward = l_f2tcb;
        parts.path_in_use = [] { return static_cast<int>(zavo::simd::path_in_use()); };
        support::add_long_work(&parts);
        return parts;
    }();
    return table;
}

#include "random/kernels.hpp"

#include "core/simd/path.hpp"

namespace zavo::random {

const Kernels& kernels()
{
#if defined(ZAVO_X86_PATHS)
    switch (simd::path_in_use()) {
    case simd::Path::avx512:
        return avx512_kernels;
    case simd::Path::avx2:
        return avx2_kernels;
    case simd::Path::sse2:
        return sse2_kernels;
    default:
        break;
    }
#elif defined(ZAVO_ARM_PATHS)
    if (simd::path_in_use() == simd::Path::neon) {
        return neon_kernels;
    }
#endif
    return scalar_kernels;
}

} // namespace zavo::random

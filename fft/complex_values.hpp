// Complex values as the pairs of floats that they are.
#pragma once

#include "core/zavo.h"

namespace zavo::fft {

inline const float* floats(const f_complex* z)
{
    return reinterpret_cast<const float*>(z);
}
inline float* floats(f_complex* z)
{
    return reinterpret_cast<float*>(z);
}

} // namespace zavo::fft

// The scale-free measures of gradient and step that the stopping tests and the
// choice of differences share. A NaN in the input makes the measure NaN, which
// passes no test.
//   J. E. Dennis, R. B. Schnabel (1983), section 7.2.
#pragma once

#include <cassert>
#include <cmath>

namespace zavo::minimize {

// max(|x|, typical size), the typical size being 1/scale.
inline float magnitude(float x, float scale)
{
    const float size = std::fabs(x);
    const float typical = 1.0F / scale;
    return size > typical ? size : typical;
}

// The greater one, or NaN when either is.
inline float greater_or_nan(float running, float value)
{
    return value <= running ? running : (running != running ? running : value);
}

// max |g[i]| * max(|x[i]|, 1/scale[i]) / max(|f|, fscale)
inline float relative_gradient(int n, const float* x, float f, const float* g, const float* xscale,
                               float fscale)
{
    assert(n >= 1 && x != nullptr && g != nullptr && xscale != nullptr);
    const float size = greater_or_nan(fscale, std::fabs(f));
    float greatest = 0.0F;
    for (int i = 0; i < n; ++i) {
        greatest = greater_or_nan(greatest, std::fabs(g[i]) * magnitude(x[i], xscale[i]) / size);
    }
    return greatest;
}

// max |step[i]| / max(|x[i]|, 1/scale[i])
inline float relative_step(int n, const float* x, const float* step, const float* xscale)
{
    assert(n >= 1 && x != nullptr && step != nullptr && xscale != nullptr);
    float greatest = 0.0F;
    for (int i = 0; i < n; ++i) {
        greatest = greater_or_nan(greatest, std::fabs(step[i]) / magnitude(x[i], xscale[i]));
    }
    return greatest;
}

} // namespace zavo::minimize

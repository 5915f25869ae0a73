#include "fft/transforms.hpp"

#include "fft/complex_passes.hpp"
#include "fft/factors.hpp"
#include "fft/real_passes.hpp"

namespace zavo::fft {

namespace {

Path path_limit = Path::avx512;

} // namespace

Path best_path()
{
    return Path::scalar;
}

Path path_in_use()
{
    return path_limit < best_path() ? path_limit : best_path();
}

void limit_path(Path most)
{
    path_limit = most;
}

void transform_real(Direction d, Index n, const float* p, float* q, float* params)
{
    if (n == 1) {
        *q = *p;
        return;
    }
    float* const scratch = params;
    const float* const twiddles = params + n;
    const Factors factors = read_real_record(n, params + 2 * n);
    if (d == Direction::forward) {
        run_real<Direction::forward, ScalarLanes>(factors, 0, p, q, scratch, twiddles);
    } else {
        run_real<Direction::backward, ScalarLanes>(factors, 0, p, q, scratch, twiddles);
    }
}

void transform_complex(Direction d, Index n, const float* p, float* q, float* params)
{
    if (n == 1) {
        const float re = p[0], im = p[1];
        q[0] = re;
        q[1] = im;
        return;
    }
    float* const scratch = params;
    const float* const twiddles = params + 2 * n;
    const Factors factors = read_complex_record(n, params + 4 * n);
    if (d == Direction::forward) {
        run_complex<Direction::forward, ScalarLanes>(factors, 0, p, q, scratch, twiddles);
    } else {
        run_complex<Direction::backward, ScalarLanes>(factors, 0, p, q, scratch, twiddles);
    }
}

} // namespace zavo::fft

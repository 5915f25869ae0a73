#include "fft/transforms.hpp"

#include "core/system/memory.hpp"
#include "fft/passes/complex_passes.hpp"
#include "fft/passes/real_passes.hpp"
#include "fft/tables/factors.hpp"
#include "fft/tables/twiddle.hpp"
#include "fft/tables/twiddle_block.hpp"
#include "fft/wide/simd.hpp"

#include <atomic>

namespace zavo::fft {

namespace {

Path path_limit = Path::avx512;

Path find_best_path()
{
#if defined(__x86_64__) || defined(__i386__)
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
        __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl")) {
        return Path::avx512;
    }
    if (__builtin_cpu_supports("avx2")) {
        return Path::avx2;
    }
#endif
    return Path::scalar;
}

// The path in use; null for the scalar one.
const SimdPath* simd_path()
{
#if defined(__x86_64__) || defined(__i386__)
    switch (path_in_use()) {
    case Path::avx512:
        return &avx512_path;
    case Path::avx2:
        return &avx2_path;
    default:
        break;
    }
#endif
    return nullptr;
}

} // namespace

Path best_path()
{
    static constinit std::atomic<int> best{-1}; // threads that look at once find the same
    int found = best.load(std::memory_order_relaxed);
    if (found < 0) {
        found = static_cast<int>(find_best_path());
        best.store(found, std::memory_order_relaxed);
    }
    return static_cast<Path>(found);
}

Path path_in_use()
{
    const Path best = best_path();
    return path_limit < best ? path_limit : best;
}

void limit_path(Path most)
{
    path_limit = most;
}

void fill_cos_sin(float step, int first, int count, float* pairs)
{
    const SimdPath* const simd = simd_path();
    if (simd != nullptr) {
        simd->fill_cos_sin(step, first, count, pairs);
    } else {
        fill_cos_sin_by<DoublePair>(step, first, count, pairs);
    }
}

void transform_real(Direction d, Index n, const float* p, float* q, float* params)
{
    if (n == 1) {
        *q = *p;
        return;
    }
    float* const scratch = params;
    const float* const twiddles = params + n;
    const float* const record = params + 2 * n;
    const SimdPath* const simd = simd_path();
    if (simd != nullptr && simd->known_real(d, n, record, p, q, scratch, twiddles)) {
        return;
    }
    const Factors factors = read_real_record(n, record);
    if (simd != nullptr && simd->real(d, factors, p, q, scratch, twiddles)) {
        return;
    }
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
    const float* const record = params + 4 * n;
    const SimdPath* const simd = simd_path();
    if (simd != nullptr && simd->known_complex(d, n, record, p, q, scratch, twiddles)) {
        return;
    }
    const Factors factors = read_complex_record(n, record);
    if (simd != nullptr && simd->complex(d, factors, p, q, scratch, twiddles)) {
        return;
    }
    if (d == Direction::forward) {
        run_complex<Direction::forward, ScalarLanes>(factors, 0, p, q, scratch, twiddles);
    } else {
        run_complex<Direction::backward, ScalarLanes>(factors, 0, p, q, scratch, twiddles);
    }
}

// Many columns at a time where the processor has wide registers and there is
// memory for it, else one by one.
void transform_columns(Direction d, Index n, Index m, const float* p, Index ldp, float* q, Index ldq,
                       float* params, float* work)
{
    const SimdPath* const simd = simd_path();
    float* const block = simd != nullptr && n > 1 ? core::take_work<float>(column_work(m)) : nullptr;
    if (block != nullptr) {
        simd->columns(d, read_complex_record(m, params + 4 * m), n, p, ldp, q, ldq, block, params + 2 * m);
        core::give_back_work(block);
        return;
    }
    for (Index c = 0; c < n; ++c) {
        for (Index r = 0; r < m; ++r) {
            work[2 * r] = p[2 * (r * ldp + c)];
            work[2 * r + 1] = p[2 * (r * ldp + c) + 1];
        }
        transform_complex(d, m, work, work, params);
        for (Index r = 0; r < m; ++r) {
            q[2 * (r * ldq + c)] = work[2 * r];
            q[2 * (r * ldq + c) + 1] = work[2 * r + 1];
        }
    }
}

void multiply_spectra(Product kind, Index n, const float* x, const float* y, float* z)
{
    const SimdPath* const simd = simd_path();
    if (simd != nullptr) {
        simd->multiply_spectra(kind, n, x, y, z);
    } else {
        multiply_spectra_scalar(kind, n, x, y, z);
    }
}

void divide(Index n, float* values, float divisor)
{
    const SimdPath* const simd = simd_path();
    if (simd != nullptr) {
        simd->divide(n, values, divisor);
        return;
    }
    for (Index i = 0; i < n; ++i) {
        values[i] /= divisor;
    }
}

} // namespace zavo::fft

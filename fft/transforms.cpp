#include "fft/transforms.hpp"

#include "core/simd/path.hpp"
#include "core/system/memory.hpp"
#include "core/thread_state.hpp"
#include "fft/passes/complex_passes.hpp"
#include "fft/passes/real_passes.hpp"
#include "fft/tables/factors.hpp"
#include "fft/tables/twiddle.hpp"
#include "fft/tables/twiddle_block.hpp"
#include "fft/wide/simd.hpp"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <new>

namespace zavo::fft {

using simd::Path;

namespace {

// The path in use; null for one without transforms of its own.
const SimdPath* simd_path()
{
#if defined(ZAVO_X86_PATHS)
    const Path path = simd::path_in_use();
    return path >= Path::avx512 ? &avx512_path : path >= Path::avx2 ? &avx2_path : nullptr;
#elif defined(ZAVO_ARM_PATHS)
    return simd::path_in_use() >= Path::neon ? &neon_path : nullptr;
#else
    return nullptr;
#endif
}

} // namespace

#if !defined(ZAVO_X86_PATHS)
constinit const ShortLengths short_real{};
constinit const ShortLengths short_complex{};
#endif

void fill_cos_sin(float step, int first, int count, float* pairs)
{
    const SimdPath* const wide = simd_path();
    const auto fill = wide != nullptr ? wide->fill_cos_sin : fill_cos_sin_by<DoublePair>;
    constexpr int at_once = 1 << 20;
    for (; count > at_once && !core::interrupted(4 * at_once); count -= at_once) {
        fill(step, first, at_once, pairs);
        first += at_once;
        pairs += 2 * at_once;
    }
    if (count <= at_once) {
        fill(step, first, count, pairs);
    }
}

// ---- plans ---------------------------------------------------------------------------

namespace {

// What a plan was found for: the bits of a table's factor record among it.
struct PlanKey {
    Index n = 0; // 0: nothing yet
    Path path = Path::scalar;
    std::uint32_t record[record_floats] = {};

    bool is_for(Index length, Path in_use, const float* factor_record) const
    {
        std::uint32_t bits[record_floats];
        std::memcpy(bits, factor_record, sizeof bits);
        std::uint32_t differing = 0;
        for (int i = 0; i < record_floats; ++i) {
            differing |= bits[i] ^ record[i];
        }
        return length == n && in_use == path && differing == 0;
    }
    void set(Index length, Path in_use, const float* factor_record)
    {
        n = length;
        path = in_use;
        std::memcpy(record, factor_record, sizeof record);
    }
};

// The latest plans of a kind, since finding the plan takes a short transform longer than
// its butterflies. Bytes of zero are one that holds none.
template <class PlanOfKind, int count>
struct LatestPlans {
    PlanKey key[count];
    PlanOfKind plan[count];
    int latest = 0;

    // find(plan) is called for a length that is not among them.
    template <class Find>
    const PlanOfKind& of(Index n, const float* record, const Find& find)
    {
        const Path path = simd::path_in_use();
        if (key[latest].is_for(n, path, record)) {
            return plan[latest];
        }
        for (int i = 0; i < count; ++i) {
            if (key[i].is_for(n, path, record)) {
                latest = i;
                return plan[i];
            }
        }
        const int place = latest = (latest + 1) % count;
        key[place].n = 0; // until the plan stands
        find(plan[place]);
        key[place].set(n, path, record);
        return plan[place];
    }
};

// They stand in the thread's state, so that a transform asks for no memory.
struct PlansOfThread {
    LatestPlans<RealPlan, 2> real;
    LatestPlans<ComplexPlan, 3> complex; // two are those of an array
};

PlansOfThread& latest_plans()
{
    core::PlanState& state = core::thread_state().plans;
    static_assert(sizeof(PlansOfThread) <= sizeof state.bytes);
    static_assert(alignof(PlansOfThread) <= alignof(core::PlanState));
    return *std::launder(reinterpret_cast<PlansOfThread*>(state.bytes));
}

// One value at a time but for the sums of the general passes, which the path in use
// takes.
struct RotatingLanes : ScalarLanes {
    static bool rotate_real_sums(Index slab, Index ip, CosSin w, const float* x, float* y)
    {
        return simd_path()->rotate_real(slab, ip, w, x, y);
    }
    template <Direction d>
    static bool rotate_complex_sums(Index slab, Index ip, const float* x, float* y, const float* wa,
                                    Index step)
    {
        return simd_path()->rotate_complex(d, slab, ip, x, y, wa, step);
    }
};

template <Direction d, class Lanes>
void run_scalar_real(const Plan& plan, const float* p, float* q, float* scratch, float*,
                     const float* twiddles)
{
    run_real<d, Lanes>(plan.factors, 0, p, q, scratch, twiddles);
}
template <Direction d, class Lanes>
void run_scalar_complex(const Plan& plan, const float* p, float* q, float* scratch, float*,
                        const float* twiddles)
{
    run_complex<d, Lanes>(plan.factors, 0, p, q, scratch, twiddles);
}

// Whether a factor has a pass of its own; large factors stand last.
bool has_butterfly(Index ip)
{
    return ip <= 5;
}

template <class Lanes>
void set_scalar_runs(RealPlan& plan)
{
    plan.way = Way::scalar;
    plan.needs_work = false;
    plan.run[static_cast<int>(Direction::forward)] = run_scalar_real<Direction::forward, Lanes>;
    plan.run[static_cast<int>(Direction::backward)] = run_scalar_real<Direction::backward, Lanes>;
}
template <class Lanes>
void set_scalar_runs(ComplexPlan& plan)
{
    plan.way = Way::scalar;
    plan.needs_work = false;
    plan.run[static_cast<int>(Direction::forward)] = run_scalar_complex<Direction::forward, Lanes>;
    plan.run[static_cast<int>(Direction::backward)] = run_scalar_complex<Direction::backward, Lanes>;
}

// Completes a plan for plan.factors; find(path, plan) does what the path in use can.
template <class PlanOfKind, class Find>
void complete(PlanOfKind& plan, const Find& find)
{
    const SimdPath* const wide = simd_path();
    if (wide != nullptr && find(*wide, plan)) {
        return;
    }
    if (wide != nullptr && !has_butterfly(plan.factors.ip[plan.factors.count - 1])) {
        set_scalar_runs<RotatingLanes>(plan);
    } else {
        set_scalar_runs<ScalarLanes>(plan);
    }
}

const RealPlan& real_plan(Index n, const float* record)
{
    return latest_plans().real.of(n, record, [&](RealPlan& plan) {
        plan.factors = read_real_record(n, record);
        complete(plan, [](const SimdPath& wide, RealPlan& found) { return wide.plan_real(found); });
    });
}

const ComplexPlan& complex_plan(Index n, const float* record)
{
    return latest_plans().complex.of(n, record, [&](ComplexPlan& plan) {
        plan.factors = read_complex_record(n, record);
        complete(plan, [](const SimdPath& wide, ComplexPlan& found) { return wide.plan_complex(found); });
    });
}

// The straight code for a length and its record; null when there is none.
const ShortLength* short_length(const ShortLengths& lengths, Index n, const float* record)
{
    const ShortLength* const found = lengths.of(n, record);
    return found != nullptr && simd::path_in_use() >= Path::avx2 ? found : nullptr;
}

// Copies p to q where the arrays overlap in part; the input then.
const float* apart_or_same(Index floats, const float* p, float* q)
{
    const auto distance = reinterpret_cast<std::uintptr_t>(p) - reinterpret_cast<std::uintptr_t>(q);
    const std::uintptr_t bytes = static_cast<std::uintptr_t>(floats) * sizeof(float);
    if (distance != 0 && (distance < bytes || 0 - distance < bytes)) {
        std::memmove(q, p, bytes);
        return q;
    }
    return p;
}

} // namespace

// ---- transforms ------------------------------------------------------------------------

void transform_real(Direction d, Index n, const float* p, float* q, float* params)
{
    assert(n >= 1);
    if (n == 1) {
        *q = *p;
        return;
    }
    if (const ShortLength* const known = short_length(short_real, n, params + 2 * n)) {
        known->run[static_cast<int>(d)](apart_or_same(n, p, q), q, params);
        return;
    }
    const RealPlan& plan = real_plan(n, params + 2 * n);
    plan.run[static_cast<int>(d)](plan, apart_or_same(n, p, q), q, params, nullptr, params + n);
}

void transform_complex(Direction d, Index n, const float* p, float* q, float* params, float* work)
{
    assert(n >= 1);
    if (n == 1) {
        const float re = p[0], im = p[1];
        q[0] = re;
        q[1] = im;
        return;
    }
    if (const ShortLength* const known = short_length(short_complex, n, params + 4 * n)) {
        known->run[static_cast<int>(d)](apart_or_same(2 * n, p, q), q, params);
        return;
    }
    const ComplexPlan& plan = complex_plan(n, params + 4 * n);
    const bool runs = work != nullptr || !plan.needs_work;
    const Run scalar = d == Direction::forward ? run_scalar_complex<Direction::forward, ScalarLanes>
                                               : run_scalar_complex<Direction::backward, ScalarLanes>;
    const Run run = runs ? plan.run[static_cast<int>(d)] : scalar;
    run(plan, apart_or_same(2 * n, p, q), q, params, work, params + 2 * n);
}

Way way_of_real(Index n, const float* params)
{
    if (n == 1) {
        return Way::scalar;
    }
    const float* const record = params + 2 * n;
    return short_length(short_real, n, record) != nullptr ? Way::known : real_plan(n, record).way;
}

Way way_of_complex(Index n, const float* params)
{
    if (n == 1) {
        return Way::scalar;
    }
    const float* const record = params + 4 * n;
    return short_length(short_complex, n, record) != nullptr ? Way::known : complex_plan(n, record).way;
}

// Many columns at a time where the processor has wide registers and there is
// memory for it, else one by one.
void transform_columns(Direction d, Index n, Index m, const float* p, Index ldp, float* q, Index ldq,
                       float* params, float* work)
{
    const SimdPath* const wide = simd_path();
    float* const block = wide != nullptr && n > 1 ? core::take_work<float>(column_work(m)) : nullptr;
    if (block != nullptr) {
        constexpr Index at_once = 64; // several of the widest registers
        const Factors factors = read_complex_record(m, params + 4 * m);
        for (Index c = 0; c < n && !core::interrupted(at_once * m); c += at_once) {
            wide->columns(d, factors, std::min(at_once, n - c), p + 2 * c, ldp, q + 2 * c, ldq, block,
                          params + 2 * m);
        }
        core::give_back_work(block);
        return;
    }
    for (Index c = 0; c < n && !core::interrupted(8 * m); ++c) {
        for (Index r = 0; r < m; ++r) {
            work[2 * r] = p[2 * (r * ldp + c)];
            work[2 * r + 1] = p[2 * (r * ldp + c) + 1];
        }
        transform_complex(d, m, work, work, params, nullptr);
        for (Index r = 0; r < m; ++r) {
            q[2 * (r * ldq + c)] = work[2 * r];
            q[2 * (r * ldq + c) + 1] = work[2 * r + 1];
        }
    }
}

void multiply_spectra(Product kind, Index n, const float* x, const float* y, float* z)
{
    const SimdPath* const wide = simd_path();
    if (wide != nullptr) {
        wide->multiply_spectra(kind, n, x, y, z);
    } else {
        multiply_spectra_scalar(kind, n, x, y, z);
    }
}

void divide(Index n, float* values, float divisor)
{
    const SimdPath* const wide = simd_path();
    if (wide != nullptr) {
        wide->divide(n, values, divisor);
        return;
    }
    for (Index i = 0; i < n; ++i) {
        values[i] /= divisor;
    }
}

} // namespace zavo::fft

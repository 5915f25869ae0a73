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

#if !defined(ZAVO_X86_PATHS) && !defined(ZAVO_ARM_PATHS)
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

// Whether the path in use takes the sums of a general pass faster than they go one value
// at a time: slabs of at least four floats, or large radices. Large factors stand last.
// Measured: ./zavo bench fft, "wide beside scalar".
bool rotations_pay(const Factors& factors, int parts)
{
    constexpr Index large_radix = 17;
    const Index ip = factors.ip[factors.count - 1];
    return ip > 5 && (ip >= large_radix || parts * factors.n >= 4 * ip);
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

// Completes a plan for plan.factors and values of `parts` floats; find(path, plan) does
// what the path in use can.
template <class PlanOfKind, class Find>
void complete(PlanOfKind& plan, int parts, const Find& find)
{
    const SimdPath* const wide = simd_path();
    if (wide != nullptr && find(*wide, plan)) {
        return;
    }
    if (wide != nullptr && rotations_pay(plan.factors, parts)) {
        set_scalar_runs<RotatingLanes>(plan);
    } else {
        set_scalar_runs<ScalarLanes>(plan);
    }
}

const RealPlan& real_plan(Index n, const float* record)
{
    return latest_plans().real.of(n, record, [&](RealPlan& plan) {
        plan.factors = read_real_record(n, record);
        complete(plan, 1, [](const SimdPath& wide, RealPlan& found) { return wide.plan_real(found); });
    });
}

const ComplexPlan& complex_plan(Index n, const float* record)
{
    return latest_plans().complex.of(n, record, [&](ComplexPlan& plan) {
        plan.factors = read_complex_record(n, record);
        complete(plan, 2, [](const SimdPath& wide, ComplexPlan& found) { return wide.plan_complex(found); });
    });
}

// The straight-line code for a length and its record; null when there is none.
ZAVO_INLINE const KnownLength* known_length(const ShortLengths& shorts, const KnownPowers SimdPath::*powers,
                                            Index n, const float* record)
{
    const SimdPath* const wide = simd_path();
    if (wide == nullptr) {
        return nullptr;
    }
    const KnownLength* found = (wide->*powers).find(n);
    if (found != nullptr && found->is_for(record)) {
        return found;
    }
    found = shorts.find(n);
    return found != nullptr && found->is_for(record) ? found : nullptr;
}
ZAVO_INLINE const KnownLength* known_real(Index n, const float* params)
{
    return known_length(short_real, &SimdPath::known_real, n, params + 2 * n);
}
ZAVO_INLINE const KnownLength* known_complex(Index n, const float* params)
{
    return known_length(short_complex, &SimdPath::known_complex, n, params + 4 * n);
}

// Whether p and q overlap and are not the same array.
ZAVO_INLINE bool overlap_in_part(Index floats, const float* p, const float* q)
{
    const auto distance = reinterpret_cast<std::uintptr_t>(p) - reinterpret_cast<std::uintptr_t>(q);
    const std::uintptr_t bytes = static_cast<std::uintptr_t>(floats) * sizeof(float);
    return distance != 0 && (distance < bytes || 0 - distance < bytes);
}

// Brings arrays together that overlap in part.
void move_over(Index floats, const float* p, float* q)
{
    std::memmove(q, p, static_cast<std::size_t>(floats) * sizeof(float));
}

// What is neither known nor apart; aside, since known lengths are done before the
// registers of a longer function would be saved.
__attribute__((noinline)) void transform_other_real(Direction d, Index n, const float* p, float* q,
                                                    float* params)
{
    if (overlap_in_part(n, p, q)) {
        move_over(n, p, q);
        transform_real(d, n, q, q, params);
        return;
    }
    const RealPlan& plan = real_plan(n, params + 2 * n);
    plan.run[static_cast<int>(d)](plan, p, q, params, nullptr, params + n);
}

__attribute__((noinline)) void transform_other_complex(Direction d, Index n, const float* p, float* q,
                                                       float* params, float* work)
{
    if (overlap_in_part(2 * n, p, q)) {
        move_over(2 * n, p, q);
        transform_complex(d, n, q, q, params, work);
        return;
    }
    const ComplexPlan& plan = complex_plan(n, params + 4 * n);
    const bool runs = work != nullptr || !plan.needs_work;
    const Run scalar = d == Direction::forward ? run_scalar_complex<Direction::forward, ScalarLanes>
                                               : run_scalar_complex<Direction::backward, ScalarLanes>;
    const Run run = runs ? plan.run[static_cast<int>(d)] : scalar;
    run(plan, p, q, params, work, params + 2 * n);
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
    const KnownLength* const known = known_real(n, params);
    if (known != nullptr && !overlap_in_part(n, p, q)) {
        known->run[static_cast<int>(d)](p, q, params);
        return;
    }
    transform_other_real(d, n, p, q, params);
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
    const KnownLength* const known = known_complex(n, params);
    if (known != nullptr && !overlap_in_part(2 * n, p, q)) {
        known->run[static_cast<int>(d)](p, q, params);
        return;
    }
    transform_other_complex(d, n, p, q, params, work);
}

Way way_of_real(Index n, const float* params)
{
    if (n == 1) {
        return Way::scalar;
    }
    return known_real(n, params) != nullptr ? Way::known : real_plan(n, params + 2 * n).way;
}

Way way_of_complex(Index n, const float* params)
{
    if (n == 1) {
        return Way::scalar;
    }
    return known_complex(n, params) != nullptr ? Way::known : complex_plan(n, params + 4 * n).way;
}

void transform_rows(Direction d, Index n, Index m, const float* p, Index ldp, float* q, Index ldq,
                    float* params, float* work)
{
    const KnownLength* const known = known_complex(n, params);
    for (Index r = 0; r < m && !core::interrupted(4 * n); ++r, p += 2 * ldp, q += 2 * ldq) {
        if (known != nullptr) {
            known->run[static_cast<int>(d)](p, q, params);
        } else {
            transform_other_complex(d, n, p, q, params, work);
        }
    }
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

// Feasible points, search directions and curvature at a tolerance.
//
// Both searches below are quadratic programs in the metric of Z and are solved by
// the same dual steps (ActiveSet::bring_in), which start from an active set with
// multipliers of the right sign and add the worst violated constraint each time:
//
//   feasible point    least |s| with a.(x + s) <= b for all listed constraints;
//                     all multipliers are 0 at first
//   direction         least g.d + |d|^2 / 2 with a.d <= 0 for all near
//                     constraints; active ones whose multipliers have the wrong
//                     sign are dropped first
//
// |s| is the length of Z^-1 s. The value of the dual problem rises with every
// constraint that comes in, so the same active set cannot come back, but for
// rounding errors; a count of rounds ends those cases.
#include "minimize/constrained/tolerant_set.hpp"

#include "core/kernels/machine.hpp"
#include "core/kernels/vector_kernels.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <limits>

namespace zavo::minimize {
namespace {

constexpr float largest = std::numeric_limits<float>::max();

// How often a feasible point is looked for anew, each time from closer by.
constexpr int afresh_attempts = 3;

// Residuals below this part of a constraint's size are rounding errors.
constexpr float rounding = 4.0F * std::numeric_limits<float>::epsilon();

// The spacing of floats at 100, found by halving: how accurately data of
// everyday size are given.
float accuracy_of_data()
{
    float accuracy = 1.0F;
    for (;;) {
        const volatile float half = 100.0F + 0.5F * accuracy;
        const volatile float whole = 100.0F + accuracy;
        if (half == 100.0F || !(half < whole)) {
            return accuracy;
        }
        accuracy *= 0.5F;
    }
}

} // namespace

TolerantSet::TolerantSet(const Constraints& constraints, float* work, int* list, float* multipliers)
    : c_(constraints),
      set_(constraints, work, list, work + static_cast<std::size_t>(constraints.n) * constraints.n,
           work + static_cast<std::size_t>(constraints.n) * (constraints.n + 1),
           work + static_cast<std::size_t>(constraints.n) * (constraints.n + 2)),
      u_(multipliers)
{
    const auto n = static_cast<std::size_t>(constraints.n);
    v_ = work + n * n; // shared with set_, which uses it inside its calls only
    peak_ = work + n * (n + 3);
    rest_ = peak_ + n;
    shift_ = rest_ + n;
    residuals_ = shift_ + n;
    next_vector_ = residuals_ + constraints.ncon;
    assert(next_vector_ + 5 * n == work + n * (n + 11) + static_cast<std::size_t>(constraints.ncon));
}

// Three for the set, three in front of the residuals, the last five are handed out.
float* TolerantSet::take_vector()
{
    assert(next_vector_ < residuals_ + c_.ncon + 5 * c_.n);
    float* const vector = next_vector_;
    next_vector_ += c_.n;
    return vector;
}

// ---- Start ----------------------------------------------------------------------

void TolerantSet::start(float* x)
{
    accuracy_ = accuracy_of_data();
    tolerance_ = std::max(0.01F, 10.0F * accuracy_);
    set_.start();
    start_size_ = 0.0F;
    for (int i = 0; i < c_.n; ++i) {
        u_[i] = i < set_.count() ? 1.0F : 0.0F;
        x[i] = c_.fixes(i) ? c_.bound(c_.upper(i)) : x[i];
        start_size_ = std::max(start_size_, std::fabs(x[i]));
    }
    reset_magnitudes(x);
}

// Equalities that follow from those kept are left out: they hold wherever the
// others do.
bool TolerantSet::keep_equalities(int neq, float* x)
{
    for (int k = 1; k <= neq; ++k) {
        if (!set_.keep_equality(k, x) && !holds(k, x)) {
            return keep_by_free_part(neq, x);
        }
    }
    return true;
}

// An equality that was not kept: does it follow from those kept?
bool TolerantSet::holds(int k, const float* x) const
{
    return std::fabs(c_.exact_residual(k, x)) <= allowed_residual(k, x);
}

// A contradiction may be the rounding errors of an order that keeps nearly
// dependent equalities: once more, always with the one next whose normal has the
// greatest part outside those kept. One that is kept has no part any more, so that
// the last has none.
bool TolerantSet::keep_by_free_part(int neq, float* x)
{
    set_.start();
    for (;;) {
        int best = 0;
        float greatest = 0.0F;
        for (int k = 1; k <= neq; ++k) {
            const float part = set_.has_kept(k) ? 0.0F : set_.free_part(k);
            if (part > greatest) {
                greatest = part;
                best = k;
            }
        }
        if (best == 0 || !set_.keep_equality(best, x)) {
            break;
        }
    }
    refine_exactly(x);
    for (int k = 1; k <= neq; ++k) {
        if (!holds(k, x)) {
            return false;
        }
    }
    return true;
}

void TolerantSet::note_magnitudes(const float* x)
{
    for (int j = 0; j < c_.n; ++j) {
        peak_[j] = std::max(peak_[j], std::fabs(x[j]));
    }
}

void TolerantSet::reset_magnitudes(const float* x)
{
    for (int j = 0; j < c_.n; ++j) {
        peak_[j] = std::fabs(x[j]);
    }
}

// ---- Residuals ------------------------------------------------------------------

void TolerantSet::refresh_residuals(const float* x)
{
    for (int k = 1; k <= c_.ncon; ++k) {
        residuals_[k - 1] = c_.residual(k, x);
    }
}

float TolerantSet::residual(int k, const float* x) const
{
    return c_.is_bound(k) ? c_.residual(k, x) : residuals_[k - 1];
}

// The size of constraint k at x, with a little of the size of all x in it: the
// rounding errors of one variable are those of all that it was solved from. Where
// everything is 0, those of the way there are left.
float TolerantSet::size_now(int k, const float* x) const
{
    float greatest = 0.0F;
    for (int j = 0; j < c_.n; ++j) {
        greatest = std::max(greatest, std::fabs(x[j]));
    }
    return c_.size(k, x) + c_.normal_length(k) * (0.01F * greatest + 1e-5F * start_size_);
}

// What may be left of a residual at a point that is accepted: the accuracy of the
// data, or one rounding of the variables that it was solved from when that is more.
float TolerantSet::allowed_residual(int k, const float* x) const
{
    float greatest = 0.0F;
    for (int j = 0; j < c_.n; ++j) {
        greatest = std::max(greatest, std::fabs(x[j]));
    }
    return std::max(accuracy_ * size_now(k, x), core::machine::epsilon() * c_.normal_length(k) * greatest);
}

// An infinite bound is never near.
bool TolerantSet::near(int k, const float* x) const
{
    const float left = residual(k, x);
    return left <= largest && left <= tolerance_ * c_.size(k, peak_);
}

// Does d run towards constraint k, more than rounding errors could make it?
bool TolerantSet::crosses(int k, const float* d, float d_length, float* along) const
{
    *along = c_.along(k, d);
    return *along > rounding * c_.absolute_along(k, d) &&
           *along > parallel_part * d_length * c_.normal_length(k);
}

// ---- Feasibility ----------------------------------------------------------------

// Rounding errors in x are taken out where an active bound says what x is.
void TolerantSet::set_active_bounds(float* x)
{
    for (int i = 0; i < set_.count(); ++i) {
        if (const int k = set_.constraint(i); c_.is_bound(k)) {
            x[c_.variable(k)] = c_.bound(k);
        }
    }
}

// Are the active residuals at x rounding errors? Moving x for those would cost
// an evaluation and gain nothing.
bool TolerantSet::active_settled(const float* x)
{
    refresh_residuals(x);
    for (int i = 0; i < set_.count(); ++i) {
        const int k = set_.constraint(i);
        if (std::fabs(residual(k, x)) > rounding * size_now(k, x)) {
            return false;
        }
    }
    return true;
}

// Takes the residuals of the active constraints to 0 as far as the others
// allow; active ones that are not near afterwards become inactive.
void TolerantSet::settle_active(float* x, bool* moved)
{
    if (active_settled(x)) {
        return;
    }
    set_.shift_to_boundaries(x, shift_);
    float part = 1.0F;
    const float length = l_vnrm2(c_.n, shift_, 1);
    for (int place = set_.count(); place < set_.listed(); ++place) {
        const int k = set_.constraint(place);
        float along = 0.0F;
        if (crosses(k, shift_, length, &along)) {
            part = std::min(part, std::max(residual(k, x), 0.0F) / along);
        }
    }
    for (int j = 0; j < c_.n; ++j) {
        const float to = c_.within(j, x[j] + part * shift_[j]);
        *moved = *moved || to != x[j];
        x[j] = to;
    }
    refresh_residuals(x);
    for (int place = set_.count() - 1; place >= set_.kept(); --place) {
        if (!near(set_.constraint(place), x)) {
            set_.remove(place);
        }
    }
}

// Place of the listed inactive constraint with the greatest violation, relative
// to its size, below `limit`; -1 when there is none.
int TolerantSet::most_violated(const float* x, float limit, float* measure)
{
    refresh_residuals(x);
    int found = -1;
    *measure = 0.0F;
    for (int place = set_.count(); place < set_.listed(); ++place) {
        const int k = set_.constraint(place);
        const float left = residual(k, x);
        if (!(left < 0.0F)) {
            continue;
        }
        const float relative = -left / size_now(k, x);
        if (relative > rounding && relative > *measure && relative < limit) {
            *measure = relative;
            found = place;
        }
    }
    return found;
}

// Looser than what most_violated() works on: the best that can be had in float
// may miss by a few rounding errors of the data.
bool TolerantSet::all_satisfied(const float* x)
{
    refresh_residuals(x);
    for (int place = 0; place < set_.listed(); ++place) {
        const int k = set_.constraint(place);
        const float left = residual(k, x);
        const float allowed = allowed_residual(k, x);
        if (left < -allowed || (place < set_.kept() && left > allowed)) {
            return false;
        }
    }
    return true;
}

// Makes violated constraints active until none is left that can be. One whose dual
// step fails is passed over, for those less violated; all_satisfied() tells whether
// it mattered. The dual method ends by itself; the count guards against
// rounding errors that make it go round in circles.
void TolerantSet::bring_violated_in(float* x, bool* moved)
{
    float limit = largest;
    for (long round = 10L * (c_.n + set_.listed()); round > 0; --round) {
        float measure = 0.0F;
        const int place = most_violated(x, limit, &measure);
        if (place < 0) {
            return;
        }
        const float violation = -residual(set_.constraint(place), x);
        limit = set_.bring_in(place, violation, u_, x) ? largest : measure;
        *moved = true;
    }
}

// Takes out what rounding errors have left of the active residuals; long steps,
// as between nearly parallel constraints, leave more than one pass takes out.
void TolerantSet::refine_active(float* x)
{
    for (int pass = 0; pass < 3 && !active_settled(x); ++pass) {
        set_.shift_to_boundaries(x, shift_);
        for (int j = 0; j < c_.n; ++j) {
            x[j] += shift_[j];
        }
        set_active_bounds(x);
    }
}

// The bounds have the last word, by little: their residuals are exact, those of
// the rows have rounding errors of their own. When that costs an active row too
// much the next pass puts it right, and brings the bounds in that then are in
// the way.
bool TolerantSet::find_feasible(float* x, bool* moved, float* spare)
{
    settle_active(x, moved);
    std::fill_n(u_, c_.n, 0.0F);
    for (int pass = 0; pass < 4; ++pass) {
        if (pass > 0) {
            refine_active(x);
        }
        bring_violated_in(x, moved);
        if (*moved) {
            set_active_bounds(x);
            refine_active(x);
        }
        for (int j = 0; j < c_.n; ++j) {
            x[j] = c_.within(j, x[j]);
        }
        if (all_satisfied(x)) {
            return true;
        }
    }
    return find_feasible_afresh(x, moved, spare);
}

// Long steps between nearly parallel constraints may have left x close to a
// feasible point and the active set such that float arithmetic cannot get closer.
// From where x is now the steps are short, and other constraints become active. In
// vain, x and the active list stay.
bool TolerantSet::find_feasible_afresh(float* x, bool* moved, float* spare)
{
    float* const before = rest_; // free as long as there is no gradient
    l_vcopy(c_.n, x, 1, before, 1);
    const int active_before = set_.count();
    set_.save_active(spare);
    for (int attempt = 0; attempt < afresh_attempts; ++attempt) {
        set_.start_over(z_length_ < 0.0F);
        std::fill_n(u_, c_.n, 0.0F);
        refine_exactly(x);
        for (int pass = 0; pass < 3; ++pass) {
            bring_violated_in(x, moved);
            *moved = true;
            set_active_bounds(x);
            refine_exactly(x);
            for (int j = 0; j < c_.n; ++j) {
                x[j] = c_.within(j, x[j]);
            }
            if (all_satisfied(x)) {
                return true;
            }
        }
    }
    l_vcopy(c_.n, before, 1, x, 1);
    set_.restore_active(active_before, spare);
    return false;
}

// With residuals that have no rounding errors of their own.
void TolerantSet::refine_exactly(float* x)
{
    for (int pass = 0; pass < 2; ++pass) {
        set_.shift_to_boundaries(x, shift_, true);
        for (int j = 0; j < c_.n; ++j) {
            x[j] += shift_[j];
        }
        set_active_bounds(x);
    }
}

// ---- Search direction -------------------------------------------------------------

// Multipliers of g; active constraints that hold x back in vain leave, the
// worst one first.
void TolerantSet::drop_wrong_signs(const float* g)
{
    for (;;) {
        set_.multipliers(g, u_, rest_);
        int worst = -1;
        for (int i = set_.kept(); i < set_.count(); ++i) {
            if (u_[i] < 0.0F && (worst < 0 || u_[i] < u_[worst])) {
                worst = i;
            }
        }
        if (worst < 0) {
            return;
        }
        set_.remove(worst);
    }
}

// Place of the inactive near constraint that d crosses most, among those below
// `limit`; -1 when it crosses none.
int TolerantSet::most_crossing(const float* x, const float* d, float limit, float* measure,
                               float* along) const
{
    const float length = l_vnrm2(c_.n, d, 1);
    int found = -1;
    *measure = 0.0F;
    for (int place = set_.count(); place < set_.listed(); ++place) {
        const int k = set_.constraint(place);
        float towards = 0.0F;
        if (!crosses(k, d, length, &towards)) {
            continue;
        }
        // The second test is for a size that is no measure, as that of x >= 0 where x
        // was never more than rounding errors.
        if (!near(k, x) && !(residual(k, x) <= accuracy_ * towards)) {
            continue;
        }
        const float scaled = towards / c_.normal_length(k);
        if (scaled > *measure && scaled < limit) {
            *measure = scaled;
            *along = towards;
            found = place;
        }
    }
    return found;
}

// The maximum feasible step: the least ratio of residual to a.d over the constraints
// that d crosses. Near ones are not crossed, but for rounding errors, which crosses()
// knows.
void TolerantSet::measure_cap(const float* x, const float* d, Direction* found) const
{
    const float length = l_vnrm2(c_.n, d, 1);
    found->cap = largest;
    found->blocking = -1;
    for (int place = set_.count(); place < set_.listed(); ++place) {
        const int k = set_.constraint(place);
        float along = 0.0F;
        if (!crosses(k, d, length, &along)) {
            continue;
        }
        const float step = std::max(residual(k, x), 0.0F) / along;
        if (step < found->cap) {
            found->cap = step;
            found->blocking = place;
        }
    }
}

// The direction is made anew from the active set in every round, so that the
// rounding errors of the dual steps do not add up.
Direction TolerantSet::direction(const float* x, const float* g, float* d)
{
    refresh_residuals(x);
    float limit = largest;
    for (long round = 10L * (c_.n + set_.listed()); round > 0; --round) {
        drop_wrong_signs(g);
        set_.direction(g, d);
        float measure = 0.0F;
        float along = 0.0F;
        const int place = most_crossing(x, d, limit, &measure, &along);
        if (place < 0) {
            break;
        }
        limit = set_.bring_in(place, along, u_, d) ? largest : measure;
    }
    Direction found = {l_vdot(c_.n, d, 1, g, 1), l_vdot(c_.n, rest_, 1, rest_, 1), largest, -1};
    measure_cap(x, d, &found);
    return found;
}

void TolerantSet::activate(int place, float* x)
{
    assert(place >= set_.count() && place < set_.listed());
    const int k = set_.constraint(place);
    if (c_.is_bound(k)) {
        x[c_.variable(k)] = c_.bound(k);
    }
    set_.add(place);
}

// ---- Curvature --------------------------------------------------------------------

// Columns shorter than z_length_ are stretched to it, the first free one
// excepted: it was just made from the step. Short columns stand for a Hessian
// that is too large there, which BFGS updates correct slowly.
void TolerantSet::scale_columns(float length)
{
    z_length_ = z_length_ < 0.0F ? length : std::min(z_length_, length);
    for (int i = 0; i < c_.n; ++i) {
        float* const z = set_.column(i);
        const float own = l_vnrm2(c_.n, z, 1);
        if (i != set_.count() && own > 0.0F && own < z_length_) {
            const float stretch = z_length_ / own;
            for (int j = 0; j < c_.n; ++j) {
                z[j] *= stretch;
            }
        }
    }
}

// With s in the direction of the first free column z (the columns are turned so
// that it is) the BFGS formula for Z Z', the inverse Hessian, is
//     z -> s / sqrt(s.y),    other columns c -> c - (y.c / s.y) s,
// which keeps the products of active normals and columns, as s is orthogonal to
// those normals. Too little curvature along s, against the rounding errors of
// its length, is no information: Z stays.
void TolerantSet::update(const float* g, const float* s, const float* y)
{
    const int n = c_.n;
    const float sy = l_vdot(n, s, 1, y, 1);
    const float s_length = l_vnrm2(n, s, 1);
    const float least = std::sqrt(core::machine::epsilon()) * s_length * l_vnrm2(n, y, 1);
    if (!(sy > least)) {
        return;
    }
    // The first free column is turned into the direction of the step.
    for (int i = set_.count(); i < n; ++i) {
        v_[i] = l_vdot(n, set_.column(i), 1, g, 1);
    }
    set_.gather(v_);
    const float root = std::sqrt(sy);
    const float length = s_length / root;
    if (z_length_ < 0.0F) { // the first update: the unit matrix gets the size of the inverse Hessian
        for (int i = 0; i < n; ++i) {
            float* const z = set_.column(i);
            for (int j = 0; j < n; ++j) {
                z[j] *= length;
            }
        }
    }
    for (int i = 0; i < n; ++i) {
        float* const z = set_.column(i);
        const float part = l_vdot(n, y, 1, z, 1) / sy;
        for (int j = 0; j < n; ++j) {
            z[j] -= part * s[j];
        }
    }
    float* const first = set_.column(set_.count());
    for (int j = 0; j < n; ++j) {
        first[j] = s[j] / root;
    }
    scale_columns(length);
}

// ---- Tolerance, results -------------------------------------------------------------

// Below a tenth of the active residuals, so that those become inactive or are
// moved onto their boundaries; once they miss nothing, down to the accuracy of
// the data at once.
void TolerantSet::reduce_tolerance(const float* x)
{
    refresh_residuals(x);
    float worst = 0.0F;
    for (int i = set_.kept(); i < set_.count(); ++i) {
        const int k = set_.constraint(i);
        const float size = c_.size(k, peak_);
        worst = std::max(worst, size > 0.0F ? std::fabs(residual(k, x)) / size : 0.0F);
    }
    tolerance_ = 0.1F * std::min(tolerance_, worst);
    if (!(tolerance_ > 2.0F * accuracy_)) {
        tolerance_ = accuracy_;
    }
}

void TolerantSet::clear_multipliers()
{
    std::fill_n(u_, c_.n, 0.0F);
}

void TolerantSet::finish(const float* g)
{
    clear_multipliers();
    set_.multipliers(g, u_, rest_);
    for (int i = 0; i < c_.n; ++i) {
        u_[i] += 0.0F; // no zero is negative
    }
}

} // namespace zavo::minimize

// Linear constraints and the active set. Three things are done with Z, and no
// other factor is stored; N is the matrix of active normals, Z1 the columns of Z
// before `count`, Z2 those from there on:
//
//   multipliers    solve Z1' (g + N u) = 0, backwards, since Z1' N is upper
//                  triangular; elements of it are products of a normal and a
//                  column, made when they are needed
//   direction      d = -Z2 Z2' g, the least of g.d + d.B d / 2 with N' d = 0,
//                  B being the inverse of Z Z'
//   shift          solve N' (Z1 y) = residuals, forwards
//
// A bound's normal has one element, so most of these products cost nothing.
#include "minimize/constrained/active_set.hpp"

#include "core/kernels/vector_kernels.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <utility>

namespace zavo::minimize {
namespace {

constexpr float infinite = std::numeric_limits<float>::infinity();

} // namespace

// ---- Constraints --------------------------------------------------------------

float Constraints::along(int k, const float* v) const
{
    if (is_bound(k)) {
        return is_lower(k) ? -v[variable(k)] : v[variable(k)];
    }
    return l_vdot(n, a_ + (k - 1), lda_, v, 1);
}

void Constraints::add_normal(int k, float factor, float* v) const
{
    if (is_bound(k)) {
        v[variable(k)] += is_lower(k) ? -factor : factor;
        return;
    }
    const float* element = a_ + (k - 1);
    for (int j = 0; j < n; ++j, element += lda_) {
        v[j] += factor * *element;
    }
}

float Constraints::absolute_along(int k, const float* v) const
{
    if (is_bound(k)) {
        return std::fabs(v[variable(k)]);
    }
    float sum = 0.0F;
    const float* element = a_ + (k - 1);
    for (int j = 0; j < n; ++j, element += lda_) {
        sum += std::fabs(*element * v[j]);
    }
    return sum;
}

float Constraints::normal_length(int k) const
{
    if (is_bound(k)) {
        return 1.0F;
    }
    const float* const row = a_ + (k - 1);
    return std::sqrt(l_vdot(n, row, lda_, row, lda_));
}

float Constraints::residual(int k, const float* x) const
{
    if (is_bound(k)) {
        const float at = x[variable(k)];
        return is_lower(k) ? at - bound(k) : bound(k) - at;
    }
    return b_[k - 1] - along(k, x);
}

float Constraints::exact_residual(int k, const float* x) const
{
    if (is_bound(k)) {
        return residual(k, x);
    }
    double left = b_[k - 1];
    const float* element = a_ + (k - 1);
    for (int j = 0; j < n; ++j, element += lda_) {
        left -= static_cast<double>(*element) * x[j];
    }
    return static_cast<float>(left);
}

float Constraints::size(int k, const float* peak) const
{
    return std::fabs(is_bound(k) ? bound(k) : b_[k - 1]) + absolute_along(k, peak);
}

// ---- ActiveSet ------------------------------------------------------------------

// The bounds of a fixed variable are one constraint; its upper one stands for
// both and is never listed again.
void ActiveSet::start()
{
    set_identity();
    listed_ = 0;
    for (int j = 0; j < n_; ++j) {
        if (c_.fixes(j)) {
            list(c_.upper(j));
        }
    }
    count_ = kept_ = listed_;
}

// Columns of fixed variables first.
void ActiveSet::set_identity()
{
    for (int i = 0; i < n_; ++i) {
        float* const z = column(i);
        for (int j = 0; j < n_; ++j) {
            z[j] = 0.0F;
        }
    }
    int next = 0;
    for (const bool fixed : {true, false}) {
        for (int j = 0; j < n_; ++j) {
            if (c_.fixes(j) == fixed) {
                column(next++)[j] = 1.0F;
            }
        }
    }
}

void ActiveSet::save_active(float* place) const
{
    static_assert(sizeof(int) == sizeof(float));
    assert(count_ <= n_);
    std::memcpy(place, list_, static_cast<std::size_t>(count_) * sizeof(int));
}

void ActiveSet::restore_active(int count, const float* place)
{
    for (count_ = 0; count_ < count; ++count_) {
        int k = 0;
        std::memcpy(&k, place + count_, sizeof k);
        int* const found = std::find(list_ + count_, list_ + listed_, k);
        assert(found != list_ + listed_);
        std::swap(list_[count_], *found);
    }
}

void ActiveSet::start_over(bool fresh)
{
    while (count_ > kept_) {
        remove(count_ - 1);
    }
    if (!fresh) {
        return;
    }
    set_identity();
    count_ = 0;
    while (count_ < kept_ && c_.is_bound(list_[count_])) { // the fixed variables
        ++count_;
    }
    while (count_ < kept_) {
        project(list_[count_], v_);
        append(count_);
    }
}

// v is the entering column of Z' N; its part from `count` on is what the normal
// has outside the active ones.
float ActiveSet::project(int k, float* v)
{
    assert(k >= 1 && k <= c_.ncon + 2 * n_ && count_ <= n_);
    float free_part = 0.0F;
    for (int i = 0; i < n_; ++i) {
        v[i] = c_.along(k, column(i));
        free_part += i >= count_ ? v[i] * v[i] : 0.0F;
    }
    return free_part;
}

// v_ holds the projection of a normal.
bool ActiveSet::depends(float free_part) const
{
    const float whole = l_vdot(n_, v_, 1, v_, 1);
    return !(free_part > parallel_part * parallel_part * whole);
}

// Plane rotation of columns i and i + 1 that clears `clear` against *keep.
void ActiveSet::rotate_columns(int i, float* keep, float clear)
{
    if (clear == 0.0F) {
        return;
    }
    float c = 1.0F;
    float s = 0.0F;
    l_vrotg(keep, &clear, &c, &s);
    l_vrot(n_, column(i), 1, column(i + 1), 1, c, s);
}

// From the last column upwards, so that each is cleared against its neighbour:
//     v = (.. | x x x x)  ->  (.. | x x x 0)  ->  ..  ->  (.. | x 0 0 0)
void ActiveSet::gather(float* v)
{
    for (int i = n_ - 2; i >= count_; --i) {
        rotate_columns(i, &v[i], v[i + 1]);
    }
}

// v_ holds the projection of the normal at `place`.
void ActiveSet::append(int place)
{
    assert(place >= count_ && place < listed_ && count_ < n_);
    gather(v_);
    std::swap(list_[place], list_[count_]);
    ++count_;
}

bool ActiveSet::add(int place)
{
    if (depends(project(list_[place], v_))) {
        return false;
    }
    append(place);
    return true;
}

bool ActiveSet::has_kept(int k) const
{
    for (int i = 0; i < kept_; ++i) {
        if (list_[i] == k) {
            return true;
        }
    }
    return false;
}

float ActiveSet::free_part(int k)
{
    const float squared = project(k, v_);
    const float whole = l_vdot(n_, v_, 1, v_, 1);
    return whole > 0.0F ? std::sqrt(squared / whole) : 0.0F;
}

bool ActiveSet::keep_equality(int k, float* x)
{
    if (count_ == n_ || depends(project(k, v_))) {
        return false;
    }
    list(k);
    append(listed_ - 1);
    kept_ = count_;
    // The new column leaves the constraints before it alone. The second step
    // removes the rounding error of the first.
    const float* const z = column(count_ - 1);
    for (int pass = 0; pass < 2; ++pass) {
        const float part = c_.residual(k, x) / c_.along(k, z);
        for (int j = 0; j < n_; ++j) {
            x[j] += part * z[j];
        }
    }
    return true;
}

// Without the normal at `place` the triangle has one element too many below the
// diagonal in each later column; rotations of neighbours clear them.
//     x x x x          x x x            x x x
//       x x x    ->      x x     ->       x x
//         x x            x x                x
//           x              x
void ActiveSet::remove(int place)
{
    assert(place >= kept_ && place < count_);
    const int leaving = list_[place];
    for (int i = place; i + 1 < count_; ++i) {
        const int k = list_[i + 1];
        float keep = c_.along(k, column(i));
        rotate_columns(i, &keep, c_.along(k, column(i + 1)));
        list_[i] = k;
    }
    --count_;
    list_[count_] = leaving;
}

// Backwards: column i is orthogonal to the normals before i's, so adding those
// later leaves its product with `rest` at 0.
void ActiveSet::multipliers(const float* g, float* u, float* rest)
{
    assert(u != g && u != rest);
    if (rest != g) {
        l_vcopy(n_, g, 1, rest, 1);
    }
    for (int i = count_ - 1; i >= 0; --i) {
        u[i] = -l_vdot(n_, column(i), 1, rest, 1) / c_.along(list_[i], column(i));
        c_.add_normal(list_[i], u[i], rest);
    }
}

void ActiveSet::direction(const float* g, float* d)
{
    assert(d != g);
    for (int j = 0; j < n_; ++j) {
        d[j] = 0.0F;
    }
    for (int i = count_; i < n_; ++i) {
        const float* const z = column(i);
        const float part = l_vdot(n_, z, 1, g, 1);
        for (int j = 0; j < n_; ++j) {
            d[j] -= part * z[j];
        }
    }
    for (int i = 0; i < count_; ++i) { // exactly, so that no rounding error moves x off a bound
        if (c_.is_bound(list_[i])) {
            d[c_.variable(list_[i])] = 0.0F;
        }
    }
}

// Forwards: later columns are orthogonal to the normals before theirs, so adding
// them leaves the residuals already taken to 0 alone.
void ActiveSet::shift_to_boundaries(const float* x, float* shift, bool exactly)
{
    assert(shift != x);
    for (int j = 0; j < n_; ++j) {
        shift[j] = 0.0F;
    }
    for (int i = 0; i < count_; ++i) {
        const int k = list_[i];
        const float* const z = column(i);
        const float residual = exactly ? c_.exact_residual(k, x) : c_.residual(k, x);
        const float part = (residual - c_.along(k, shift)) / c_.along(k, z);
        for (int j = 0; j < n_; ++j) {
            shift[j] += part * z[j];
        }
    }
}

// The dual method: raises the multiplier of the entering constraint, its own,
// from 0 until either the violation is gone (a whole step) or the multiplier of
// an active constraint has come down to 0; that one leaves and the steps go on.
bool ActiveSet::bring_in(int place, float violation, float* u, float* y)
{
    assert(place >= count_ && place < listed_);
    const int k = list_[place];
    float own = 0.0F;
    for (;;) {
        const float free_part = project(k, v_);
        const bool dependent = count_ == n_ || depends(free_part);
        const int blocking = changes_of_multipliers(k, u);
        const float part_step = blocking < 0 ? infinite : u[blocking] / -change_[blocking];
        const float whole_step = dependent ? infinite : l_fmax(violation / free_part, 0.0F);
        const bool whole = whole_step <= part_step;
        const float t = whole ? whole_step : part_step;
        if (!(t < infinite)) {
            return false;
        }
        raise(t, dependent, u, y);
        own += t;
        if (whole) {
            append(place);
            u[count_ - 1] = own;
            return true;
        }
        violation -= dependent ? 0.0F : t * free_part;
        for (int i = blocking; i + 1 < count_; ++i) {
            u[i] = u[i + 1];
        }
        remove(blocking);
    }
}

// change_: how the active multipliers change per unit of the multiplier of k.
// Returns the place of the one that reaches 0 first; -1 when none does.
int ActiveSet::changes_of_multipliers(int k, const float* u)
{
    for (int j = 0; j < n_; ++j) {
        r_[j] = 0.0F;
    }
    c_.add_normal(k, 1.0F, r_);
    multipliers(r_, change_, r_);
    // Changes that are rounding errors of zero must not count: the step to them
    // would be anything.
    const float negligible = parallel_part * c_.normal_length(k);
    int blocking = -1;
    for (int i = kept_; i < count_; ++i) {
        if (!(-change_[i] * c_.normal_length(list_[i]) > negligible)) {
            continue;
        }
        if (blocking < 0 || u[i] * change_[blocking] > u[blocking] * change_[i]) { // u / -change is least
            blocking = i;
        }
    }
    return blocking;
}

// Raises the entering multiplier by t: y moves by -t Z2 Z2' normal, v_ being
// Z' normal.
void ActiveSet::raise(float t, bool dependent, float* u, float* y)
{
    for (int i = 0; i < count_; ++i) {
        u[i] += t * change_[i];
        u[i] = i >= kept_ && u[i] < 0.0F ? 0.0F : u[i];
    }
    for (int i = dependent ? n_ : count_; i < n_; ++i) {
        const float part = t * v_[i];
        const float* const z = column(i);
        for (int j = 0; j < n_; ++j) {
            y[j] -= part * z[j];
        }
    }
}

} // namespace zavo::minimize

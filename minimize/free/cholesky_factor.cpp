#include "minimize/free/cholesky_factor.hpp"

#include "core/kernels/machine.hpp"
#include "core/kernels/vector_kernels.h"
#include "minimize/free/relative_measures.hpp"

#include <cassert>
#include <cmath>
#include <cstddef>
#include <utility>

namespace zavo::minimize {
namespace {

float* row(float* matrix, int n, int i)
{
    assert(0 <= i && i < n);
    return matrix + static_cast<std::size_t>(n) * static_cast<std::size_t>(i);
}
const float* row(const float* matrix, int n, int i)
{
    assert(0 <= i && i < n);
    return matrix + static_cast<std::size_t>(n) * static_cast<std::size_t>(i);
}

void swap_triangles(int n, float* matrix)
{
    for (int i = 1; i < n; ++i) {
        for (int j = 0; j < i; ++j) {
            std::swap(row(matrix, n, i)[j], row(matrix, n, j)[i]);
        }
    }
}

// Plane rotation that clears *below against *above, which it replaces, applied
// to rows i and i + 1 of r from column i on.
void rotate_rows(int n, float* r, int i, float* above, float below)
{
    float c = 1.0F;
    float s = 0.0F;
    l_vrotg(above, &below, &c, &s);
    l_vrot(n - i, row(r, n, i) + i, 1, row(r, n, i + 1) + i, 1, c, s);
}

// R + t w' back to upper triangular form, R upper triangular by rows. t is
// overwritten: rotations from below turn it into a multiple of the first unit
// vector, which makes R upper Hessenberg; rotations from above clear the
// subdiagonal.
//      x x x x        x x x x        x x x x
//        x x x   ->   x x x x   ->     x x x
//          x x          x x x            x x
//            x            x x              x
void add_rank_one(int n, float* r, float* t, const float* w)
{
    int last = n - 1;
    while (last > 0 && t[last] == 0.0F) {
        --last;
    }
    for (int i = last - 1; i >= 0; --i) {
        rotate_rows(n, r, i, &t[i], t[i + 1]);
    }
    for (int j = 0; j < n; ++j) {
        r[j] += t[0] * w[j];
    }
    for (int i = 0; i < last; ++i) {
        float diagonal = row(r, n, i)[i];
        rotate_rows(n, r, i, &diagonal, row(r, n, i + 1)[i]);
        row(r, n, i + 1)[i] = 0.0F;
    }
}

// t = L' s
void multiply_transposed(int n, const float* l, const float* s, float* t)
{
    for (int j = 0; j < n; ++j) {
        t[j] = 0.0F;
    }
    for (int i = 0; i < n; ++i) {
        const float* const li = row(l, n, i);
        for (int j = 0; j <= i; ++j) {
            t[j] += li[j] * s[i];
        }
    }
}

} // namespace

void start_factor(int n, float f, const float* xscale, float fscale, bool scaled, float* l)
{
    assert(n >= 1 && xscale != nullptr && l != nullptr);
    const float size = std::sqrt(greater_or_nan(fscale, std::fabs(f)));
    for (int i = 0; i < n; ++i) {
        float* const li = row(l, n, i);
        for (int j = 0; j < n; ++j) {
            li[j] = 0.0F;
        }
        li[i] = scaled ? size * xscale[i] : 1.0F;
    }
}

// Forwards by rows, then backwards, where row i is taken off what stands above it.
void solve_step(int n, const float* l, const float* g, float* p)
{
    assert(n >= 1 && p != g);
    for (int i = 0; i < n; ++i) {
        const float* const li = row(l, n, i);
        p[i] = (-g[i] - l_vdot(i, li, 1, p, 1)) / li[i];
    }
    for (int i = n - 1; i >= 0; --i) {
        const float* const li = row(l, n, i);
        p[i] /= li[i];
        for (int j = 0; j < i; ++j) {
            p[j] -= li[j] * p[i];
        }
    }
}

// The new factor is J = L + (y - alpha L t) t' / (alpha t.t), alpha = sqrt(s.y) / |t|,
// t = L's, brought back to triangular form; J J' is the BFGS update of L L'.
// With t scaled by 1 / (sqrt(s.y) |t|) that is L + w t', whose transpose has the
// form that add_rank_one() takes.
void update_factor(int n, float* l, const float* s, const float* y, const float* g, const float* g_new,
                   float tolerance, float* t, float* w)
{
    assert(n >= 1 && t != w && t != s && t != y && w != s && w != y);
    const float sy = l_vdot(n, s, 1, y, 1);
    const float least = std::sqrt(core::machine::epsilon()) * l_vnrm2(n, s, 1) * l_vnrm2(n, y, 1);
    if (!(sy >= least) || !(sy > 0.0F)) {
        return; // s.y = 0, when nothing moved or changed, is no curvature either
    }
    multiply_transposed(n, l, s, t);
    const float length = l_vnrm2(n, t, 1);
    const float alpha = std::sqrt(sy) / length;
    bool agrees = true;
    for (int i = 0; i < n; ++i) {
        const float u = l_vdot(i + 1, row(l, n, i), 1, t, 1);
        w[i] = y[i] - alpha * u;
        const float size = greater_or_nan(std::fabs(g[i]), std::fabs(g_new[i]));
        agrees = agrees && std::fabs(y[i] - u) < tolerance * size;
    }
    const float shrink = 1.0F / (std::sqrt(sy) * length);
    if (agrees || !std::isfinite(alpha) || !std::isfinite(shrink)) {
        return;
    }
    for (int i = 0; i < n; ++i) {
        t[i] *= shrink;
    }
    swap_triangles(n, l);
    add_rank_one(n, l, t, w);
    swap_triangles(n, l);
}

} // namespace zavo::minimize

// The inverse Hessian approximation of the free minimiser: a dense symmetric matrix
// in double precision, built by BFGS updates or inverted from second derivatives.
#pragma once

#include <cassert>
#include <cstddef>

namespace zavo::minimize {

class InverseHessian {
public:
    // values: n x n doubles of work, not owned.
    InverseHessian(int n, double* values) : n_(n), values_(values)
    {
        assert(n >= 1);
        assert(values != nullptr);
    }

    // Everything but the diagonal becomes 0.
    void set_diagonal(const double* diagonal);
    void stretch(double factor);

    // Row i times v.
    double row_times(int i, const double* v) const;

    // For the change s of the point and y of the gradient, sy = s'y > 0; hy: n doubles of
    // work.  H + (1 + y'Hy / s'y) ss' / s'y - (Hy s' + s y'H) / s'y
    //   J. E. Dennis, R. B. Schnabel (1983), (9.2.10), for the inverse.
    void update(const double* s, const double* y, double sy, double* hy);

    // Where the second derivative by i and j > i is put for invert().
    double& second(int i, int j) { return at(i, j); }
    // Becomes the inverse of the Hessian of these second derivatives and the diagonal, to
    // which as little is added as makes it positive definite; false when nothing does,
    // and the matrix is of no use then.
    bool invert(const double* diagonal);

private:
    double& at(int i, int j) { return values_[index(i, j)]; }
    std::size_t index(int i, int j) const
    {
        assert(0 <= i && i < n_ && 0 <= j && j < n_);
        return static_cast<std::size_t>(i) * static_cast<std::size_t>(n_) + static_cast<std::size_t>(j);
    }
    bool factor(const double* diagonal, double shift);
    void invert_factor();

    int n_;
    double* values_;
};

} // namespace zavo::minimize

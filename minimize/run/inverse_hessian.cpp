#include "minimize/run/inverse_hessian.hpp"

#include <algorithm>
#include <cmath>

namespace zavo::minimize {

void InverseHessian::set_diagonal(const double* diagonal)
{
    std::fill_n(values_, static_cast<std::size_t>(n_) * static_cast<std::size_t>(n_), 0.0);
    for (int i = 0; i < n_; ++i) {
        at(i, i) = diagonal[i];
    }
}

void InverseHessian::stretch(double factor)
{
    const std::size_t count = static_cast<std::size_t>(n_) * static_cast<std::size_t>(n_);
    for (std::size_t k = 0; k < count; ++k) {
        values_[k] *= factor;
    }
}

double InverseHessian::row_times(int i, const double* v) const
{
    const double* const row = values_ + index(i, 0);
    double sum = 0.0;
    for (int j = 0; j < n_; ++j) {
        sum += row[j] * v[j];
    }
    return sum;
}

void InverseHessian::update(const double* s, const double* y, double sy, double* hy)
{
    assert(sy > 0.0 && hy != s && hy != y);
    double yhy = 0.0;
    for (int i = 0; i < n_; ++i) {
        hy[i] = row_times(i, y);
        yhy += y[i] * hy[i];
    }
    const double part = (1.0 + yhy / sy) / sy;
    for (int i = 0; i < n_; ++i) {
        double* const row = values_ + index(i, 0);
        for (int j = 0; j < n_; ++j) {
            row[j] += part * s[i] * s[j] - (hy[i] * s[j] + s[i] * hy[j]) / sy;
        }
    }
}

bool InverseHessian::invert(const double* diagonal)
{
    double greatest = 0.0;
    for (int i = 0; i < n_; ++i) {
        greatest = std::max(greatest, std::fabs(diagonal[i]));
    }
    double shift = 0.0;
    for (int attempt = 0; attempt < 12; ++attempt) {
        if (factor(diagonal, shift)) {
            invert_factor();
            return true;
        }
        shift = shift == 0.0 ? 1e-12 * greatest : 10.0 * shift;
    }
    return false;
}

// The Cholesky factor, with the shift added to the diagonal, to the lower triangle; the
// upper one keeps the second derivatives. False when it is not positive definite.
bool InverseHessian::factor(const double* diagonal, double shift)
{
    for (int i = 0; i < n_; ++i) {
        for (int j = 0; j <= i; ++j) {
            double sum = i == j ? diagonal[i] + shift : at(j, i);
            for (int k = 0; k < j; ++k) {
                sum -= at(i, k) * at(j, k);
            }
            if (i != j) {
                at(i, j) = sum / at(j, j);
            } else if (sum > 1e-14 * (std::fabs(diagonal[i]) + shift)) {
                at(i, i) = std::sqrt(sum);
            } else {
                return false;
            }
        }
    }
    return true;
}

// The matrix becomes the inverse of L L', L being its lower triangle.
void InverseHessian::invert_factor()
{
    for (int j = 0; j < n_; ++j) { // L^-1, in place
        at(j, j) = 1.0 / at(j, j);
        for (int i = j + 1; i < n_; ++i) {
            double sum = 0.0;
            for (int k = j; k < i; ++k) {
                sum -= at(i, k) * at(k, j);
            }
            at(i, j) = sum / at(i, i);
        }
    }
    for (int i = 0; i < n_; ++i) { // its transpose times itself
        for (int j = i; j < n_; ++j) {
            double sum = 0.0;
            for (int k = j; k < n_; ++k) {
                sum += at(k, i) * at(k, j);
            }
            at(i, j) = sum;
        }
    }
    for (int i = 0; i < n_; ++i) {
        for (int j = 0; j < i; ++j) {
            at(i, j) = at(j, i);
        }
    }
}

} // namespace zavo::minimize

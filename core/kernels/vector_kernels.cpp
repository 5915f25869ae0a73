// Level-1 kernels on strided single-precision vectors, after Lawson, Hanson,
// Kincaid and Krogh, "Basic Linear Algebra Subprograms for Fortran Usage" (1979).
//
// Rounding. Products and sums are formed in double; a value is rounded to float
// where it is stored in a result, in an accumulator that is said to be a float,
// or where a cast says so, and nowhere else. The product of two floats is exact
// in double.
//
// Strides. Element i of a vector x with increment inc is x[i * inc]; for a
// negative increment the walk starts at the far end, at x[(1 - n) * inc], so the
// same n elements are met in reverse order.
#include "core/kernels/vector_kernels.h"

#include "core/kernels/machine.hpp"

#include <cassert>
#include <cmath>
#include <cstddef>
#include <cstring>

namespace machine = zavo::core::machine;

namespace {

// First element of a strided vector of n >= 1.
template <class T>
T* start_of(T* x, int n, int inc)
{
    assert(x != nullptr && n >= 1);
    return inc < 0 ? x + (1 - std::ptrdiff_t{n}) * inc : x;
}

// sqrt of the sum of (factor * x[i])^2, the sum in float.
double scaled_norm(int n, const float* x, double factor)
{
    float sum = 0.0F;
    for (int i = 0; i < n; ++i) {
        const double term = factor * x[i];
        sum = static_cast<float>(sum + term * term);
    }
    return std::sqrt(static_cast<double>(sum));
}

// u and r of a plane rotation whose larger component is `large`:
// r = sqrt(large^2 + small^2) with the sign of large, u = small / (2 large).
struct RotationRadius {
    double u;
    double r;
    RotationRadius(float large, float small)
    {
        const double t = static_cast<float>(2.0 * large);
        u = small / t;
        r = std::sqrt(u * u + 0.25) * t;
    }
};

} // namespace

extern "C" {

int l_imin(int a, int b)
{
    return a < b ? a : b;
}

int l_imax(int a, int b)
{
    return a < b ? b : a;
}

// Ties and unordered pairs give b.
float l_fmax(float a, float b)
{
    return a > b ? a : b;
}

// Ties give b, unordered pairs a.
float l_fmin(float a, float b)
{
    return a >= b ? b : a;
}

float l_fpowi(float x, int k)
{
    unsigned power = static_cast<unsigned>(k);
    if (k < 0) {
        x = static_cast<float>(1.0 / x);
        power = 0U - power; // also right for the smallest int
    }
    const double wide = x;
    const double square = wide * wide;
    const double rounded_square = static_cast<float>(square);
    switch (power) {
    case 0:
        return 1.0F;
    case 1:
        return x;
    case 2:
        return static_cast<float>(square);
    case 3:
        return static_cast<float>(square * wide);
    case 4:
        return static_cast<float>(square * rounded_square);
    case 5:
        return static_cast<float>(wide * rounded_square * rounded_square);
    case 6:
        return static_cast<float>(square * rounded_square * rounded_square);
    default:
        break;
    }
    float result = 1.0F;
    float base = x;
    for (; power != 0; power >>= 1) {
        if ((power & 1U) != 0) {
            result *= base;
        }
        base *= base;
    }
    return result;
}

void l_vcopy(int n, const float* x, int incx, float* y, int incy)
{
    if (n <= 0) {
        return;
    }
    if (incx == 1 && incy == 1) {
        assert(x != nullptr && y != nullptr);
        std::memmove(y, x, static_cast<std::size_t>(n) * sizeof *y);
        return;
    }
    x = start_of(x, n, incx);
    y = start_of(y, n, incy);
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        y[i * incy] = x[i * incx];
    }
}

float l_vdot(int n, const float* x, int incx, const float* y, int incy)
{
    float sum = 0.0F;
    if (n < 1) {
        return sum;
    }
    x = start_of(x, n, incx);
    y = start_of(y, n, incy);
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        sum = static_cast<float>(sum + static_cast<double>(x[i * incx]) * y[i * incy]);
    }
    return sum;
}

// Small and large vectors are scaled before squaring, so that neither underflow
// nor overflow spoils the sum. Kept: `inc` has no effect, the elements are
// contiguous (vector_kernels.norm_ignores_its_increment).
float l_vnrm2(int n, const float* x, int /*inc*/)
{
    assert(n < 1 || x != nullptr);
    const double tiny = machine::smallest();
    const double huge = machine::largest();
    const double epsilon = machine::epsilon();
    const double small = std::sqrt(tiny / epsilon);
    const double big = std::sqrt(huge * epsilon);
    float total = 0.0F; // sum of |x[i]|
    for (int i = 0; i < n; ++i) {
        total = static_cast<float>(total + std::fabs(static_cast<double>(x[i])));
    }
    if (total < small) {
        const double up = 1.0 / (small * epsilon);
        return static_cast<float>(scaled_norm(n, x, up) / up);
    }
    if (total <= big) {
        return static_cast<float>(scaled_norm(n, x, 1.0));
    }
    const double down = (std::sqrt(tiny) / epsilon) / std::sqrt(huge);
    return static_cast<float>(scaled_norm(n, x, down) / down);
}

void l_vrot(int n, float* x, int incx, float* y, int incy, float c, float s)
{
    if (n <= 0) {
        return;
    }
    x = start_of(x, n, incx);
    y = start_of(y, n, incy);
    const double cosine = c;
    const double sine = s;
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        const double p = x[i * incx];
        const double q = y[i * incy];
        x[i * incx] = static_cast<float>(cosine * p + sine * q);
        y[i * incy] = static_cast<float>(cosine * q - sine * p);
    }
}

// On return (c, s) turns the given (a, b) into (r, 0); a holds r, and b the one
// number from which both c and s can be rebuilt: s when |c| > |s|, else 1/c, or
// 1 when c = 0.
void l_vrotg(float* a, float* b, float* c, float* s)
{
    assert(c != s && a != b);
    const float p = *a;
    const float q = *b;
    if (std::fabs(q) >= std::fabs(p)) {
        if (q == 0.0F) {
            *c = 1.0F;
            *s = 0.0F;
            *a = 0.0F;
            *b = 0.0F;
            return;
        }
        const RotationRadius radius(q, p);
        *a = static_cast<float>(radius.r);
        *s = static_cast<float>(q / radius.r);
        *c = static_cast<float>(2.0 * *s * radius.u);
        *b = *c != 0.0F ? static_cast<float>(1.0 / *c) : 1.0F;
        return;
    }
    const RotationRadius radius(p, q);
    *c = static_cast<float>(p / radius.r);
    *s = static_cast<float>(2.0 * *c * radius.u);
    *b = *s;
    *a = static_cast<float>(radius.r);
}

} // extern "C"

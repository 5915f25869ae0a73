// Single-precision complex arithmetic. Products and sums are formed in double
// and rounded to float once, on storing, unless a cast says otherwise. The
// transcendental ones take core/kernels/elementary.hpp instead of the C library, whose
// sine and cosine of large arguments differ between targets even as floats.
#include "core/kernels/complex.h"
#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"
#include "core/kernels/elementary.hpp"
#include "core/kernels/machine.hpp"

#include <cmath>

namespace {

namespace elementary = zavo::core::elementary;

float squeeze(double x)
{
    return static_cast<float>(x);
}

// Half the square root of the machine epsilon: for smaller ratios t the half
// angle's cosine is 1 and its sine t/2 to float accuracy. (10 to the power
// zavo_amach(5), which is log10 of 2, is 2 in float.)
double half_root_of_epsilon()
{
    return squeeze(std::sqrt(static_cast<double>(zavo::core::machine::epsilon()))) / 2.0;
}

struct HalfAngle {
    double c;
    double s;
};

// Cosine and sine of half the angle of (p, q), p > 0.
HalfAngle half_angle(double p, double q)
{
    const double t = q / p;
    if (std::fabs(t) <= half_root_of_epsilon()) {
        return {1.0, t / 2.0};
    }
    const double u = 1.0 / t;
    const double w = 1.0 / (u + std::copysign(std::sqrt(u * u + 1.0), u));
    const double c = 1.0 / std::sqrt(w * w + 1.0);
    return {c, c * w};
}

} // namespace

extern "C" {

f_complex l_c_make(float re, float im)
{
    return {re, im};
}

f_complex l_c_make_d(double re, double im)
{
    return {squeeze(re), squeeze(im)};
}

float l_c_real(f_complex z)
{
    return z.re;
}

float l_c_imag(f_complex z)
{
    return z.im;
}

f_complex l_c_conj(f_complex z)
{
    return {z.re, -z.im};
}

f_complex l_c_neg(f_complex z)
{
    return {-z.re, -z.im};
}

f_complex l_c_add(f_complex a, f_complex b)
{
    return {a.re + b.re, a.im + b.im};
}

f_complex l_c_sub(f_complex a, f_complex b)
{
    return {a.re - b.re, a.im - b.im};
}

f_complex l_c_mul(f_complex a, f_complex b)
{
    const double re = a.re;
    const double im = a.im;
    return l_c_make_d(re * b.re - im * b.im, re * b.im + im * b.re);
}

// R. L. Smith, "Algorithm 116: Complex division" (1962).
f_complex l_c_div(f_complex a, f_complex b)
{
    if (b.re == 0.0F && b.im == 0.0F) {
        zavo_error_post(ZAVO_TERMINAL, zavo::core::code::complex_zero_divisor);
        const float nan = zavo::core::machine::not_a_number();
        return {nan, nan};
    }
    const double are = a.re;
    const double aim = a.im;
    const double bre = b.re;
    const double bim = b.im;
    if (std::fabs(b.im) >= std::fabs(b.re)) {
        const double r = squeeze(bre / bim);
        const double d = squeeze(bre * r + bim);
        return l_c_make_d((are * r + aim) / d, (aim * r - are) / d);
    }
    const double r = squeeze(bim / bre);
    const double d = squeeze(bim * r + bre);
    return l_c_make_d((aim * r + are) / d, (aim - are * r) / d);
}

int l_c_eq(f_complex a, f_complex b)
{
    return a.re == b.re && a.im == b.im ? 1 : 0;
}

// The squares are exact in double and cannot overflow there, so the plain
// formula serves. An infinite part makes the modulus infinite, NaN or not.
float l_c_abs(f_complex z)
{
    if (std::isinf(z.re) || std::isinf(z.im)) {
        return zavo::core::machine::infinity();
    }
    const double re = z.re;
    const double im = z.im;
    return squeeze(std::sqrt(re * re + im * im));
}

float l_c_arg(f_complex z)
{
    if (z.re == 0.0F && z.im == 0.0F) {
        return 0.0F;
    }
    return squeeze(elementary::atan2(z.im, z.re));
}

f_complex l_c_log(f_complex z)
{
    return {squeeze(elementary::log(l_c_abs(z))), l_c_arg(z)};
}

f_complex l_c_exp(f_complex z)
{
    const double factor = z.re == 0.0F ? 1.0 : elementary::exp(z.re);
    if (z.im == 0.0F) {
        return {squeeze(factor), z.im};
    }
    const double im = z.im;
    return l_c_make_d(factor * elementary::cos(im), factor * elementary::sin(im));
}

f_complex l_c_sin(f_complex z)
{
    const double re = z.re;
    const double im = z.im;
    return l_c_make_d(elementary::sin(re) * elementary::cosh(im), elementary::cos(re) * elementary::sinh(im));
}

f_complex l_c_cos(f_complex z)
{
    const double re = z.re;
    const double im = z.im;
    return l_c_make_d(elementary::cos(re) * elementary::cosh(im),
                      -elementary::sin(re) * elementary::sinh(im));
}

void l_c_halfangle(float p, float q, float* c, float* s)
{
    const HalfAngle half = half_angle(p, q);
    *c = squeeze(half.c);
    *s = squeeze(half.s);
}

f_complex l_c_sqrt(f_complex z)
{
    const float m = l_c_abs(z);
    if (m == 0.0F) {
        return z;
    }
    float c = 0.0F;
    float s = 0.0F;
    if (std::fabs(z.im) > std::fabs(z.re)) {
        const double r = std::sqrt(static_cast<double>(squeeze(m / 2.0)));
        if (z.im >= 0.0F) {
            l_c_halfangle(z.im, -z.re, &c, &s);
            return l_c_make_d((static_cast<double>(c) - s) * r, (static_cast<double>(c) + s) * r);
        }
        l_c_halfangle(-z.im, z.re, &c, &s);
        return l_c_make_d((static_cast<double>(c) + s) * r, (static_cast<double>(s) - c) * r);
    }
    const double r = std::sqrt(static_cast<double>(m));
    if (z.re >= 0.0F) {
        l_c_halfangle(z.re, z.im, &c, &s);
        return l_c_make_d(r * c, r * s);
    }
    l_c_halfangle(-z.re, -z.im, &c, &s);
    const double im = r * c;
    return l_c_make_d(std::fabs(r * s), z.im < 0.0F ? -im : im);
}

} // extern "C"

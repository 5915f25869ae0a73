// Standard normal deviates by inversion, and the inverse of the standard normal
// distribution function itself; see inverse_normal.hpp.

#include "core/errors/error_codes.hpp"
#include "core/frame/entry_frame.hpp"
#include "core/kernels/machine.hpp"
#include "core/system/float_control.hpp"
#include "random/deliver.hpp"
#include "random/exact_log.hpp"
#include "random/inverse_normal.hpp"
#include "random/kernels.hpp"
#include "random/random.h"

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace zavo::random {

namespace {

using namespace inverse_normal;

// Doubles throughout; the places where a value is rounded to float belong to the
// definition. Each gives the inverse error function of z.

double central(float z_float)
{
    const double z = z_float;
    const double w = static_cast<float>(z * z);
    const double q = C1 * w / (D0 + w + D1 / (D2 + w + D3 / (D4 + w)));
    return (q + C0) * z + z;
}

// constant + (((a3 x + a2) x + a1) x) / (((x + b2) x + b1) x + b0)
double ratio(double x, float constant, float a1, float a2, float a3, float b0, float b1, float b2)
{
    const auto above = static_cast<float>(((a3 * x + a2) * x + a1) * x);
    const auto below = static_cast<float>(((x + b2) * x + b1) * x + b0);
    return double{above} / below + constant;
}

// t large; exact in t, rounded in 1/t.
double outermost(double t)
{
    const double u = static_cast<float>(1.0 / t);
    return ratio(u, J0, J1, J2, J3, K0, K1, K2) * t + t;
}

double middle(float z_float)
{
    const double z = z_float;
    const double v = static_cast<float>(1.0 - z);
    const double t = static_cast<float>(std::sqrt(-exact_log(v * z + v))); // (1 - z)(1 + z)
    if (t < middle_limit) {
        return ratio(t, E0, E1, E2, E3, F0, F1, F2) * t + t;
    }
    if (t < outer_limit) {
        return ratio(t, G0, G1, G2, G3, H0, H1, H2) * t + t;
    }
    return outermost(t);
}

double tail(float p)
{
    const double nearer = p >= 0.5F ? 1.0 - p : double{p};
    const double w = static_cast<float>(2.0 * nearer);
    return outermost(std::sqrt(-exact_log(2.0 * w - w * w)));
}

float not_in_range(float p)
{
    static const char name[] = "zavo_f_normal_inverse_cdf";
    zavo_error_push(name);
    zavo_error_set_real(1, p);
    zavo_error_post(ZAVO_TERMINAL, core::code::probability_outside);
    zavo_error_pop(name);
    return core::machine::not_a_number();
}

double inverse_error_function(float p)
{
    if (p <= lower_tail || p >= upper_tail) {
        return tail(p);
    }
    const auto z = static_cast<float>(std::fabs(1.0 - 2.0 * p));
    return z < central_limit ? central(z) : middle(z);
}

// What stands in a batch, until it is complete, for a uniform deviate that has no
// normal one. Such a deviate is 1, or 0 out of a shuffle table loaded with gaps.
constexpr float mark_of_zero = std::bit_cast<float>(0x7fc00000U);
constexpr float mark_of_one = std::bit_cast<float>(0x7fc00001U);

// In order, and only when all deviates are drawn: an error handler that looks at
// the stream sees it behind the batch.
void post_marks(int n, float* r)
{
    for (int i = 0; i < n; ++i) {
        if (std::isnan(r[i])) {
            const bool one = std::bit_cast<std::uint32_t>(r[i]) == std::bit_cast<std::uint32_t>(mark_of_one);
            r[i] = zavo_f_normal_inverse_cdf(one ? 1.0F : 0.0F);
        }
    }
}

// The neighbours' deviates in place of the marks.
void replace_marks(int n, float* r)
{
    for (int i = 0; i < n; ++i) {
        if (std::isnan(r[i])) {
            const bool one = std::bit_cast<std::uint32_t>(r[i]) == std::bit_cast<std::uint32_t>(mark_of_one);
            r[i] = l_inverse_normal(one ? greatest_inside : least_inside);
        }
    }
}

} // namespace

} // namespace zavo::random

using namespace zavo::random;

float l_inverse_normal(float p)
{
    if (!(p > 0.0F && p < 1.0F)) {
        return p >= 1.0F ? mark_of_one : mark_of_zero;
    }
    const double scale = p >= 0.5F ? double{root_two} : -double{root_two};
    return static_cast<float>(scale * static_cast<float>(inverse_error_function(p)));
}

float zavo_f_normal_inverse_cdf(float p)
{
    const zavo::platform::UsualFloatControl usual;
    return p > 0.0F && p < 1.0F ? l_inverse_normal(p) : not_in_range(p);
}

void l_rnnor(int n, float* r)
{
    if (n < 1) {
        static const char name[] = "l_rnnor";
        int argument_no = 0;
        zavo_error_push(name);
        zavo_arg_check_range(n, "n_random", 1, 0, &argument_no);
        zavo_error_pop(name);
        return;
    }
    bool outside = false;
    in_blocks(n, r, [&](int count, float* block) {
        zavo_rnun(count, block);
        outside = kernels().normal(static_cast<std::size_t>(count), block) || outside;
    });
    if (outside && !zavo::core::interrupted()) {
        post_marks(n, r);
    }
}

void zavo_random_normals(int n, float* r)
{
    draw_batch(n, [=] {
        in_blocks(n, r, [](int count, float* block) {
            zavo_rnun(count, block);
            if (kernels().normal(static_cast<std::size_t>(count), block)) {
                replace_marks(count, block);
            }
        });
    });
}

float* zavo_f_random_normal(int n, ...)
{
    std::va_list list;
    va_start(list, n);
    float* const result = deliver_deviates("zavo_f_random_normal", n, list,
                                           [](int count, float* r, bool) { l_rnnor(count, r); });
    va_end(list);
    return result;
}

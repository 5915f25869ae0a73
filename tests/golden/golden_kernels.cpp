// Machine constants, kernels, elementary and complex functions: with float
// arguments of every size, so that a function of the C library in their place
// would show.
#include "core/kernels/complex.h"
#include "core/kernels/elementary.hpp"
#include "core/kernels/vector_kernels.h"
#include "tests/golden/golden.hpp"

#include <bit>
#include <cmath>
#include <vector>

namespace {

namespace elementary = zavo::core::elementary;

// Finite floats spread over all exponents and both signs, always the same.
std::vector<float> spread_floats(std::size_t n, std::uint32_t seed)
{
    std::vector<float> x;
    while (x.size() < n) {
        seed = seed * 1664525U + 1013904223U;
        const float value = std::bit_cast<float>(seed);
        if (std::isfinite(value)) {
            x.push_back(value);
        }
    }
    return x;
}

// Floats from -limit to limit.
std::vector<float> even_floats(std::size_t n, std::uint32_t seed, float limit)
{
    std::vector<float> x(n);
    for (float& value : x) {
        seed = seed * 1664525U + 1013904223U;
        value = limit * (static_cast<float>(seed >> 8) * 0x1p-23F - 1.0F);
    }
    return x;
}

// A NaN's sign and payload are not part of the promise.
double plain(double x)
{
    return std::isnan(x) ? std::bit_cast<double>(std::uint64_t{0x7FF8000000000000}) : x;
}
float plain(float x)
{
    return std::isnan(x) ? zavo_amach(6) : x;
}

using ComplexFunction = f_complex(f_complex);

void sample(zavo::golden::Output& out, const char* name, ComplexFunction* function, float limit)
{
    constexpr std::size_t n = 100000;
    std::vector<float> re = limit > 0 ? even_floats(n, 1, limit) : spread_floats(n, 1);
    const std::vector<float> im = limit > 0 ? even_floats(n, 2, limit) : spread_floats(n, 2);
    std::vector<float> results;
    for (std::size_t i = 0; i < n; ++i) {
        const f_complex w = function({re[i], im[i]});
        results.push_back(plain(w.re));
        results.push_back(plain(w.im));
    }
    out.values(name, results.data(), 8);
    out.digest(name, results.data(), results.size());
}

} // namespace

GOLDEN(machine)
{
    for (int n = 1; n <= 8; ++n) {
        out.value("zavo_amach", zavo_amach(n));
        out.value("zavo_dmach", zavo_dmach(n));
    }
}

GOLDEN(elementary)
{
    const struct {
        const char* name;
        double (*call)(double);
    } functions[] = {{"sin", elementary::sin}, {"cos", elementary::cos},   {"exp", elementary::exp},
                     {"log", elementary::log}, {"sinh", elementary::sinh}, {"cosh", elementary::cosh}};
    std::vector<float> arguments = spread_floats(200000, 3);
    const std::vector<float> moderate = even_floats(200000, 4, 100.0F);
    arguments.insert(arguments.end(), moderate.begin(), moderate.end());
    for (const auto& function : functions) {
        std::vector<double> results;
        for (const float x : arguments) {
            results.push_back(plain(function.call(x)));
        }
        out.values(function.name, results.data(), 8);
        out.digest(function.name, results.data(), results.size());
    }
    std::vector<double> angles;
    for (std::size_t i = 0; i + 1 < arguments.size(); ++i) {
        angles.push_back(elementary::atan2(arguments[i], arguments[i + 1]));
    }
    out.digest("atan2", angles.data(), angles.size());
}

GOLDEN(complex)
{
    const struct {
        const char* name;
        ComplexFunction* call;
    } functions[] = {{"l_c_log", l_c_log},
                     {"l_c_exp", l_c_exp},
                     {"l_c_sin", l_c_sin},
                     {"l_c_cos", l_c_cos},
                     {"l_c_sqrt", l_c_sqrt}};
    for (const auto& function : functions) {
        sample(out, function.name, function.call, 0.0F);
        sample(out, function.name, function.call, 20.0F);
    }
    sample(
        out, "l_c_mul",
        [](f_complex z) {
            return l_c_mul(z, {z.im, 0.75F});
        },
        5.0F);
    sample(
        out, "l_c_div",
        [](f_complex z) {
            return l_c_div({0.75F, z.re}, z);
        },
        5.0F);
    sample(
        out, "l_c_abs_arg",
        [](f_complex z) {
            return f_complex{l_c_abs(z), l_c_arg(z)};
        },
        0.0F);
}

GOLDEN(kernels)
{
    constexpr int n = 1000;
    std::vector<float> x = even_floats(n, 5, 3.0F);
    std::vector<float> y = even_floats(n, 6, 3.0F);
    out.value("l_vdot", l_vdot(n, x.data(), 1, y.data(), -1));
    out.value("l_vnrm2", l_vnrm2(n, x.data(), 1));
    l_vrot(n, x.data(), 1, y.data(), -1, 0.6F, 0.8F);
    out.digest("l_vrot x", x.data(), x.size());
    out.digest("l_vrot y", y.data(), y.size());
    std::vector<float> rotations;
    std::vector<float> powers;
    for (std::size_t i = 0; i < n; ++i) {
        float a = x[i];
        float b = y[i];
        float c = 0;
        float s = 0;
        l_vrotg(&a, &b, &c, &s);
        rotations.insert(rotations.end(), {a, b, c, s});
        powers.push_back(l_fpowi(x[i], static_cast<int>(i % 41) - 20));
    }
    out.digest("l_vrotg", rotations.data(), rotations.size());
    out.digest("l_fpowi", powers.data(), powers.size());
    for (const float scale : {0x1p-80F, 0x1p80F}) {
        std::vector<float> scaled = x;
        for (float& value : scaled) {
            value *= scale;
        }
        out.value("l_vnrm2", l_vnrm2(n, scaled.data(), 1));
    }
}

// Transposition beside the GSL's, the plain double loop and memcpy (the floor), on
// shapes of two-dimensional transforms: 1024 is the hard one, rows a power of two
// apart. Elementary functions beside the C library's.
#include "bench/ratio_report.hpp"
#include "core/kernels/elementary.hpp"
#include "core/kernels/vector_kernels.h"
#include "core/system/memory.hpp"

#include <benchmark/benchmark.h>
#include <gsl/gsl_matrix.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

namespace elementary = zavo::core::elementary;

struct Shape {
    int nrow;
    int ncol;
};

std::vector<float> numbers(std::size_t n, float limit)
{
    std::vector<float> x(n);
    unsigned state = 12345;
    for (float& value : x) {
        state = state * 1664525U + 1013904223U;
        value = limit * (static_cast<float>(state >> 8) * 0x1p-23F - 1.0F);
    }
    return x;
}

void check(bool good)
{
    if (!good) {
        std::abort();
    }
}

void transpose_float(benchmark::State& state, Shape shape)
{
    const auto size = static_cast<std::size_t>(shape.nrow) * static_cast<std::size_t>(shape.ncol);
    const std::vector<float> a = numbers(size, 1.0F);
    std::vector<float> b(size);
    for (auto _ : state) {
        M1RAN_F(shape.nrow, shape.ncol, a.data(), b.data());
        benchmark::ClobberMemory();
    }
    check(b[1] == a[static_cast<std::size_t>(shape.ncol)]);
}

void transpose_float_in_place(benchmark::State& state, Shape shape)
{
    const auto size = static_cast<std::size_t>(shape.nrow) * static_cast<std::size_t>(shape.ncol);
    std::vector<float> a = numbers(size, 1.0F);
    for (auto _ : state) {
        M1RAN_F(shape.nrow, shape.ncol, a.data(), a.data());
        benchmark::ClobberMemory();
    }
}

// The road without memory for a copy.
void transpose_float_cycles(benchmark::State& state, Shape shape)
{
    const auto size = static_cast<std::size_t>(shape.nrow) * static_cast<std::size_t>(shape.ncol);
    std::vector<float> a = numbers(size, 1.0F);
    for (auto _ : state) {
        zavo_fail_allocation(1);
        M1RAN_F(shape.nrow, shape.ncol, a.data(), a.data());
        benchmark::ClobberMemory();
    }
    zavo_fail_allocation(0);
}

void transpose_complex(benchmark::State& state, Shape shape)
{
    const auto size = static_cast<std::size_t>(shape.nrow) * static_cast<std::size_t>(shape.ncol);
    std::vector<f_complex> a(size, f_complex{1, 2});
    std::vector<f_complex> b(size);
    for (auto _ : state) {
        M1RAN_C(shape.nrow, shape.ncol, a.data(), b.data());
        benchmark::ClobberMemory();
    }
}

void loop_float(benchmark::State& state, Shape shape)
{
    const auto nrow = static_cast<std::size_t>(shape.nrow);
    const auto ncol = static_cast<std::size_t>(shape.ncol);
    const std::vector<float> a = numbers(nrow * ncol, 1.0F);
    std::vector<float> b(nrow * ncol);
    for (auto _ : state) {
        for (std::size_t i = 0; i < nrow; ++i) {
            for (std::size_t j = 0; j < ncol; ++j) {
                b[i + nrow * j] = a[j + ncol * i];
            }
        }
        benchmark::ClobberMemory();
    }
}

void loop_complex(benchmark::State& state, Shape shape)
{
    const auto nrow = static_cast<std::size_t>(shape.nrow);
    const auto ncol = static_cast<std::size_t>(shape.ncol);
    const std::vector<f_complex> a(nrow * ncol, f_complex{1, 2});
    std::vector<f_complex> b(nrow * ncol);
    for (auto _ : state) {
        for (std::size_t i = 0; i < nrow; ++i) {
            for (std::size_t j = 0; j < ncol; ++j) {
                b[i + nrow * j] = a[j + ncol * i];
            }
        }
        benchmark::ClobberMemory();
    }
}

void gsl_float(benchmark::State& state, Shape shape)
{
    const auto nrow = static_cast<std::size_t>(shape.nrow);
    const auto ncol = static_cast<std::size_t>(shape.ncol);
    std::vector<float> a = numbers(nrow * ncol, 1.0F);
    std::vector<float> b(nrow * ncol);
    const gsl_matrix_float_view from = gsl_matrix_float_view_array(a.data(), nrow, ncol);
    gsl_matrix_float_view to = gsl_matrix_float_view_array(b.data(), ncol, nrow);
    for (auto _ : state) {
        gsl_matrix_float_transpose_memcpy(&to.matrix, &from.matrix);
        benchmark::ClobberMemory();
    }
    check(b[1] == a[ncol]);
}

void copy_float(benchmark::State& state, Shape shape)
{
    const auto size = static_cast<std::size_t>(shape.nrow) * static_cast<std::size_t>(shape.ncol);
    const std::vector<float> a = numbers(size, 1.0F);
    std::vector<float> b(size);
    for (auto _ : state) {
        std::memcpy(b.data(), a.data(), size * sizeof(float));
        benchmark::ClobberMemory();
    }
}

void each_float(benchmark::State& state, double (*function)(double), float limit)
{
    const std::vector<float> x = numbers(1000, limit);
    for (auto _ : state) {
        double sum = 0;
        for (const float value : x) {
            sum += function(value);
        }
        benchmark::DoNotOptimize(sum);
    }
}

constexpr Shape square{1024, 1024};
constexpr Shape oblong{1200, 900};

BENCHMARK_CAPTURE(transpose_float, square, square)->Name("float 1024x1024");
BENCHMARK_CAPTURE(gsl_float, square, square)->Name("float 1024x1024 gsl");
BENCHMARK_CAPTURE(loop_float, square, square)->Name("float 1024x1024 loop");
BENCHMARK_CAPTURE(copy_float, square, square)->Name("float 1024x1024 memcpy");
BENCHMARK_CAPTURE(transpose_float_in_place, square, square)->Name("float 1024x1024 in place");
BENCHMARK_CAPTURE(transpose_float, oblong, oblong)->Name("float 1200x900");
BENCHMARK_CAPTURE(gsl_float, oblong, oblong)->Name("float 1200x900 gsl");
BENCHMARK_CAPTURE(loop_float, oblong, oblong)->Name("float 1200x900 loop");
BENCHMARK_CAPTURE(transpose_float_in_place, oblong, oblong)->Name("float 1200x900 one array");
BENCHMARK_CAPTURE(transpose_float_cycles, oblong, oblong)->Name("float 1200x900 cycles");
BENCHMARK_CAPTURE(transpose_complex, square, square)->Name("complex 1024x1024");
BENCHMARK_CAPTURE(loop_complex, square, square)->Name("complex 1024x1024 loop");
BENCHMARK_CAPTURE(each_float, sin, elementary::sin, 100.0F)->Name("sin");
BENCHMARK_CAPTURE(each_float, libm_sin, static_cast<double (*)(double)>(std::sin), 100.0F)->Name("sin libm");
BENCHMARK_CAPTURE(each_float, exp, elementary::exp, 80.0F)->Name("exp");
BENCHMARK_CAPTURE(each_float, libm_exp, static_cast<double (*)(double)>(std::exp), 80.0F)->Name("exp libm");

} // namespace

int main(int argc, char** argv)
{
    return ratio_report::run(
        argc, argv,
        {{"transpose floats, 1024 x 1024 / GSL", "float 1024x1024", "float 1024x1024 gsl", 1.0},
         {"transpose floats, 1024 x 1024 / plain loop", "float 1024x1024", "float 1024x1024 loop", 1.0},
         {"transpose floats, 1024 x 1024 / memcpy", "float 1024x1024", "float 1024x1024 memcpy", 0.0},
         {"the same in place / plain loop", "float 1024x1024 in place", "float 1024x1024 loop", 1.0},
         {"transpose floats, 1200 x 900 / GSL", "float 1200x900", "float 1200x900 gsl", 1.0},
         {"transpose floats, 1200 x 900 / plain loop", "float 1200x900", "float 1200x900 loop", 1.0},
         {"one array, with a copy / distinct arrays", "float 1200x900 one array", "float 1200x900", 0.0},
         {"one array, by cycles / distinct arrays", "float 1200x900 cycles", "float 1200x900", 0.0},
         {"transpose complex, 1024 x 1024 / plain loop", "complex 1024x1024", "complex 1024x1024 loop", 1.0},
         {"elementary sin / C library", "sin", "sin libm", 0.0},
         {"elementary exp / C library", "exp", "exp libm", 0.0}});
}

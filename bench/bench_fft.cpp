// Transforms beside the libraries a program would use instead: FFTW (single
// precision, plans by FFTW_ESTIMATE and by FFTW_MEASURE), KissFFT and GSL (float).
// Tables and plans are made beforehand; making a table is timed on its own. The
// library's times are those of its workers (l_f2trf and its like), of the public
// routines where the name says so, and of commands run from a script.
//
// The last lines are accuracy: relative L2 errors of the real transform of prime
// lengths, whose general pass loses digits by its definition.
#include "bench/ratio_report.hpp"
#include "core/simd/path.hpp"
#include "core/zavo.h"
#include "fft/complex_fft.h"
#include "fft/convolution.h"
#include "fft/passes/complex_radices.hpp"
#include "fft/real_fft.h"
#include "fft/tables/factors.hpp"
#include "fft/transforms.hpp"

#include <chrono>
#include <cmath>
#include <complex>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <fftw3.h>
#include <gsl/gsl_fft_complex_float.h>
#include <gsl/gsl_fft_halfcomplex_float.h>
#include <gsl/gsl_fft_real_float.h>
#include <kissfft/kiss_fft.h>
#include <kissfft/kiss_fftr.h>
#include <string>
#include <tcl.h>
#include <vector>

namespace {

using ratio_report::Pair;
using zavo::simd::Path;

std::vector<Pair> pairs;
std::deque<std::string> names; // keeps what `pairs` points at

const char* keep(const std::string& text)
{
    return names.emplace_back(text).c_str();
}

// `limit` 0 promises nothing.
void compare(const std::string& name, const std::string& peer, double limit)
{
    pairs.push_back({keep(name + " / " + peer.substr(peer.rfind(' ') + 1)), keep(name), keep(peer), limit});
}

void check(bool good, const char* what)
{
    if (!good) {
        std::fprintf(stderr, "bench_fft: %s\n", what);
        std::exit(1);
    }
}

float* floats(std::size_t count)
{
    constexpr std::size_t line = 64;
    float* const block =
        static_cast<float*>(std::aligned_alloc(line, (count * sizeof(float) + line) / line * line));
    check(block != nullptr, "memory is short");
    std::memset(block, 0, count * sizeof(float));
    return block;
}

float* noise(std::size_t count)
{
    float* const values = floats(count);
    unsigned state = 12345;
    for (std::size_t i = 0; i < count; ++i) {
        state = state * 1664525U + 1013904223U;
        values[i] = static_cast<float>(static_cast<int>(state >> 8)) * 0x1p-23F - 1.0F;
    }
    return values;
}

// Times work(), which takes about `estimate` nanoseconds, many times in a row: the
// time of a transform in a loop of them, not of one whose values lie cold.
template <class Work>
void add(const std::string& name, double estimate, Work work)
{
    const auto iterations = static_cast<benchmark::IterationCount>(std::max(4.0, 2e6 / estimate));
    ratio_report::add(name, iterations, estimate > 5e6 ? 8 : 25, work);
}

double estimated_ns(double n)
{
    return 0.3 * n * std::log2(n + 1.0);
}

fftwf_complex* pairs_of(float* p)
{
    return reinterpret_cast<fftwf_complex*>(p);
}

constexpr struct {
    const char* name;
    unsigned flags;
} planners[] = {{" fftw-estimate", FFTW_ESTIMATE}, {" fftw-measure", FFTW_MEASURE}};

// A plan by `make`, which knows nothing of the plans before it: what FFTW has learned
// for FFTW_MEASURE it would use for FFTW_ESTIMATE too.
template <class Make>
fftwf_plan fresh_plan(Make make)
{
    fftwf_forget_wisdom();
    return make();
}

// ---- real transforms -----------------------------------------------------------------

void add_real(int n, double limit)
{
    const std::size_t count = static_cast<std::size_t>(n);
    float* const p = noise(count + 2);
    float* const q = floats(count + 2);
    float* const table = zavo_f_fft_real_init(n);
    const double estimate = estimated_ns(n);
    const std::string forward = "real forward " + std::to_string(n);
    const std::string backward = "real backward " + std::to_string(n);
    add(forward, estimate, [=] { l_f2trf(&n, p, q, table); });
    add(backward, estimate, [=] { l_f2trb(&n, p, q, table); });
    for (const auto& planner : planners) {
        float* const in = floats(count + 2);
        float* const out = floats(count + 2);
        const fftwf_plan there =
            fresh_plan([&] { return fftwf_plan_dft_r2c_1d(n, in, pairs_of(out), planner.flags); });
        const fftwf_plan back =
            fresh_plan([&] { return fftwf_plan_dft_c2r_1d(n, pairs_of(out), in, planner.flags); });
        std::memcpy(in, p, count * sizeof(float));
        std::memcpy(out, p, count * sizeof(float));
        add(forward + planner.name, estimate, [=] { fftwf_execute(there); });
        add(backward + planner.name, estimate, [=] { fftwf_execute(back); });
        compare(forward, forward + planner.name, planner.flags == FFTW_ESTIMATE ? limit : 0);
        compare(backward, backward + planner.name, planner.flags == FFTW_ESTIMATE ? limit : 0);
    }
    if (n % 2 == 0) {
        const kiss_fftr_cfg there = kiss_fftr_alloc(n, 0, nullptr, nullptr);
        float* const out = floats(count + 2);
        add(forward + " kissfft", estimate,
            [=] { kiss_fftr(there, p, reinterpret_cast<kiss_fft_cpx*>(out)); });
        compare(forward, forward + " kissfft", 0);
    }
    float* const data = floats(count); // GSL works in place; the copy counts
    gsl_fft_real_wavetable_float* const waves = gsl_fft_real_wavetable_float_alloc(count);
    gsl_fft_real_workspace_float* const space = gsl_fft_real_workspace_float_alloc(count);
    add(forward + " gsl", estimate, [=] {
        std::memcpy(data, p, count * sizeof(float));
        gsl_fft_real_float_transform(data, 1, count, waves, space);
    });
    compare(forward, forward + " gsl", 0);
}

// Backward alone, beside a measured plan. FFTW takes a minute to make that: in the first
// run, so that who asks for other lines does not wait. The shortest run counts.
void add_long_real_backward(int n, double limit)
{
    const std::size_t count = static_cast<std::size_t>(n);
    float* const p = noise(count + 2);
    float* const q = floats(count);
    float* const table = zavo_f_fft_real_init(n);
    const std::string name = "real backward " + std::to_string(n);
    const double estimate = estimated_ns(n);
    add(name, estimate, [=] { l_f2trb(&n, p, q, table); });
    float* const in = floats(count + 2);
    add(name + " fftw-measure", estimate, [=] {
        static const fftwf_plan back = [=] {
            const fftwf_plan plan =
                fresh_plan([&] { return fftwf_plan_dft_c2r_1d(n, pairs_of(in), q, FFTW_MEASURE); });
            std::memcpy(in, p, count * sizeof(float));
            return plan;
        }();
        fftwf_execute(back);
    });
    compare(name, name + " fftw-measure", limit);
}

// ---- complex transforms ----------------------------------------------------------------

void add_complex(int n, double limit)
{
    const std::size_t count = 2 * static_cast<std::size_t>(n);
    float* const p = noise(count);
    float* const q = floats(count);
    float* const table = zavo_c_fft_complex_init(n);
    const double estimate = 2 * estimated_ns(n);
    const std::string forward = "complex forward " + std::to_string(n);
    const std::string backward = "complex backward " + std::to_string(n);
    const auto* const from = reinterpret_cast<const f_complex*>(p);
    auto* const to = reinterpret_cast<f_complex*>(q);
    auto* const work = reinterpret_cast<f_complex*>(floats(count));
    add(forward, estimate, [=] { l_f2tcf(&n, from, to, table, work); });
    add(backward, estimate, [=] { l_f2tcb(&n, from, to, table, work); });
    for (const auto& planner : planners) {
        float* const in = floats(count);
        float* const out = floats(count);
        const fftwf_plan there = fresh_plan(
            [&] { return fftwf_plan_dft_1d(n, pairs_of(in), pairs_of(out), FFTW_FORWARD, planner.flags); });
        const fftwf_plan back = fresh_plan(
            [&] { return fftwf_plan_dft_1d(n, pairs_of(in), pairs_of(out), FFTW_BACKWARD, planner.flags); });
        std::memcpy(in, p, count * sizeof(float));
        add(forward + planner.name, estimate, [=] { fftwf_execute(there); });
        add(backward + planner.name, estimate, [=] { fftwf_execute(back); });
        compare(forward, forward + planner.name, planner.flags == FFTW_ESTIMATE ? limit : 0);
        compare(backward, backward + planner.name, planner.flags == FFTW_ESTIMATE ? limit : 0);
    }
    const kiss_fft_cfg kiss = kiss_fft_alloc(n, 0, nullptr, nullptr);
    float* const out = floats(count);
    add(forward + " kissfft", estimate, [=] {
        kiss_fft(kiss, reinterpret_cast<const kiss_fft_cpx*>(p), reinterpret_cast<kiss_fft_cpx*>(out));
    });
    compare(forward, forward + " kissfft", 0);
    float* const data = floats(count);
    const std::size_t length = static_cast<std::size_t>(n);
    gsl_fft_complex_wavetable_float* const waves = gsl_fft_complex_wavetable_float_alloc(length);
    gsl_fft_complex_workspace_float* const space = gsl_fft_complex_workspace_float_alloc(length);
    add(forward + " gsl", estimate, [=] {
        std::memcpy(data, p, count * sizeof(float));
        gsl_fft_complex_float_forward(data, 1, length, waves, space);
    });
    compare(forward, forward + " gsl", 0);
}

// ---- what the arithmetic takes ---------------------------------------------------------

// The operations of a complex transform of length 4^passes and nothing else: no loads,
// no stores, no result. A transform with these registers cannot be faster; each value
// changes places six times, see docs/transforms.md. Both kinds take AVX-512, whose 32
// registers only help.
using Wide = float __attribute__((vector_size(64)));
using HalfWide = float __attribute__((vector_size(32)));

#define AVX512 __attribute__((target("avx512f,avx512dq,avx512bw,avx512vl")))

template <class Register, int moves, bool twiddled>
AVX512 void butterflies(int count)
{
    constexpr auto forward = zavo::fft::Direction::forward;
    Register value = {};
    asm volatile("" : "+v"(value));
    for (int n = 0; n < count; ++n) {
        Register re[4], im[4], yre[4], yim[4];
        for (int j = 0; j < 4; ++j) {
            re[j] = im[j] = value;
            asm volatile("" : "+v"(re[j]), "+v"(im[j])); // unknown from here on
        }
        zavo::fft::ComplexRadix4<forward>::butterfly(re, im, yre, yim);
        for (int j = 1; j < 4 && twiddled; ++j) {
            Register wr = value, wi = value;
            asm volatile("" : "+v"(wr), "+v"(wi));
            zavo::fft::apply_twiddle<forward>(wr, wi, yre[j], yim[j]);
        }
        for (int m = 0; m < moves; ++m) {
            Register moved = value;
            asm volatile("vunpcklps %0, %0, %0" : "+v"(moved));
        }
        for (int j = 0; j < 4; ++j) {
            asm volatile("" : : "v"(yre[j]), "v"(yim[j]));
        }
    }
}

// moves: six for each of the 8 registers of a butterfly, spread over the passes and
// rounded down.
template <class Register, int passes>
AVX512 void butterflies_alone()
{
    constexpr int moves = 6 * 8 / passes;
    constexpr int lanes = sizeof(Register) / sizeof(float);
    constexpr int a_pass = (1 << 2 * passes) / 4 / lanes;
    butterflies<Register, moves, true>(a_pass * (passes - 1));
    butterflies<Register, moves, false>(a_pass);
}

template <class Register, int passes>
void add_butterflies_alone(const char* path)
{
    if (zavo::simd::best_path() != Path::avx512) {
        return;
    }
    const int n = 1 << 2 * passes;
    const std::string name = "butterflies alone " + std::to_string(n) + path;
    add(name, estimated_ns(n), [] { butterflies_alone<Register, passes>(); });
    compare(name, "complex forward " + std::to_string(n) + " fftw-estimate", 0);
    pairs.push_back({keep(name + " / " + std::to_string(n)), keep(name),
                     keep("complex forward " + std::to_string(n) + path), 0});
}

// ---- one path beside another -----------------------------------------------------------

// What most processors have: AVX2 and nothing wider. Beside lines of FFTW that stand
// already, which uses what it likes.
void add_by_avx2(bool complex, int n, bool backward, const char* planner, double limit)
{
    if (!zavo::simd::has_path(Path::avx2)) {
        return;
    }
    const std::size_t count = 2 * static_cast<std::size_t>(n);
    float* const p = noise(count);
    float* const q = floats(count);
    float* const work = floats(count);
    float* const table = complex ? zavo_c_fft_complex_init(n) : zavo_f_fft_real_init(n);
    const auto direction = backward ? zavo::fft::Direction::backward : zavo::fft::Direction::forward;
    const std::string name = std::string(complex ? "complex" : "real") +
                             (backward ? " backward " : " forward ") + std::to_string(n);
    add(name + " avx2", (complex ? 2 : 1) * estimated_ns(n), [=] {
        zavo::simd::limit_path(Path::avx2);
        if (complex) {
            zavo::fft::transform_complex(direction, n, p, q, table, work);
        } else {
            zavo::fft::transform_real(direction, n, p, q, table);
        }
        zavo::simd::limit_path(zavo::simd::widest_path);
    });
    compare(name + " avx2", name + " " + planner, limit);
}

// Shortest time of work() in `rounds` rounds of about 20 microseconds.
template <class Work>
double shortest(int rounds, const Work& work)
{
    double best = 1e30;
    int turns = 1;
    for (int r = 0; r < rounds; ++r) {
        const auto start = std::chrono::steady_clock::now();
        for (int t = 0; t < turns; ++t) {
            work();
            benchmark::ClobberMemory();
        }
        const std::chrono::duration<double, std::nano> took = std::chrono::steady_clock::now() - start;
        best = std::min(best, took.count() / turns);
        turns = std::max(1, static_cast<int>(20000.0 / best));
    }
    return best;
}

// No path may be slower than the scalar one: the worst of all lengths to 2048 and a
// sample above, forward and backward, timed in turn.
void print_wide_beside_scalar(Path path)
{
    if (!zavo::simd::has_path(path)) {
        return;
    }
    std::vector<int> lengths = {4199, 5005, 6561, 8192, 10001, 12000, 15625, 16384, 30030, 46189, 65536};
    for (int n = 2; n <= 2048; ++n) {
        lengths.push_back(n);
    }
    constexpr std::size_t most = 2 * 65536;
    float* const p = noise(most);
    float* const q = floats(most);
    float* const work = floats(most);
    for (const bool complex : {false, true}) {
        double worst = 0.0;
        int worst_length = 0;
        for (const int n : lengths) {
            float* const table = complex ? zavo_c_fft_complex_init(n) : zavo_f_fft_real_init(n);
            for (const auto direction : {zavo::fft::Direction::forward, zavo::fft::Direction::backward}) {
                const auto timed = [&](Path by, int rounds) {
                    zavo::simd::limit_path(by);
                    return shortest(rounds, [&] {
                        if (complex) {
                            zavo::fft::transform_complex(direction, n, p, q, table, work);
                        } else {
                            zavo::fft::transform_real(direction, n, p, q, table);
                        }
                    });
                };
                double wide = timed(path, 3), scalar = timed(Path::scalar, 3);
                // More rounds where it is close; a disturbed one only makes it longer.
                for (int more = 0; more < 6 && wide > 1.03 * scalar; ++more) {
                    wide = std::min(wide, timed(path, 8));
                    scalar = std::min(scalar, timed(Path::scalar, 8));
                }
                if (wide / scalar > worst) {
                    worst = wide / scalar;
                    worst_length = n;
                }
            }
            std::free(table);
        }
        const std::string label = std::string(complex ? "complex" : "real") + " by " +
                                  zavo::simd::name_of(path) + " / scalar, worst length";
        std::printf("  %-56s %6.3f  (limit 1.05, at %d)\n", label.c_str(), worst, worst_length);
        ratio_report::note_goal(label.c_str(), worst, 1.05);
    }
    zavo::simd::limit_path(zavo::simd::widest_path);
}

// The public routine, tables and all, beside a plan's execution alone. Small arrays once
// more without the trap, whose calls of the system may take longer than the transform: ten
// beside ten, since setting the option arms the trap as well.
void add_2d(int side, double limit)
{
    constexpr int ten = 10;
    const std::size_t count = 2 * static_cast<std::size_t>(side) * static_cast<std::size_t>(side);
    float* const p = noise(count);
    float* const q = floats(count);
    const double estimate = 2 * estimated_ns(static_cast<double>(side) * side);
    const std::string forward = "2-D forward " + std::to_string(side) + "x" + std::to_string(side);
    const std::string backward = "2-D backward " + std::to_string(side) + "x" + std::to_string(side);
    const auto* const from = reinterpret_cast<const f_complex*>(p);
    auto* const to = reinterpret_cast<f_complex*>(q);
    add(forward, estimate, [=] { zavo_c_fft_2d_complex(side, side, from, ZAVO_RETURN_USER, to, 0); });
    add(backward, estimate,
        [=] { zavo_c_fft_2d_complex(side, side, from, ZAVO_BACKWARD, ZAVO_RETURN_USER, to, 0); });
    for (const auto& planner : planners) {
        float* const in = floats(count);
        float* const out = floats(count);
        const fftwf_plan there = fresh_plan([&] {
            return fftwf_plan_dft_2d(side, side, pairs_of(in), pairs_of(out), FFTW_FORWARD, planner.flags);
        });
        std::memcpy(in, p, count * sizeof(float));
        add(forward + planner.name, estimate, [=] { fftwf_execute(there); });
        compare(forward, forward + planner.name, planner.flags == FFTW_ESTIMATE ? limit : 0);
        compare(backward, forward + planner.name, planner.flags == FFTW_ESTIMATE ? limit : 0);
        if (side < 100 && planner.flags == FFTW_ESTIMATE) {
            const std::string untrapped = "ten of " + forward + " untrapped";
            const std::string planned = "ten of " + forward + planner.name;
            add(untrapped, ten * estimate, [=] {
                zavo_error_options(ZAVO_SET_TRAPPING, 0, 0);
                for (int i = 0; i < ten; ++i) {
                    zavo_c_fft_2d_complex(side, side, from, ZAVO_RETURN_USER, to, 0);
                }
                zavo_error_options(ZAVO_SET_TRAPPING, 1, 0);
            });
            add(planned, ten * estimate, [=] {
                for (int i = 0; i < ten; ++i) {
                    fftwf_execute(there);
                }
            });
            compare(untrapped, planned, limit);
        }
    }
}

// ---- convolution --------------------------------------------------------------------------

// Circular, by the worker as a later call of a series has it: table and work
// storage stand. Beside two plans, the product and the division.
void add_convolution(int n, double limit)
{
    const std::size_t count = static_cast<std::size_t>(n);
    float* const x = noise(count);
    float* const y = noise(2 * count) + count;
    float* const z = floats(count);
    float* const zhat = floats(count);
    float* const work = floats(2 * count);
    float* const table = floats(2 * count + 15);
    FFTRI(&n, table);
    const std::string name = "convolution " + std::to_string(n);
    const double estimate = 3 * estimated_ns(n);
    add(name, estimate, [=] {
        const int next_of_series = 2, periodic = 0;
        int nz = 0;
        R2ONV(&next_of_series, &n, x, &n, y, &periodic, &nz, z, zhat, work, work + n, table);
    });
    float* const xs = floats(count + 2);
    float* const ys = floats(count + 2);
    float* const result = floats(count + 2);
    const fftwf_plan there = fresh_plan(
        [&] { return fftwf_plan_dft_r2c_1d(n, x, pairs_of(xs), FFTW_ESTIMATE | FFTW_PRESERVE_INPUT); });
    const fftwf_plan back =
        fresh_plan([&] { return fftwf_plan_dft_c2r_1d(n, pairs_of(xs), result, FFTW_ESTIMATE); });
    add(name + " fftw-estimate", estimate, [=] {
        fftwf_execute_dft_r2c(there, x, pairs_of(xs));
        fftwf_execute_dft_r2c(there, y, pairs_of(ys));
        for (int k = 0; k <= n / 2; ++k) {
            const float re = xs[2 * k] * ys[2 * k] - xs[2 * k + 1] * ys[2 * k + 1];
            const float im = xs[2 * k] * ys[2 * k + 1] + xs[2 * k + 1] * ys[2 * k];
            xs[2 * k] = re;
            xs[2 * k + 1] = im;
        }
        fftwf_execute(back);
        for (int i = 0; i < n; ++i) {
            result[i] /= static_cast<float>(n);
        }
    });
    compare(name, name + " fftw-estimate", limit);
}

// ---- prime lengths, tables, entry, scripts --------------------------------------------------

void add_prime(int n, double limit)
{
    const std::size_t count = static_cast<std::size_t>(n);
    float* const p = noise(2 * count);
    float* const q = floats(2 * count);
    float* const table = zavo_f_fft_real_init(n);
    float* const complex_table = zavo_c_fft_complex_init(n);
    float* const work = floats(2 * count);
    const auto direction = zavo::fft::Direction::forward;
    for (const bool wide : {true, false}) {
        const Path path = wide ? Path::avx512 : Path::scalar;
        const std::string suffix = std::to_string(n) + (wide ? "" : " scalar-pass");
        const double estimate = static_cast<double>(n) * n * (wide ? 0.05 : 1.0);
        add("real prime " + suffix, estimate, [=] {
            zavo::simd::limit_path(path);
            zavo::fft::transform_real(direction, n, p, q, table);
            zavo::simd::limit_path(Path::avx512);
        });
        add("complex prime " + suffix, 2 * estimate, [=] {
            zavo::simd::limit_path(path);
            zavo::fft::transform_complex(direction, n, p, q, complex_table, work);
            zavo::simd::limit_path(Path::avx512);
        });
    }
    compare("real prime " + std::to_string(n), "real prime " + std::to_string(n) + " scalar-pass", limit);
    compare("complex prime " + std::to_string(n), "complex prime " + std::to_string(n) + " scalar-pass",
            limit);
}

void add_table(int n)
{
    float* const table = floats(2 * static_cast<std::size_t>(n) + 15);
    const std::string name = "table " + std::to_string(n);
    add(name, 2.0 * n, [=] { zavo::fft::build_real_table(n, table + n, table + 2 * n); });
    add(name + " libm", 8.0 * n, [=] {
        // one call a value, angles in the table's order of size
        const double step = 6.283185307179586 / n;
        for (int t = 0; t + 1 < n; t += 2) {
            table[n + t] = static_cast<float>(std::cos(t * 0.5 * step));
            table[n + t + 1] = static_cast<float>(std::sin((t + 1) * 0.5 * step));
        }
    });
    compare(name, name + " libm", 0.5);
}

// What the public routine adds to its worker: the entry frame and its trap.
void add_entry(int n)
{
    const std::size_t count = static_cast<std::size_t>(n);
    float* const p = noise(count);
    float* const q = static_cast<float*>(std::malloc(count * sizeof(float)));
    float* const table = zavo_f_fft_real_init(n);
    const std::string name = "routine " + std::to_string(n);
    const auto call = [=] { zavo_f_fft_real(n, p, ZAVO_PARAMS, table, ZAVO_RETURN_USER, q, 0); };
    add(name, 1000 + estimated_ns(n), call);
    add(name + " untrapped", 1000 + estimated_ns(n), [=] {
        zavo_error_options(ZAVO_SET_TRAPPING, 0, 0);
        for (int i = 0; i < 10; ++i) {
            call();
        }
        zavo_error_options(ZAVO_SET_TRAPPING, 1, 0);
    });
    compare(name, "real forward " + std::to_string(n), 0);
}

void add_script(int n)
{
    static Tcl_Interp* const interp = Tcl_CreateInterp();
    check(Tcl_Init(interp) == TCL_OK &&
              Tcl_Eval(interp, "package require zavo; package require morvel") == TCL_OK,
          Tcl_GetStringResult(interp));
    const std::string length = std::to_string(n);
    const std::string make = "set p" + length + " [dynlist create float [lrepeat " + length + " 1.5]]";
    check(Tcl_Eval(interp, make.c_str()) == TCL_OK, Tcl_GetStringResult(interp));
    const char* const script = keep("dynlist free [zavo_fft_real $p" + length + "]");
    add("script " + length, 4000 + estimated_ns(n),
        [=] { check(Tcl_Eval(interp, script) == TCL_OK, Tcl_GetStringResult(interp)); });
    compare("script " + length, "routine " + length, 0);
}

// ---- accuracy ---------------------------------------------------------------------------------

void print_prime_error(int n)
{
    float* const p = noise(static_cast<std::size_t>(n));
    float* const r = zavo_f_fft_real(n, p, 0);
    std::vector<std::complex<double>> roots;
    for (int m = 0; m < n; ++m) {
        roots.push_back(std::polar(1.0, -6.283185307179586 * m / n));
    }
    double error = 0.0, size = 0.0;
    for (int k = 1; k <= (n - 1) / 2; ++k) {
        std::complex<double> sum = 0.0;
        for (int j = 0, m = 0; j < n; ++j, m = m + k >= n ? m + k - n : m + k) {
            sum += static_cast<double>(p[j]) * roots[static_cast<std::size_t>(m)];
        }
        error += std::norm(sum - std::complex<double>(r[2 * k - 1], r[2 * k]));
        size += std::norm(sum);
    }
    std::printf("relative error of the real transform of prime length %d: %.2g\n", n,
                std::sqrt(error / size));
    std::free(r);
    std::free(p);
}

} // namespace

int main(int argc, char** argv)
{
    Tcl_FindExecutable(argv[0]);
    const struct {
        int n;
        double limit;
    } lengths[] = {{256, 0.6},   {1000, 0.7},  {1024, 0.6},   {4096, 0.6},
                   {12000, 0.6}, {65536, 0.7}, {100000, 0.7}, {1 << 20, 0.5}};
    for (const auto& length : lengths) {
        add_real(length.n, length.limit);
    }
    for (const auto& length : lengths) {
        add_complex(length.n, length.limit);
    }
    // Short lengths, and those with factors of 7 to 13.
    for (const int n : {8, 16, 32, 48, 64, 96, 120, 240}) {
        add_real(n, 1.5);
        add_complex(n, 1.5);
    }
    add_real(14, 4);
    add_real(42, 3);
    add_real(1001, 1.2);
    add_complex(1001, 2);
    add_real(1 << 15, 0);
    add_long_real_backward(1 << 21, 1.1);
    for (const int n : {256, 1024, 4096}) {
        add_by_avx2(true, n, false, "fftw-estimate", 0.85);
    }
    for (const int n : {1 << 15, 1 << 16, 1 << 20}) {
        add_by_avx2(false, n, true, "fftw-measure", 1.0);
    }
    add_butterflies_alone<Wide, 4>("");
    add_butterflies_alone<Wide, 5>("");
    add_butterflies_alone<Wide, 6>("");
    add_butterflies_alone<HalfWide, 4>(" avx2");
    add_butterflies_alone<HalfWide, 5>(" avx2");
    add_butterflies_alone<HalfWide, 6>(" avx2");
    add_2d(64, 1.0);
    add_2d(96, 1.0);
    add_2d(256, 0.5);
    add_2d(1024, 0.5);
    add_2d(1000, 0.7);
    for (const int n : {4096, 65536, 1 << 20}) {
        add_convolution(n, 0.6);
    }
    add_prime(1009, 1.0 / 8);
    add_prime(10007, 1.0 / 8);
    add_table(1 << 10);
    add_table(1 << 16);
    for (const int n : {1024, 65536}) {
        add_entry(n);
        add_script(n);
    }
    const int status = ratio_report::run(argc, argv, pairs);
    print_wide_beside_scalar(Path::avx512);
    print_wide_beside_scalar(Path::avx2);
    print_prime_error(1009);
    print_prime_error(10007);
    return status;
}

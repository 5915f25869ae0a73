// Random deviates beside what a program would draw them with instead: the C++
// library's and GSL's multiplicative generator, GSL's exponential and normal
// deviates; and, for an array that no cache holds, beside writing nothing but
// zeros to it. All arrays are of float. The commands are run from a script.
#include "bench/ratio_report.hpp"
#include "core/simd/path.hpp"
#include "core/zavo.h"

#include <cstdlib>
#include <cstring>
#include <emmintrin.h>
#include <gsl/gsl_randist.h>
#include <gsl/gsl_rng.h>
#include <random>
#include <string>
#include <tcl.h>
#include <vector>

namespace {

using zavo::simd::Path;
using zavo::simd::widest_path;

constexpr int small_count = 100'000;    // 400 kB
constexpr int large_count = 10'000'000; // 40 MB
constexpr int seed = 20250103;          // large batches of normals from it meet no uniform deviate of 1

float* small_array;
float* large_array; // touched; 64-byte aligned

void check(bool good, const char* what)
{
    if (!good) {
        std::fprintf(stderr, "bench_random: %s\n", what);
        std::exit(1);
    }
}

template <class Work>
void add_small(const std::string& name, Work work)
{
    ratio_report::add(name, 3, 60, work);
}

template <class Work>
void add_large(const std::string& name, Work work)
{
    ratio_report::add(name, 1, 40, work);
}

// ---- Peers -------------------------------------------------------------------

template <class Draw>
void add_small_peer(const std::string& name, Draw draw)
{
    add_small(name, [=] {
        for (int i = 0; i < small_count; ++i) {
            small_array[i] = static_cast<float>(draw());
        }
    });
}

void add_peers()
{
    static std::minstd_rand0 minstd{seed};
    add_small_peer("minstd_rand0", [] { return minstd() * (1.0 / 2147483648.0); });
    static gsl_rng* const congruence = gsl_rng_alloc(gsl_rng_minstd);
    static gsl_rng* const twister = gsl_rng_alloc(gsl_rng_mt19937);
    add_small_peer("gsl_minstd", [] { return gsl_rng_uniform(congruence); });
    add_small_peer("gsl_exponential", [] { return gsl_ran_exponential(congruence, 1.0); });
    add_small_peer("gsl_exponential_mt", [] { return gsl_ran_exponential(twister, 1.0); });
    add_small_peer("gsl_ziggurat", [] { return gsl_ran_gaussian_ziggurat(congruence, 1.0); });
    add_small_peer("gsl_ziggurat_mt", [] { return gsl_ran_gaussian_ziggurat(twister, 1.0); });
    add_small("memset_small", [] { std::memset(small_array, 0, small_count * sizeof(float)); });

    add_large("memset_large", [] { std::memset(large_array, 0, large_count * sizeof(float)); });
    add_large("stream_store_large", [] {
        const __m128 value = _mm_set1_ps(0.5F);
        for (int i = 0; i < large_count; i += 4) {
            _mm_stream_ps(large_array + i, value);
        }
        _mm_sfence();
    });
    add_large("memset_fresh", [] {
        void* const fresh = std::malloc(large_count * sizeof(float));
        check(fresh != nullptr, "memory is short");
        benchmark::DoNotOptimize(fresh); // or it would become calloc
        std::memset(fresh, 0, large_count * sizeof(float));
        benchmark::ClobberMemory();
        std::free(fresh);
    });
}

// ---- The library ---------------------------------------------------------------

using Routine = float*(int n, ...);

void fill(Path path, int option, Routine* routine, int n, float* array)
{
    zavo::simd::limit_path(path);
    zavo_random_option(option);
    zavo_random_seed_set(seed);
    check(routine(n, ZAVO_RETURN_USER, array, 0) == array && zavo_error_code(1) == 0, "no deviates");
}

// Each path that this processor has; the widest is also what counts, unnamed.
void add_library()
{
    const auto add_path = [](const std::string& suffix, Path path) {
        const auto add_routine = [&](const char* name, int option, Routine* routine) {
            add_small(name + suffix, [=] { fill(path, option, routine, small_count, small_array); });
        };
        add_routine("uniform", 1, zavo_f_random_uniform);
        add_routine("shuffled", 2, zavo_f_random_uniform);
        add_routine("exponential", 1, zavo_f_random_exponential);
        add_routine("normal", 1, zavo_f_random_normal);
        add_large("uniform_large" + suffix,
                  [=] { fill(path, 1, zavo_f_random_uniform, large_count, large_array); });
    };
    add_path("", widest_path);
    for (const Path path : zavo::simd::all_paths) {
        if (zavo::simd::has_path(path)) {
            add_path(std::string("_") + zavo::simd::name_of(path), path);
        }
    }
    add_large("exponential_large",
              [] { fill(widest_path, 1, zavo_f_random_exponential, large_count, large_array); });
    add_large("normal_large", [] { fill(widest_path, 1, zavo_f_random_normal, large_count, large_array); });
}

// ---- From a script ---------------------------------------------------------------

// The module has a library of its own, with a stream of its own.
void add_script()
{
    static Tcl_Interp* const interp = Tcl_CreateInterp();
    check(Tcl_Init(interp) == TCL_OK &&
              Tcl_Eval(interp, "package require zavo; package require morvel") == TCL_OK,
          Tcl_GetStringResult(interp));
    add_large("script_uniform_10000000", [] {
        check(Tcl_Eval(interp, "dynlist free [zavo_random_uniform 10000000]") == TCL_OK,
              Tcl_GetStringResult(interp));
    });
    add_small("script_uniform_100000", [] {
        check(Tcl_Eval(interp, "dynlist free [zavo_random_uniform 100000]") == TCL_OK,
              Tcl_GetStringResult(interp));
    });
}

const std::vector<ratio_report::Pair> pairs = {
    {"uniform, 400 kB / minstd_rand0", "uniform", "minstd_rand0", 0.08},
    {"uniform, 400 kB, SSE2 / minstd_rand0", "uniform_sse2", "minstd_rand0", 0.5},
    {"uniform, 400 kB, scalar / minstd_rand0", "uniform_scalar", "minstd_rand0", 0},
    {"uniform, 400 kB / GSL minstd", "uniform", "gsl_minstd", 0},
    {"uniform, 400 kB / memset", "uniform", "memset_small", 0},
    {"shuffled, 400 kB / minstd_rand0", "shuffled", "minstd_rand0", 0.35},
    {"uniform, touched 40 MB / memset", "uniform_large", "memset_large", 1.5},
    {"uniform, touched 40 MB / stream store", "uniform_large", "stream_store_large", 1.5},
    {"exponential, 400 kB / GSL exponential (minstd)", "exponential", "gsl_exponential", 0.15},
    {"exponential, 400 kB / GSL exponential (mt19937)", "exponential", "gsl_exponential_mt", 0.15},
    {"normal, 400 kB / GSL ziggurat (minstd)", "normal", "gsl_ziggurat", 0.5},
    {"normal, 400 kB / GSL ziggurat (mt19937)", "normal", "gsl_ziggurat_mt", 0.5},
    {"exponential, 400 kB, SSE2 / GSL exponential (minstd)", "exponential_sse2", "gsl_exponential", 0},
    {"normal, 400 kB, SSE2 / GSL ziggurat (mt19937)", "normal_sse2", "gsl_ziggurat_mt", 0},
    {"zavo_random_uniform 100000 / the routine", "script_uniform_100000", "uniform", 0},
    {"zavo_random_uniform 10000000 / the routine, touched", "script_uniform_10000000", "uniform_large", 0},
    {"zavo_random_uniform 10000000 / malloc and memset", "script_uniform_10000000", "memset_fresh", 0},
};

} // namespace

int main(int argc, char** argv)
{
    Tcl_FindExecutable(argv[0]);
    constexpr std::size_t line = 64;
    small_array = static_cast<float*>(std::aligned_alloc(line, small_count * sizeof(float)));
    large_array = static_cast<float*>(std::aligned_alloc(line, large_count * sizeof(float)));
    check(small_array != nullptr && large_array != nullptr, "memory is short");
    std::memset(large_array, 0, large_count * sizeof(float));
    add_peers();
    add_library();
    add_script();
    const int status = ratio_report::run(argc, argv, pairs);
    std::free(small_array);
    std::free(large_array);
    return status;
}

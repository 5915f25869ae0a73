// instructions PATH PIECE N ROUNDS: the work of a piece, ROUNDS times, for something that
// counts what the processor does; two counts apart by a number of rounds tell what one
// takes. scripts/cross_linux.sh runs it where there is no processor to take the time of.
#include "core/simd/path.hpp"
#include "core/zavo.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

namespace simd = zavo::simd;

template <class Work>
bool repeat(int rounds, const Work& work)
{
    for (int i = 0; i < rounds; ++i) {
        work();
    }
    return true;
}

bool run(const char* piece, int n, int rounds)
{
    const auto is = [&](const char* name) { return std::strcmp(piece, name) == 0; };
    std::vector<float> x(2 * static_cast<std::size_t>(n)), y(x.size());
    zavo_random_seed_set(1);
    zavo_f_random_uniform(2 * n, ZAVO_RETURN_USER, x.data(), 0);
    if (is("uniform") || is("normal") || is("exponential")) {
        const auto routine = is("uniform")  ? zavo_f_random_uniform
                             : is("normal") ? zavo_f_random_normal
                                            : zavo_f_random_exponential;
        return repeat(rounds, [&] { routine(n, ZAVO_RETURN_USER, y.data(), 0); });
    }
    if (is("real")) {
        float* const table = zavo_f_fft_real_init(n);
        return repeat(
            rounds, [&] { zavo_f_fft_real(n, x.data(), ZAVO_PARAMS, table, ZAVO_RETURN_USER, y.data(), 0); });
    }
    if (is("complex")) {
        float* const table = zavo_c_fft_complex_init(n);
        return repeat(rounds, [&] {
            zavo_c_fft_complex(n, reinterpret_cast<const f_complex*>(x.data()), ZAVO_PARAMS, table,
                               ZAVO_RETURN_USER, reinterpret_cast<f_complex*>(y.data()), 0);
        });
    }
    return false;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 5 || !simd::limit_path_by_name(argv[1]) ||
        !run(argv[2], std::atoi(argv[3]), std::atoi(argv[4]))) {
        std::fprintf(stderr, "usage: %s path uniform|normal|exponential|real|complex n rounds\n", argv[0]);
        return 1;
    }
    return 0;
}

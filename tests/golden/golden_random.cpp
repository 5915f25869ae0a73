// Random deviates by seed and option, states and the inverse normal distribution
// function. Every deviate goes through a logarithm that the C libraries answer
// differently in the last bits.
#include "random/random.h"
#include "tests/golden/golden.hpp"

#include <bit>
#include <cstdint>
#include <vector>

namespace {

using zavo::golden::Output;

void start(int option, int seed)
{
    const float empty[128] = {};
    zavo_rnses(empty);
    zavo_random_option(option);
    zavo_random_seed_set(seed);
}

void write_option(Output& out, int option)
{
    constexpr int n = 100000;
    std::vector<float> r(n);
    using Routine = float*(int n, ...);
    const struct {
        const char* name;
        Routine* routine;
    } rows[] = {{"uniform", zavo_f_random_uniform},
                {"normal", zavo_f_random_normal},
                {"exponential", zavo_f_random_exponential}};
    out.value("option", option);
    for (const auto& row : rows) {
        start(option, 20250103);
        row.routine(n, ZAVO_RETURN_USER, r.data(), 0);
        out.values(row.name, r.data(), 8);
        out.digest(row.name, r.data(), r.size());
        out.value("state", zavo_random_seed_get());
    }
}

} // namespace

GOLDEN(random)
{
    for (int option = 1; option <= 6; ++option) {
        write_option(out, option);
    }
    zavo_random_option(1);

    // Every 9973rd float from the smallest to 1: tails, both branches between.
    std::vector<float> normal;
    std::vector<float> exponential;
    for (std::uint32_t bits = 1; bits < std::bit_cast<std::uint32_t>(1.0F); bits += 9973) {
        const float p = std::bit_cast<float>(bits);
        normal.push_back(zavo_f_normal_inverse_cdf(p));
        exponential.push_back(l_minus_log(p));
    }
    out.digest("inverse normal", normal.data(), normal.size());
    out.digest("minus log", exponential.data(), exponential.size());
    const float named[] = {0x1p-149F, 1e-30F, 0x1p-23F, 7.826369e-06F,  0.01F,
                           0.075F,    0.5F,   0.975F,   0x1.fffffap-1F, 0x1.fffffep-1F};
    for (const float p : named) {
        out.value("inverse normal", zavo_f_normal_inverse_cdf(p));
        out.value("minus log", l_minus_log(p));
    }
    out.value("minus log", l_minus_log(1.0F));
}

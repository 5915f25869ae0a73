// The public routines under modes that a host has set (tests/support/host_modes.hpp):
// their bits under the usual ones, a line for each mode that changes them or is not
// the host's any more afterwards, and none where all is well.
#include "core/errors/error_stack.h"
#include "core/zavo.h"
#include "tests/golden/golden.hpp"
#include "tests/support/host_modes.hpp"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using zavo::golden::Output;
using zavo::test::HostMode;
using zavo::test::InHostMode;

constexpr int n = 210;

// Exact in floats, some of them subnormal.
std::vector<float> numbers(std::size_t count, std::uint32_t state)
{
    std::vector<float> values(count);
    for (float& value : values) {
        state = state * 1664525U + 1013904223U;
        value = static_cast<float>(static_cast<int>(state >> 12) - (1 << 19)) / 4096.0F;
        if (state % 16 == 0) {
            value *= 0x1p-140F;
        }
    }
    return values;
}

const std::vector<float> data = numbers(2 * n, 1);
const std::vector<float> kernel = numbers(n, 2); // a correlation reads that many

// What a routine has given, from malloc or of its own.
using Bits = std::vector<float>;
Bits taken(float* result, std::size_t count)
{
    Bits bits(result, result + (result != nullptr ? count : 0));
    std::free(result);
    return bits;
}
Bits taken(f_complex* result, std::size_t count)
{
    return taken(reinterpret_cast<float*>(result), 2 * count);
}

const f_complex* complex_data()
{
    return reinterpret_cast<const f_complex*>(data.data());
}

template <class Routine>
Bits deviates(Routine* routine, int generator)
{
    const float empty[128] = {};
    zavo_rnses(empty);
    zavo_random_option(generator);
    zavo_random_seed_set(20250103);
    return taken(routine(5000, 0), 5000);
}

template <int options_count>
Bits convolved(const int (&options)[options_count])
{
    int count = 0;
    float* const z = zavo_f_convolution(n, data.data(), 17, kernel.data(), &count, options[0], options[1], 0);
    return taken(z, static_cast<std::size_t>(count));
}

// A user function, which sees the host's modes, is to compute the same bits in all
// of them: integers of a few digits alone.
float objective(int, float* x)
{
    const auto whole = [](float v) { return static_cast<long long>(v * 4096.0F); };
    const long long a = whole(x[0]) - 3 * 4096;
    const long long b = whole(x[1]) + 2 * 4096;
    return static_cast<float>(std::min(a * a + b * b, 1LL << 23) & ~1LL);
}
void constrained_objective(int count, float* x, float* f)
{
    *f = objective(count, x);
}

Bits minimum()
{
    const float guess[] = {2.0F, -1.0F};
    return taken(zavo_f_min_uncon_multivar(objective, 2, ZAVO_START_POINT, guess, 0), 2);
}
Bits constrained_minimum()
{
    float a[] = {1.0F, 1.0F};
    float b[] = {0.5F};
    float low[] = {-9.0F, -9.0F};
    float high[] = {9.0F, 9.0F};
    float guess[] = {0.25F, 0.25F};
    return taken(
        zavo_f_min_con_gen_lin(constrained_objective, 2, 1, 0, a, b, low, high, ZAVO_START_POINT, guess, 0),
        2);
}

std::string heard;
void hear(int, int, const char*, const char* message)
{
    heard = message;
}
// The text of a message with numbers in it, as bits.
Bits message()
{
    zavo_error_options(ZAVO_SET_ERROR_HANDLER, hear, 0);
    heard.clear();
    zavo_error_push("routine");
    zavo_error_set_real(1, 1.0 / 1024);
    zavo_error_set_complex(1, 1.25, -3.5);
    zavo_e1mes(ZAVO_WARNING_IMMEDIATE, 1, "%(R1) %(R1%.3f) %(Z1) %(Z1%.1f %.2f)");
    zavo_error_pop("routine");
    zavo_error_options(ZAVO_SET_ERROR_HANDLER, nullptr, 0);
    Bits bits;
    for (const char letter : heard) {
        bits.push_back(static_cast<float>(static_cast<unsigned char>(letter)));
    }
    return bits;
}

struct Row {
    const char* name;
    Bits (*run)();
};

// clang-format off
constexpr Row rows[] = {
    {"machine", [] {
        Bits bits;
        for (int i = 1; i <= 8; ++i) {
            if (i != 6) { bits.push_back(zavo_f_machine(i)); }
        }
        return bits;
    }},
    {"extrema", [] {
        return Bits{zavo_f_vmin(3, 1e-40F, 2e-40F, 0.5F), zavo_f_vmax(3, -1e-40F, -2e-40F, -0.5F),
                    zavo_f_vmax(2, 0.0F, 1e-40F)};
    }},
    {"uniform",     [] { return deviates(zavo_f_random_uniform, 1); }},
    {"shuffled",    [] { return deviates(zavo_f_random_uniform, 2); }},
    {"normal",      [] { return deviates(zavo_f_random_normal, 3); }},
    {"exponential", [] { return deviates(zavo_f_random_exponential, 5); }},
    {"quantiles", [] {
        Bits bits;
        for (const float p : {1e-42F, 1e-30F, 1e-5F, 0.1F, 0.3F, 0.5F, 0.7F, 0.99F, 0.9999999F}) {
            bits.push_back(zavo_f_normal_inverse_cdf(p));
        }
        return bits;
    }},
    {"real",          [] { return taken(zavo_f_fft_real(n, data.data(), 0), n); }},
    {"real-prime",    [] { return taken(zavo_f_fft_real(199, data.data(), 0), 199); }},
    {"real-backward", [] { return taken(zavo_f_fft_real(n, data.data(), ZAVO_BACKWARD, 0), n); }},
    {"real-table",    [] { return taken(zavo_f_fft_real_init(n), 2 * n + 15); }},
    {"complex",       [] { return taken(zavo_c_fft_complex(n, complex_data(), 0), n); }},
    {"complex-table", [] { return taken(zavo_c_fft_complex_init(n), 4 * n + 15); }},
    {"plane",         [] { return taken(zavo_c_fft_2d_complex(14, 15, complex_data(), 0), n); }},
    {"convolution",   [] { return convolved({0, 0}); }},
    {"circular",      [] { return convolved({ZAVO_CIRCULAR, 0}); }},
    {"correlation",   [] { return convolved({ZAVO_CORRELATE, 0}); }},
    {"constants", [] {
        return Bits{zavo_f_constant("speedlight", "foot/s"), zavo_f_constant("planck", "erg*s"),
                    zavo_f_constant("gas", "erg/mole/K")};
    }},
    {"days", [] {
        int day = 0, month = 0, year = 0;
        zavo_days_to_date(123456, &day, &month, &year);
        return Bits{static_cast<float>(zavo_date_to_days(day, month, year)), static_cast<float>(day),
                    static_cast<float>(month), static_cast<float>(year)};
    }},
    {"minimum",             minimum},
    {"constrained-minimum", constrained_minimum},
    {"message",             message},
};
// clang-format on

bool same(const Bits& a, const Bits& b)
{
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

} // namespace

GOLDEN(modes)
{
    zavo_error_options(ZAVO_SET_PRINT, ZAVO_WARNING, 0, ZAVO_SET_PRINT, ZAVO_NOTE, 0, 0);
    for (const Row& row : rows) {
        const Bits usual = row.run();
        out.digest(row.name, usual.data(), usual.size());
        for (const HostMode& mode : zavo::test::host_modes) {
            if (!zavo::test::has_effect(mode)) {
                continue;
            }
            Bits bits;
            bool stayed = false;
            {
                const InHostMode in{&mode};
                bits = row.run();
                stayed = in.still_is();
            }
            if (!same(bits, usual)) {
                out.text(row.name, (std::string("differs: ") + mode.name).c_str());
            }
            if (!stayed) {
                out.text(row.name, (std::string("leaves no host's mode: ") + mode.name).c_str());
            }
        }
    }
}

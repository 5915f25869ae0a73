// Factorisation and twiddle regions. Worked value: the real transform of length
// 12 has the factors 4, 3, the complex one 3, 4; length 8 has 2, 4 in both, as
// the 2 is found second and moved to the front.

#include "fft/tables/factors.hpp"

#include "core/system/memory.hpp"
#include "fft/tables/twiddle.hpp"

#include <array>
#include <cassert>
#include <cstdint>
#include <cstring>

namespace zavo::fft {

namespace {

using Trials = std::array<int, 4>;
constexpr Trials real_trials = {4, 2, 3, 5};
constexpr Trials complex_trials = {3, 4, 2, 5};

// 2 pi rounded to single precision.
constexpr float two_pi = 6.2831855F;

// A factor 2 stands first, whenever it was found. Only one can exist, since 4 is
// divided out before 2.
void append(Factors& factors, Index ip)
{
    if (ip == 2) {
        for (int i = factors.count; i > 0; --i) {
            factors.ip[i] = factors.ip[i - 1];
        }
        factors.ip[0] = 2;
    } else {
        factors.ip[factors.count] = ip;
    }
    ++factors.count;
}

void factorise(Index n, const Trials& trials, Factors& factors)
{
    factors.n = n;
    factors.count = 0;
    Index rest = n;
    for (Index trial_no = 0; rest != 1; ++trial_no) {
        Index ip = trial_no < 4 ? trials[static_cast<std::size_t>(trial_no)] : 2 * trial_no - 1;
        if (trial_no >= 4 && ip > rest / ip) {
            ip = rest; // no divisor up to its root: prime
        }
        for (; rest % ip == 0; rest /= ip) { // ends at 1, which no factor divides
            append(factors, ip);
        }
    }
    factors.multiply_up();
}

// A stored integer, rounded to nearest; 0 for what can be none.
Index stored_int(float value)
{
    // In double the sum is exact for every float below.
    const double half_up = static_cast<double>(value) + 0.5;
    // NOLINTNEXTLINE(bugprone-incorrect-roundings): defined so, and exact
    return value >= 0.0F && value < 2147483520.0F ? static_cast<Index>(half_up) : 0;
}

void read_record(Index n, const float* record, const Trials& trials, Factors& factors)
{
    factors.n = n;
    factors.count = static_cast<int>(stored_int(record[1]));
    std::int64_t product = 1;
    bool good = factors.count >= 1 && factors.count <= record_floats - 2;
    for (int i = 0; good && i < factors.count; ++i) {
        const Index ip = stored_int(record[2 + i]);
        product *= ip;
        good = ip >= 2 && (ip % 2 != 0 || ip <= 4) && product <= n;
        factors.ip[i] = ip;
    }
    if (!good || product != n) {
        factorise(n, trials, factors);
        return;
    }
    factors.multiply_up();
}

void write_record(const Factors& factors, float* record)
{
    record[0] = static_cast<float>(factors.n);
    record[1] = static_cast<float>(factors.count);
    // To its end, since records are compared as a whole.
    for (int i = 0; i < record_floats - 2; ++i) {
        record[2 + i] = i < factors.count ? static_cast<float>(factors.ip[i]) : 0.0F;
    }
}

// The angle of block j of a factor: a float product of floats.
float block_angle(const Factors& factors, int which, Index j)
{
    const float argh = two_pi / static_cast<float>(factors.n);
    return static_cast<float>(j * factors.l1(which)) * argh;
}

} // namespace

Factors real_factors(Index n)
{
    Factors factors;
    factorise(n, real_trials, factors);
    return factors;
}
Factors complex_factors(Index n)
{
    Factors factors;
    factorise(n, complex_trials, factors);
    return factors;
}
Factors read_real_record(Index n, const float* record)
{
    Factors factors;
    read_record(n, record, real_trials, factors);
    return factors;
}
Factors read_complex_record(Index n, const float* record)
{
    Factors factors;
    read_record(n, record, complex_trials, factors);
    return factors;
}

float* new_table(Index n, int parts)
{
    assert(n >= 1);
    const std::size_t count = count_of_floats(n, parts, record_floats);
    float* const table = static_cast<float*>(core::allocate(count, sizeof(float)));
    if (table != nullptr) {
        std::memset(table, 0, count * sizeof(float));
    }
    return table;
}

float* unless_interrupted(float* table)
{
    if (core::interrupted()) {
        core::release(table);
        return nullptr;
    }
    return table;
}

// Block j of a factor holds (cos, sin) of the multiples 1 .. (ido - 1) / 2; the
// last factor has ido = 1 and needs none.
void build_real_table(Index n, float* twiddles, float* record)
{
    assert(n >= 2 && record == twiddles + n);
    const Factors factors = real_factors(n);
    write_record(factors, record);
    for (int which = 0; which + 1 < factors.count; ++which) {
        const Shape shape = factors.shape(which);
        float* block = twiddles + factors.twiddle_offset(which);
        for (Index j = 1; j < shape.ip && !interrupted_at(n, shape.ido); ++j, block += shape.ido) {
            fill_cos_sin(block_angle(factors, which, j), 1, static_cast<int>((shape.ido - 1) / 2), block);
        }
    }
}

// Block j of a factor holds ido pairs: (1, 0), then the multiples 1 .. ido - 1.
// The multiple ido goes behind the block, where the next block's (1, 0)
// overwrites it; above radix 5 a copy of it takes the place of the block's own
// (1, 0), which is where the general pass looks for its rotation.
void build_complex_table(Index n, float* twiddles, float* record)
{
    assert(n >= 2 && record == twiddles + 2 * n);
    const Factors factors = complex_factors(n);
    write_record(factors, record);
    for (int which = 0; which < factors.count; ++which) {
        const Shape shape = factors.shape(which);
        float* block = twiddles + 2 * factors.twiddle_offset(which);
        for (Index j = 1; j < shape.ip && !interrupted_at(n, 4 * shape.ido); ++j, block += 2 * shape.ido) {
            block[0] = 1.0F;
            block[1] = 0.0F;
            fill_cos_sin(block_angle(factors, which, j), 1, static_cast<int>(shape.ido), block + 2);
            if (shape.ip > 5) {
                block[0] = block[2 * shape.ido];
                block[1] = block[2 * shape.ido + 1];
            }
        }
    }
}

} // namespace zavo::fft

// The uniform stream: one for each thread, a multiplicative congruence with or
// without a shuffle table in front of its output (C. Bays, S. D. Durham,
// "Improving a poor random number generator", 1976).
//
// Seed 1, option 1: states 16807, 282475249, 1622650073, ...; the first deviate
// is 16807 / 2^31 = 7.826369e-06.

#include "core/errors/error_codes.hpp"
#include "core/frame/entry_frame.hpp"
#include "core/system/platform.hpp"
#include "core/thread_state.hpp"
#include "random/deliver.hpp"
#include "random/kernels.hpp"
#include "random/random.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <ctime>

namespace zavo::random {

namespace {

constexpr int options = 6;
constexpr int table_size = core::StreamState::table_size;

// By option: 1 and 2, 3 and 4, 5 and 6; the even one of a pair is shuffled.
constexpr Multiplier multipliers[options / 2] = {powers_of(16807), powers_of(397204094),
                                                 powers_of(950706376)};

// The largest state's product stays below 1, so the scale needs no reduction.
static_assert(2147483646.0 * unit_scale < 1.0);

// Length from which an array is written by non-temporal stores. They pay for memory that
// has been in use; fresh pages are in the cache, where the system has just cleared them,
// and would be written back twice.
constexpr std::size_t large_array = std::size_t{4} << 20;

// Deviates between two looks at whether the batch goes on.
constexpr std::size_t part_of_batch = std::size_t{8} << 20;

using Stream = core::StreamState;

Stream& stream()
{
    return core::thread_state().stream;
}

constexpr int smallest_clock_seed = 2;
constexpr int fallback_seed = 123457;

void seed_from_clock(Stream& stream)
{
    std::tm now{};
    const bool known = platform::clock_time(&now);
    const int seed = known ? now.tm_hour * 10000 + now.tm_min * 100 + now.tm_sec + 1 : 0;
    stream.seed = core::seed_of_thread(seed < smallest_clock_seed ? fallback_seed : seed);
}

// Before anything is drawn or asked for.
void seed_at_latest_now(Stream& stream)
{
    if (!stream.seeded) {
        seed_from_clock(stream);
        stream.seeded = true;
    }
}

const Multiplier& multiplier_of(const Stream& stream)
{
    assert(stream.option >= 1 && stream.option <= options);
    return multipliers[(stream.option - 1) / 2];
}

// Each deviate picks the table's entry by the state's lower 7 bits, hands it out
// and leaves its own value there. Only this exchange is serial; the states come
// in vectors, a round at a time.
std::uint32_t fill_shuffled(Stream& stream, std::uint32_t x, std::size_t n, float* r)
{
    const Multiplier& multiplier = multiplier_of(stream);
    if (!stream.filled) {
        for (float& entry : stream.table) {
            x = multiply_mod(x, multiplier.power[0]);
            entry = static_cast<float>(x / double{modulus}); // divided, not scaled
        }
        stream.filled = true;
    }
    static_assert((table_size & (table_size - 1)) == 0);
    constexpr std::size_t round = 1024;
    std::uint32_t states[round];
    float* const table = stream.table;
    while (n != 0) {
        const std::size_t count = n < round ? n : round;
        x = kernels().uniform_and_states(multiplier, x, count, r, states);
        for (std::size_t i = 0; i < count; ++i) {
            float& entry = table[states[i] % table_size];
            const float drawn = entry;
            entry = r[i];
            r[i] = drawn;
        }
        n -= count;
        r += count;
    }
    return x;
}

// The seed is stored last: a batch that faults half-way leaves it where it was.
void fill(int n, float* r, bool untouched)
{
    Stream& stream = random::stream();
    seed_at_latest_now(stream);
    if (n < 1) {
        return;
    }
    assert(r != nullptr && stream.seed >= 1 && stream.seed < static_cast<int>(modulus));
    const auto x = static_cast<std::uint32_t>(stream.seed);
    const auto count = static_cast<std::size_t>(n);
    const bool shuffled = stream.option % 2 == 0;
    const bool large = count >= large_array && !untouched;
    const auto draw = large ? kernels().uniform_large : kernels().uniform;
    std::uint32_t last = x;
    for (std::size_t done = 0; done < count; done += part_of_batch) {
        if (done > 0 && core::interrupted(part_of_batch)) {
            return;
        }
        const std::size_t part = std::min(part_of_batch, count - done);
        last = shuffled ? fill_shuffled(stream, last, part, r + done)
                        : draw(multiplier_of(stream), last, part, r + done);
    }
    stream.seed = static_cast<int>(last);
}

bool is_state(const zavo_random_state& state)
{
    if (state.option < 1 || state.option > options || state.seed < 1 ||
        state.seed >= static_cast<int>(modulus)) {
        return false;
    }
    const float* const end = state.table + (state.filled != 0 ? table_size : 0);
    return std::all_of(state.table, end, [](float v) { return v > 0.0F && v <= 1.0F; });
}

} // namespace

} // namespace zavo::random

using namespace zavo::random;
namespace core = zavo::core;

void zavo_rnun(int n, float* r)
{
    draw_batch(n, [=] { fill(n, r, false); });
}

float* zavo_f_random_uniform(int n, ...)
{
    std::va_list list;
    va_start(list, n);
    float* const result = deliver_deviates("zavo_f_random_uniform", n, list, fill);
    va_end(list);
    return result;
}

void zavo_random_seed_set(int seed)
{
    core::StreamState& stream = zavo::random::stream();
    if (seed > 0 && seed < static_cast<int>(modulus)) {
        stream.seed = seed;
        stream.seeded = true;
    } else if (seed == 0) {
        // Kept: not marked as seeded, so a stream that never was takes the
        // clock once more at its first deviate (random_uniform.seed_0_takes_the_clock).
        seed_from_clock(stream);
    } else {
        seed_at_latest_now(stream);
    }
}

int zavo_random_seed_get(void)
{
    core::StreamState& stream = zavo::random::stream();
    seed_at_latest_now(stream);
    return stream.seed;
}

void zavo_random_option(int option)
{
    static const char name[] = "zavo_random_option";
    zavo_error_push(name);
    int position = 0;
    zavo_arg_check_range(option, "generator_option", 1, options, &position);
    if (zavo_error_code(0) == 0) {
        zavo::random::stream().option = option; // the shuffle table stays as it is
    }
    zavo_error_pop(name);
}

int zavo_random_option_get(void)
{
    return zavo::random::stream().option;
}

void zavo_random_state_get(zavo_random_state* state)
{
    core::StreamState& stream = zavo::random::stream();
    seed_at_latest_now(stream);
    state->option = stream.option;
    state->seed = stream.seed;
    state->filled = stream.filled ? 1 : 0;
    std::copy_n(stream.table, table_size, state->table);
}

int zavo_random_state_set(const zavo_random_state* state)
{
    if (!is_state(*state)) {
        return 0;
    }
    core::StreamState& stream = zavo::random::stream();
    stream.option = state->option;
    stream.seed = state->seed;
    stream.seeded = true;
    stream.filled = state->filled != 0;
    if (stream.filled) {
        std::copy_n(state->table, table_size, stream.table);
    }
    return 1;
}

int zavo_random_jump(long long count)
{
    core::StreamState& stream = zavo::random::stream();
    if (count < 0 || stream.option % 2 == 0) {
        return 0;
    }
    seed_at_latest_now(stream);
    stream.seed = static_cast<int>(jumped(static_cast<std::uint32_t>(stream.seed),
                                          multiplier_of(stream).power[0], static_cast<std::uint64_t>(count)));
    return 1;
}

void zavo_rnses(const float* table)
{
    static const char name[] = "zavo_rnses";
    zavo_error_push(name);
    core::StreamState& stream = zavo::random::stream();
    stream.filled = table[0] > 0.0F;
    for (int i = 0; stream.filled && i < table_size; ++i) {
        if (table[i] > 0.0F && table[i] < 1.0F) {
            stream.table[i] = table[i];
        } else {
            zavo_error_set_real(1, table[i]);
            zavo_error_set_int(1, i + 1);
            zavo_error_post(ZAVO_TERMINAL, core::code::bad_shuffle_value);
        }
    }
    zavo_error_pop(name);
}

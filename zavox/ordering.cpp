#include "zavox/ordering.hpp"

#include "zavox/engine.hpp"

#include <quillet.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace zavox {

namespace {

constexpr std::uint32_t sign_bit = 0x80000000U;

// Where a number stands among all floats, -0 before 0; and the float that stands there.
std::uint32_t rank_of(float x)
{
    const auto bits = std::bit_cast<std::uint32_t>(x);
    return (bits & sign_bit) != 0 ? ~bits : bits | sign_bit;
}
float float_at(std::uint32_t rank)
{
    return std::bit_cast<float>((rank & sign_bit) != 0 ? rank & ~sign_bit : ~rank);
}

// A float's place in the order as a natural number; the two zeros share one.
std::uint32_t rank_of(float x, bool decreasing)
{
    if (std::isnan(x)) {
        return UINT32_MAX;
    }
    const std::uint32_t rank = rank_of(x == 0 ? 0.0F : x);
    return decreasing ? ~rank : rank; // neither is UINT32_MAX: that pattern is a NaN's
}

struct Ranked {
    std::uint32_t rank;
    int index;
};

// Digits of 11, 11 and 10 bits, the lowest first; each pass keeps the order of the
// one before.
constexpr int digit_bits = 11;
constexpr int digits = 3;
constexpr int digit_values = 1 << digit_bits;
constexpr int nanoseconds_of_pass = 5; // for an element

std::uint32_t digit_of(std::uint32_t rank, int digit)
{
    return rank >> (digit * digit_bits) & (digit_values - 1);
}

// False when interrupted.
[[nodiscard]] bool distribute(const Ranked* from, Ranked* to, int n, int digit, int* counts)
{
    int start = 0;
    for (int value = 0; value < digit_values; ++value) {
        const int count = counts[value];
        counts[value] = start;
        start += count;
    }
    return in_parts(n, nanoseconds_of_pass, [=](std::int64_t begin, std::int64_t end) {
        for (std::int64_t i = begin; i < end; ++i) {
            to[counts[digit_of(from[i].rank, digit)]++] = from[i];
        }
    });
}

// By insertion, for a few.
void sort_few(Ranked* x, int n)
{
    for (int i = 1; i < n; ++i) {
        const Ranked moving = x[i];
        int k = i;
        for (; k > 0 && x[k - 1].rank > moving.rank; --k) {
            x[k] = x[k - 1];
        }
        x[k] = moving;
    }
}

// The first place of a float that is wanted; n when none is, or when interrupted. All of a
// block are looked at before the place in it is: the compiler then takes many at a time.
template <class Wanted>
int first_place(const float* x, int n, Wanted&& wanted)
{
    constexpr std::int64_t block = 256;
    std::int64_t place = n;
    static_cast<void>(in_parts(n, 1, [&](std::int64_t begin, std::int64_t end) {
        for (auto i = begin; i < end && place == n; i += block) {
            const float* const first = x + i;
            const float* const last = first + std::min(block, end - i);
            int here = 0;
            for (const float* p = first; p != last; ++p) {
                here |= static_cast<int>(wanted(*p));
            }
            place = here != 0 ? std::find_if(first, last, wanted) - x : place;
        }
    }));
    return static_cast<int>(place);
}

// Several independent chains of comparisons, since one is latency-bound: each takes every
// fourth element.
template <class Better>
int place_of_best(const float* x, int n, Better&& better)
{
    constexpr int chains = 4;
    float best[chains] = {x[0], x[0], x[0], x[0]};
    bool has_nan = false;
    const bool done = in_parts(n, 1, [&](std::int64_t begin, std::int64_t end) {
        auto i = begin;
        for (; i + chains <= end; i += chains) {
            for (int k = 0; k < chains; ++k) {
                const float value = x[i + k];
                has_nan |= std::isnan(value);
                best[k] = better(value, best[k]) ? value : best[k];
            }
        }
        for (; i < end; ++i) {
            has_nan |= std::isnan(x[i]);
            best[0] = better(x[i], best[0]) ? x[i] : best[0];
        }
    });
    if (!done) {
        return 0;
    }
    for (int k = 1; k < chains; ++k) {
        best[0] = better(best[k], best[0]) ? best[k] : best[0];
    }
    const int place =
        has_nan ? place_of_nan(x, n) : first_place(x, n, [&](float value) { return value == best[0]; });
    return std::min(place, n - 1);
}

// Two neighbours in order: the one that has so many elements before it, and the next
// one, which is the same where there is none.
struct Neighbours {
    float low;
    float high;
};

Neighbours neighbours_among_few(const float* x, int n, int place, float* work)
{
    std::memcpy(work, x, static_cast<std::size_t>(n) * sizeof(float));
    std::nth_element(work, work + place, work + n);
    const float* const next = std::min_element(work + place + 1, work + n);
    return {work[place], next != work + n ? *next : work[place]};
}

// The digits of the rank, the highest first: counts of those elements that agree in all
// digits before tell the next one.
Neighbours neighbours_among_many(const float* x, int n, int place)
{
    std::uint32_t known = 0;
    int equal = 0; // elements from the place on that have the known digits
    for (int digit = digits - 1; digit >= 0; --digit) {
        int counts[digit_values] = {};
        const int shift = (digit + 1) * digit_bits;
        const auto before = std::uint64_t{known} >> shift;
        const bool done = in_parts(n, nanoseconds_of_pass, [&](std::int64_t begin, std::int64_t end) {
            for (auto i = begin; i < end; ++i) {
                const std::uint32_t rank = rank_of(x[i]);
                counts[digit_of(rank, digit)] += static_cast<int>(std::uint64_t{rank} >> shift == before);
            }
        });
        if (!done) {
            return {};
        }
        std::uint32_t value = 0;
        for (; place >= counts[value]; ++value) {
            place -= counts[value];
        }
        known |= value << (digit * digit_bits);
        equal = counts[value] - place;
    }
    std::uint32_t next = equal > 1 ? known : UINT32_MAX;
    static_cast<void>(
        in_parts(equal > 1 ? 0 : n, nanoseconds_of_pass, [&](std::int64_t begin, std::int64_t end) {
            for (auto i = begin; i < end; ++i) {
                const std::uint32_t rank = rank_of(x[i]);
                next = rank > known ? std::min(rank, next) : next;
            }
        }));
    return {float_at(known), float_at(next == UINT32_MAX ? known : next)};
}

// The zero that stands at a place in the order. Zeros are equal, so that theirs is the order
// in which they are given, whatever their signs.
float zero_at(const float* x, int n, int place)
{
    std::int64_t left = place;
    float zero = 0;
    static_cast<void>(in_parts(n, 1, [&](std::int64_t begin, std::int64_t end) {
        left -= std::count_if(x + begin, x + end, [](float value) { return value < 0; });
    }));
    static_cast<void>(in_parts(n, 1, [&](std::int64_t begin, std::int64_t end) {
        for (auto i = begin; i < end; ++i) {
            if (x[i] == 0 && left-- == 0) {
                zero = x[i];
            }
        }
    }));
    return zero;
}

} // namespace

bool sort_indices(const float* x, int n, bool decreasing, int* indices)
{
    constexpr int few = 64;
    const auto count = static_cast<std::size_t>(n);
    auto* const ranked = static_cast<Ranked*>(dfuAllocate(2 * count + 1, sizeof(Ranked)));
    if (ranked == nullptr) {
        return false;
    }
    Ranked* from = ranked;
    Ranked* to = ranked + n;
    static_assert(digits == 3);
    int counts[digits][digit_values];
    if (n > few) {
        std::fill(&counts[0][0], &counts[0][0] + digits * digit_values, 0);
    }
    bool done = in_parts(n, nanoseconds_of_pass, [&](std::int64_t begin, std::int64_t end) {
        for (std::int64_t i = begin; i < end; ++i) {
            from[i] = {rank_of(x[i], decreasing), static_cast<int>(i)};
            if (n > few) {
                for (int digit = 0; digit < digits; ++digit) {
                    ++counts[digit][digit_of(from[i].rank, digit)];
                }
            }
        }
    });
    if (n <= few) {
        sort_few(from, n);
    } else {
        for (int digit = 0; done && digit < digits; ++digit) {
            done = distribute(from, to, n, digit, counts[digit]);
            std::swap(from, to);
        }
    }
    done = done && in_parts(n, 1, [=](std::int64_t begin, std::int64_t end) {
               std::transform(from + begin, from + end, indices + begin, [](Ranked r) { return r.index; });
           });
    std::free(ranked);
    return done;
}

int place_of_nan(const float* x, int n)
{
    return first_place(x, n, [](float value) { return std::isnan(value); });
}

int place_of_minimum(const float* x, int n)
{
    return place_of_best(x, n, [](float a, float b) { return a < b; });
}

int place_of_maximum(const float* x, int n)
{
    return place_of_best(x, n, [](float a, float b) { return a > b; });
}

double quantile_of(const float* x, int n, double p)
{
    if (place_of_nan(x, n) < n) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    constexpr int few = 1024;
    float work[few];
    const double place = (n - 1) * p;
    const int below = std::min(static_cast<int>(place), n - 1);
    const Neighbours found =
        n <= few ? neighbours_among_few(x, n, below, work) : neighbours_among_many(x, n, below);
    const auto low = static_cast<double>(found.low != 0 ? found.low : zero_at(x, n, below));
    const auto high = static_cast<double>(found.high);
    const double share = place - below;
    return share == 0 || low == high ? low : low + share * (high - low);
}

} // namespace zavox

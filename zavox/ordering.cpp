#include "zavox/ordering.hpp"

#include "zavox/engine.hpp"

#include <quillet.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>

namespace zavox {

namespace {

// A float's place in the order as a natural number; the two zeros share one.
std::uint32_t rank_of(float x, bool decreasing)
{
    if (std::isnan(x)) {
        return UINT32_MAX;
    }
    const auto bits = std::bit_cast<std::uint32_t>(x == 0 ? 0.0F : x);
    const std::uint32_t rank = (bits >> 31) != 0 ? ~bits : bits | 0x80000000U;
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

// Several comparisons at a time: each chain of them is as long as a fourth of x.
template <class Better>
int place_of_best(const float* x, int n, Better&& better)
{
    constexpr int chains = 4;
    float best[chains] = {x[0], x[0], x[0], x[0]};
    bool has_nan = false;
    int i = 0;
    for (; i + chains <= n; i += chains) {
        for (int k = 0; k < chains; ++k) {
            const float value = x[i + k];
            has_nan |= std::isnan(value);
            best[k] = better(value, best[k]) ? value : best[k];
        }
    }
    for (; i < n; ++i) {
        has_nan |= std::isnan(x[i]);
        best[0] = better(x[i], best[0]) ? x[i] : best[0];
    }
    if (has_nan) {
        return static_cast<int>(std::find_if(x, x + n, [](float value) { return std::isnan(value); }) - x);
    }
    for (int k = 1; k < chains; ++k) {
        best[0] = better(best[k], best[0]) ? best[k] : best[0];
    }
    return static_cast<int>(std::find(x, x + n, best[0]) - x);
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
    for (int i = 0; done && i < n; ++i) {
        indices[i] = from[i].index;
    }
    std::free(ranked);
    return done;
}

int place_of_minimum(const float* x, int n)
{
    return place_of_best(x, n, [](float a, float b) { return a < b; });
}

int place_of_maximum(const float* x, int n)
{
    return place_of_best(x, n, [](float a, float b) { return a > b; });
}

double quantile_of(float* x, int n, double p)
{
    const double place = (n - 1) * p;
    const int below = std::min(static_cast<int>(place), n - 1);
    std::nth_element(x, x + below, x + n);
    const auto low = static_cast<double>(x[below]);
    const double share = place - below;
    if (share == 0) {
        return low;
    }
    const auto high = static_cast<double>(*std::min_element(x + below + 1, x + n));
    return low == high ? low : low + share * (high - low);
}

} // namespace zavox

// A sum is exact because floats are few: all of them are multiples of 2^-149 below
// 2^128, so that a number of 320 bits holds the sum of 2^31 of them. Most blocks of
// a thousand floats have a sum that 53 bits hold; those are added in vectors and
// only their sums go into the long number (kernels.hpp tells which).
#include "zavox/sums.hpp"

#include "zavox/engine.hpp"
#include "zavox/wide/kernels.hpp"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cmath>
#include <cstdint>
#include <limits>

namespace zavox {

namespace {

using wide::Kernels;
using wide::partial_sums;
using wide::sum_block;

// A sum of doubles that are multiples of 2^-149, without rounding, as signed limbs
// of 32 bits; a limb takes 2^30 additions before its carry must go on.
class LongSum {
public:
    // x is finite and below 2^160.
    void add(double x)
    {
        const auto bits = std::bit_cast<std::uint64_t>(x);
        const auto exponent = static_cast<int>(bits >> 52 & 0x7FF);
        if (exponent == 0) {
            return; // zero: no multiple of 2^-149 is so small
        }
        // x = mantissa 2^(place - 149 - 52), place >= 0
        const std::uint64_t mantissa = (bits & 0xFFFFFFFFFFFFFU) | 0x10000000000000U;
        const int place = exponent - 1023 + 149;
        const int limb = place / 32;
        assert(place >= 0 && limb + 2 < count);
        const int shift = place % 32;
        const std::uint64_t low = mantissa << shift; // of up to 84 bits
        const std::uint64_t high = shift == 0 ? 0 : mantissa >> (64 - shift);
        const std::int64_t sign = (bits >> 63) != 0 ? -1 : 1;
        limbs_[limb] += sign * static_cast<std::int64_t>(low & 0xFFFFFFFFU);
        limbs_[limb + 1] += sign * static_cast<std::int64_t>(low >> 32);
        limbs_[limb + 2] += sign * static_cast<std::int64_t>(high);
        if (++additions_ == most_additions) {
            carry();
        }
    }

    // Rounded to the nearest double, halves to even.
    double value()
    {
        carry();
        const bool negative = limbs_[count - 1] < 0;
        if (negative) {
            for (std::int64_t& limb : limbs_) {
                limb = -limb;
            }
            carry();
        }
        int top = count - 1;
        while (top > 0 && limbs_[top] == 0) {
            --top;
        }
        // The leading 64 bits, the last of them set when anything is below.
        const auto limb_at = [this](int i) { return i >= 0 ? static_cast<std::uint64_t>(limbs_[i]) : 0; };
        std::uint64_t lead = limb_at(top) << 32 | limb_at(top - 1);
        if (lead == 0) {
            return 0;
        }
        const int shift = std::countl_zero(lead); // below 32: the top limb is not zero
        const std::uint64_t next = limb_at(top - 2);
        bool below = (next << shift & 0xFFFFFFFFU) != 0;
        lead = lead << shift | next >> (32 - shift);
        for (int i = top - 3; i >= 0 && !below; --i) {
            below = limbs_[i] != 0;
        }
        const int exponent = 32 * (top - 1) - shift - (149 + 52);
        constexpr std::uint64_t half = 1U << 10; // of the 11 bits too many
        const std::uint64_t rest = lead & 0x7FF;
        std::uint64_t mantissa = lead >> 11;
        if (rest > half || (rest == half && (below || (mantissa & 1) != 0))) {
            ++mantissa;
        }
        const double size = std::ldexp(static_cast<double>(mantissa), exponent + 11);
        return negative ? -size : size;
    }

private:
    static constexpr int count = 13;
    static constexpr int most_additions = 1 << 30;

    // Limbs of 0 ... 2^32 - 1, but for the last one, which has the sign.
    void carry()
    {
        std::int64_t carried = 0;
        for (int i = 0; i < count - 1; ++i) {
            const std::int64_t sum = limbs_[i] + carried;
            limbs_[i] = sum & 0xFFFFFFFF;
            carried = (sum - limbs_[i]) / (INT64_C(1) << 32);
        }
        limbs_[count - 1] += carried;
        additions_ = 0;
    }

    std::int64_t limbs_[count] = {};
    int additions_ = 0;
};

// What infinite elements and NaNs make of a sum, whatever the others are.
struct Endless {
    bool up = false;
    bool down = false;
    bool nan = false;

    void note(float x)
    {
        nan = nan || std::isnan(x);
        up = up || (std::isinf(x) && x > 0);
        down = down || (std::isinf(x) && x < 0);
    }
    bool any() const { return up || down || nan; }
    double sum() const
    {
        constexpr double infinity = std::numeric_limits<double>::infinity();
        return nan || (up && down) ? std::numeric_limits<double>::quiet_NaN() : up ? infinity : -infinity;
    }
};

// Sums of terms come by the block. Those of the blocks are added by compensated summation:
// what each addition loses (two-sum) is summed beside the total.
class CarefulSum {
public:
    void add(double x)
    {
        const double total = total_ + x;
        const double part = total - total_;
        lost_ += (total_ - (total - part)) + (x - part);
        total_ = total;
    }
    // Inf - Inf in what was lost is none of the sum's.
    double value() const { return std::isfinite(lost_) ? total_ + lost_ : total_; }

private:
    double total_ = 0;
    double lost_ = 0;
};

// The sum of term(0) ... term(n-1), n at most a block, in the parts of the kernels.
template <class Term>
double add_terms(int n, Term&& term)
{
    assert(n <= sum_block);
    double parts[partial_sums] = {};
    for (int i = 0; i < n; ++i) {
        parts[i % partial_sums] += term(i);
    }
    return wide::sum_of_parts(parts);
}

// add(i, count) for one block after the other of n elements, from element i on. What an
// interruption cuts short nobody looks at.
template <class Add>
void by_blocks(int n, Add&& add)
{
    static_cast<void>(in_parts(n, 1, [&](std::int64_t begin, std::int64_t end) {
        for (auto i = begin; i < end; i += sum_block) {
            add(i, static_cast<int>(std::min<std::int64_t>(sum_block, end - i)));
        }
    }));
}

} // namespace

double sum_of(const float* x, int n)
{
    const Kernels& kernels = wide::kernels();
    LongSum sum;
    Endless endless;
    by_blocks(n, [&](std::int64_t i, int count) {
        double block = 0;
        if (count == sum_block && kernels.sum(x + i, &block)) {
            sum.add(block);
            return;
        }
        for (auto k = i; k < i + count; ++k) {
            if (std::isfinite(x[k])) {
                sum.add(static_cast<double>(x[k]));
            } else {
                endless.note(x[k]);
            }
        }
    });
    return endless.any() ? endless.sum() : sum.value();
}

double squares_about(const float* x, int n, double mean)
{
    const Kernels& kernels = wide::kernels();
    CarefulSum sum;
    by_blocks(n, [&](std::int64_t i, int count) {
        sum.add(count == sum_block ? kernels.squares(x + i, mean) : add_terms(count, [=](int k) {
            const double deviation = static_cast<double>(x[i + k]) - mean;
            return deviation * deviation;
        }));
    });
    return sum.value();
}

double product_of(const float* x, const float* y, int n)
{
    const Kernels& kernels = wide::kernels();
    CarefulSum sum;
    by_blocks(n, [&](std::int64_t i, int count) {
        sum.add(count == sum_block ? kernels.products(x + i, y + i) : add_terms(count, [=](int k) {
            return static_cast<double>(x[i + k]) * static_cast<double>(y[i + k]);
        }));
    });
    return sum.value();
}

} // namespace zavox

// The rotations of a complex general pass of large prime radix, without a look-up for
// each lane. The nonzero residues of a prime are the powers of a primitive root g, so
// with slots in the order l = g^a and j = g^b the rotation by l j is that of the power
// a + b: neighbouring lanes find theirs side by side in a table in the order of powers
// (the order that C. M. Rader gave the inputs in "Discrete Fourier transforms when the
// number of data samples is prime", Proc. IEEE 56, 1968). Sums still run over ascending
// j, so no bit differs.
//
// Slots are l = 1 .. half only. As g^half = -1, slot |g^a| for a = 0 .. half - 1 names
// each of them once; a lane whose g^a lies above half finds its rotations half a period
// further on.
#pragma once

#include "fft/wide/simd.hpp"
#include "fft/wide/simd_lanes.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace zavo::fft {

namespace { // compiled for several instruction sets: see inlining.hpp

// From this radix on the tables pay, and up to this one they fit the stack.
constexpr Index smallest_ordered_prime = 67;
constexpr Index largest_ordered_prime = 10300;

// Lanes of a register that a table is longer than its period.
constexpr Index lanes_beyond = 16;

struct PowerOrder {
    std::uint16_t power_of[largest_ordered_prime / 2 + 1];                  // b of j = g^b, for j = 1 .. half
    std::uint16_t root_power[largest_ordered_prime / 2 + 2 * lanes_beyond]; // g^a
    float cos[largest_ordered_prime + lanes_beyond];
    float sin[largest_ordered_prime + lanes_beyond];
};

inline std::uint32_t power_of_residue(std::uint32_t base, Index exponent, std::uint32_t modulus)
{
    std::uint32_t result = 1;
    for (; exponent > 0; exponent >>= 1) {
        if (exponent % 2 != 0) {
            result = result * base % modulus;
        }
        base = base * base % modulus;
    }
    return result;
}

// A primitive root of ip; 0 when ip is not prime, as a factor of a made-up record.
inline std::uint32_t primitive_root(Index ip)
{
    for (Index divisor = 3; divisor * divisor <= ip; divisor += 2) {
        if (ip % divisor == 0) {
            return 0;
        }
    }
    Index primes[8]; // of ip - 1
    int count = 0;
    Index rest = ip - 1;
    for (Index divisor = 2; divisor * divisor <= rest; ++divisor) {
        if (rest % divisor == 0) {
            primes[count++] = divisor;
            while (rest % divisor == 0) {
                rest /= divisor;
            }
        }
    }
    if (rest > 1) {
        primes[count++] = rest;
    }
    const auto modulus = static_cast<std::uint32_t>(ip);
    for (std::uint32_t g = 2;; ++g) {
        if (std::none_of(primes, primes + count,
                         [&](Index prime) { return power_of_residue(g, (ip - 1) / prime, modulus) == 1; })) {
            return g;
        }
    }
}

// wa[step * (b - 1)] are cosine and sine of 2 pi b / ip.
inline void put_in_order(Direction d, Index ip, std::uint32_t root, const float* wa, Index step,
                         PowerOrder& order)
{
    const Index half = (ip - 1) / 2;
    const auto modulus = static_cast<std::uint32_t>(ip);
    std::uint32_t residue = 1;
    for (Index a = 0; a < ip - 1; ++a) {
        const float* const w = wa + step * (residue - 1);
        order.cos[a] = w[0];
        order.sin[a] = d == Direction::forward ? -w[1] : w[1];
        if (static_cast<Index>(residue) <= half) {
            order.power_of[residue] = static_cast<std::uint16_t>(a);
        }
        if (a < half) {
            order.root_power[a] = static_cast<std::uint16_t>(residue);
        }
        residue = residue * root % modulus;
    }
    std::copy_n(order.cos, lanes_beyond, order.cos + ip - 1);
    std::copy_n(order.sin, lanes_beyond, order.sin + ip - 1);
}

// The slots of V neighbouring powers, from power `first` on.
template <int V>
struct OrderedLanes {
    Index first;
    typename Ints<V>::Type is_far; // lanes whose power of g lies above half
    Vector<V> c0, c1, s0, s1;

    ZAVO_INLINE void begin(const PowerOrder& order, Index ip, Index at)
    {
        first = at;
        const Index half = (ip - 1) / 2;
        int mask[V];
        for (int t = 0; t < V; ++t) {
            mask[t] = at + t < half && order.root_power[at + t] > half ? -1 : 0;
        }
        std::memcpy(&is_far, mask, sizeof is_far);
    }
    // The rotations by j = g^power.
    ZAVO_INLINE Pairs<V> turns(const PowerOrder& order, Index period, Index power) const
    {
        const Index sum = first + power;
        const Index near = sum >= period ? sum - period : sum;
        const Index far = near >= period / 2 ? near - period / 2 : near + period / 2;
        return {is_far ? load<V>(order.cos + far) : load<V>(order.cos + near),
                is_far ? load<V>(order.sin + far) : load<V>(order.sin + near)};
    }
    ZAVO_INLINE void start(const Pairs<V>& w, const float* x0, const float* xj, const float* xc)
    {
        c0 = x0[0] + w.re * xj[0];
        c1 = x0[1] + w.re * xj[1];
        s0 = w.im * xc[0];
        s1 = w.im * xc[1];
    }
    ZAVO_INLINE void add(const Pairs<V>& w, const float* xj, const float* xc)
    {
        c0 = c0 + w.re * xj[0];
        c1 = c1 + w.re * xj[1];
        s0 = s0 + w.im * xc[0];
        s1 = s1 + w.im * xc[1];
    }
    void put(const PowerOrder& order, Index slab, Index ip, float* y) const
    {
        const Index half = (ip - 1) / 2;
        float sums[4][V];
        store<V>(sums[0], c0);
        store<V>(sums[1], c1);
        store<V>(sums[2], s0);
        store<V>(sums[3], s1);
        for (Index t = 0; t < V && first + t < half; ++t) {
            const Index residue = order.root_power[first + t];
            const Index l = std::min(residue, ip - residue);
            y[slab * l] = sums[0][t];
            y[slab * l + 1] = sums[1][t];
            y[slab * (ip - l)] = sums[2][t];
            y[slab * (ip - l) + 1] = sums[3][t];
        }
    }
};

// As rotate_few_complex; false when the radix has no such order.
template <int V>
bool rotate_prime_complex(Direction d, Index slab, Index ip, const float* x, float* y, const float* wa,
                          Index step)
{
    const std::uint32_t root = primitive_root(ip);
    if (root == 0) {
        return false;
    }
    PowerOrder order;
    put_in_order(d, ip, root, wa, step, order);
    const Index half = (ip - 1) / 2;
    const Index period = ip - 1;
    for (Index first = 0; first < half; first += 2 * V) {
        if (interrupted_at(slab * ip, 2 * slab * ip)) {
            break;
        }
        for (Index i = 0; i < slab; i += 2) {
            OrderedLanes<V> low, high;
            low.begin(order, ip, first);
            high.begin(order, ip, first + V < half ? first + V : first);
            const float* xj = x + slab + i;
            const float* xc = x + slab * (ip - 1) + i;
            low.start(low.turns(order, period, 0), x + i, xj, xc);
            high.start(high.turns(order, period, 0), x + i, xj, xc);
            for (Index j = 2; j <= half; ++j) {
                xj += slab;
                xc -= slab;
                const Index power = order.power_of[j];
                low.add(low.turns(order, period, power), xj, xc);
                high.add(high.turns(order, period, power), xj, xc);
            }
            low.put(order, slab, ip, y + i);
            high.put(order, slab, ip, y + i);
        }
    }
    return true;
}

} // namespace

} // namespace zavo::fft

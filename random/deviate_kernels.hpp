// The inner loops of the deviates over lanes of any width. A file for each
// instruction set instantiates them with its own lane type and is compiled for
// that set; so nothing here but templates on the lane type, whose code no other
// file can share.
//
// How vector code keeps every bit. States are exact integers, and a deviate is a
// state rounded once to float. Logarithms and the inverse normal distribution
// function are defined by double arithmetic whose result is rounded to float.
// The kernels compute the double another way, with a relative error far below
// 2^-45, and look at the bits below the float's last: only a double within
// `reach` ulp of the midpoint of two floats could round differently, and those
// lanes (some two in a million) go through the defining routine.
#pragma once

#include "random/inverse_normal.hpp"
#include "random/kernels.hpp"
#include "random/random.h"

#include <cassert>

namespace zavo::random {

// 2^8 ulp of a double: 2^-45 relative, at least 2^4 times the error of what is
// tested with it.
inline constexpr std::uint32_t reach = 256;

// ---- Uniform deviates ----------------------------------------------------

// Lane i of a block holds the state i + 1 steps ahead of x; then all lanes jump
// by the length of the block:
//   x a, x a^2, ..., x a^L | x a^(L+1), ... : multiply each by a^L.
template <class L, bool streamed, bool with_states>
std::uint32_t fill(const Multiplier& a, std::uint32_t x, std::size_t n, float* r, std::uint32_t* states)
{
    constexpr int length = L::width * L::chains;
    static_assert(length <= max_lanes);
    assert(n >= 1 && r != nullptr && (states != nullptr) == with_states);
    const typename L::States start = L::factor(L::all_states(x));
    const typename L::States jump = L::factor(L::all_states(a.power[length - 1]));
    typename L::States state[L::chains];
    for (int c = 0; c < L::chains; ++c) {
        state[c] = L::multiply(L::load_states(a.power + c * L::width), start);
    }
    for (; n > length; n -= length, r += length) {
        for (int c = 0; c < L::chains; ++c) {
            const typename L::Floats deviates = L::unit(state[c]);
            if constexpr (streamed) {
                L::stream(r + c * L::width, deviates);
            } else {
                L::store(r + c * L::width, deviates);
            }
            if constexpr (with_states) {
                L::store_states(states + c * L::width, state[c]);
            }
            state[c] = L::multiply(state[c], jump);
        }
        if constexpr (with_states) {
            states += length;
        }
    }
    // The last block, of 1 to `length`.
    std::uint32_t last_states[length];
    float last_deviates[length];
    for (int c = 0; c < L::chains; ++c) {
        L::store_states(last_states + c * L::width, state[c]);
        L::store(last_deviates + c * L::width, L::unit(state[c]));
    }
    for (std::size_t i = 0; i < n; ++i) {
        r[i] = last_deviates[i];
        if constexpr (with_states) {
            states[i] = last_states[i];
        }
    }
    if constexpr (streamed) {
        L::end_stream();
    }
    return last_states[n - 1];
}

template <class L>
std::uint32_t fill_cached(const Multiplier& a, std::uint32_t x, std::size_t n, float* r)
{
    return fill<L, false, false>(a, x, n, r, nullptr);
}

template <class L>
std::uint32_t fill_with_states(const Multiplier& a, std::uint32_t x, std::size_t n, float* r,
                               std::uint32_t* states)
{
    return fill<L, false, true>(a, x, n, r, states);
}

// Non-temporal stores pay for whole cache lines only: up to the first boundary of a
// line the stores are ordinary ones.
template <class L>
std::uint32_t fill_streamed(const Multiplier& a, std::uint32_t x, std::size_t n, float* r)
{
    constexpr std::size_t line = 64 / sizeof(float);
    const std::size_t past = reinterpret_cast<std::uintptr_t>(r) / sizeof(float) % line;
    const std::size_t head = past == 0 ? 0 : line - past;
    if (n <= head) {
        return fill_cached<L>(a, x, n, r);
    }
    if (head != 0) {
        x = fill_cached<L>(a, x, head, r);
    }
    return fill<L, true, false>(a, x, n - head, r + head, nullptr);
}

// ---- Logarithm -----------------------------------------------------------

// -ln a for a > 0, relative error below 2^-48: a = 2^k m with m between sqrt(1/2)
// and sqrt(2), s = (m - 1)/(m + 1) and ln m = 2s + 2s^3 R(s^2), R a polynomial
// fitted at Chebyshev points, its error in the sum below 2^-50. Gives -0 for 1.
template <class L>
typename L::Doubles minus_log(typename L::Doubles a)
{
    constexpr std::uint64_t one = 0x3ff0000000000000U;
    constexpr std::uint64_t root_half = 0x3fe6a09e667f3bcdU;
    constexpr std::uint64_t exponent_field = 0xfff0000000000000U;
    constexpr std::uint64_t two_52 = 0x4330000000000000U;
    const typename L::Bits bits = L::bits(a);
    const typename L::Bits moved = bits + L::all_bits(one - root_half); // exponent field: k + 1023
    const typename L::Doubles k = L::from_bits((moved >> 52) | L::all_bits(two_52)) - L::all(0x1p52 + 1023.0);
    const typename L::Doubles m =
        L::from_bits(bits - (moved & L::all_bits(exponent_field)) + L::all_bits(one));

    const typename L::Doubles f = m - L::all(1.0);
    const typename L::Doubles s = f / (L::all(2.0) + f);
    const typename L::Doubles z = s * s;
    const typename L::Doubles z_2 = z * z;
    const typename L::Doubles r01 = L::all(0x1.55555555553b8p-2) + L::all(0x1.9999999b8677bp-3) * z;
    const typename L::Doubles r23 = L::all(0x1.2492462af8366p-3) + L::all(0x1.c71fccd964d71p-4) * z;
    const typename L::Doubles r45 = L::all(0x1.7382dbf72872cp-4) + L::all(0x1.546a31826025bp-4) * z;
    const typename L::Doubles series = r01 + z_2 * (r23 + z_2 * r45);
    const typename L::Doubles twice_s = s + s;
    return k * L::all(-0x1.62e42fefa39efp-1) - (twice_s + twice_s * (z * series));
}

// Calls replace(lane) for every set bit, upwards.
template <class L, class Replace>
void for_lanes(unsigned lanes, Replace&& replace)
{
    for (; lanes != 0; lanes &= lanes - 1) {
        replace(__builtin_ctz(lanes));
    }
}

template <class L>
void minus_log_of_vector(float* r)
{
    const typename L::Floats u = L::load(r);
    typename L::Doubles y[L::parts];
    for (int part = 0; part < L::parts; ++part) {
        y[part] = minus_log<L>(L::widen(u, part));
    }
    constexpr unsigned all_lanes = (1U << L::width) - 1U;
    const unsigned hard = L::near_middle(y, reach) | (L::less(L::all(0.0F), u) ^ all_lanes);
    L::store(r, L::narrow(y));
    if (hard != 0) [[unlikely]] {
        float each[L::width];
        L::store(each, u);
        for_lanes<L>(hard, [&](int lane) { r[lane] = l_minus_log(each[lane]); });
    }
}

template <class L>
void minus_log_in_place(std::size_t n, float* r)
{
    for (; n >= L::width; n -= L::width, r += L::width) {
        minus_log_of_vector<L>(r);
    }
    if (n != 0) {
        float rest[L::width];
        for (std::size_t i = 0; i < L::width; ++i) {
            rest[i] = i < n ? r[i] : 1.0F;
        }
        minus_log_of_vector<L>(rest);
        for (std::size_t i = 0; i < n; ++i) {
            r[i] = rest[i];
        }
    }
}

// ---- Normal deviates -----------------------------------------------------

// Uniform deviates that the form near the centre does not serve, packed.
template <class L>
struct Outer {
    static constexpr int chunk = 256;      // deviates in a round
    float p[chunk + L::width];             // packing overwrites a vector's width
    std::uint32_t place[chunk + L::width]; // in the round
    int count = 0;

    void add(typename L::Floats values, std::uint32_t first, unsigned lanes)
    {
        assert(count + __builtin_popcount(lanes) <= chunk && first < static_cast<std::uint32_t>(chunk));
        L::pack(p + count, values, lanes);
        L::pack_places(place + count, first, lanes);
        count += __builtin_popcount(lanes);
    }
};

// Near the centre. The defining form
//   C1 w / (D0 + w + D1/(D2 + w + D3/(D4 + w))),  w = z^2,
// is brought to a common denominator: one division in place of three. Returns the
// lanes that are not served, and overwrites all.
template <class L>
unsigned central_vector(typename L::Floats p, float* r)
{
    using namespace inverse_normal;
    const typename L::Floats half_z = p - L::all(0.5F);
    const typename L::Floats z_float = L::magnitude(half_z + half_z);
    const typename L::Floats w_float = z_float * z_float;
    typename L::Doubles y[L::parts];
    for (int part = 0; part < L::parts; ++part) {
        const typename L::Doubles z = L::widen(z_float, part);
        const typename L::Doubles w = L::widen(w_float, part);
        const typename L::Doubles inner = L::all(double{D4}) + w;
        const typename L::Doubles middle = (L::all(double{D2}) + w) * inner + L::all(double{D3});
        const typename L::Doubles outer = (L::all(double{D0}) + w) * middle + L::all(double{D1}) * inner;
        const typename L::Doubles q = L::all(double{C1}) * w * middle / outer;
        y[part] = (q + L::all(double{C0})) * z + z;
    }
    L::store(r, L::with_sign_of(L::all(root_two), half_z) * L::narrow(y));
    constexpr unsigned all_lanes = (1U << L::width) - 1U;
    return (L::less(z_float, L::all(central_limit)) ^ all_lanes) | L::near_middle(y, reach);
}

// Away from the centre, t < 2.5. Here the rational form is the defining one and
// only the argument t is found another way.
template <class L>
unsigned middle_vector(typename L::Floats p, float* r)
{
    using namespace inverse_normal;
    const typename L::Floats half_z = p - L::all(0.5F);
    const typename L::Floats z_float = L::magnitude(half_z + half_z);
    const typename L::Floats v_float = L::all(1.0F) - z_float;
    typename L::Doubles root[L::parts];
    for (int part = 0; part < L::parts; ++part) {
        const typename L::Doubles v = L::widen(v_float, part);
        root[part] = L::root(minus_log<L>(v * L::widen(z_float, part) + v));
    }
    const typename L::Floats t_float = L::narrow(root);

    typename L::Doubles above[L::parts];
    typename L::Doubles below[L::parts];
    for (int part = 0; part < L::parts; ++part) {
        const typename L::Doubles t = L::widen(t_float, part);
        above[part] = ((L::all(double{E3}) * t + L::all(double{E2})) * t + L::all(double{E1})) * t;
        below[part] = ((t + L::all(double{F2})) * t + L::all(double{F1})) * t + L::all(double{F0});
    }
    const typename L::Floats above_float = L::narrow(above);
    const typename L::Floats below_float = L::narrow(below);
    typename L::Doubles y[L::parts];
    for (int part = 0; part < L::parts; ++part) {
        const typename L::Doubles t = L::widen(t_float, part);
        y[part] = (L::widen(above_float, part) / L::widen(below_float, part) + L::all(double{E0})) * t + t;
    }
    L::store(r, L::with_sign_of(L::all(root_two), half_z) * L::narrow(y));

    constexpr unsigned all_lanes = (1U << L::width) - 1U;
    const unsigned served = L::less(L::all(lower_tail), p) & L::less(p, L::all(upper_tail)) &
                            L::less(t_float, L::all(middle_limit));
    return (served ^ all_lanes) | L::less(z_float, L::all(central_limit)) | L::near_middle(root, reach);
}

// True when a deviate was outside (0, 1).
template <class L>
bool replace_outer(Outer<L>& outer, float* r)
{
    assert(outer.count <= Outer<L>::chunk);
    bool outside = false;
    for (int i = outer.count; i < outer.count + L::width; ++i) {
        outer.p[i] = 0.05F; // fills the last vector
    }
    for (int i = 0; i < outer.count; i += L::width) {
        float deviate[L::width];
        const int count = outer.count - i < L::width ? outer.count - i : L::width;
        const unsigned hard = middle_vector<L>(L::load(outer.p + i), deviate);
        for (int lane = 0; lane < count; ++lane) {
            const float p = outer.p[i + lane];
            const bool by_definition = hard >> lane & 1;
            r[outer.place[i + lane]] = by_definition ? l_inverse_normal(p) : deviate[lane];
            outside = outside || !(p > 0.0F && p < 1.0F);
        }
    }
    return outside;
}

template <class L>
bool normal_in_place(std::size_t n, float* r)
{
    bool outside = false;
    while (n != 0) {
        Outer<L> outer;
        const std::size_t round = n < Outer<L>::chunk ? n : Outer<L>::chunk;
        std::size_t i = 0;
        for (; i + L::width <= round; i += L::width) {
            const typename L::Floats p = L::load(r + i);
            outer.add(p, static_cast<std::uint32_t>(i), central_vector<L>(p, r + i));
        }
        if (i < round) {
            float rest[L::width];
            for (std::size_t lane = 0; lane < L::width; ++lane) {
                rest[lane] = i + lane < round ? r[i + lane] : 0.5F;
            }
            const typename L::Floats p = L::load(rest);
            outer.add(p, static_cast<std::uint32_t>(i), central_vector<L>(p, rest));
            for (std::size_t lane = 0; i + lane < round; ++lane) {
                r[i + lane] = rest[lane];
            }
        }
        outside = replace_outer<L>(outer, r) || outside;
        n -= round;
        r += round;
    }
    return outside;
}

template <class L>
constexpr Kernels kernels_of()
{
    return {fill_cached<L>, fill_streamed<L>, fill_with_states<L>, minus_log_in_place<L>, normal_in_place<L>};
}

} // namespace zavo::random

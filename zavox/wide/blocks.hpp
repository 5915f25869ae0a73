// What calc and the statistics do to blocks of numbers, for one set of vector
// instructions. Only blocks_*.cpp include this.
#pragma once

#include "zavox/wide/functions.hpp"
#include "zavox/wide/kernels.hpp"

#include <cmath>
#include <type_traits>

namespace zavox::wide {

template <class L>
struct Blocks : Functions<L> {
    using F = Functions<L>;
    using D = typename F::D;
    using I = typename F::I;
    using F::abs;
    using F::all;
    using F::load;
    using F::select;
    using F::store;
    static constexpr int lanes = L::count;

    // ---- Operators ---------------------------------------------------------------

    static ZAVOX_INLINE D one_where(I mask) { return select(mask, all(1.0), all(0.0)); }
    // Neither zero nor NaN.
    static ZAVOX_INLINE I is_true(D x) { return (x < all(0.0)) | (x > all(0.0)); }

    static ZAVOX_INLINE D negate(D x) { return -x; }
    static ZAVOX_INLINE D invert(D x) { return one_where(~is_true(x)); }
    static ZAVOX_INLINE D truth(D x) { return one_where(is_true(x)); }
    static ZAVOX_INLINE D add(D x, D y) { return x + y; }
    static ZAVOX_INLINE D subtract(D x, D y) { return x - y; }
    static ZAVOX_INLINE D multiply(D x, D y) { return x * y; }
    static ZAVOX_INLINE D divide(D x, D y) { return x / y; }
    static ZAVOX_INLINE D less(D x, D y) { return one_where(x < y); }
    static ZAVOX_INLINE D less_equal(D x, D y) { return one_where(x <= y); }
    static ZAVOX_INLINE D greater(D x, D y) { return one_where(x > y); }
    static ZAVOX_INLINE D greater_equal(D x, D y) { return one_where(x >= y); }
    static ZAVOX_INLINE D equal(D x, D y) { return one_where(x == y); }
    static ZAVOX_INLINE D unequal(D x, D y) { return one_where(x != y); }
    static ZAVOX_INLINE D both(D x, D y) { return one_where(is_true(x) & is_true(y)); }
    static ZAVOX_INLINE D either(D x, D y) { return one_where(is_true(x) | is_true(y)); }
    static ZAVOX_INLINE D is_finite(D x) { return one_where(abs(x) < all(F::infinity)); }
    static ZAVOX_INLINE D is_not_a_number(D x) { return one_where(x != x); }
    static ZAVOX_INLINE D square(D x) { return x * x; }
    static ZAVOX_INLINE D cube(D x) { return x * x * x; }
    static ZAVOX_INLINE D fourth(D x)
    {
        const D y = x * x;
        return y * y;
    }
    static ZAVOX_INLINE D reciprocal(D x) { return all(1.0) / x; }

    // ---- A block -----------------------------------------------------------------

    // The numbers from i on of an array of T.
    template <class T>
    static ZAVOX_INLINE D get(const void* array, int i)
    {
        if constexpr (std::is_same_v<T, float>) {
            return F::widen(static_cast<const float*>(array) + i);
        } else {
            return load(static_cast<const double*>(array) + i);
        }
    }
    // Every NaN becomes the same one when it is rounded.
    template <class T>
    static ZAVOX_INLINE void put(void* array, int i, D x)
    {
        if constexpr (std::is_same_v<T, float>) {
            F::narrow(static_cast<float*>(array) + i, select(x != x, all(F::quiet_nan), x));
        } else {
            store(static_cast<double*>(array) + i, x);
        }
    }

    template <D (*f)(D), class Out = double, class X = double>
    static void map1(void* out, const void* x, const void*, const void*, int n)
    {
        for (int i = 0; i < n; i += lanes) {
            put<Out>(out, i, f(get<X>(x, i)));
        }
    }
    template <D (*f)(D, D), class Out = double, class X = double, class Y = double>
    static void map2(void* out, const void* x, const void* y, const void*, int n)
    {
        for (int i = 0; i < n; i += lanes) {
            put<Out>(out, i, f(get<X>(x, i), get<Y>(y, i)));
        }
    }
    static void choose(void* out, const void* x, const void* y, const void* z, int n)
    {
        for (int i = 0; i < n; i += lanes) {
            put<double>(out, i, select(is_true(get<double>(x, i)), get<double>(y, i), get<double>(z, i)));
        }
    }
    static ZAVOX_INLINE D copy(D x) { return x; }

    // Long chains of operations leave the processor waiting, so they are cut in two:
    // the first part for a few dozen numbers, then the second.
    static constexpr int stretch = 128;

    // Sine or cosine. Angles too large for the reduction go to the engine one by one;
    // those of infinite or no size come out as NaN.
    template <typename F::Turn (*first)(D), double (*large)(double), class X = double>
    static void map_turns(void* out, const void* x, const void*, const void*, int n)
    {
        typename F::Turn turns[stretch / lanes];
        for (int start = 0; start < n; start += stretch) {
            const int count = n - start < stretch ? n - start : stretch;
            D largest{};
            for (int i = 0; i < count; i += lanes) {
                const D angle = get<X>(x, start + i);
                largest = F::larger(abs(angle), largest);
                turns[i / lanes] = first(angle);
            }
            double angles[stretch]; // what `out` may overwrite
            const bool far = F::any(largest >= all(F::largest_angle));
            if (far) [[unlikely]] {
                for (int i = 0; i < count; i += lanes) {
                    store(angles + i, get<X>(x, start + i));
                }
            }
            for (int i = 0; i < count; i += lanes) {
                put<double>(out, start + i, F::sine_of_turn(turns[i / lanes]));
            }
            if (far) [[unlikely]] {
                for (int i = 0; i < count; ++i) {
                    if (std::fabs(angles[i]) >= F::largest_angle && std::fabs(angles[i]) < F::infinity) {
                        static_cast<double*>(out)[start + i] = large(angles[i]);
                    }
                }
            }
        }
    }
    static void tangents(void* out, const void* x, const void*, const void*, int n)
    {
        for (int i = 0; i < n; i += lanes) {
            const D angle = get<double>(x, i);
            const D size = abs(angle);
            D value = F::tan(angle);
            const I far = (size >= all(F::largest_angle)) & (size < all(F::infinity));
            if (F::any(far)) [[unlikely]] {
                for (int k = 0; k < lanes; ++k) {
                    if (far[k] != 0) {
                        value[k] = large_tan(angle[k]);
                    }
                }
            }
            put<double>(out, i, value);
        }
    }

    template <bool floored>
    static void remainders(void* out, const void* x, const void* y, const void*, int n)
    {
        for (int i = 0; i < n; i += lanes) {
            const D a = get<double>(x, i);
            const D b = get<double>(y, i);
            D rest = F::fmod_near(a, b);
            const I near = F::fmod_is_near(a, b);
            if (F::any(~near)) [[unlikely]] {
                for (int k = 0; k < lanes; ++k) {
                    if (near[k] == 0) {
                        rest[k] = exact_fmod(a[k], b[k]);
                    }
                }
            }
            put<double>(out, i, floored ? F::modulo(rest, b) : rest);
        }
    }

    // ---- Statistics ----------------------------------------------------------------

    // The sum of sum_block floats. False when it may not be exact: when the
    // exponents of the floats differ by too much for 53 bits, or one is no number.
    static bool sum(const float* x, double* total)
    {
        using Bits = typename L::Words;
        D part0{};
        D part1{};
        Bits largest{};
        Bits smallest = Bits{} + UINT32_MAX; // of the floats other than zero, less 1
        for (int i = 0; i < sum_block; i += 2 * lanes) {
            part0 += F::widen(x + i);
            part1 += F::widen(x + i + lanes);
            for (const int at : {i, i + lanes}) {
                Bits size;
                std::memcpy(&size, x + at, sizeof size);
                size &= Bits{} + 0x7FFFFFFFU;
                const Bits less = size - 1U;
                largest = size > largest ? size : largest;
                smallest = less < smallest ? less : smallest;
            }
        }
        std::uint32_t high = 0;
        std::uint32_t low = UINT32_MAX;
        *total = 0;
        part0 += part1;
        for (int k = 0; k < lanes; ++k) {
            high = largest[k] > high ? largest[k] : high;
            low = smallest[k] < low ? smallest[k] : low;
            *total += part0[k];
        }
        // sum_block floats below 2^(e+1) that are multiples of 2^(f-23)
        constexpr std::uint32_t widest = 53 - 24 - sum_block_bits;
        return high < 0x7F800000U &&
               (high >> 23) - (low == UINT32_MAX ? high >> 23 : (low + 1) >> 23) <= widest &&
               (low == UINT32_MAX || low + 1 >= 0x800000U);
    }

    // Sums of squares_block terms, in `partial_sums` parts that do not depend on
    // the number of lanes: part i takes the terms i, i + partial_sums, ...
    template <class Term>
    static ZAVOX_INLINE double add_terms(Term&& term)
    {
        constexpr int vectors = partial_sums / lanes;
        D part[vectors]{};
        for (int i = 0; i < sum_block; i += partial_sums) {
            for (int k = 0; k < vectors; ++k) {
                part[k] += term(i + k * lanes);
            }
        }
        double parts[partial_sums];
        for (int k = 0; k < vectors; ++k) {
            store(parts + k * lanes, part[k]);
        }
        return sum_of_parts(parts);
    }
    static double squares(const float* x, double mean)
    {
        return add_terms([=](int i) __attribute__((always_inline)) {
            const D deviation = F::widen(x + i) - all(mean);
            return deviation * deviation;
        });
    }
    static double products(const float* x, const float* y)
    {
        return add_terms([=](int i)
                             __attribute__((always_inline)) { return F::widen(x + i) * F::widen(y + i); });
    }

    // All forms of an operation.
    template <D (*f)(D)>
    static constexpr void set1(Kernels& kernels, Operation operation)
    {
        Kernel** const form = kernels.of[static_cast<int>(operation)];
        form[0] = map1<f>;
        form[floats_out] = map1<f, float>;
        form[floats_x] = map1<f, double, float>;
        form[floats_x | floats_out] = map1<f, float, float>;
    }
    template <D (*f)(D, D)>
    static constexpr void set2(Kernels& kernels, Operation operation)
    {
        Kernel** const form = kernels.of[static_cast<int>(operation)];
        form[0] = map2<f>;
        form[floats_out] = map2<f, float>;
        form[floats_x] = map2<f, double, float>;
        form[floats_x | floats_out] = map2<f, float, float>;
        form[floats_y] = map2<f, double, double, float>;
        form[floats_y | floats_out] = map2<f, float, double, float>;
        form[floats_x | floats_y] = map2<f, double, float, float>;
        form[floats_x | floats_y | floats_out] = map2<f, float, float, float>;
    }

    static constexpr Kernels table()
    {
        Kernels kernels{};
        using enum Operation;
        const auto set = [&](Operation operation, Kernel* kernel, int form = 0) {
            kernels.of[static_cast<int>(operation)][form] = kernel;
        };
        set1<negate>(kernels, negate_);
        set(not_, map1<invert>);
        set(truth_, map1<truth>);
        set2<add>(kernels, add_);
        set2<subtract>(kernels, subtract_);
        set2<multiply>(kernels, multiply_);
        set2<divide>(kernels, divide_);
        set(modulo_, remainders<true>);
        set(pow_, map2<F::pow>);
        set(less_, map2<less>);
        set(less_equal_, map2<less_equal>);
        set(greater_, map2<greater>);
        set(greater_equal_, map2<greater_equal>);
        set(equal_, map2<equal>);
        set(unequal_, map2<unequal>);
        set(and_, map2<both>);
        set(or_, map2<either>);
        set(choose_, choose);
        set1<F::abs>(kernels, abs_);
        set(acos_, map1<F::acos>);
        set(asin_, map1<F::asin>);
        set(atan_, map1<F::atan>);
        set(atan2_, map2<F::atan2>);
        set(ceil_, map1<F::ceil>);
        set(cos_, map_turns<F::cosine_turn, large_cos>);
        set(cos_, map_turns<F::cosine_turn, large_cos, float>, floats_x);
        set(cosh_, map1<F::cosh>);
        set(exp_, map1<F::exp>);
        set(floor_, map1<F::floor>);
        set(fmod_, remainders<false>);
        set(hypot_, map2<F::hypot>);
        set(isfinite_, map1<is_finite>);
        set(isnan_, map1<is_not_a_number>);
        set(log_, map1<F::log>);
        set(log10_, map1<F::log10>);
        set(max_, map2<F::max>);
        set(min_, map2<F::min>);
        set(round_, map1<F::round>);
        set(sin_, map_turns<F::sine_turn, large_sin>);
        set(sin_, map_turns<F::sine_turn, large_sin, float>, floats_x);
        set(sinh_, map1<F::sinh>);
        set1<F::sqrt>(kernels, sqrt_);
        set(tan_, tangents);
        set(tanh_, map1<F::tanh>);
        set(trunc_, map1<F::trunc>);
        set1<square>(kernels, square_);
        set(cube_, map1<cube>);
        set(fourth_, map1<fourth>);
        set(reciprocal_, map1<reciprocal>);
        set1<copy>(kernels, copy_);
        kernels.sum = sum;
        kernels.squares = squares;
        kernels.products = products;
        return kernels;
    }
};

} // namespace zavox::wide

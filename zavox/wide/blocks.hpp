// What calc and the statistics do to blocks of numbers, for one set of vector
// instructions. Only blocks_*.cpp include this.
#pragma once

#include "zavox/wide/functions.hpp"
#include "zavox/wide/kernels.hpp"

#include <cassert>
#include <cmath>
#include <utility>

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

    static ZAVO_INLINE D one_where(I mask) { return select(mask, all(1.0), all(0.0)); }
    // Neither zero nor NaN.
    static ZAVO_INLINE I is_true(D x) { return (x < all(0.0)) | (x > all(0.0)); }

    static ZAVO_INLINE D negate(D x) { return -x; }
    static ZAVO_INLINE D invert(D x) { return one_where(~is_true(x)); }
    static ZAVO_INLINE D truth(D x) { return one_where(is_true(x)); }
    static ZAVO_INLINE D add(D x, D y) { return x + y; }
    static ZAVO_INLINE D subtract(D x, D y) { return x - y; }
    static ZAVO_INLINE D multiply(D x, D y) { return x * y; }
    static ZAVO_INLINE D divide(D x, D y) { return x / y; }
    static ZAVO_INLINE D less(D x, D y) { return one_where(x < y); }
    static ZAVO_INLINE D less_equal(D x, D y) { return one_where(x <= y); }
    static ZAVO_INLINE D greater(D x, D y) { return one_where(x > y); }
    static ZAVO_INLINE D greater_equal(D x, D y) { return one_where(x >= y); }
    static ZAVO_INLINE D equal(D x, D y) { return one_where(x == y); }
    static ZAVO_INLINE D unequal(D x, D y) { return one_where(x != y); }
    static ZAVO_INLINE D both(D x, D y) { return one_where(is_true(x) & is_true(y)); }
    static ZAVO_INLINE D either(D x, D y) { return one_where(is_true(x) | is_true(y)); }
    static ZAVO_INLINE D is_finite(D x) { return one_where(abs(x) < all(F::infinity)); }
    static ZAVO_INLINE D is_not_a_number(D x) { return one_where(x != x); }
    static ZAVO_INLINE D square(D x) { return x * x; }
    static ZAVO_INLINE D cube(D x) { return x * x * x; }
    static ZAVO_INLINE D fourth(D x)
    {
        const D y = x * x;
        return y * y;
    }
    static ZAVO_INLINE D reciprocal(D x) { return all(1.0) / x; }
    static ZAVO_INLINE D choose(D x, D y, D z) { return select(is_true(x), y, z); }
    // Rounded twice, as the operations one by one.
    static ZAVO_INLINE D multiply_add(D x, D y, D z) { return x * y + z; }
    static ZAVO_INLINE D multiply_subtract(D x, D y, D z) { return x * y - z; }
    static ZAVO_INLINE D subtract_product(D x, D y, D z) { return z - x * y; }

    // ---- A block -----------------------------------------------------------------

    // The numbers from i on of an array, of floats when the form says so.
    template <int floats>
    static ZAVO_INLINE D get(const void* array, int i)
    {
        if constexpr (floats != 0) {
            return F::widen(static_cast<const float*>(array) + i);
        } else {
            return load(static_cast<const double*>(array) + i);
        }
    }
    // Every NaN becomes the same one when it is rounded.
    template <int floats>
    static ZAVO_INLINE void put(void* array, int i, D x)
    {
        if constexpr (floats != 0) {
            F::narrow(static_cast<float*>(array) + i, select(x != x, all(F::quiet_nan), x));
        } else {
            store(static_cast<double*>(array) + i, x);
        }
    }

    template <D (*f)(D), int form = 0>
    static void map1(void* out, const void* x, const void*, const void*, int n)
    {
        assert(n % lanes == 0);
        for (int i = 0; i < n; i += lanes) {
            put<form & floats_out>(out, i, f(get<form & floats_x>(x, i)));
        }
    }
    template <D (*f)(D, D), int form = 0>
    static void map2(void* out, const void* x, const void* y, const void*, int n)
    {
        assert(n % lanes == 0);
        for (int i = 0; i < n; i += lanes) {
            put<form & floats_out>(out, i, f(get<form & floats_x>(x, i), get<form & floats_y>(y, i)));
        }
    }
    template <D (*f)(D, D, D), int form = 0>
    static void map3(void* out, const void* x, const void* y, const void* z, int n)
    {
        assert(n % lanes == 0);
        for (int i = 0; i < n; i += lanes) {
            put<form & floats_out>(
                out, i,
                f(get<form & floats_x>(x, i), get<form & floats_y>(y, i), get<form & floats_z>(z, i)));
        }
    }
    static ZAVO_INLINE D copy(D x) { return x; }

    // Long chains of operations are latency-bound, so they are cut in two: the first
    // part for a few dozen numbers, then the second.
    static constexpr int stretch = 128;

    template <auto first, auto second>
    static void map1_by_parts(void* out, const void* x, const void*, const void*, int n)
    {
        decltype(first(D{})) between[stretch / lanes];
        for (int start = 0; start < n; start += stretch) {
            const int end = n - start < stretch ? n : start + stretch;
            for (int i = start; i < end; i += lanes) {
                between[(i - start) / lanes] = first(get<0>(x, i));
            }
            for (int i = start; i < end; i += lanes) {
                put<0>(out, i, second(get<0>(x, i), between[(i - start) / lanes]));
            }
        }
    }
    template <auto first, auto second>
    static void map2_by_parts(void* out, const void* x, const void* y, const void*, int n)
    {
        decltype(first(D{}, D{})) between[stretch / lanes];
        for (int start = 0; start < n; start += stretch) {
            const int end = n - start < stretch ? n : start + stretch;
            for (int i = start; i < end; i += lanes) {
                between[(i - start) / lanes] = first(get<0>(x, i), get<0>(y, i));
            }
            for (int i = start; i < end; i += lanes) {
                put<0>(out, i, second(get<0>(x, i), get<0>(y, i), between[(i - start) / lanes]));
            }
        }
    }

    // Sine or cosine. Angles too large for the reduction go to the engine one by one;
    // those of infinite or no size come out as NaN.
    template <typename F::Turn (*first)(D), double (*large)(double), int form = 0>
    static void map_turns(void* out, const void* x, const void*, const void*, int n)
    {
        assert(n % lanes == 0 && stretch % lanes == 0);
        typename F::Turn turns[stretch / lanes];
        for (int start = 0; start < n; start += stretch) {
            const int count = n - start < stretch ? n - start : stretch;
            D largest{};
            for (int i = 0; i < count; i += lanes) {
                const D angle = get<form & floats_x>(x, start + i);
                largest = F::larger(abs(angle), largest);
                turns[i / lanes] = first(angle);
            }
            double angles[stretch]; // what `out` may overwrite
            const bool far = F::any(largest >= all(F::largest_angle));
            if (far) [[unlikely]] {
                for (int i = 0; i < count; i += lanes) {
                    store(angles + i, get<form & floats_x>(x, start + i));
                }
            }
            for (int i = 0; i < count; i += lanes) {
                put<0>(out, start + i, F::sine_of_turn(turns[i / lanes]));
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
        assert(n % lanes == 0);
        for (int i = 0; i < n; i += lanes) {
            const D angle = get<0>(x, i);
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
            put<0>(out, i, value);
        }
    }

    template <bool floored>
    static void remainders(void* out, const void* x, const void* y, const void*, int n)
    {
        assert(n % lanes == 0);
        for (int i = 0; i < n; i += lanes) {
            const D a = get<0>(x, i);
            const D b = get<0>(y, i);
            D rest = F::fmod_near(a, b);
            const I near = F::fmod_is_near(a, b);
            if (F::any(~near)) [[unlikely]] {
                for (int k = 0; k < lanes; ++k) {
                    if (near[k] == 0) {
                        rest[k] = exact_fmod(a[k], b[k]);
                    }
                }
            }
            put<0>(out, i, floored ? F::modulo(rest, b) : rest);
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
    static ZAVO_INLINE double add_terms(Term&& term)
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

    // The kernels of an operation in all forms.
    template <D (*f)(D), int... form>
    static constexpr void set1(Kernel** of, std::integer_sequence<int, form...>)
    {
        ((of[form] = map1<f, form>), ...);
    }
    template <D (*f)(D, D), int... form>
    static constexpr void set2(Kernel** of, std::integer_sequence<int, form...>)
    {
        ((of[form] = map2<f, form>), ...);
    }
    template <D (*f)(D, D, D), int... form>
    static constexpr void set3(Kernel** of, std::integer_sequence<int, form...>)
    {
        ((of[form] = map3<f, form>), ...);
    }

    static constexpr Kernels table()
    {
        Kernels kernels{};
        using enum Operation;
        const auto row = [&](Operation operation) { return kernels.of[static_cast<int>(operation)]; };
        const auto set = [&](Operation operation, Kernel* kernel, int form = 0) {
            row(operation)[form] = kernel;
        };
        set1<negate>(row(negate_), std::make_integer_sequence<int, 4>{});
        set(not_, map1<invert>);
        set(truth_, map1<truth>);
        set2<add>(row(add_), std::make_integer_sequence<int, 8>{});
        set2<subtract>(row(subtract_), std::make_integer_sequence<int, 8>{});
        set2<multiply>(row(multiply_), std::make_integer_sequence<int, 8>{});
        set2<divide>(row(divide_), std::make_integer_sequence<int, 8>{});
        set(modulo_, remainders<true>);
        set(pow_, map2_by_parts<F::pow_first, F::pow_second>);
        set(less_, map2<less>);
        set(less_equal_, map2<less_equal>);
        set(greater_, map2<greater>);
        set(greater_equal_, map2<greater_equal>);
        set(equal_, map2<equal>);
        set(unequal_, map2<unequal>);
        set(and_, map2<both>);
        set(or_, map2<either>);
        set(choose_, map3<choose>);
        set1<F::abs>(row(abs_), std::make_integer_sequence<int, 4>{});
        set(acos_, map1<F::acos>);
        set(asin_, map1<F::asin>);
        set(atan_, map1<F::atan>);
        set(atan2_, map2<F::atan2>);
        set(ceil_, map1<F::ceil>);
        set(cos_, map_turns<F::cosine_turn, large_cos>);
        set(cos_, map_turns<F::cosine_turn, large_cos, floats_x>, floats_x);
        set(cosh_, map1<F::cosh>);
        set(exp_, map1_by_parts<F::exp_first, F::exp_second>);
        set(floor_, map1<F::floor>);
        set(fmod_, remainders<false>);
        set(hypot_, map2<F::hypot>);
        set(isfinite_, map1<is_finite>);
        set(isnan_, map1<is_not_a_number>);
        set(log_, map1_by_parts<F::log_first, F::log_second>);
        set(log10_, map1<F::log10>);
        set(max_, map2<F::max>);
        set(min_, map2<F::min>);
        set(round_, map1<F::round>);
        set(sin_, map_turns<F::sine_turn, large_sin>);
        set(sin_, map_turns<F::sine_turn, large_sin, floats_x>, floats_x);
        set(sinh_, map1<F::sinh>);
        set1<F::sqrt>(row(sqrt_), std::make_integer_sequence<int, 4>{});
        set(tan_, tangents);
        set(tanh_, map1<F::tanh>);
        set(trunc_, map1<F::trunc>);
        set1<square>(row(square_), std::make_integer_sequence<int, 4>{});
        set(cube_, map1<cube>);
        set(fourth_, map1<fourth>);
        set(reciprocal_, map1<reciprocal>);
        set3<multiply_add>(row(multiply_add_), std::make_integer_sequence<int, 16>{});
        set3<multiply_subtract>(row(multiply_subtract_), std::make_integer_sequence<int, 16>{});
        set3<subtract_product>(row(subtract_product_), std::make_integer_sequence<int, 16>{});
        set1<copy>(row(copy_), std::make_integer_sequence<int, 4>{});
        kernels.sum = sum;
        kernels.squares = squares;
        kernels.products = products;
        return kernels;
    }
};

} // namespace zavox::wide

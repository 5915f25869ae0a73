// Short transforms as straight code: the factor list is known when compiling, and with it
// every place. The passes are the definition's own, so the bits are.
#pragma once

#include "fft/passes/complex_passes.hpp"
#include "fft/passes/real_passes.hpp"
#include "fft/wide/simd.hpp"
#include "fft/wide/simd_complex.hpp"
#include "fft/wide/simd_real.hpp"

#include <bit>
#include <cstdint>

namespace zavo::fft {

namespace { // compiled for several instruction sets: see inlining.hpp

// One value at a time, by way of arrays on the stack. For lengths that fill no registers.
template <Direction d, class List>
void run_straight_real(const float* p, float* q, float* params)
{
    constexpr const Factors& factors = List::factors;
    constexpr int count = factors.count;
    static_assert(count > 1); // no pass from p to q, which may be the same
    float between[2][factors.n];
    const float* from = p;
    unroll<count>([&](auto pass) ZAVO_INLINED {
        constexpr int which = d == Direction::forward ? count - 1 - pass : pass;
        constexpr Shape shape = factors.shape(which);
        float* const to = pass == count - 1 ? q : between[pass % 2];
        real_radix_pass<d, RealRadix<static_cast<int>(shape.ip)>, ScalarLanes>(
            shape, from, to, params + factors.n + factors.twiddle_offset(which));
        from = to;
    });
}

template <Direction d, class List>
void run_straight_complex(const float* p, float* q, float* params)
{
    constexpr const Factors& factors = List::factors;
    constexpr int count = factors.count;
    static_assert(count > 1);
    float between[2][2 * factors.n];
    const float* from = p;
    unroll<count>([&](auto pass) ZAVO_INLINED {
        constexpr Shape shape = factors.shape(pass);
        float* const to = pass == count - 1 ? q : between[pass % 2];
        complex_radix_pass<d, ComplexRadix<d, static_cast<int>(shape.ip)>, ScalarLanes>(
            shape, from, to, params + 2 * (factors.n + factors.twiddle_offset(pass)));
        from = to;
    });
}

// In rows and columns; V: lanes of a register, at most for real transforms.
template <Direction d, int V, class List>
void run_short_real(const float* p, float* q, float* params)
{
    using Known = KnownRealPlan<V, List>;
    real_whole<d, Known::cut.rows_width, Known::cut.columns_width>(Known{}, p, q, params,
                                                                   params + List::factors.n);
}
template <Direction d, int V, class List>
void run_short_complex(const float* p, float* q, float* params)
{
    complex_whole<d, V>(KnownComplexPlan<V, List>{}, p, q, params, nullptr, params + 2 * List::factors.n);
}

template <class List>
constexpr ShortLength short_length(ShortLength::Run forward, ShortLength::Run backward)
{
    constexpr const Factors& factors = List::factors;
    static_assert(factors.n <= longest_short && factors.count + 2 <= short_record_floats);
    ShortLength length{{}, {forward, backward}};
    const auto put = [&](int place, Index value) {
        length.record[place] = std::bit_cast<std::uint32_t>(static_cast<float>(value));
    };
    put(0, factors.n);
    put(1, factors.count);
    for (int i = 0; i < factors.count; ++i) {
        put(2 + i, factors.ip[i]);
    }
    return length;
}

constexpr auto forward = Direction::forward;
constexpr auto backward = Direction::backward;

template <int... ip>
constexpr ShortLength
    straight_real = short_length<FactorList<ip...>>(run_straight_real<forward, FactorList<ip...>>,
                                                    run_straight_real<backward, FactorList<ip...>>);
template <int... ip>
constexpr ShortLength
    straight_complex = short_length<FactorList<ip...>>(run_straight_complex<forward, FactorList<ip...>>,
                                                       run_straight_complex<backward, FactorList<ip...>>);
template <int V, int... ip>
constexpr ShortLength
    whole_real = short_length<FactorList<ip...>>(run_short_real<forward, V, FactorList<ip...>>,
                                                 run_short_real<backward, V, FactorList<ip...>>);
template <int V, int... ip>
constexpr ShortLength
    whole_complex = short_length<FactorList<ip...>>(run_short_complex<forward, V, FactorList<ip...>>,
                                                    run_short_complex<backward, V, FactorList<ip...>>);

} // namespace

} // namespace zavo::fft

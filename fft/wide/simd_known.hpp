// Lengths whose factor list is known when compiling, and with it every place: the
// templates of whole transforms become straight-line code, and no plan is looked for.
#pragma once

#include "fft/wide/simd.hpp"
#include "fft/wide/simd_complex.hpp"
#include "fft/wide/simd_real.hpp"

#include <bit>
#include <cstddef>
#include <cstdint>

namespace zavo::fft {

namespace { // compiled for several instruction sets: see inlining.hpp

constexpr auto forward = Direction::forward;
constexpr auto backward = Direction::backward;

template <class List>
constexpr KnownLength known_length(KnownLength::Run forward, KnownLength::Run backward)
{
    static_assert(List::factors.count + 2 <= known_record_floats);
    KnownLength length{{}, {forward, backward}};
    const auto put = [&](int place, Index value) {
        length.record[place] = std::bit_cast<std::uint32_t>(static_cast<float>(value));
    };
    put(0, List::factors.n);
    put(1, List::factors.count);
    for (int i = 0; i < List::factors.count; ++i) {
        put(2 + i, List::factors.ip[i]);
    }
    return length;
}

// A function for each length and direction: the optimiser does worse on all in one. V:
// lanes of a register, at most for real transforms.
template <Direction d, int V, class List>
ZAVO_FLATTEN void run_known_real(const float* p, float* q, float* params)
{
    using Known = KnownRealPlan<V, List>;
    real_whole<d, Known::cut.rows_width, Known::cut.columns_width>(Known{}, p, q, params,
                                                                   params + List::factors.n);
}
template <Direction d, int V, class List>
ZAVO_FLATTEN void run_known_complex(const float* p, float* q, float* params)
{
    complex_whole<d, V>(KnownComplexPlan<V, List>{}, p, q, params, nullptr, params + 2 * List::factors.n);
}

// One function for both directions, of radices 2 and 4.
template <int V, class List>
__attribute__((noinline)) ZAVO_FLATTEN void either_complex(const float* p, float* q, float* params,
                                                           bool exchanged)
{
    const EitherComplexPlan<V, List> plan{{}, exchanged};
    complex_whole<Direction::forward, V>(plan, p, q, params, nullptr, params + 2 * List::factors.n);
}
template <Direction d, int V, class List>
void run_either_complex(const float* p, float* q, float* params)
{
    either_complex<V, List>(p, q, params, d == Direction::backward);
}

template <int V, int... ip>
constexpr KnownLength
    whole_real = known_length<FactorList<ip...>>(run_known_real<forward, V, FactorList<ip...>>,
                                                 run_known_real<backward, V, FactorList<ip...>>);
template <int V, int... ip>
constexpr KnownLength
    whole_complex = known_length<FactorList<ip...>>(run_known_complex<forward, V, FactorList<ip...>>,
                                                    run_known_complex<backward, V, FactorList<ip...>>);
template <int V, int... ip>
constexpr KnownLength
    either_way_complex = known_length<FactorList<ip...>>(run_either_complex<forward, V, FactorList<ip...>>,
                                                         run_either_complex<backward, V, FactorList<ip...>>);

template <std::size_t count>
constexpr ShortLengths in_order(const KnownLength (&lengths)[count])
{
    ShortLengths found{lengths, {}};
    for (std::size_t i = 0; i < count; ++i) {
        found.number[static_cast<int>(std::bit_cast<float>(lengths[i].record[0]))] =
            static_cast<std::uint8_t>(i + 1);
    }
    return found;
}

} // namespace

} // namespace zavo::fft

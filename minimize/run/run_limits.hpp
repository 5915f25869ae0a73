// What the free run and the run within bounds have in common.
#pragma once

namespace zavo::minimize {

// Differences of functions that bear short ones, relative to the variable.
inline constexpr double short_difference_step = 0x1p-19;
// A variable near 0 moves as if it were this part of its typical size.
inline constexpr double least_part = 1e-2;
// Along the axes one by one, relative to f: a promise of less is none.
inline constexpr double promise_of_nothing = 1e-7;
inline constexpr int most_rounds = 12;

} // namespace zavo::minimize

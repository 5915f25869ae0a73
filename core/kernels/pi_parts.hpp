// Pi and its relatives as sums of doubles, for reductions of angles.
#pragma once

namespace zavo::core::pi_parts {

inline constexpr double two_over_pi = 0x1.45f306dc9c883p-1;

// pi = high + low to 107 bits.
inline constexpr double pi_high = 0x1.921fb54442d18p+1;
inline constexpr double pi_low = 0x1.1a62633145c07p-53;
inline constexpr double half_pi_high = pi_high / 2;
inline constexpr double half_pi_low = pi_low / 2;

// pi/2 = first + second + third to 120 bits and + rest to 174; the first two have 33 bits
// each, so that their products with integers below 2^20 are exact.
inline constexpr double half_pi_first = 0x1.921fb54400000p+0;
inline constexpr double half_pi_second = 0x1.0b4611a600000p-34;
inline constexpr double half_pi_third = 0x1.3198a2e037073p-69;
inline constexpr double half_pi_rest = 0x1.129024e088a68p-123;

} // namespace zavo::core::pi_parts

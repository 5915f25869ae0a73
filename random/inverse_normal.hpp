// The inverse of the standard normal distribution function as a rational
// approximation: coefficients and bounds, shared by the routine and the vector
// kernels. With z = |1 - 2p| the result is sqrt(2) times the inverse error
// function of z, with the sign of p - 1/2.
//
// A. J. Strecok, "On the calculation of the inverse of the error function"
// (1968), treats the function; the rational forms are in z^2 near the centre and
// in t = sqrt(-ln(1 - z^2)) away from it.
#pragma once

namespace zavo::random::inverse_normal {

inline constexpr float root_two = 1.4142135F;
inline constexpr float central_limit = 0.85F; // z below: the form in z^2
inline constexpr float middle_limit = 2.5F;   // t below: coefficients E, F
inline constexpr float outer_limit = 4.0F;    // t below: coefficients G, H; from it on J, K
inline constexpr float lower_tail = 0x1p-23F; // p up to this belongs to the tail
// Kept: the upper tail starts three spacings below 1, not one
// (normal_inverse_cdf.follows_the_definition).
inline constexpr float upper_tail = 1.0F - 3.0F * 0x1p-23F;

// clang-format off
inline constexpr float C0 = -0.113773F,     C1 = -0.5751703F;
inline constexpr float D0 = -3.293474F,     D1 = -1.896513F,    D2 = -2.374996F;
inline constexpr float D3 = -0.05496261F,   D4 = -1.187515F;
inline constexpr float E0 = -0.1146666F,    E1 = -0.1314774F,   E2 = -0.2368201F,  E3 = 0.05073975F;
inline constexpr float F0 = -44.27977F,     F1 = 21.98546F,     F2 = -7.586103F;
inline constexpr float G0 = -0.05668422F,   G1 = 0.3937021F,    G2 = -0.3166501F,  G3 = 0.06208963F;
inline constexpr float H0 = -6.266786F,     H1 = 4.666263F,     H2 = -2.962883F;
inline constexpr float J0 = 0.0001851159F,  J1 = -0.002028152F, J2 = -0.1498384F,  J3 = 0.01078639F;
inline constexpr float K0 = 0.09952975F,    K1 = 0.5211733F,    K2 = -0.06888301F;
// clang-format on

} // namespace zavo::random::inverse_normal

// The stopping tests of the unconstrained minimiser, in their order: gradient,
// failed line search, step, the search's other reports, limits, steps of the
// greatest length.
//   J. E. Dennis, R. B. Schnabel (1983), algorithm A7.2.1.
#pragma once

#include "minimize/free/controls.hpp"
#include "minimize/free/ending.hpp"
#include "minimize/free/line_search.hpp"

namespace zavo::minimize {

// What the tests look at after an iteration.
struct Progress {
    int n;
    const Point& at;   // the new point
    const float* step; // n, from the last point to it
    const float* xscale;
    float fscale;
    SearchEnd search;
    const Counts& counts;
};

// The first reason to stop, which is posted; Ending::running when there is none.
// longest_count: steps of the greatest length; reset at iteration 0.
Ending test_stop(const Progress& now, const Controls& controls, int& longest_count);

} // namespace zavo::minimize

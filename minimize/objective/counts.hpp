// What a run of either minimiser counts.
#pragma once

namespace zavo::minimize {

struct Counts {
    int iterations = 0;
    int evaluations = 0; // of the objective, those inside difference gradients not counted
    int gradients = 0;
};

} // namespace zavo::minimize

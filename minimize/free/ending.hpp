// How a run of the unconstrained minimiser ended, as a value. The driver's
// messages say the same to the caller; nothing inside is decided by them.
#pragma once

namespace zavo::minimize {

enum class Ending {
    running,          // not at all, yet
    gradient_small,   // the relative gradient met its tolerance; nothing is posted
    step_small,       // the relative step met its tolerance: 1/8006
    search_failed,    // no lower point along the last direction: 3/8049
    no_progress,      // promised and achieved decrease at rounding level: 3/8050
    stuck,            // short steps that gain less than promised: 4/8051
    iterations_used,  // 3/8017
    evaluations_used, // 3/8029
    gradients_used,   // 3/8030
    unbounded,        // five steps of the greatest length: 3/8032
    refused           // the problem was no problem; a terminal error is posted
};

// What the fixed-name stopping test calls convergence: the other endings are warnings.
inline bool has_converged(Ending ending)
{
    return ending == Ending::gradient_small || ending == Ending::step_small;
}

} // namespace zavo::minimize

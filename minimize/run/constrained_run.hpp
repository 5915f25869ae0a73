// Minimisation of a function whose values are doubles under bounds and linear
// constraints.
#pragma once

#include "minimize/run/free_run.hpp"
#include "minimize/run/run.h"

namespace zavo::minimize {

// problem: with bounds or rows. Fills all but the message of the outcome.
void run_constrained(const zavo_run_problem& problem, Evaluations& evaluations, zavo_run_outcome& outcome);

} // namespace zavo::minimize

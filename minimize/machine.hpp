// The machine constants that the minimisers ask for, by name.
#pragma once

#include "core/kernels/machine.hpp"

namespace zavo::minimize {

namespace machine = core::machine;

} // namespace zavo::minimize

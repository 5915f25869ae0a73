#include "random/deviate_kernels.hpp"
#include "random/lanes_neon.hpp"

constexpr zavo::random::Kernels zavo::random::neon_kernels = kernels_of<NeonLanes>();

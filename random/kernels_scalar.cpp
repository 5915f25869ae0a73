#include "random/deviate_kernels.hpp"
#include "random/lanes_scalar.hpp"

constexpr zavo::random::Kernels zavo::random::scalar_kernels = kernels_of<ScalarLanes>();

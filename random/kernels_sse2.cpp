#include "random/deviate_kernels.hpp"
#include "random/lanes_sse2.hpp"

constexpr zavo::random::Kernels zavo::random::sse2_kernels = kernels_of<Sse2Lanes>();

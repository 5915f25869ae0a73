#include "random/deviate_kernels.hpp"
#include "random/lanes_avx2.hpp"

constexpr zavo::random::Kernels zavo::random::avx2_kernels = kernels_of<Avx2Lanes>();

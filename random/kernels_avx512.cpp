#include "random/deviate_kernels.hpp"
#include "random/lanes_avx512.hpp"

constexpr zavo::random::Kernels zavo::random::avx512_kernels = kernels_of<Avx512Lanes>();

#include "zavox/wide/blocks.hpp"

namespace zavox::wide {

extern const Kernels avx2_kernels;
constexpr Kernels avx2_kernels = Blocks<Lanes<4>>::table();

} // namespace zavox::wide

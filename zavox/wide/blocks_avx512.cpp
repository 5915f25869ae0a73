#include "zavox/wide/blocks.hpp"

namespace zavox::wide {

extern const Kernels avx512_kernels;
constexpr Kernels avx512_kernels = Blocks<Lanes<8>>::table();

} // namespace zavox::wide

#include "zavox/wide/blocks.hpp"

namespace zavox::wide {

extern const Kernels base_kernels;
constexpr Kernels base_kernels = Blocks<Lanes<2>>::table();

} // namespace zavox::wide

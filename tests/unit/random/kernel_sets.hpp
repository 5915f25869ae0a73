// Runs a test body once on each code path that the processor has.
#pragma once

#include "random/kernels.hpp"
#include "tests/support/covered_paths.hpp"

#include <gtest/gtest.h>

namespace zavo::test {

// body(set) with the kernels of the path.
template <class Body>
void with_each_kernel_set(Body&& body)
{
    on_each_path([&] { body(random::kernels()); });
}

} // namespace zavo::test

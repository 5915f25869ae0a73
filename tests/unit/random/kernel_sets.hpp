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
    for (const simd::Path path : simd::all_paths) {
        if (simd::has_path(path)) {
            SCOPED_TRACE(simd::name_of(path));
            const LimitedPath limited{path};
            body(random::kernels());
        }
    }
}

} // namespace zavo::test

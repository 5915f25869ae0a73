// Runs a test body once with each instruction set that the processor has.
#pragma once

#include "random/kernels.hpp"

#include <gtest/gtest.h>

namespace zavo::test {

template <class Body>
void with_each_kernel_set(Body&& body)
{
    for (int i = 0; const random::Kernels* set = random::available_kernels(i); ++i) {
        SCOPED_TRACE(set->name);
        random::use_kernels(set);
        body(*set);
    }
    random::use_kernels(nullptr);
}

} // namespace zavo::test

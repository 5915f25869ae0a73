// Batches of deviates beside the serial definition.
#pragma once

#include "random/random.h"
#include "tests/unit/random/kernel_sets.hpp"
#include "tests/unit/random/serial_definition.hpp"

#include <gtest/gtest.h>
#include <vector>

namespace zavo::test {

// Every option and kernel set gives the bits of one(uniform deviate).
template <class One>
void expect_batches_follow(float* (*routine)(int n, ...), One&& one)
{
    const float empty[128] = {};
    std::vector<float> r(70000);
    with_each_kernel_set([&](const auto&) {
        for (int option = 1; option <= 6; ++option) {
            zavo_rnses(empty);
            zavo_random_option(option);
            zavo_random_seed_set(8);
            SerialStream serial{option, 8};
            routine(70000, ZAVO_RETURN_USER, r.data(), 0);
            for (float x : r) {
                ASSERT_EQ(bits_of(x), bits_of(one(serial.next())));
            }
        }
    });
    zavo_random_option(1);
}

} // namespace zavo::test

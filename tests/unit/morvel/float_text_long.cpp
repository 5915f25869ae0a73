// The text of every positive finite float.
#include "tests/unit/morvel/float_text.hpp"

#include <gtest/gtest.h>

namespace {

TEST(float_text_long, every_float_has_its_shortest_text)
{
    for (std::uint32_t bits = 1; bits < 0x7F800000U; ++bits) {
        ASSERT_TRUE(support::has_shortest_text(bits)) << bits;
    }
}

} // namespace

#include "core/system/platform.hpp"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(platform, a_program_name_that_is_too_long_for_its_buffer_is_cut)
{
    char name[] = "########";
    zavo::platform::program_name(name, 5);
    EXPECT_EQ(std::string(name, sizeof name), std::string("unit\0###", sizeof name));
}

} // namespace

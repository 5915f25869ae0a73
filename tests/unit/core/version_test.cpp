#include "core/zavo.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(version, of_library_and_header_agree)
{
    EXPECT_STREQ(zavo_version(), ZAVO_VERSION);
    EXPECT_EQ(std::to_string(ZAVO_VERSION_MAJOR) + "." + std::to_string(ZAVO_VERSION_MINOR), ZAVO_VERSION);
}

} // namespace

#include "core/system/memory.hpp"
#include "core/system/text_buffer.hpp"

#include <gtest/gtest.h>
#include <string>

namespace {

using zavo::core::TextBuffer;

TEST(text_buffer, grows_by_texts_and_formats)
{
    TextBuffer text;
    EXPECT_TRUE(text.empty());
    text.format("%s", ""); // nothing
    EXPECT_TRUE(text.empty());
    text.append("one ");
    text.format("%d", 2);
    text.append('!');
    EXPECT_STREQ(text.c_str(), "one 2!");
    EXPECT_EQ(text.size(), 6U);
}

TEST(text_buffer, keeps_what_it_has_when_memory_is_short)
{
    TextBuffer text;
    text.append("kept");
    const std::string longer(1000, 'x');
    zavo_fail_allocation(1);
    text.append(longer.c_str());
    zavo_fail_allocation(0);
    EXPECT_TRUE(text.out_of_memory());
    text.append("more"); // not asked for any more
    text.format("%d", 5);
    EXPECT_STREQ(text.c_str(), "kept");
    text.clear();
    EXPECT_FALSE(text.out_of_memory());
    zavo_fail_allocation(1);
    text.format("%s", longer.c_str());
    zavo_fail_allocation(0);
    EXPECT_TRUE(text.out_of_memory());
    EXPECT_TRUE(text.empty());
}

TEST(text_buffer, replaces_a_text_where_it_stands_and_nowhere_else)
{
    TextBuffer text;
    text.append("1,,5");
    EXPECT_FALSE(text.replace_at(0, ",,", '.'));
    EXPECT_FALSE(text.replace_at(3, "5,", '.')); // beyond the end
    EXPECT_FALSE(text.replace_at(1, "", '.'));
    EXPECT_TRUE(text.replace_at(1, ",,", '.'));
    EXPECT_STREQ(text.c_str(), "1.5");
    EXPECT_EQ(text.size(), 3U);
}

} // namespace

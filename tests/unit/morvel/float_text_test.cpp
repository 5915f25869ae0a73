// Shortest text of floats, and plain numbers.
#include "tests/unit/morvel/float_text.hpp"

#include "morvel/plain_numbers.hpp"

#include <cstring>
#include <gtest/gtest.h>

namespace {

using support::has_shortest_text;
using support::text_of;

TEST(float_text, layout_is_that_of_tcl)
{
    EXPECT_EQ(text_of(1.0F), "1.0");
    EXPECT_EQ(text_of(-0.0F), "-0.0");
    EXPECT_EQ(text_of(0.1F), "0.1");
    EXPECT_EQ(text_of(1e-4F), "0.0001");
    EXPECT_EQ(text_of(1e-5F), "1e-5");
    EXPECT_EQ(text_of(1e16F), "10000000000000000.0");
    EXPECT_EQ(text_of(1e17F), "1e+17");
    EXPECT_EQ(text_of(-1.5e-20F), "-1.5e-20");
    EXPECT_EQ(text_of(0x1p-149F), "1e-45");
    EXPECT_EQ(text_of(0x1.fffffep+127F), "3.4028235e+38");
}

TEST(float_text, powers_of_two_and_their_neighbours_are_shortest)
{
    for (std::uint32_t exponent = 0; exponent < 255; ++exponent) {
        for (std::int32_t offset = -40; offset <= 40; ++offset) {
            const std::uint32_t bits = (exponent << 23) + static_cast<std::uint32_t>(offset);
            if (bits > 0 && bits < 0x7F800000U) {
                EXPECT_TRUE(has_shortest_text(bits)) << bits;
            }
        }
    }
}

TEST(float_text, a_sample_of_all_floats_is_shortest)
{
    for (std::uint32_t bits = 1; bits < 0x7F800000U; bits += 10007) {
        EXPECT_TRUE(has_shortest_text(bits)) << bits;
    }
}

bool is_plain(const char* text, double* number)
{
    return morvel::read_plain_number(text, text + std::strlen(text), number);
}

TEST(plain_numbers, decimals_are_read_and_rounded_correctly)
{
    double number = 0;
    for (const char* text :
         {"0", "1", "-1", "0.1", ".5", "5.", "-0.0", "1e5", "1.5E-7", "0.30000000000000004",
          "123456789012345678", "9007199254740993.0", "2.2250738585072014e-308", "1e308"}) {
        EXPECT_TRUE(is_plain(text, &number)) << text;
        EXPECT_EQ(number, std::strtod(text, nullptr)) << text;
    }
}

TEST(plain_numbers, the_unusual_is_left_to_others)
{
    double number = 0;
    for (const char* text : {"",    "-",    ".",   "+1",    "01",     "-01",    "0x10",
                             "-0",  "1e",   "1e+", "e5",    "1x",     "1 ",     " 1",
                             "Inf", "-inf", "nan", "1e400", "1e-400", "1e-310", "1234567890123456789",
                             "1,5"}) {
        EXPECT_FALSE(is_plain(text, &number)) << text;
    }
}

TEST(plain_numbers, words_are_counted)
{
    const auto count = [](const char* text) {
        int words = -1;
        return morvel::count_words(text, text + std::strlen(text), &words) ? words : -1;
    };
    EXPECT_EQ(count(""), 0);
    EXPECT_EQ(count(" \t\n"), 0);
    EXPECT_EQ(count("1"), 1);
    EXPECT_EQ(count(" 1 2\t\n3 "), 3);
    EXPECT_EQ(count("{1} 2"), -1);
    EXPECT_EQ(count("dynlist1"), -1);
}

} // namespace

#include "minimize/objective/number_text.hpp"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>

namespace {

using zavo::minimize::format_fixed;
using zavo::minimize::read_float;

std::string fixed(float value)
{
    char text[zavo::minimize::fixed_text_size];
    const int length = format_fixed(value, text);
    EXPECT_EQ(length, static_cast<int>(std::char_traits<char>::length(text)));
    return text;
}

TEST(number_text, fixed_notation_has_six_decimals)
{
    EXPECT_EQ(fixed(0.0F), "0.000000");
    EXPECT_EQ(fixed(-0.0F), "-0.000000");
    EXPECT_EQ(fixed(1.0F), "1.000000");
    EXPECT_EQ(fixed(-1.2F), "-1.200000");
    EXPECT_EQ(fixed(0.1F), "0.100000");
    EXPECT_EQ(fixed(4e-7F), "0.000000");
    EXPECT_EQ(fixed(-4e-7F), "-0.000000");
    EXPECT_EQ(fixed(6e-7F), "0.000001");
    EXPECT_EQ(fixed(999999.9375F), "999999.937500");
    EXPECT_EQ(fixed(16777216.0F), "16777216.000000");
}

TEST(number_text, ties_go_to_even)
{
    EXPECT_EQ(fixed(0.0078125F), "0.007812"); // 2^-7
    EXPECT_EQ(fixed(0.0234375F), "0.023438"); // 3 * 2^-7
}

TEST(number_text, large_numbers_have_exact_digits)
{
    EXPECT_EQ(fixed(std::numeric_limits<float>::max()), "340282346638528859811704183484516925440.000000");
    EXPECT_EQ(fixed(-std::numeric_limits<float>::max()), "-340282346638528859811704183484516925440.000000");
    EXPECT_EQ(fixed(1e10F), "10000000000.000000");
    EXPECT_EQ(fixed(1e20F), "100000002004087734272.000000");
}

TEST(number_text, infinities_and_nan_have_words)
{
    EXPECT_EQ(fixed(std::numeric_limits<float>::infinity()), "inf");
    EXPECT_EQ(fixed(-std::numeric_limits<float>::infinity()), "-inf");
    EXPECT_EQ(fixed(std::numeric_limits<float>::quiet_NaN()), "nan");
    EXPECT_EQ(fixed(-std::numeric_limits<float>::quiet_NaN()), "nan");
}

#ifdef __GLIBC__ // whose digits are exact
TEST(number_text, agrees_with_the_c_library)
{
    std::mt19937 random(1);
    for (int i = 0; i < 1000000; ++i) {
        const float value = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
        if (value == value) {
            char text[64];
            std::snprintf(text, sizeof text, "%f", static_cast<double>(value));
            ASSERT_EQ(fixed(value), text);
        }
    }
}

TEST(number_text, reads_as_the_c_library_does)
{
    std::mt19937 random(2);
    const auto digits = [&random](int most) {
        std::string text;
        for (int i = static_cast<int>(random() % (most + 1)); i > 0; --i) {
            text += static_cast<char>('0' + random() % 10);
        }
        return text;
    };
    for (int i = 0; i < 300000; ++i) {
        std::string text = random() % 2 == 0 ? "-" : "";
        text += digits(21);
        text += random() % 2 == 0 ? "." + digits(21) : "";
        text += random() % 2 == 0 ? "e" + std::to_string(static_cast<int>(random() % 100) - 60) : "";
        const auto wanted = static_cast<float>(std::atof(text.c_str()));
        ASSERT_EQ(std::bit_cast<std::uint32_t>(read_float(text.c_str())),
                  std::bit_cast<std::uint32_t>(wanted))
            << text;
    }
}
#endif

TEST(number_text, reads_the_number_that_a_text_begins_with)
{
    EXPECT_EQ(read_float("12.5abc"), 12.5F);
    EXPECT_EQ(read_float(" \t\n-3e2 "), -300.0F);
    EXPECT_EQ(read_float("+7"), 7.0F);
    EXPECT_EQ(read_float(".5"), 0.5F);
    EXPECT_EQ(read_float("5."), 5.0F);
    EXPECT_EQ(read_float("1e"), 1.0F);
    EXPECT_EQ(read_float("1e+"), 1.0F);
    EXPECT_EQ(read_float("0x1A"), 26.0F);
    EXPECT_EQ(read_float("0x1p3"), 8.0F);
    EXPECT_EQ(read_float("0x"), 0.0F);
    EXPECT_EQ(read_float("17 is bad"), 17.0F);
    EXPECT_EQ(read_float("1,5"), 1.0F);
}

TEST(number_text, words_are_zero)
{
    for (const char* const text :
         {"", "word", "invalid command name \"f\"", "-", "--3", "+-3", ".", "-.", "e5"}) {
        EXPECT_EQ(std::bit_cast<std::uint32_t>(read_float(text)), 0U) << text;
    }
}

TEST(number_text, infinity_and_nan_are_read)
{
    EXPECT_EQ(read_float("Inf"), std::numeric_limits<float>::infinity());
    EXPECT_EQ(read_float("-Infinity"), -std::numeric_limits<float>::infinity());
    EXPECT_TRUE(std::isnan(read_float("NaN")));
    EXPECT_TRUE(std::isnan(read_float("-nan")));
}

TEST(number_text, numbers_beyond_the_range_become_infinite_or_zero)
{
    constexpr float inf = std::numeric_limits<float>::infinity();
    EXPECT_EQ(read_float("1e39"), inf);
    EXPECT_EQ(read_float("-1e400"), -inf);
    EXPECT_EQ(read_float("1e99999999999999999999"), inf);
    EXPECT_EQ(read_float("0x1p99999"), inf);
    EXPECT_EQ(read_float("1e-400"), 0.0F);
    EXPECT_EQ(read_float("0e999999999999"), 0.0F);
    EXPECT_EQ(read_float(("0." + std::string(400, '0') + "1e1").c_str()), 0.0F);
    EXPECT_EQ(read_float((std::string(400, '9')).c_str()), inf);
    EXPECT_EQ(read_float("3.4028235677973366e38"), inf); // half a spacing above the greatest
    EXPECT_EQ(read_float("3.40282356e38"), std::numeric_limits<float>::max());
}

TEST(number_text, number_of_a_fixed_text_is_what_the_text_stands_for)
{
    std::uint32_t state = 1;
    int taken = 0;
    for (int i = 0; i < 100000; ++i) {
        state = state * 1664525U + 1013904223U;
        float value = 0;
        std::memcpy(&value, &state, sizeof value);
        if (i % 2 == 0) { // of everyday size
            value = static_cast<float>(static_cast<std::int32_t>(state)) * 1e-6F;
        }
        char text[zavo::minimize::fixed_text_size];
        zavo::minimize::format_fixed(value, text);
        double number = 99;
        if (zavo::minimize::number_of_fixed(text, &number)) {
            const double wanted = std::strtod(text, nullptr);
            ASSERT_EQ(std::memcmp(&number, &wanted, sizeof number), 0) << text;
            ++taken;
        } else {
            ASSERT_TRUE(std::strlen(text) > 16 || std::strchr(text, 'n') != nullptr) << text;
        }
    }
    EXPECT_GT(taken, 50000);
}

// As C99 has them: digits with at most one point, and behind a "p" a power of two.
TEST(number_text, hexadecimal_numbers_end_where_no_digit_stands)
{
    const struct {
        const char* text;
        float value;
    } rows[] = {
        {"0x.8", 0.5F},
        {"0X1F", 31.0F},
        {"0x1f", 31.0F},
        {"0x1.8", 1.5F},
        {"0x1.8.8", 1.5F},
        {"0x1g", 1.0F},
        {"0x1G", 1.0F},
        {"0x1:", 1.0F},
        {"0x1/", 1.0F},
        {"0x1@", 1.0F},
        {"0x1`", 1.0F},
        {"0x/", 0.0F},
        {"0x:", 0.0F},
        {"0x@", 0.0F},
        {"0xg", 0.0F},
        {"0x.", 0.0F},
        {"0x.g", 0.0F},
        {"0y1", 0.0F},
        {"1x1", 1.0F},
        {"0x1p", 1.0F},
        {"0x1p+2", 4.0F},
        {"0x1p-2", 0.25F},
        {"0x1P2", 4.0F},
        {"0x1p:", 1.0F},
        {"0x1p/", 1.0F},
        {"0x1p2x", 4.0F},
        {"-0xAp-1", -5.0F},
        {"0x1.p1", 2.0F},
        {"0x1p999999999999", std::numeric_limits<float>::infinity()},
        {"0x0.00000000000000000001p80", 1.0F},
        {"0x1.00000000000000000f", 1.0F},     // more digits than are kept, behind the point
        {"0x100000000000000000p-68", 1.0F},   // and before it
        {"0x1.0000010000000000000001", 1.0F}, // rounded to double first, to the middle of two floats
    };
    for (const auto& row : rows) {
        EXPECT_EQ(read_float(row.text), row.value) << row.text;
    }
}

TEST(number_text, a_fixed_text_is_of_digits_alone)
{
    double number = 5.0;
    for (const char* text : {"inf", "nan", "1,5", "1/5", "1:5", "--1"}) {
        EXPECT_FALSE(zavo::minimize::number_of_fixed(text, &number)) << text;
    }
    EXPECT_EQ(number, 5.0);
}

} // namespace

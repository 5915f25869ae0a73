#include "core/errors/error_stack.h"
#include "core/system/memory.hpp"
#include "tests/support/captured_errors.hpp"
#include "tests/support/host_modes.hpp"

#include <climits>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>

namespace {

using zavo::test::CapturedErrors;

std::string expanded(const char* message)
{
    CapturedErrors errors;
    zavo_error_push("routine");
    zavo_e1mes(ZAVO_WARNING_IMMEDIATE, 1, message);
    zavo_error_pop("routine");
    return errors.last().message;
}

class message_expansion : public testing::Test {
protected:
    void SetUp() override
    {
        zavo_error_set_int(1, 7);
        zavo_error_set_int(9, INT_MIN);
        zavo_error_set_real(2, 0.5);
        zavo_error_set_complex(3, 1, -2);
        zavo_error_set_f_complex(4, 0.5F, 0.25F);
        zavo_error_set_string(5, "five");
        zavo_error_set_string(-6, "six");
    }
};

TEST_F(message_expansion, replaces_parameters_by_kind)
{
    EXPECT_EQ(expanded("%(I1)"), "7");
    EXPECT_EQ(expanded("a %(i9) b"), "a -2147483648 b");
    for (const char* text : {"%(R2)", "%(r2)", "%(D2)", "%(d2)", "%(F2)", "%(f2)"}) {
        EXPECT_EQ(expanded(text), "5.000000e-01") << text;
    }
    for (const char* text : {"%(C3)", "%(c3)", "%(Z3)", "%(z3)"}) {
        EXPECT_EQ(expanded(text), "(1.000000e+00,-2.000000e+00)") << text;
    }
    EXPECT_EQ(expanded("%(C4)"), "(5.000000e-01,2.500000e-01)");
    for (const char* text : {"%(S5)", "%(s5)", "%(L5)", "%(l5)"}) {
        EXPECT_EQ(expanded(text), "five") << text;
    }
    EXPECT_EQ(expanded("%(S6)"), "six");
}

TEST_F(message_expansion, unknown_kinds_stay_visible)
{
    EXPECT_EQ(expanded("%(Q1)"), "%(Q1)");
    EXPECT_EQ(expanded("%(Q1%5d) x"), "%(Q1) x");
    EXPECT_EQ(expanded("%(I0)"), "%(I0)");
    EXPECT_EQ(expanded("%(I) %(1) 100% %d %"), "%(I) %(1) 100% %d %");
    // Neighbours of the letters and of the digits.
    for (const char* text : {"%(@1)", "%([1)", "%(`1)", "%({1)", "%(I/)", "%(I:)"}) {
        EXPECT_EQ(expanded(text), text);
    }
}

TEST_F(message_expansion, line_feed)
{
    EXPECT_EQ(expanded("one%/two%/"), "one\ntwo\n");
}

TEST_F(message_expansion, own_format_of_the_right_kind_is_used)
{
    EXPECT_EQ(expanded("[%(I1%05d)]"), "[00007]");
    EXPECT_EQ(expanded("[%(I1%-4d|)]"), "[7   |]");
    EXPECT_EQ(expanded("[%(I1%%%x)]"), "[%7]");
    EXPECT_EQ(expanded("[%(R2%.2f)]"), "[0.50]");
    EXPECT_EQ(expanded("[%(S5%6.2s)]"), "[    fi]");
    EXPECT_EQ(expanded("[%(R2%%%.1f%%)]"), "[%0.5%]");
    EXPECT_EQ(expanded("[%(C3%.1f)]"), "[(1.0,-2.0)]");
}

TEST_F(message_expansion, any_other_format_falls_back_to_the_ordinary_one)
{
    for (const char* text : {"%(I1%s)", "%(I1%n)", "%(I1%*d)", "%(I1%d%d)", "%(I1%ld)", "%(I1%f)", "%(I1%)",
                             "%(I1%.*d)", "%(I1%5)", "%(I1%%)", "%(I1%99999d)", "%(I1%.99999d)", "%(I1 d)"}) {
        EXPECT_EQ(expanded(text), "7") << text;
    }
    EXPECT_EQ(expanded("%(S5%d)"), "five");
    EXPECT_EQ(expanded("%(S5%n)"), "five");
    EXPECT_EQ(expanded("%(R2%d)"), "5.000000e-01");
    EXPECT_EQ(expanded("%(R2%Lf)"), "5.000000e-01");
}

TEST_F(message_expansion, a_parameter_without_its_closing_parenthesis_ends_the_text)
{
    EXPECT_EQ(expanded("a %(I1"), "a 7");
    EXPECT_EQ(expanded("a %(I1%d and more"), "a 7 and more");
    EXPECT_EQ(expanded("%("), "%(");
    EXPECT_EQ(expanded("%(I"), "%(I");
}

TEST_F(message_expansion, indices_outside_1_to_9_are_ignored)
{
    zavo_error_set_int(0, 1);
    zavo_error_set_int(10, 1);
    zavo_error_set_int(-1, 1);
    zavo_error_set_real(10, 1);
    zavo_error_set_complex(0, 1, 1);
    zavo_error_set_string(10, "x");
    zavo_error_set_string(0, "x");
    zavo_error_set_string(INT_MIN, "x");
    EXPECT_EQ(expanded("%(I1)"), "7");
}

TEST_F(message_expansion, two_conversions_format_a_complex_pair)
{
    zavo_error_set_complex(1, 1.25, -3.5);
    EXPECT_EQ(expanded("%(Z1%.1f %.2f)"), "1.2 -3.50");
    EXPECT_EQ(expanded("%(Z1%g%+gi)"), "1.25-3.5i");
    EXPECT_EQ(expanded("%(Z1%g)"), "(1.25,-3.5)");
    EXPECT_EQ(expanded("%(Z1%g %g %g)"), "(1.250000e+00,-3.500000e+00)");
    EXPECT_EQ(expanded("%(Z1%g %d)"), "(1.250000e+00,-3.500000e+00)");
    EXPECT_EQ(expanded("%(R1%g %g)"), "0.000000e+00") << "a real is no pair";
}

// In a locale with a decimal comma, where one can be had.
TEST_F(message_expansion, numbers_have_a_point_in_every_locale)
{
    if (zavo::test::comma_locale() == nullptr) {
        GTEST_SKIP() << "no locale with a decimal comma";
    }
    std::setlocale(LC_NUMERIC, zavo::test::comma_locale());
    zavo_error_set_real(1, 1.5);
    zavo_error_set_complex(1, 1.25, -3.5);
    const std::string several = expanded("%(R1%.1f), %(Z1) %(Z1%.1f,%.1f) %(R1%.0f)");
    std::setlocale(LC_NUMERIC, "C");
    EXPECT_EQ(several, "1.5, (1.250000e+00,-3.500000e+00) 1.2,-3.5 2");
}

TEST_F(message_expansion, an_own_format_of_more_than_63_characters_is_not_used)
{
    EXPECT_EQ(expanded(("%(I1%d" + std::string(61, '.') + ")").c_str()), "7" + std::string(61, '.'));
    EXPECT_EQ(expanded(("%(I1%d" + std::string(62, '.') + ")").c_str()), "7");
}

TEST_F(message_expansion, a_string_that_is_null_is_shown_as_such)
{
    zavo_error_set_string(1, nullptr);
    EXPECT_EQ(expanded("[%(S1)]"), "[(null)]");
}

TEST_F(message_expansion, long_strings_are_not_cut)
{
    const std::string longest(5000, 'y');
    zavo_error_set_string(1, longest.c_str());
    EXPECT_EQ(expanded("%(S1)%(S1)"), longest + longest);
}

TEST_F(message_expansion, out_of_memory_has_a_text_of_its_own)
{
    const std::string longest(100000, 'z');
    CapturedErrors errors;
    zavo_error_push("routine");
    zavo_fail_allocation(1);
    zavo_e1mes(ZAVO_WARNING_IMMEDIATE, 1, longest.c_str());
    zavo_fail_allocation(0);
    zavo_error_pop("routine");
    EXPECT_EQ(errors.last().message, "Out of memory in error handler.");
    EXPECT_EQ(expanded("well again"), "well again");
}

} // namespace

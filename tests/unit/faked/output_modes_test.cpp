// The message-box and console modes, and the catalogue's search, with the
// system's services substituted (tests/support/fake_platform.cpp). The services
// themselves are shown on a desktop by tests/unit/desktop/.

#include "core/catalogue/catalogue.hpp"
#include "core/errors/error_stack.h"
#include "tests/support/catalogue_builder.hpp"
#include "tests/support/fake_platform.hpp"

#include <gtest/gtest.h>

namespace {

using zavo::platform::BoxIcon;
using zavo::test::fake_platform;
using zavo::test::FakePlatform;

class output_modes : public testing::Test {
protected:
    void SetUp() override
    {
        zavo::core::reset_catalogue();
        fake_platform() = FakePlatform{};
        zavo_error_options(ZAVO_SET_STOP, ZAVO_TERMINAL, 0, 0);
    }
    void TearDown() override
    {
        zavo_error_options(ZAVO_SET_OUTPUT_MODE, ZAVO_OUTPUT_STREAM, ZAVO_SET_STOP, ZAVO_TERMINAL, 1, 0);
        zavo::core::reset_catalogue();
    }
    static void use(int mode) { zavo_error_options(ZAVO_SET_OUTPUT_MODE, mode, 0); }
    static void post(int type, const char* message)
    {
        zavo_error_push("routine");
        zavo_e1mes(type, 99, message);
        zavo_error_pop("routine");
    }
    // Looks a code up without its complaint on standard error.
    static std::string message_of(int code)
    {
        testing::internal::CaptureStderr();
        std::string text = zavo::core::catalogue_message(code);
        complaint = testing::internal::GetCapturedStderr();
        return text;
    }
    static inline std::string complaint;
};

TEST_F(output_modes, message_box_shows_one_text_titled_with_the_host_program)
{
    message_of(99); // the catalogue's own box comes later
    use(ZAVO_OUTPUT_MESSAGE_BOX);
    post(ZAVO_WARNING, "Mind\nthis.");
    post(ZAVO_TERMINAL, "Not this.");
    ASSERT_EQ(fake_platform().boxes.size(), 2U);
    EXPECT_EQ(fake_platform().boxes[0].title, "host.exe");
    EXPECT_EQ(fake_platform().boxes[0].text, "WARNING  Error 99 from routine.  Mind\nthis.");
    EXPECT_EQ(fake_platform().boxes[0].icon, BoxIcon::information);
    EXPECT_EQ(fake_platform().boxes[1].text, "TERMINAL Error from routine.  Not this.");
    EXPECT_EQ(fake_platform().boxes[1].icon, BoxIcon::information);
}

TEST_F(output_modes, message_box_of_a_type_that_stops_has_the_error_icon)
{
    use(ZAVO_OUTPUT_MESSAGE_BOX);
    zavo_error_options(ZAVO_SET_STOP, ZAVO_WARNING, 2, 0); // above 0, and not 1: it does not stop
    post(ZAVO_WARNING, "x");
    zavo_error_options(ZAVO_SET_STOP, ZAVO_WARNING, 0, 0);
    EXPECT_EQ(fake_platform().boxes.back().icon, BoxIcon::error);
}

TEST_F(output_modes, console_has_crlf_lines)
{
    message_of(99);
    use(ZAVO_OUTPUT_CONSOLE);
    post(ZAVO_WARNING, "Mind\nthis.");
    EXPECT_EQ(fake_platform().console_text,
              "\r\n*** WARNING  Error 99 from routine.  Mind\r\n***          this.\r\n");
    EXPECT_EQ(fake_platform().consoles_opened, 1);
    EXPECT_TRUE(fake_platform().boxes.empty());
}

TEST_F(output_modes, a_missing_catalogue_opens_a_box_in_message_box_mode_only)
{
    EXPECT_EQ(message_of(7), "Error code 7.");
    EXPECT_TRUE(fake_platform().boxes.empty());
    zavo::core::reset_catalogue();
    use(ZAVO_OUTPUT_MESSAGE_BOX);
    EXPECT_EQ(message_of(7), "Error code 7.");
    EXPECT_EQ(complaint, "Error in reading zavoerr.bin\nFile not found.\n");
    ASSERT_EQ(fake_platform().boxes.size(), 1U);
    EXPECT_EQ(fake_platform().boxes[0].title, "host.exe");
    EXPECT_EQ(fake_platform().boxes[0].text, complaint);
    EXPECT_EQ(fake_platform().boxes[0].icon, BoxIcon::information);
    message_of(8);
    EXPECT_EQ(fake_platform().boxes.size(), 1U);
}

// ---- Search path -----------------------------------------------------------

std::string searched_path()
{
    zavo::core::reset_catalogue();
    fake_platform().searched.clear();
    testing::internal::CaptureStderr();
    zavo::core::catalogue_message(7);
    testing::internal::GetCapturedStderr();
    return fake_platform().searched.empty() ? "nothing" : fake_platform().searched.back();
}

TEST_F(output_modes, default_path_drops_the_element_of_an_unset_variable)
{
    EXPECT_EQ(searched_path(), ".;/lib;c:/lib");
    fake_platform().variables["LIB"] = "/opt/lib";
    EXPECT_EQ(searched_path(), ".;/opt/lib;/lib;c:/lib");
}

TEST_F(output_modes, environment_variable_sets_the_path)
{
    fake_platform().variables["ZAVOERRPATH"] = "/a;$HERE;/b;$NOWHERE";
    fake_platform().variables["HERE"] = "/h1;/h2";
    EXPECT_EQ(searched_path(), "/a;/h1;/h2;/b");
    fake_platform().variables["ZAVOERRPATH"] = "$NOWHERE";
    EXPECT_EQ(searched_path(), "");
    fake_platform().variables["ZAVOERRPATH"] = "$";
    EXPECT_EQ(searched_path(), "");
    fake_platform().variables["ZAVOERRPATH"] = "a$HERE";
    EXPECT_EQ(searched_path(), "a$HERE");
}

TEST_F(output_modes, environment_variable_has_at_most_260_characters)
{
    fake_platform().variables["ZAVOERRPATH"] = std::string(260, 'p');
    EXPECT_EQ(searched_path(), std::string(260, 'p'));
    fake_platform().variables["ZAVOERRPATH"] = std::string(261, 'p');
    EXPECT_EQ(searched_path(), ".;/lib;c:/lib");
}

TEST_F(output_modes, a_path_set_by_option_comes_first)
{
    fake_platform().variables["ZAVOERRPATH"] = "/environment";
    fake_platform().variables["HERE"] = std::string(30000, 'h');
    zavo_error_options(ZAVO_SET_CATALOGUE_PATH, "/option;$HERE", 0);
    testing::internal::CaptureStderr();
    zavo::core::catalogue_message(7);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(fake_platform().searched.back(), "/option;" + std::string(30000, 'h'));
    EXPECT_EQ(searched_path(), "/environment");
}

} // namespace

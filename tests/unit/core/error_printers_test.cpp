#include "core/errors/error_stack.h"
#include "core/system/error_settings.hpp"
#include "core/zavo.h"

#include <gtest/gtest.h>
#include <string>

namespace {

// What the routine `body` writes to the library's error stream.
template <class Body>
std::string written(Body&& body)
{
    FILE* const file = std::tmpfile();
    zavo_error_options(ZAVO_SET_ERROR_STREAM, file, 0);
    body();
    zavo_error_options(ZAVO_SET_ERROR_STREAM, stderr, 0);
    std::string text(static_cast<std::size_t>(std::ftell(file)), '\0');
    std::rewind(file);
    EXPECT_EQ(std::fread(text.data(), 1, text.size(), file), text.size());
    std::fclose(file);
    return text;
}

std::string printed(int type, const std::string& message, const char* routine = "routine")
{
    return written([&] {
        zavo_error_push(routine);
        zavo_e1mes(type, 99999, message.c_str());
        zavo_error_pop(routine);
    });
}

TEST(error_printers, header_names_type_code_and_routine)
{
    EXPECT_EQ(printed(ZAVO_WARNING, "Mind this."), "\n*** WARNING  Error 99999 from routine.  Mind this.\n");
    EXPECT_EQ(printed(ZAVO_WARNING_IMMEDIATE, "Mind this."),
              "\n*** WARNING_IMMEDIATE Error from routine.  Mind this.\n");
}

TEST(error_printers, the_routine_named_is_the_one_that_the_user_called)
{
    const std::string text = written([] {
        zavo_error_push("called");
        zavo_error_push("worker");
        zavo_e1mes(ZAVO_WARNING_IMMEDIATE, 1, "x");
        zavo_error_pop("worker");
        zavo_error_pop("called");
    });
    EXPECT_EQ(text, "\n*** WARNING_IMMEDIATE Error from called.  x\n");
}

TEST(error_printers, nothing_is_printed_for_an_empty_message)
{
    EXPECT_EQ(printed(ZAVO_WARNING, " "), "");
    EXPECT_EQ(printed(ZAVO_WARNING_IMMEDIATE, " "), "");
}

TEST(error_printers, other_modes_print_nothing_for_an_empty_message_either)
{
    for (const int mode : {ZAVO_OUTPUT_CONSOLE, ZAVO_OUTPUT_MESSAGE_BOX}) {
        zavo_error_options(ZAVO_SET_OUTPUT_MODE, mode, 0);
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        zavo_error_push("routine");
        zavo_e1mes(ZAVO_WARNING_IMMEDIATE, 99999, " ");
        zavo_error_pop("routine");
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    }
    zavo_error_options(ZAVO_SET_OUTPUT_MODE, ZAVO_OUTPUT_STREAM, 0);
}

TEST(error_printers, long_messages_break_at_blanks_within_78_columns)
{
    std::string message;
    for (int i = 0; i < 60; ++i) {
        message += "word" + std::to_string(i) + " ";
    }
    message.pop_back();
    const std::string text = printed(ZAVO_WARNING, message);
    std::string joined;
    std::size_t start = 1;
    int lines = 0;
    while (start < text.size()) {
        const std::size_t end = text.find('\n', start);
        ASSERT_NE(end, std::string::npos);
        const std::string line = text.substr(start, end - start);
        EXPECT_LE(line.size(), 78U) << line;
        if (lines > 0) {
            EXPECT_EQ(line.substr(0, 13), "***          ");
            // The first word of a line would not have fitted the line before.
            joined += " " + line.substr(13);
        } else {
            joined = line.substr(line.find("word"));
        }
        start = end + 1;
        ++lines;
    }
    EXPECT_EQ(joined, message);
    EXPECT_GT(lines, 5);
}

TEST(error_printers, a_full_line_is_used_to_its_last_column)
{
    // The header takes 41 columns; 37 more fill the line.
    const std::string fits(37, 'a');
    EXPECT_EQ(printed(ZAVO_WARNING, fits + " b"),
              "\n*** WARNING  Error 99999 from routine.  " + fits + "\n***          b\n");
}

TEST(error_printers, line_feeds_start_prefixed_lines)
{
    EXPECT_EQ(printed(ZAVO_WARNING, "one%/two"),
              "\n*** WARNING  Error 99999 from routine.  one\n***          two\n");
}

TEST(error_printers, empty_lines_have_their_prefix)
{
    EXPECT_EQ(printed(ZAVO_WARNING, "one%/%/two"),
              "\n*** WARNING  Error 99999 from routine.  one\n***          \n***          two\n");
}

TEST(error_printers, a_type_out_of_range_is_called_internal)
{
    EXPECT_STREQ(zavo::core::type_name(-1), "INTERNAL");
    EXPECT_STREQ(zavo::core::type_name(9), "INTERNAL");
}

TEST(error_printers, a_header_as_long_as_the_line_stands_alone)
{
    const std::string name(60, 'n');
    EXPECT_EQ(printed(ZAVO_WARNING, "text", name.c_str()),
              "\n*** WARNING  Error 99999 from " + name + ".  \n***          text\n");
}

TEST(error_printers, a_word_longer_than_a_line_is_cut_and_nothing_is_lost)
{
    const std::string word(200, 'w');
    const std::string text = printed(ZAVO_WARNING, word);
    EXPECT_EQ(std::count(text.begin(), text.end(), 'w'), 200);
    for (std::size_t start = 1; start < text.size();) {
        const std::size_t end = text.find('\n', start);
        EXPECT_LE(end - start, 78U);
        start = end + 1;
    }
}

TEST(error_printers, console_writes_the_same_text_with_crlf)
{
    zavo_error_options(ZAVO_SET_OUTPUT_MODE, ZAVO_OUTPUT_CONSOLE, 0);
    testing::internal::CaptureStdout();
    zavo_error_push("routine");
    zavo_e1mes(ZAVO_WARNING, 99999, "one%/two");
    zavo_error_pop("routine");
    const std::string text = testing::internal::GetCapturedStdout();
    zavo_error_options(ZAVO_SET_OUTPUT_MODE, ZAVO_OUTPUT_STREAM, 0);
    EXPECT_EQ(text, "\r\n*** WARNING  Error 99999 from routine.  one\r\n***          two\r\n");
}

TEST(error_printers, traceback_lists_the_levels_that_the_user_called)
{
    const auto nested = [] {
        zavo_error_push("called");
        zavo_error_push("worker");
        zavo_e1mes(ZAVO_WARNING, 123, "x");
        zavo_error_traceback();
        zavo_error_pop("worker");
        zavo_error_traceback();
        zavo_e1mes(0, 0, nullptr);
        zavo_error_pop("called");
    };
    const std::string head = "Here is a traceback of the calls in reverse order.\n"
                             "  Error Type        Error Code              Routine\n"
                             "  ----------        ----------              -------\n";
    const std::string worker = " ZAVO_WARNING     123                       worker\n";
    const std::string called = " ZAVO_WARNING     123                       called\n";
    EXPECT_EQ(written(nested), head + worker + head + called);
    zavo_error_options(ZAVO_TRACE_ALL_LEVELS, 1, 0);
    const std::string every = written([] {
        zavo_error_push("called");
        zavo_e1mes(ZAVO_NOTE, 122, "x");
        zavo_error_push("worker");
        zavo_e1mes(ZAVO_WARNING, 123, "x");
        zavo_error_traceback();
        zavo_error_pop("worker");
        zavo_e1mes(0, 0, nullptr);
        zavo_error_pop("called");
    });
    zavo_error_options(ZAVO_TRACE_ALL_LEVELS, 0, 0);
    EXPECT_EQ(every, head + worker + " ZAVO_NOTE        122                       called\n");
}

TEST(error_printers, traceback_setting_prints_it_behind_the_message)
{
    zavo_error_options(ZAVO_SET_TRACEBACK, ZAVO_WARNING, 1, 0);
    const std::string text = printed(ZAVO_WARNING, "x");
    zavo_error_options(ZAVO_SET_TRACEBACK, ZAVO_WARNING, 0, 0);
    EXPECT_NE(text.find("x\nHere is a traceback"), std::string::npos) << text;
}

} // namespace

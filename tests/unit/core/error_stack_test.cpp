#include "core/errors/error_stack.h"
#include "core/errors/error_state.hpp"

#include "core/errors/error_codes.hpp"
#include "tests/support/captured_errors.hpp"

#include <gtest/gtest.h>

namespace {

using zavo::test::CapturedErrors;

TEST(error_stack, warning_posted_at_depth_2_is_reported_once_when_depth_1_returns_to_the_user)
{
    CapturedErrors errors;
    zavo_error_push("outer");
    zavo_error_push("inner");
    zavo_e1mes(ZAVO_WARNING, 77, "careful");
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(zavo_error_pop("inner"), 77);
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(zavo_error_type(1), ZAVO_WARNING);
    EXPECT_EQ(zavo_error_code(0), 77);
    EXPECT_EQ(zavo_error_pop("outer"), 77);
    ASSERT_EQ(errors.codes(), "3/77");
    EXPECT_EQ(errors.last().routine, "outer");
    EXPECT_EQ(errors.last().message, "careful");
}

TEST(error_stack, error_of_a_routine_called_at_user_level_is_reported_when_that_routine_returns)
{
    CapturedErrors errors;
    zavo_error_push("outer");
    zavo_error_user_level("ON");
    zavo_error_push("inner");
    zavo_e1mes(ZAVO_WARNING, 77, "careful");
    zavo_error_pop("inner");
    EXPECT_EQ(errors.codes(), "3/77");
    EXPECT_EQ(errors.last().routine, "inner");
    zavo_error_user_level("OFF");
    zavo_error_pop("outer");
}

TEST(error_stack, immediate_warning_is_reported_at_posting_and_not_again)
{
    CapturedErrors errors;
    zavo_error_push("routine");
    zavo_e1mes(ZAVO_WARNING_IMMEDIATE, 5, "now");
    EXPECT_EQ(errors.codes(), "6/5");
    zavo_error_pop("routine");
    EXPECT_EQ(errors.codes(), "6/5");
}

TEST(error_stack, a_lesser_error_does_not_displace_a_graver_one_below)
{
    CapturedErrors errors;
    zavo_error_push("outer");
    zavo_e1mes(ZAVO_FATAL, 40, "grave");
    zavo_error_push("inner");
    zavo_e1mes(ZAVO_WARNING, 30, "light");
    zavo_error_pop("inner");
    EXPECT_EQ(zavo_error_code(1), 30);
    EXPECT_EQ(zavo_error_code(0), 30) << "recorded at posting, not carried down";
    EXPECT_EQ(zavo_error_pop("outer"), 40);
}

TEST(error_stack, push_clears_the_queries)
{
    CapturedErrors errors;
    zavo_error_push("routine");
    zavo_e1mes(ZAVO_TERMINAL, 9, "x");
    zavo_error_pop("routine");
    EXPECT_EQ(zavo_error_type(1), ZAVO_TERMINAL);
    zavo_error_push("next");
    EXPECT_EQ(zavo_error_type(1), 0);
    EXPECT_EQ(zavo_error_code(1), 0);
    EXPECT_EQ(zavo_error_type(0), 0);
    EXPECT_EQ(zavo_error_code(0), 0);
    zavo_error_pop("next");
}

TEST(error_stack, type_minus_1_reposts_or_amends_and_type_0_clears)
{
    CapturedErrors errors;
    zavo_error_push("routine");
    zavo_e1mes(ZAVO_WARNING_IMMEDIATE, 5, "first");
    zavo_e1mes(-1, -1, "again");
    EXPECT_EQ(errors.codes(), "6/5 6/5");
    EXPECT_EQ(errors.last().message, "again");
    zavo_e1mes(-1, 8, "unused");
    EXPECT_EQ(errors.codes(), "6/5 6/5");
    zavo_e1mes(0, 0, nullptr);
    EXPECT_EQ(zavo_error_pop("routine"), 0);
}

TEST(error_stack, type_minus_1_with_a_code_that_is_not_positive_changes_nothing)
{
    CapturedErrors errors;
    zavo_error_push("routine");
    zavo_e1mes(ZAVO_NOTE, 5, nullptr);
    zavo_e1mes(-1, 0, "unused");
    zavo_e1mes(-1, -7, "unused");
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(zavo_error_pop("routine"), 5);
    EXPECT_EQ(zavo_error_type(1), ZAVO_NOTE);
}

TEST(error_stack, type_0_with_a_code_stores_the_code)
{
    CapturedErrors errors;
    zavo_error_push("routine");
    zavo_e1mes(ZAVO_WARNING, 5, "a warning");
    zavo_e1mes(0, 6, "no error");
    EXPECT_EQ(zavo_error_pop("routine"), 6);
    EXPECT_EQ(zavo_error_type(1), 0);
    EXPECT_TRUE(errors.empty());
}

TEST(error_stack, an_immediate_type_that_does_not_print_still_calls_the_hook)
{
    static int calls;
    calls = 0;
    CapturedErrors errors;
    int print = 0;
    int stop = -1;
    zavo_e1pos(0, &print, &stop); // types 1 to 7
    zavo_error_hook([](int, int, const char*) { ++calls; });
    zavo_error_push("routine");
    zavo_e1mes(ZAVO_WARNING_IMMEDIATE, 5, "quiet");
    zavo_error_pop("routine");
    zavo_error_hook(nullptr);
    print = 1;
    for (const int type :
         {ZAVO_WARNING, ZAVO_FATAL, ZAVO_TERMINAL, ZAVO_WARNING_IMMEDIATE, ZAVO_FATAL_IMMEDIATE}) {
        zavo_e1pos(type, &print, &stop);
    }
    EXPECT_EQ(calls, 2); // at posting and at return
    EXPECT_TRUE(errors.empty());
}

// There is one message buffer: what a hook posts and leaves standing is what is printed.
TEST(error_stack, a_message_that_the_hook_leaves_behind_is_the_one_reported)
{
    CapturedErrors errors;
    zavo_error_hook([](int, int, const char*) { zavo_e1mes(ZAVO_WARNING, 6, "left behind"); });
    zavo_error_push("routine");
    zavo_e1mes(ZAVO_WARNING, 5, "the first");
    zavo_error_pop("routine");
    zavo_error_hook(nullptr);
    ASSERT_EQ(errors.codes(), "3/6");
    EXPECT_EQ(errors.last().message, "left behind");
}

TEST(error_stack, blank_or_null_message_leaves_the_error_unreported_at_return)
{
    CapturedErrors errors;
    zavo_error_push("routine");
    zavo_e1mes(ZAVO_WARNING, 5, " ");
    zavo_error_pop("routine");
    zavo_error_push("routine");
    zavo_e1mes(ZAVO_WARNING, 5, nullptr);
    zavo_error_pop("routine");
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(zavo_error_code(1), 5);
}

TEST(error_stack, hook_is_called_before_the_handler_and_whatever_the_print_setting)
{
    static std::string trail;
    trail.clear();
    zavo_error_hook([](int type, int code, const char* message) {
        trail += std::to_string(type) + "/" + std::to_string(code) + "/" + message + ";";
    });
    CapturedErrors errors;
    zavo_error_options(ZAVO_SET_PRINT, ZAVO_WARNING, 0, 0);
    zavo_error_push("routine");
    zavo_e1mes(ZAVO_WARNING, 5, "quiet");
    zavo_error_pop("routine");
    zavo_error_options(ZAVO_SET_PRINT, ZAVO_WARNING, 1, 0);
    zavo_error_hook(nullptr);
    EXPECT_EQ(trail, "3/5/quiet;");
    EXPECT_TRUE(errors.empty());
}

TEST(error_stack, fatal_error_stops_the_process_with_its_type_when_the_called_routine_returns)
{
    EXPECT_EXIT(
        {
            zavo_error_push("routine");
            zavo_e1mes(ZAVO_FATAL, 5, "the end");
            zavo_error_pop("routine");
        },
        testing::ExitedWithCode(4), "FATAL    Error 5 from routine.  the end");
}

TEST(error_stack, internal_error_stops_at_posting_with_status_8)
{
    EXPECT_EXIT(zavo_e1mes(ZAVO_INTERNAL, 5, "broken"), testing::ExitedWithCode(8), "INTERNAL Error from");
}

TEST(error_stack, bad_type_stops_with_status_zero)
{
    EXPECT_EXIT(zavo_e1mes(9, 5, "what"), testing::ExitedWithCode(0),
                "Error type must be -1,...,8, but type =");
    EXPECT_EXIT(zavo_e1mes(-2, 5, "what"), testing::ExitedWithCode(0), "Message = \"what\"");
    EXPECT_EXIT(zavo_e1mes(9, 5, nullptr), testing::ExitedWithCode(0), "Message = \"\"");
}

TEST(error_stack, mismatched_pop_and_overflow_are_internal_errors)
{
    EXPECT_EXIT(
        {
            zavo_error_push("one");
            zavo_error_pop("other");
        },
        testing::ExitedWithCode(8), "INTERNAL Error from one");
    EXPECT_EXIT(
        for (int i = 0; i < 200; ++i) { zavo_error_push("deep"); }, testing::ExitedWithCode(8),
        "INTERNAL Error from deep");
    EXPECT_EXIT(zavo_error_pop("nothing was pushed"), testing::ExitedWithCode(8), "INTERNAL Error");
}

TEST(error_stack, after_a_fault_a_pop_drops_the_entries_above_its_own)
{
    CapturedErrors errors;
    zavo_error_push("outer");
    zavo_error_push("inner");
    zavo_error_push("innermost");
    zavo::core::error_state().fault_pending = true;
    zavo_error_pop("inner");
    EXPECT_FALSE(zavo::core::error_state().fault_pending);
    zavo_error_pop("outer"); // a mismatch would end the process
    EXPECT_TRUE(errors.empty());
    EXPECT_EXIT(
        {
            zavo_error_push("outer");
            zavo::core::error_state().fault_pending = true;
            zavo_error_pop("stranger");
        },
        testing::ExitedWithCode(8), "60001 +outer");
}

TEST(error_stack, the_routine_that_a_user_function_calls_is_the_one_called)
{
    CapturedErrors errors;
    zavo_error_push("outer");
    zavo_error_user_level("ON");
    zavo_error_push("called");
    zavo_error_push("worker");
    EXPECT_STREQ(zavo::core::routine_called_by_user(), "called");
    zavo_error_pop("worker");
    zavo_error_pop("called");
    zavo_error_user_level("OFF");
    zavo_error_pop("outer");
    EXPECT_TRUE(errors.empty());
}

TEST(error_stack, with_no_level_of_the_user_the_routine_is_the_outermost)
{
    CapturedErrors errors;
    zavo_error_user_level("OFF");
    zavo_error_push("first");
    zavo_error_push("second");
    zavo_e1mes(ZAVO_WARNING_IMMEDIATE, 5, "text");
    EXPECT_STREQ(zavo::core::routine_called_by_user(), "first");
    zavo_e1mes(0, 0, nullptr);
    zavo_error_pop("second");
    zavo_error_pop("first");
    zavo_error_user_level("ON");
}

TEST(error_stack, failures_are_of_types_4_and_5)
{
    for (int type = 0; type <= 8; ++type) {
        EXPECT_EQ(zavo::core::is_failure(type), type == ZAVO_FATAL || type == ZAVO_TERMINAL) << type;
    }
}

TEST(error_stack, names_match_by_text)
{
    const std::string same = "routine";
    zavo_error_push("routine");
    EXPECT_EQ(zavo_error_pop(same.c_str()), 0);
}

TEST(error_stack, query_of_another_level_is_an_internal_error)
{
    EXPECT_EXIT(zavo_error_type(2), testing::ExitedWithCode(8), "");
    EXPECT_EXIT(zavo_error_code(-1), testing::ExitedWithCode(8), "");
}

// A handler that posts errors of its own and calls the library before it reads the
// text that it was given.
std::string text_after_a_call;

void call_and_read(int, int code, const char*, const char* message)
{
    if (code == 1) {
        zavo_e1mes(ZAVO_WARNING_IMMEDIATE, 2, "another text, long enough for memory of its own ...........");
        zavo_error_push("nested");
        zavo_e1mes(ZAVO_TERMINAL, 3, "a third");
        zavo_error_pop("nested");
        text_after_a_call = message;
    }
}

TEST(error_stack, a_handlers_message_lives_until_the_handler_returns)
{
    for (const int type : {ZAVO_WARNING, ZAVO_TERMINAL}) {
        CapturedErrors errors;
        zavo_error_options(ZAVO_SET_ERROR_HANDLER, &call_and_read, 0);
        text_after_a_call.clear();
        zavo_error_push("routine");
        zavo_e1mes(type, 1, "the text");
        zavo_error_pop("routine");
        EXPECT_EQ(text_after_a_call, "the text");
    }
}

void nest(int, int code, const char*, const char* message)
{
    const std::string before = message;
    if (code < 40) {
        zavo_e1mes(ZAVO_WARNING_IMMEDIATE, code + 1, "nested");
    }
    text_after_a_call += code < 15 && before != message ? "x" : "";
}

TEST(error_stack, handlers_may_nest_deeply)
{
    CapturedErrors errors;
    zavo_error_options(ZAVO_SET_ERROR_HANDLER, &nest, 0);
    text_after_a_call.clear();
    zavo_error_push("routine");
    zavo_e1mes(ZAVO_WARNING_IMMEDIATE, 1, "the text");
    zavo_error_pop("routine");
    EXPECT_EQ(text_after_a_call, "");
}

// An error that is posted before and one after the process has begun to end.
struct CallsAtExit {
    ~CallsAtExit()
    {
        zavo_error_push("late");
        zavo_error_set_string(1, "parameter");
        zavo_e1mes(ZAVO_WARNING, 1, "late text with a %(S1)");
        zavo_error_pop("late");
    }
};

TEST(error_stack, objects_that_go_at_exit_may_call_the_library)
{
    EXPECT_EXIT(
        {
            static const CallsAtExit made_before_the_first_error;
            zavo_error_push("early");
            zavo_e1mes(ZAVO_WARNING, 1, "early text");
            zavo_error_pop("early");
            std::exit(3);
        },
        testing::ExitedWithCode(3), "late text with a parameter");
}

TEST(error_stack, user_level_reads_the_second_character)
{
    CapturedErrors errors;
    for (const char* text : {"ON", "on", "xN", "On"}) {
        errors.clear();
        zavo_error_push("outer");
        zavo_error_user_level(text);
        zavo_error_push("inner");
        zavo_e1mes(ZAVO_WARNING, 1, "w");
        zavo_error_pop("inner");
        EXPECT_EQ(errors.all().size(), 1U) << text;
        zavo_error_user_level("OFF");
        zavo_e1mes(0, 0, nullptr);
        zavo_error_pop("outer");
    }
    errors.clear();
    zavo_error_push("outer");
    zavo_error_user_level("");
    zavo_error_push("inner");
    zavo_e1mes(ZAVO_WARNING, 1, "w");
    zavo_error_pop("inner");
    EXPECT_TRUE(errors.empty());
    zavo_error_pop("outer");
}

} // namespace

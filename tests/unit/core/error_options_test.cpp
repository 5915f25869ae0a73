#include "core/errors/error_stack.h"
#include "core/system/memory.hpp"
#include "tests/support/captured_errors.hpp"

#include <gtest/gtest.h>

namespace {

using zavo::test::CapturedErrors;

struct Settings {
    int print = -1;
    int stop = -1;
    int traceback = -1;
};

Settings settings_of(int type)
{
    Settings settings;
    zavo_error_options(ZAVO_GET_PRINT, type, &settings.print, ZAVO_GET_STOP, type, &settings.stop,
                       ZAVO_GET_TRACEBACK, type, &settings.traceback, 0);
    return settings;
}

TEST(error_options, defaults_by_type)
{
    const int expected[6][3] = {{}, {0, 0, 0}, {0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {1, 1, 0}};
    for (int type = 1; type <= 5; ++type) {
        const Settings settings = settings_of(type);
        EXPECT_EQ(settings.print, expected[type][0]) << type;
        EXPECT_EQ(settings.stop, expected[type][1]) << type;
        EXPECT_EQ(settings.traceback, expected[type][2]) << type;
    }
    const int fixed[9][2] = {{}, {}, {}, {}, {}, {}, {1, 0}, {1, 0}, {1, 1}};
    for (int type = 6; type <= 8; ++type) {
        int print = -1;
        int stop = -1;
        zavo_e1pos(-type, &print, &stop);
        EXPECT_EQ(print, fixed[type][0]) << type;
        EXPECT_EQ(stop, fixed[type][1]) << type;
    }
}

TEST(error_options, result_is_the_position_past_the_closing_zero)
{
    int value = 0;
    EXPECT_EQ(zavo_error_options(0), 2);
    EXPECT_EQ(zavo_error_options(ZAVO_GET_OUTPUT_MODE, &value, 0), 4);
    EXPECT_EQ(zavo_error_options(ZAVO_SET_PRINT, 3, 1, ZAVO_GET_OUTPUT_MODE, &value, 0), 7);
}

TEST(error_options, sets_and_gets_each_setting)
{
    zavo_error_options(ZAVO_SET_PRINT, 2, 1, ZAVO_SET_STOP, 2, 1, ZAVO_SET_TRACEBACK, 2, 1, 0);
    const Settings settings = settings_of(2);
    EXPECT_EQ(settings.print, 1);
    EXPECT_EQ(settings.stop, 1);
    EXPECT_EQ(settings.traceback, 1);
    zavo_error_options(ZAVO_SET_PRINT, 2, 0, ZAVO_SET_STOP, 2, 0, ZAVO_SET_TRACEBACK, 2, 0, 0);
}

TEST(error_options, stop_setting_0_lets_fatal_errors_return)
{
    CapturedErrors errors;
    zavo_error_push("routine");
    zavo_e1mes(ZAVO_FATAL, 4, "fatal");
    zavo_error_pop("routine");
    EXPECT_EQ(errors.codes(), "4/4");
}

TEST(error_options, types_outside_1_to_5_are_refused_and_the_list_goes_on)
{
    CapturedErrors errors;
    int mode = 0;
    int untouched = 42;
    zavo_error_options(ZAVO_SET_PRINT, 0, 1, ZAVO_SET_STOP, 6, 1, ZAVO_GET_STOP, -1, &untouched,
                       ZAVO_GET_OUTPUT_MODE, &mode, 0);
    EXPECT_EQ(errors.codes(), "5/132 5/132 5/132");
    EXPECT_EQ(errors.last().routine, "zavo_error_options");
    EXPECT_EQ(mode, ZAVO_OUTPUT_STREAM);
    EXPECT_EQ(untouched, 42);
}

TEST(error_options, an_answer_without_an_address_is_passed_over)
{
    CapturedErrors errors;
    int mode = -1;
    zavo_error_options(ZAVO_GET_PRINT, ZAVO_WARNING, static_cast<int*>(nullptr), ZAVO_GET_ERROR_STREAM,
                       static_cast<FILE**>(nullptr), ZAVO_GET_OUTPUT_MODE, static_cast<int*>(nullptr),
                       ZAVO_GET_OUTPUT_MODE, &mode, 0);
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(mode, ZAVO_OUTPUT_STREAM);
}

TEST(error_options, a_shortage_for_a_path_or_name_is_posted)
{
    CapturedErrors errors;
    for (const auto& [code, name] :
         {std::pair{ZAVO_SET_CATALOGUE_PATH, "path"}, std::pair{ZAVO_SET_CATALOGUE_NAME, "name"}}) {
        errors.clear();
        zavo_fail_allocation(1);
        zavo_error_options(code, "elsewhere", 0);
        zavo_fail_allocation(0);
        EXPECT_EQ(errors.codes(), "5/201");
        EXPECT_EQ(errors.expand("%(S1) %(I1)"), std::string(name) + " 0");
    }
}

TEST(error_options, unknown_code_ends_the_list)
{
    CapturedErrors errors;
    int mode = 42;
    zavo_error_options(ZAVO_SET_PRINT, 3, 1, 12345, ZAVO_GET_OUTPUT_MODE, &mode, 0);
    EXPECT_EQ(errors.codes(), "5/103");
    EXPECT_EQ(mode, 42);
    zavo_error_push("probe");
    zavo_e1mes(ZAVO_WARNING_IMMEDIATE, 1, "%(I1) at %(I2)");
    zavo_error_pop("probe");
    EXPECT_EQ(errors.last().message, "12345 at 4");
}

TEST(error_options, output_mode_replaces_the_handler_and_unknown_modes_select_the_stream)
{
    CapturedErrors errors;
    int mode = 0;
    zavo_error_options(ZAVO_SET_OUTPUT_MODE, ZAVO_OUTPUT_CONSOLE, ZAVO_GET_OUTPUT_MODE, &mode, 0);
    EXPECT_EQ(mode, ZAVO_OUTPUT_CONSOLE);
    zavo_error_options(ZAVO_SET_OUTPUT_MODE, 1, ZAVO_GET_OUTPUT_MODE, &mode, 0);
    EXPECT_EQ(mode, ZAVO_OUTPUT_STREAM);
    FILE* const file = std::tmpfile();
    zavo_error_options(ZAVO_SET_ERROR_STREAM, file, 0);
    zavo_error_push("routine");
    zavo_e1mes(ZAVO_WARNING, 4, "to the stream");
    zavo_error_pop("routine");
    EXPECT_TRUE(errors.empty());
    EXPECT_GT(std::ftell(file), 0);
    zavo_error_options(ZAVO_SET_ERROR_STREAM, stderr, 0);
    std::fclose(file);
}

TEST(error_options, streams_are_read_and_stored_by_unit)
{
    FILE* stream = nullptr;
    zavo_error_stream(1, &stream);
    EXPECT_EQ(stream, stdin);
    zavo_error_stream(2, &stream);
    EXPECT_EQ(stream, stdout);
    zavo_error_stream(3, &stream);
    EXPECT_EQ(stream, stderr);
    stream = stdout;
    zavo_error_stream(-3, &stream);
    FILE* got = nullptr;
    zavo_error_options(ZAVO_GET_ERROR_STREAM, &got, 0);
    EXPECT_EQ(got, stdout);
    stream = nullptr; // as with the option: standard error again
    zavo_error_stream(-3, &stream);
    zavo_error_options(ZAVO_GET_ERROR_STREAM, &got, 0);
    EXPECT_EQ(got, stderr);
    CapturedErrors errors;
    zavo_error_stream(4, &stream);
    zavo_error_stream(0, &stream);
    zavo_error_stream(-4, &stream);
    EXPECT_EQ(errors.codes(), "5/12010 5/12010 5/12010");
}

TEST(error_options, e1pos_cannot_switch_one_type_off)
{
    int print = 0;
    int stop = 0;
    zavo_e1pos(ZAVO_FATAL, &print, &stop);
    EXPECT_EQ(settings_of(ZAVO_FATAL).print, 1);
    EXPECT_EQ(settings_of(ZAVO_FATAL).stop, 1);
    print = 1;
    stop = -5;
    zavo_e1pos(ZAVO_NOTE, &print, &stop);
    EXPECT_EQ(settings_of(ZAVO_NOTE).print, 1);
    EXPECT_EQ(settings_of(ZAVO_NOTE).stop, 0);
    zavo_error_options(ZAVO_SET_PRINT, ZAVO_NOTE, 0, 0);
}

TEST(error_options, e1pos_type_0_sets_types_1_to_7)
{
    int print[9];
    int stop[9];
    for (int type = 1; type <= 8; ++type) {
        zavo_e1pos(-type, &print[type], &stop[type]);
    }
    int on = 1;
    int off = 0;
    int keep = -1;
    zavo_e1pos(0, &on, &off);
    for (int type = 1; type <= 7; ++type) {
        int p = -1;
        int s = -1;
        zavo_e1pos(-type, &p, &s);
        EXPECT_EQ(p, 1) << type;
        EXPECT_EQ(s, 0) << type;
    }
    int p = -1;
    int s = -1;
    zavo_e1pos(-8, &p, &s);
    EXPECT_EQ(s, 1);
    zavo_e1pos(0, &off, &keep);
    zavo_e1pos(-3, &p, &s);
    EXPECT_EQ(p, 0);
    for (int type = 1; type <= 5; ++type) {
        zavo_error_options(ZAVO_SET_PRINT, type, print[type], ZAVO_SET_STOP, type, stop[type], 0);
    }
    zavo_e1pos(6, &on, &keep);
    zavo_e1pos(7, &on, &keep);
}

TEST(error_options, e1pos_refuses_types_beyond_8)
{
    CapturedErrors errors;
    int print = 3;
    int stop = 3;
    zavo_e1pos(9, &print, &stop);
    zavo_e1pos(-9, &print, &stop);
    EXPECT_EQ(errors.codes(), "5/132 5/132");
    EXPECT_EQ(errors.last().routine, "zavo_e1pos");
    EXPECT_EQ(print, 3);
}

} // namespace

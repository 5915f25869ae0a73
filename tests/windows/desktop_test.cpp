// The message-box and console modes with the real services: a window and a
// console open on the desktop (a virtual one in the ordinary run), and the test
// reads back what they show.

#include "core/catalogue/catalogue.hpp"
#include "core/errors/error_stack.h"
#include "core/system/platform.hpp"

#include <gtest/gtest.h>
#include <string>
#include <thread>

#include <windows.h>

namespace {

class desktop : public testing::Test {
protected:
    void SetUp() override
    {
        // The catalogue's own complaint is not what is looked at here.
        testing::internal::CaptureStderr();
        zavo::core::catalogue_message(99);
        testing::internal::GetCapturedStderr();
    }
    void TearDown() override { zavo_error_options(ZAVO_SET_OUTPUT_MODE, ZAVO_OUTPUT_STREAM, 0); }
    static void post(const char* message)
    {
        zavo_error_push("routine");
        zavo_e1mes(ZAVO_WARNING, 99, message);
        zavo_error_pop("routine");
    }
};

std::string text_of(HWND window)
{
    char text[500] = "";
    GetWindowTextA(window, text, sizeof text);
    return text;
}

BOOL CALLBACK collect_child(HWND child, LPARAM result)
{
    *reinterpret_cast<std::string*>(result) += text_of(child) + "|";
    return TRUE;
}

// Waits for the dialog with this title, reads the texts in it and closes it.
std::string read_and_close(const std::string& title)
{
    for (int tries = 0; tries < 200; ++tries) {
        HWND const box = FindWindowA("#32770", title.c_str());
        std::string texts;
        if (box != nullptr) {
            EnumChildWindows(box, collect_child, reinterpret_cast<LPARAM>(&texts));
        }
        if (texts.find("routine") != std::string::npos) {
            PostMessageA(box, WM_COMMAND, IDOK, 0);
            return texts;
        }
        Sleep(50);
    }
    return "no box";
}

TEST_F(desktop, message_box_shows_the_text_under_the_programs_name)
{
    char title[260];
    zavo::platform::program_name(title, sizeof title);
    EXPECT_STREQ(title, "unit_desktop.exe");
    std::string shown;
    std::thread reader([&] { shown = read_and_close(title); });
    zavo_error_options(ZAVO_SET_OUTPUT_MODE, ZAVO_OUTPUT_MESSAGE_BOX, 0);
    post("Mind this.");
    reader.join();
    EXPECT_NE(shown.find("WARNING  Error 99 from routine.  Mind this.|"), std::string::npos) << shown;
}

std::string console_line(HANDLE console, SHORT row)
{
    char text[80];
    DWORD read = 0;
    ReadConsoleOutputCharacterA(console, text, sizeof text, COORD{0, row}, &read);
    std::string line(text, read);
    return line.substr(0, line.find_last_not_of(' ') + 1);
}

// A window program has no standard output: a console is made for it, once.
TEST_F(desktop, console_is_made_when_there_is_no_standard_output)
{
    HANDLE const before = GetStdHandle(STD_OUTPUT_HANDLE);
    SetStdHandle(STD_OUTPUT_HANDLE, nullptr);
    zavo_error_options(ZAVO_SET_OUTPUT_MODE, ZAVO_OUTPUT_CONSOLE, 0);
    post("Mind\nthis.");
    HANDLE const console = GetStdHandle(STD_OUTPUT_HANDLE);
    ASSERT_NE(console, nullptr);
    CONSOLE_SCREEN_BUFFER_INFO info{};
    ASSERT_TRUE(GetConsoleScreenBufferInfo(console, &info));
    // An empty line, the two lines, and the cursor at the start of the next.
    EXPECT_EQ(info.dwCursorPosition.X, 0);
    const auto end = info.dwCursorPosition.Y;
    ASSERT_GE(end, 3);
    EXPECT_EQ(console_line(console, static_cast<SHORT>(end - 2)),
              "*** WARNING  Error 99 from routine.  Mind");
    EXPECT_EQ(console_line(console, static_cast<SHORT>(end - 1)), "***          this.");
    post("Again.");
    EXPECT_EQ(GetStdHandle(STD_OUTPUT_HANDLE), console);
    FreeConsole();
    SetStdHandle(STD_OUTPUT_HANDLE, before);
}

} // namespace

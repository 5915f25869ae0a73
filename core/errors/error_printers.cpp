// The printers behind the three output modes, and the traceback.

#include "core/catalogue/catalogue.hpp"
#include "core/errors/error_stack.h"
#include "core/errors/error_state.hpp"
#include "core/system/error_settings.hpp"
#include "core/system/platform.hpp"

#include <cstring>

namespace zavo::core {

namespace {

constexpr std::size_t line_width = 78;
constexpr char continuation[] = "***         ";

constexpr const char* type_names[highest_type + 1] = {
    "INTERNAL", "NOTE    ",          "ALERT   ",        "WARNING ", "FATAL   ",
    "TERMINAL", "WARNING_IMMEDIATE", "FATAL_IMMEDIATE", "INTERNAL",
};

// "WARNING  Error CODE from routine." or, from type 5 on, without the code.
void append_header(int type, int code, TextBuffer& out)
{
    out.append(type_name(type));
    if (type >= ZAVO_TERMINAL) {
        out.append(" Error from ");
    } else {
        out.append(" Error ");
        out.append(code_text(code));
        out.append(" from ");
    }
    out.append(routine_called_by_user());
    out.append(".  ");
}

void start_continuation(const char* line_end, TextBuffer& out)
{
    out.append(line_end);
    out.append(continuation);
    out.append(' ');
}

// How many characters of `text` fit a line with `room` left; 0 when its first
// word does not.
std::size_t fitting(const char* text, std::size_t length, std::size_t room)
{
    if (length <= room) {
        return length;
    }
    std::size_t cut = room;
    while (cut > 0 && text[cut] != ' ') {
        --cut;
    }
    return cut;
}

// One line of the message, without its line feed, broken at blanks.
// used: columns of the present line, below line_width; fresh: only the prefix stands there.
void append_wrapped(const char* text, std::size_t length, std::size_t used, bool fresh, const char* line_end,
                    TextBuffer& out)
{
    constexpr std::size_t prefix_width = sizeof continuation;
    while (true) {
        const std::size_t room = line_width - used;
        std::size_t cut = fitting(text, length, room);
        if (cut == 0 && length > 0 && fresh) {
            cut = room; // a word longer than a line
        }
        out.append(text, cut);
        text += cut;
        length -= cut;
        if (length > 0 && *text == ' ') {
            ++text;
            --length;
        }
        if (length == 0) {
            return;
        }
        start_continuation(line_end, out);
        used = prefix_width;
        fresh = true;
    }
}

void build_text(int type, int code, const char* message, const char* line_end, TextBuffer& out)
{
    constexpr std::size_t prefix_width = sizeof continuation;
    out.append(line_end);
    const std::size_t line_start = out.size();
    out.append("*** ");
    append_header(type, code, out);
    std::size_t used = out.size() - line_start;
    bool fresh = false;
    if (used >= line_width) {
        start_continuation(line_end, out);
        used = prefix_width;
        fresh = true;
    }
    while (true) {
        const std::size_t length = std::strcspn(message, "\n");
        append_wrapped(message, length, used, fresh, line_end, out);
        message += length;
        if (*message == '\0') {
            break;
        }
        ++message;
        start_continuation(line_end, out);
        used = prefix_width;
        fresh = true;
    }
    out.append(line_end);
}

// Lines of the traceback stand for the nearest error at or above each level
// that the user called.
void trace_level(int level)
{
    const StackEntry& entry = error_state().stack[level];
    std::fprintf(error_stream(), " %5s%-9s   %-25s %s\n", "ZAVO_", type_name(entry.type),
                 code_text(entry.code), entry.name);
}

} // namespace

const char* type_name(int type)
{
    return type_names[type >= 0 && type <= highest_type ? type : highest_type];
}

void print_to_stream(int type, int code, const char*, const char* message)
{
    if (message[0] == '\0') {
        return;
    }
    TextBuffer text;
    build_text(type, code, message, "\n", text);
    std::fputs(text.c_str(), error_stream());
    std::fflush(error_stream());
}

void print_to_console(int type, int code, const char*, const char* message)
{
    void* const console = platform::console();
    if (message[0] == '\0') {
        return;
    }
    TextBuffer text;
    build_text(type, code, message, "\r\n", text);
    platform::write_console(console, text.c_str(), text.size());
}

void print_to_message_box(int type, int code, const char*, const char* message)
{
    if (message[0] == '\0') {
        return;
    }
    TextBuffer text;
    append_header(type, code, text);
    text.append(message);
    char title[260];
    platform::program_name(title, sizeof title);
    const bool stops = error_settings().policy[type].stop > 0;
    platform::message_box(title, text.c_str(),
                          stops ? platform::BoxIcon::error : platform::BoxIcon::information);
}

} // namespace zavo::core

using namespace zavo::core;

void zavo_error_traceback(void)
{
    const ErrorState& state = error_state();
    std::fprintf(error_stream(), "%s\n%s\n%s\n", "Here is a traceback of the calls in reverse order.",
                 "  Error Type        Error Code              Routine",
                 "  ----------        ----------              -------");
    const bool every_level = error_settings().trace_all_levels != 0;
    int nearest = 0; // level of the error not yet shown that is nearest to the user's call
    for (int level = state.top; level > 0; --level) {
        if (state.stack[level].type != 0) {
            nearest = level;
        }
        const bool called_by_user = state.stack[level - 1].user_level != 0;
        if (nearest != 0 && (called_by_user || every_level)) {
            trace_level(nearest);
            nearest = 0;
        }
    }
    std::fflush(error_stream());
}

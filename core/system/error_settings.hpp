// The error policy and where messages go: what zavo_error_options sets.
#pragma once

#include "core/zavo.h"

namespace zavo::core {

inline constexpr int highest_type = 8;

// How errors of one type are treated; a setting is in force when it is 1.
struct Policy {
    unsigned char print;
    unsigned char stop;
    unsigned char traceback;
};

struct ErrorSettings {
    Policy policy[highest_type + 1];
    zavo_error_handler_fn handler;
    zavo_error_hook_fn hook;
    int output_mode;
    int trace_all_levels;
    int trapping;
};

ErrorSettings& error_settings();
int output_mode();

// The stream that messages and tracebacks go to (slot 3).
FILE* error_stream();

// The printers behind the three output modes.
void print_to_stream(int type, int code, const char* routine, const char* message);
void print_to_message_box(int type, int code, const char* routine, const char* message);
void print_to_console(int type, int code, const char* routine, const char* message);

// Name of a type as it is printed, padded to eight characters where stored so.
const char* type_name(int type);

} // namespace zavo::core

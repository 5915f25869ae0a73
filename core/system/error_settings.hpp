// The error policy and where messages go: what zavo_error_options sets. The
// settings are the process's; threads may change and read them at any time, so
// each of them is atomic.
#pragma once

#include "core/zavo.h"

#include <atomic>

namespace zavo::core {

inline constexpr int highest_type = 8;

// How errors of one type are treated; a setting is in force when it is 1.
struct Policy {
    std::atomic<unsigned char> print;
    std::atomic<unsigned char> stop;
    std::atomic<unsigned char> traceback;
};

struct ErrorSettings {
    Policy policy[highest_type + 1];
    std::atomic<zavo_error_handler_fn> handler;
    std::atomic<zavo_error_hook_fn> hook;
    std::atomic<int> output_mode;
    std::atomic<int> trace_all_levels;
    std::atomic<int> trapping;
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

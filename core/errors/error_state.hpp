// The error stack itself; for the files that implement it.
#pragma once

#include "core/system/float_control.hpp"
#include "core/system/text_buffer.hpp"

namespace zavo::core {

struct StackEntry {
    unsigned char type;
    unsigned char user_level; // code outside the library runs at this level
    int code;
    const char* name;
};

inline constexpr int stack_size = 200;
inline constexpr int message_depths = 16;

struct ErrorState {
    ErrorState() { stack[0] = {0, 1, 0, "user program"}; }

    StackEntry stack[stack_size] = {};
    int top = 0;         // 0 is the base entry
    int popped_type = 0; // of the routine popped last: level 1
    int popped_code = 0;
    int carried_type = 0; // what the last pop carried down: level 0
    int carried_code = 0;
    bool fault_pending = false;
    // Modes of the user code that called the library; the usual ones while user
    // code runs.
    platform::FloatControl host_control = platform::usual_float_control;

    // The text of the current error is messages[message_depth], empty when there
    // is none. While a handler or hook runs, which may post errors of its own,
    // the text that it was given stays untouched one depth below.
    TextBuffer messages[message_depths];
    int message_depth = 0;

    StackEntry& current() { return stack[top]; }
    TextBuffer& message() { return messages[message_depth]; }
};

// Message parameters 1..9 of each kind.
inline constexpr int parameter_count = 9;

struct ComplexParameter {
    double re;
    double im;
};

struct MessageParameters {
    int integer[parameter_count] = {};
    double real[parameter_count] = {};
    ComplexParameter complex[parameter_count] = {};
    TextBuffer string[parameter_count];
};

// Those of the calling thread (core/thread_state.cpp).
ErrorState& error_state();
MessageParameters& message_parameters();

// Fault recovery: drops the entries above `level` and ends its user-code mark.
void unwind_error_stack(int level);

// Before the library ends the process: gives the fault handlers back to the
// host (frame/fault_trap.cpp).
void disarm_all_levels();

// The routine that the user called: the one just above the nearest entry, at or
// below the top, at which user code runs.
const char* routine_called_by_user();

// Expands a message text into `out`; parameters as set by zavo_error_set_*.
void expand_message(const char* text, TextBuffer& out);

} // namespace zavo::core

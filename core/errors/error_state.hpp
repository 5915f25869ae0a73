// The error stack itself; for the files that implement it.
#pragma once

#include "core/system/text_buffer.hpp"

namespace zavo::core {

struct StackEntry {
    unsigned char type;
    unsigned char user_level; // code outside the library runs at this level
    int code;
    const char* name;
};

inline constexpr int stack_size = 200;

struct ErrorState {
    constexpr ErrorState() { stack[0] = {0, 1, 0, "user program"}; }

    StackEntry stack[stack_size] = {};
    int top = 0;         // 0 is the base entry
    TextBuffer message;  // of the current error; empty when none
    int popped_type = 0; // of the routine popped last: level 1
    int popped_code = 0;
    int carried_type = 0; // what the last pop carried down: level 0
    int carried_code = 0;
    bool fault_pending = false;

    StackEntry& current() { return stack[top]; }
};

ErrorState& error_state();

// Fault recovery: drops the entries above `level` and ends its user-code mark.
void unwind_error_stack(int level);

// The routine that the user called: the one just above the nearest entry, at or
// below the top, at which user code runs.
const char* routine_called_by_user();

// Expands a message text into `out`; parameters as set by zavo_error_set_*.
void expand_message(const char* text, TextBuffer& out);

} // namespace zavo::core

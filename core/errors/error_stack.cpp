// The error stack: routines name themselves on it, errors are recorded in the
// entry of the routine that posts them and carried outwards as routines return.
// An error is reported once: at posting for the immediate types, else when the
// routine that the user called returns.

#include "core/errors/error_stack.h"

#include "core/catalogue/catalogue.hpp"
#include "core/errors/error_codes.hpp"
#include "core/errors/error_state.hpp"
#include "core/system/error_settings.hpp"

#include <cstdlib>
#include <cstring>
#include <utility>

namespace zavo::core {

namespace {

constexpr bool reported_at_once(int type)
{
    static_assert(highest_type == ZAVO_INTERNAL);
    return type >= ZAVO_TERMINAL;
}

bool same_name(const char* a, const char* b)
{
    return a == b || std::strcmp(a, b) == 0;
}

// What runs at exit runs with the host's fault handlers.
[[noreturn]] void stop_process()
{
    disarm_all_levels();
    std::exit(error_state().current().type);
}

// Calls host(text) with the text of the current error, which stays as it is until
// the host's function returns, whatever that posts. A text that it leaves behind
// is then the current one.
template <class Host>
void with_message(Host&& host)
{
    ErrorState& state = error_state();
    const int depth = state.message_depth;
    const char* const text = state.message().c_str();
    if (depth + 1 < message_depths) {
        ++state.message_depth;
        state.message().clear();
    }
    host(text);
    if (state.message_depth != depth) {
        TextBuffer& left_behind = state.message();
        state.message_depth = depth;
        if (!left_behind.empty()) {
            state.message().swap(left_behind);
        }
    }
}

void call_handler(const StackEntry& entry)
{
    const ErrorSettings& settings = error_settings();
    const zavo_error_handler_fn handler = settings.handler;
    with_message([&](const char* text) { handler(entry.type, entry.code, entry.name, text); });
    if (settings.policy[entry.type].traceback == 1) {
        zavo_error_traceback();
    }
}

void call_hook(const StackEntry& entry)
{
    if (const zavo_error_hook_fn hook = error_settings().hook; hook != nullptr) {
        with_message([&](const char* text) { hook(entry.type, entry.code, text); });
    }
}

void report_at_once()
{
    ErrorState& state = error_state();
    const StackEntry& entry = state.current();
    call_hook(entry);
    if (error_settings().policy[entry.type].print == 1) {
        call_handler(entry);
    }
    state.message().clear(); // so that the pop does not report it again
    if (entry.type == ZAVO_INTERNAL) {
        stop_process();
    }
}

// The routine that the user called returns.
void report_at_return()
{
    ErrorState& state = error_state();
    const StackEntry& entry = state.current();
    if (entry.type == 0) {
        return;
    }
    call_hook(entry);
    const Policy& policy = error_settings().policy[entry.type];
    if (!state.message().empty() && policy.print == 1) {
        call_handler(entry);
    }
    if (policy.stop == 1) {
        stop_process();
    }
}

void recover_from_fault(const char* name)
{
    ErrorState& state = error_state();
    state.fault_pending = false;
    int level = state.top;
    while (level > 0 && !same_name(state.stack[level].name, name)) {
        --level;
    }
    if (level > 0) {
        state.top = level;
    }
}

// A user function runs with the modes of its own.
void enter_user_code(ErrorState& state)
{
    if (state.host_control != platform::usual_float_control) {
        platform::set_float_control(std::exchange(state.host_control, platform::usual_float_control));
    }
}

void leave_user_code(ErrorState& state)
{
    state.host_control = platform::float_control();
    if (state.host_control != platform::usual_float_control) {
        platform::set_float_control(platform::usual_float_control);
    }
}

void post_bad_type(int type, const char* message)
{
    ErrorState& state = error_state();
    zavo_error_push("zavo_e1mes");
    state.message().clear();
    state.message().format("Error type must be -1,...,8, but type = %d.  Message = ", type);
    state.message().format("\"%s\"", message != nullptr ? message : "");
    const zavo_error_handler_fn handler = error_settings().handler;
    with_message([&](const char* text) { handler(ZAVO_INTERNAL, code::bad_error_type, "zavo_e1mes", text); });
    if (error_settings().policy[ZAVO_INTERNAL].traceback == 1) {
        zavo_error_traceback();
    }
    // Kept: the new entry holds no type, so the exit status is 0
    // (error_stack.bad_type_stops_with_status_zero).
    stop_process();
}

} // namespace

int pending_type()
{
    return error_state().current().type;
}

int stack_room()
{
    return stack_size - 1 - error_state().top;
}

PostedError posted_error()
{
    const StackEntry& entry = error_state().current();
    return {entry.type, entry.code};
}

void restore_posted_error(PostedError error)
{
    StackEntry& entry = error_state().current();
    entry.type = static_cast<unsigned char>(error.type);
    entry.code = error.code;
}

bool at_user_level()
{
    return error_state().current().user_level != 0;
}

void clear_queries()
{
    ErrorState& state = error_state();
    state.popped_type = state.popped_code = 0;
    state.carried_type = state.carried_code = 0;
}

void unwind_error_stack(int level)
{
    ErrorState& state = error_state();
    if (level < state.top) {
        state.top = level;
    }
    state.current().user_level = 0;
}

const char* routine_called_by_user()
{
    const ErrorState& state = error_state();
    int level = state.top;
    while (level > 0 && state.stack[level].user_level == 0) {
        --level;
    }
    return state.stack[level < state.top ? level + 1 : level].name;
}

} // namespace zavo::core

using namespace zavo::core;

void zavo_error_push(const char* name)
{
    ErrorState& state = error_state();
    if (state.top == 0) {
        state.message().clear();
    }
    if (state.top + 1 >= stack_size) {
        zavo_error_post(ZAVO_INTERNAL, code::stack_overflow);
        stop_process();
    }
    ++state.top;
    state.current() = {0, 0, 0, name};
    clear_queries();
}

int zavo_error_pop(const char* name)
{
    ErrorState& state = error_state();
    if (state.fault_pending) {
        recover_from_fault(name);
    }
    if (state.top == 0 || !same_name(state.current().name, name)) {
        zavo_error_set_string(1, name);
        zavo_error_set_string(2, state.current().name);
        zavo_error_post(ZAVO_INTERNAL, code::pop_mismatch);
    }
    // Field by field: a load of the whole entry would stall on the narrower stores that
    // have just set its fields.
    const unsigned char type = state.current().type;
    const int code = state.current().code;
    StackEntry& below = state.stack[state.top - 1];
    if (below.user_level != 0) {
        report_at_return();
    }
    if (below.type <= type) {
        below.type = type;
        below.code = code;
        state.carried_type = type;
        state.carried_code = code;
    }
    state.popped_type = type;
    state.popped_code = code;
    --state.top;
    return code;
}

void zavo_e1mes(int type, int code, const char* message)
{
    ErrorState& state = error_state();
    StackEntry& entry = state.current();
    if (type == -1 && code == -1) {
        type = entry.type;
        code = entry.code;
    }
    if (type == -1) {
        if (code > 0) {
            entry.code = code;
        }
        return;
    }
    if (type == 0 && code == 0) {
        state.message().clear();
        entry.type = 0;
        entry.code = 0;
        return;
    }
    if (type < -1 || type > highest_type) {
        post_bad_type(type, message);
        return;
    }
    entry.type = static_cast<unsigned char>(type);
    entry.code = code;
    state.message().clear();
    if (message != nullptr && std::strcmp(message, " ") != 0) {
        expand_message(message, state.message());
    }
    if (reported_at_once(type)) {
        report_at_once();
    }
    state.carried_type = type;
    state.carried_code = code;
}

void zavo_error_post(int type, int code)
{
    zavo_e1mes(type, code, catalogue_message(code));
}

void zavo_error_user_level(const char* switch_text)
{
    const bool on = switch_text[0] != '\0' && (switch_text[1] == 'N' || switch_text[1] == 'n');
    ErrorState& state = error_state();
    StackEntry& entry = state.current();
    if ((entry.user_level != 0) != on) {
        on ? enter_user_code(state) : leave_user_code(state);
    }
    entry.user_level = on ? 1 : 0;
}

namespace {

void check_level(int level)
{
    if (level != 0 && level != 1) {
        zavo_error_set_int(1, 0);
        zavo_error_set_int(2, 1);
        zavo_error_set_int(3, level);
        zavo_error_set_string(1, "level");
        zavo_error_post(ZAVO_INTERNAL, code::bad_level);
    }
}

} // namespace

int zavo_error_type(int level)
{
    check_level(level);
    return level == 0 ? error_state().carried_type : error_state().popped_type;
}

int zavo_error_code(int level)
{
    check_level(level);
    return level == 0 ? error_state().carried_code : error_state().popped_code;
}

void zavo_error_hook(zavo_error_hook_fn hook)
{
    error_settings().hook = hook;
}

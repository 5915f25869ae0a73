// The fault trap. Each routine that arms it takes the next of a stack of jump
// buffers; a fault in its worker jumps to the newest one. Two counters are kept
// apart: buffers in use, and levels at which the handlers stand armed.

#include "core/frame/entry_frame.hpp"

#include "core/errors/error_codes.hpp"
#include "core/errors/error_state.hpp"
#include "core/system/error_settings.hpp"
#include "core/system/platform.hpp"

#include <csetjmp>

namespace zavo::core {

namespace {

constexpr int trap_levels = 100;

struct ArmedLevel {
    platform::SavedHandler replaced[platform::fault_signal_count];
    int stack_level; // of the routine that armed the trap
};

struct Trap {
    std::jmp_buf buffers[trap_levels];
    int buffers_used;
    ArmedLevel armed[trap_levels];
    int armed_levels;
    int signal; // of the last trapped fault
    bool posting;
};

Trap trap;

constexpr int abort_signal = 22; // in the numbering of the C runtime of Windows

int code_of_signal(int signal)
{
    switch (signal) {
    case 2:
        return code::interrupt;
    case 4:
        return code::illegal_instruction;
    case 8:
        return code::floating_point_fault;
    case 11:
        return code::segment_violation;
    case abort_signal:
        return code::abnormal_end; // 506, not 522
    default:
        return 0;
    }
}

// A handler or hook of the host that faults while it is told of a fault must
// not be told again.
void post_signal(int signal)
{
    const int code = code_of_signal(signal);
    if (code != 0 && !trap.posting) {
        trap.posting = true;
        zavo_error_post(ZAVO_TERMINAL, code);
        trap.posting = false;
    }
}

extern "C" void zavo_trap_handler(int signal)
{
    error_state().fault_pending = true;
    trap.signal = signal;
    if (trap.armed_levels >= 1) {
        unwind_error_stack(trap.armed[trap.armed_levels - 1].stack_level);
    }
    post_signal(signal);
    if (trap.armed_levels >= 1 && trap.buffers_used >= 1) {
        --trap.buffers_used;
        std::longjmp(trap.buffers[trap.buffers_used], 1);
    }
    platform::default_fault_handler(signal);
}

} // namespace

void run_trapped(void (*work)(void* context), void* context)
{
    // Deeper than any nesting of routines; a worker beyond it runs untrapped.
    if (error_settings().trapping == 0 || trap.buffers_used >= trap_levels ||
        trap.armed_levels >= trap_levels) {
        work(context);
        return;
    }
    std::jmp_buf& landing = trap.buffers[trap.buffers_used++];
    if (setjmp(landing) == 0) {
        zavo_entry_trap(1);
        work(context);
        --trap.buffers_used;
    } else {
        trap.posting = false;
        zavo_error_post(ZAVO_TERMINAL, code::fault_trapped);
    }
    zavo_entry_trap(0);
}

} // namespace zavo::core

using namespace zavo::core;
namespace platform = zavo::platform;

void zavo_entry_trap(int on)
{
    if (on != 0) {
        if (trap.armed_levels >= trap_levels) {
            return;
        }
        ArmedLevel& level = trap.armed[trap.armed_levels];
        for (std::size_t i = 0; i < platform::fault_signal_count; ++i) {
            platform::install_fault_handler(platform::fault_signals[i], zavo_trap_handler,
                                            &level.replaced[i]);
        }
        level.stack_level = error_state().top;
        ++trap.armed_levels;
        error_state().fault_pending = false;
    } else if (trap.armed_levels > 0) {
        --trap.armed_levels;
        const ArmedLevel& level = trap.armed[trap.armed_levels];
        for (std::size_t i = 0; i < platform::fault_signal_count; ++i) {
            platform::restore_fault_handler(platform::fault_signals[i], &level.replaced[i]);
        }
    }
}

void zavo_arg_check_le(int value, const char* value_name, int bound, const char* bound_name, int* position)
{
    ++*position;
    if (value > bound) {
        zavo_error_set_int(1, value);
        zavo_error_set_int(2, bound);
        zavo_error_set_string(1, value_name);
        zavo_error_set_string(2, bound_name);
        zavo_error_post(ZAVO_TERMINAL, code::argument_above);
    }
}

void zavo_arg_check_range(int value, const char* name, int low, int high, int* position)
{
    ++*position;
    const bool bounded_above = low <= high;
    if (value >= low && (!bounded_above || value <= high)) {
        return;
    }
    zavo_error_set_int(1, value);
    zavo_error_set_int(2, low);
    zavo_error_set_int(3, high);
    zavo_error_set_string(1, name);
    zavo_error_post(ZAVO_TERMINAL, bounded_above ? code::argument_outside : code::argument_below);
}

// The fault trap. Each routine that arms it takes the next of its thread's jump
// buffers; a fault in its worker jumps to the newest one.
//
// Levels and buffers are the thread's, the system's fault handlers are the
// process's: the first thread that arms replaces the host's, the last one to
// disarm puts them back, and a fault in a thread that has no level of its own is
// passed on to them. (The C runtime of Windows has handlers a thread; then no
// thread finds the library's handler in place as it arms, and each puts back what
// it has replaced itself.)

#include "core/frame/fault_trap.hpp"

#include "core/errors/error_codes.hpp"
#include "core/errors/error_state.hpp"
#include "core/frame/entry_frame.hpp"
#include "core/frame/interruption.hpp"
#include "core/system/error_settings.hpp"
#include "core/system/process_lock.hpp"

namespace zavo::core {

namespace {

// What the threads share, under the process's lock.
struct Process {
    int armed_threads = 0;
    bool shared = false; // a thread has met the handler that another installed
    platform::SavedHandler host[platform::fault_signal_count] = {};
};
constinit Process process;

void restore_host()
{
    for (std::size_t i = 0; i < platform::fault_signal_count; ++i) {
        platform::restore_fault_handler(platform::fault_signals[i], &process.host[i]);
    }
}

// The child of a fork has this thread alone; the others are disarmed there.
void disarm_others_in_child()
{
    const FaultTrap* const trap = present_fault_trap();
    const bool armed = trap != nullptr && trap->armed_levels > 0;
    if (process.armed_threads > 0 && !armed) {
        restore_host();
    }
    process.armed_threads = armed ? 1 : 0;
}

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
void post_signal(FaultTrap& trap, int signal)
{
    const int code = code_of_signal(signal);
    if (code != 0 && !trap.posting) {
        trap.posting = true;
        zavo_error_post(ZAVO_TERMINAL, code);
        trap.posting = false;
    }
}

std::size_t index_of(int signal)
{
    std::size_t i = 0;
    while (i + 1 < platform::fault_signal_count && platform::fault_signals[i] != signal) {
        ++i;
    }
    return i;
}

// Whose fault it is when it is not the library's: the handler that was replaced
// last. The process's is read without the lock, which this thread may hold; it
// changes only while no thread is armed.
const platform::SavedHandler* host_handler(const FaultTrap* trap, std::size_t i)
{
    for (int level = trap != nullptr ? trap->armed_levels : 0; level > 0; --level) {
        const platform::SavedHandler& replaced = trap->armed[level - 1].replaced[i];
        if (!platform::is_own_handler(replaced)) {
            return &replaced;
        }
    }
    return &process.host[i];
}

// Jumps to the newest buffer, or gives the handler that the fault belongs to.
const platform::SavedHandler* handle_fault(int signal)
{
    FaultTrap* const trap = present_fault_trap();
    if (trap == nullptr || trap->armed_levels <= trap->floor || trap->buffers_used < 1) {
        return host_handler(trap, index_of(signal));
    }
    error_state().fault_pending = true;
    trap->signal = signal;
    const ArmedLevel& level = trap->armed[trap->armed_levels - 1];
    unwind_error_stack(level.stack_level);
    error_state().message_depth = level.message_depth;
    post_signal(*trap, signal);
    --trap->buffers_used;
    std::longjmp(trap->buffers[trap->buffers_used], 1);
}

void install_handlers(ArmedLevel& level, bool first_of_thread)
{
    const ProcessLock lock;
    bool found_own = false;
    for (std::size_t i = 0; i < platform::fault_signal_count; ++i) {
        platform::install_fault_handler(platform::fault_signals[i], handle_fault, &level.replaced[i]);
        found_own = found_own || platform::is_own_handler(level.replaced[i]);
    }
    if (!first_of_thread) {
        return;
    }
    if (process.armed_threads == 0) {
        for (std::size_t i = 0; i < platform::fault_signal_count; ++i) {
            process.host[i] = level.replaced[i];
        }
        process.shared = false;
    } else if (found_own) {
        process.shared = true;
    }
    ++process.armed_threads;
}

void restore_handlers(const ArmedLevel& level, bool last_of_thread)
{
    const ProcessLock lock;
    if (last_of_thread) {
        --process.armed_threads;
    }
    const int others = process.armed_threads - (last_of_thread ? 0 : 1);
    if (process.shared && others > 0) {
        return; // they need the handlers that stand
    }
    if (process.shared && last_of_thread) {
        restore_host();
        return;
    }
    for (std::size_t i = 0; i < platform::fault_signal_count; ++i) {
        platform::restore_fault_handler(platform::fault_signals[i], &level.replaced[i]);
    }
}

// False when there is no further level.
bool arm(bool own_stack)
{
    FaultTrap& trap = fault_trap();
    if (trap.armed_levels >= trap_levels) {
        return false;
    }
    guard_forks(disarm_others_in_child);
    ArmedLevel& level = trap.armed[trap.armed_levels];
    level.on_fault_stack = own_stack && platform::enter_fault_stack(trap.fault_stack);
    level.stack_level = error_state().top;
    level.message_depth = error_state().message_depth;
    install_handlers(level, trap.armed_levels == 0);
    ++trap.armed_levels;
    error_state().fault_pending = false;
    return true;
}

void disarm()
{
    FaultTrap& trap = fault_trap();
    if (trap.armed_levels > 0) {
        --trap.armed_levels;
        const ArmedLevel& level = trap.armed[trap.armed_levels];
        restore_handlers(level, trap.armed_levels == 0);
        if (level.on_fault_stack) {
            platform::leave_fault_stack();
        }
    }
}

} // namespace

void disarm_all_levels()
{
    FaultTrap& trap = fault_trap();
    while (trap.armed_levels > 0) {
        disarm();
    }
    trap.buffers_used = 0;
    trap.floor = 0;
}

bool run_trapped(void (*work)(void* context), void* context, Trapping trapping)
{
    FaultTrap& trap = fault_trap();
    // 100 levels are more than any nesting of routines needs; a worker beyond
    // them runs untrapped.
    if (trap.trusted > 0 || error_settings().trapping == 0 || trap.buffers_used >= trap_levels ||
        trap.armed_levels >= trap_levels) {
        work(context);
        return !interrupted();
    }
    std::jmp_buf& landing = trap.buffers[trap.buffers_used++];
    if (setjmp(landing) == 0) {
        arm(trapping == Trapping::with_own_stack);
        work(context);
        --trap.buffers_used;
        disarm();
        return !interrupted();
    }
    // The system may have reset the modes for the handler.
    platform::set_float_control(platform::usual_float_control);
    // Disarmed before it is posted: a handler of the host that faults now meets
    // the level around this one, or its own host's handlers.
    FaultTrap& after = fault_trap();
    after.posting = false;
    disarm();
    zavo_error_post(ZAVO_TERMINAL, code::fault_trapped);
    return false;
}

void enter_usual_control(platform::FloatControl host)
{
    error_state().host_control = host;
    platform::set_float_control(platform::usual_float_control);
}

void leave_usual_control(platform::FloatControl host)
{
    error_state().host_control = platform::usual_float_control;
    platform::set_float_control(host);
}

SuspendedTrap::SuspendedTrap() : floor_(fault_trap().floor), trusted_(fault_trap().trusted)
{
    fault_trap().floor = fault_trap().armed_levels;
    fault_trap().trusted = 0;
}

SuspendedTrap::~SuspendedTrap()
{
    fault_trap().floor = floor_;
    fault_trap().trusted = trusted_;
}

TrustedCaller::TrustedCaller()
{
    ++fault_trap().trusted;
}

TrustedCaller::~TrustedCaller()
{
    --fault_trap().trusted;
}

} // namespace zavo::core

void zavo_entry_trap(int on)
{
    if (on != 0) {
        zavo::core::arm(false);
    } else {
        zavo::core::disarm();
    }
}

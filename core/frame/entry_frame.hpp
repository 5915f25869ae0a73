// The frame that every public routine enters: its name on the error stack, its
// work storage, and a trap for faults in its worker.
#pragma once

#include "core/errors/error_stack.h"
#include "core/system/float_control.hpp"
#include "core/system/memory.hpp"

#include <type_traits>

extern "C" {

// Arms (nonzero) or disarms (0) the trap at one more or one less level.
void zavo_entry_trap(int on);

// Shared argument checks; both add 1 to *position. 5/601 when value > bound.
void zavo_arg_check_le(int value, const char* value_name, int bound, const char* bound_name, int* position);
// 5/602 when value is outside low..high; with low > high there is no upper
// bound and 5/603 is posted when value < low.
void zavo_arg_check_range(int value, const char* name, int low, int high, int* position);

} // extern "C"

namespace zavo::core {

enum class Trapping {
    plain,
    // Also of a thread's stack that is used up, where the system can do that: for
    // routines that call user functions.
    with_own_stack
};

// Calls work(context) under the fault trap, when trapping is on. A fault in it
// is posted as 5/504 or 5/511 and then as 5/102, at the level of the routine
// that called this, and control comes back as if work had returned. False after
// a fault and when the work was interrupted (interruption.hpp).
bool run_trapped(void (*work)(void* context), void* context, Trapping trapping);

// To the usual modes of floating-point results from the host's, and back.
void enter_usual_control(platform::FloatControl host);
void leave_usual_control(platform::FloatControl host);

class EntryFrame {
public:
    // name: a literal; pushed here, popped by the destructor.
    explicit EntryFrame(const char* name)
        : name_(name), mark_(work_mark()), host_control_(platform::float_control())
    {
        zavo_error_push(name);
        if (host_control_ != platform::usual_float_control) {
            enter_usual_control(host_control_);
        }
    }
    ~EntryFrame()
    {
        release_work_since(mark_);
        zavo_error_pop(name_);
        if (host_control_ != platform::usual_float_control) {
            leave_usual_control(host_control_);
        }
    }
    EntryFrame(const EntryFrame&) = delete;
    EntryFrame& operator=(const EntryFrame&) = delete;

    // Runs the worker under the trap; true, and finished() from then on, when it
    // has returned and neither a fault nor an interruption has cut it short. The
    // way out of a fault is a jump, which runs no destructor between the fault and
    // here. So what a worker takes is owned outside of it: by an object beside the
    // frame, or by the frame (take_work). Inside, an object has a destructor only when
    // nothing is lost without it: frames of nested routines, whose names and work
    // storage this frame drops with its own, and objects that live while nothing
    // of the caller's is read, written or called, such as the texts of a search for
    // the catalogue.
    template <class Work>
    bool run(Work&& work, Trapping trapping = Trapping::plain)
    {
        // Through a pointer, so that what the worker changes lives in memory
        // and not in registers that the jump would set back.
        finished_ =
            run_trapped([](void* context) { (*static_cast<std::remove_reference_t<Work>*>(context))(); },
                        &work, trapping);
        return finished_;
    }

    // Whether the result may be handed out: the last worker that was run has done its
    // work, and no error of type 4 or 5 stands at this routine's level. Where a
    // routine looks at one of the two alone, a comment says why.
    bool succeeded() const { return finished() && !failed(); }
    bool finished() const { return finished_; }
    bool failed() const { return is_failure(pending_type()); }
    // An error of type 5 stands there. For routines whose results are worth having
    // after one of type 4.
    bool terminated() const { return pending_type() == ZAVO_TERMINAL; }

private:
    const char* name_;
    void* mark_;
    platform::FloatControl host_control_;
    bool finished_ = false;
};

// Around code outside the library that a jump must not cross, such as an
// interpreter: while it lives, faults are the host's.
class SuspendedTrap {
public:
    SuspendedTrap();
    ~SuspendedTrap();
    SuspendedTrap(const SuspendedTrap&) = delete;
    SuspendedTrap& operator=(const SuspendedTrap&) = delete;

private:
    int floor_;
    int trusted_;
};

// Around calls of public routines whose arguments are the library's own: their
// frames arm no trap while it lives.
class TrustedCaller {
public:
    TrustedCaller();
    ~TrustedCaller();
    TrustedCaller(const TrustedCaller&) = delete;
    TrustedCaller& operator=(const TrustedCaller&) = delete;
};

} // namespace zavo::core

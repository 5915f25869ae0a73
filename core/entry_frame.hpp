// The frame that every public routine enters: its name on the error stack, its
// work storage, and a trap for faults in its worker.
#pragma once

#include "core/error_stack.h"
#include "core/memory.hpp"

#include <csetjmp>

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

bool trapping();

// The jump buffer of the next trap level; null when all are in use (the worker
// then runs untrapped). leave_trap_level() undoes enter_trap_level().
std::jmp_buf* enter_trap_level();
void leave_trap_level();

// A trapped fault has come back to the routine that armed the trap.
void post_trapped_fault();

class EntryFrame {
public:
    // name: a literal; pushed here, popped by the destructor.
    explicit EntryFrame(const char* name) : name_(name), mark_(work_mark()) { zavo_error_push(name); }
    ~EntryFrame()
    {
        release_work_since(mark_);
        zavo_error_pop(name_);
    }
    EntryFrame(const EntryFrame&) = delete;
    EntryFrame& operator=(const EntryFrame&) = delete;

    // Runs the worker under the trap. No object with a destructor may live in
    // it across a place that can fault: the way out of a fault is a jump.
    template <class Work>
    void run(Work&& work)
    {
        std::jmp_buf* const level = trapping() ? enter_trap_level() : nullptr;
        if (level == nullptr) {
            work();
            return;
        }
        if (setjmp(*level) == 0) {
            zavo_entry_trap(1);
            work();
            leave_trap_level();
        } else {
            post_trapped_fault();
        }
        zavo_entry_trap(0);
    }

    // True when an error of type 4 or 5 stands at this routine's level.
    bool failed() const { return is_failure(pending_type()); }

private:
    const char* name_;
    void* mark_;
};

} // namespace zavo::core

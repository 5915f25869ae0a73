// The fault trap's state; for the files that implement it.
#pragma once

#include "core/system/platform.hpp"

#include <csetjmp>

namespace zavo::core {

inline constexpr int trap_levels = 100;

struct ArmedLevel {
    platform::SavedHandler replaced[platform::fault_signal_count];
    int stack_level;   // of the routine that armed the trap
    int message_depth; // as the routine found it
    bool on_fault_stack;
};

// Two counters are kept apart: buffers in use, and levels at which the trap
// stands armed.
struct FaultTrap {
    std::jmp_buf buffers[trap_levels];
    int buffers_used;
    ArmedLevel armed[trap_levels];
    int armed_levels;
    int floor;   // levels below it are suspended
    int trusted; // callers inside the library that need no trap
    int signal;  // of the last trapped fault
    bool posting;
    void* fault_stack; // memory of platform::enter_fault_stack
};

// The calling thread's (core/thread_state.cpp); null when the thread has not
// called the library yet.
FaultTrap& fault_trap();
FaultTrap* present_fault_trap();

} // namespace zavo::core

// A DLL for tclsh to load, linked like the module: its initialisation faults in
// every way that the trap knows, over and over and nested, within an interpreter
// that has a start-up code and exception handlers of its own.

#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"
#include "core/frame/entry_frame.hpp"

namespace {

constexpr int rounds = 50;

using zavo::core::EntryFrame;

int reported[3]; // of 504, 511 and 102

void count(int, int code, const char*, const char*)
{
    using namespace zavo::core::code;
    reported[0] += code == illegal_instruction;
    reported[1] += code == segment_violation;
    reported[2] += code == fault_trapped;
}

void touch_foreign_memory()
{
    static volatile int* volatile nowhere = nullptr;
    *nowhere = 1;
}

void run_foreign_instruction()
{
    __builtin_trap();
}

void inner(int round)
{
    EntryFrame frame{"inner"};
    frame.run([&] { round % 2 == 0 ? touch_foreign_memory() : run_foreign_instruction(); });
}

void outer(int round)
{
    EntryFrame frame{"outer"};
    frame.run([&] {
        inner(round);
        touch_foreign_memory();
    });
}

} // namespace

// 0, that is TCL_OK, when every fault was trapped and reported.
extern "C" __declspec(dllexport) int Faulty_Init(void*)
{
    zavo_error_options(ZAVO_SET_ERROR_HANDLER, &count, ZAVO_SET_STOP, ZAVO_TERMINAL, 0, 0);
    for (int& each : reported) {
        each = 0;
    }
    for (int round = 0; round < rounds; ++round) {
        outer(round);
    }
    // Half of the inner faults are of either kind; the outer ones are all of one.
    const bool all =
        reported[0] == rounds / 2 && reported[1] == rounds / 2 + rounds && reported[2] == 2 * rounds;
    return all ? 0 : 1;
}

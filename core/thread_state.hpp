// What the library keeps for each thread: the error stack, the fault trap, the
// stream of deviates and whatever else a routine or command leaves for the next
// one. A thread sees its own alone, so N threads get the results that each would
// get by itself, and a process with one thread has one of everything.
//
// Every file reaches it through thread_state(), or through the accessor of its
// part; the struct is made at a thread's first call and released when the thread
// ends. What is set with zavo_error_options is the process's and not in here.
#pragma once

#include "core/catalogue/catalogue.hpp"
#include "core/errors/error_state.hpp"
#include "core/frame/fault_trap.hpp"
#include "core/frame/interruption.hpp"
#include "core/system/memory.hpp"
#include "core/system/platform_thread.hpp"

namespace zavo::core {

// ---- Parts of the folders above core: data alone, so that core needs nothing of
// theirs.

// The uniform stream (random/uniform.cpp).
struct StreamState {
    static constexpr int table_size = 128;
    int option = 1;
    int seed = 0;        // the last state; where the next batch goes on
    bool seeded = false; // by a caller or by a generation from the clock
    bool filled = false; // the shuffle table holds values
    float table[table_size] = {};
};

// An array of floats that belongs to a length: the work area of a series of
// convolutions, the table of the transform command.
struct LengthArray {
    int n = 0;
    float* data = nullptr;

    void drop()
    {
        release(data);
        data = nullptr;
        n = 0;
    }
};

// The latest plans of the transforms (fft/transforms.cpp).
struct PlanState {
    alignas(16) unsigned char bytes[16384] = {};
};

// What the module keeps (ext/conventions.cpp).
struct ModuleState {
    // The interpreter's result points at the text. A longer message is cut: nine
    // parameters of any length can stand in one.
    char last_error_text[4096] = "";
    char last_error_routine[64] = "";
    int last_error_type = 0;
    int last_error_code = 0;
    unsigned seed = 0; // tick count of the last initialisation
    bool ends_with_interpreter_thread = false;
    // The latest work that asks the interpreter whether it may go on (ext/long_work.cpp).
    void* waiting_work = nullptr;
};

// ---- The struct

struct ThreadState {
    int number = 0; // of threads in the order of their first calls, from 0
    MemoryState memory;
    ErrorState errors;
    MessageParameters parameters;
    FaultTrap trap = {};
    Interruption interruption;
    CatalogueCache catalogue;
    StreamState stream;
    LengthArray series;    // fft/convolution.cpp
    LengthArray fft_table; // fft/fft_real_commands.cpp
    PlanState plans;
    void* objective = nullptr; // of the running minimisation (minimize/objective_commands.cpp)
    ModuleState module;
};

// Makes the calling thread's state.
ThreadState& start_thread_state();

inline ThreadState& thread_state()
{
    ThreadState* const state = platform::thread_pointer();
    return __builtin_expect(state != nullptr, 1) ? *state : start_thread_state();
}

// Releases the calling thread's state and what it owns. A later call of the
// library starts another.
void end_thread_state();

// Where a thread's stream starts: the first thread's at `seed` itself, the others'
// at states 1 .. 2^31 - 2 that have nothing to do with it or each other, though
// seeds and numbers of threads are neighbours.
int seed_of_thread(int seed);

} // namespace zavo::core

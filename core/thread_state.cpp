#include "core/thread_state.hpp"

#include "core/zavo.h"

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace zavo::core {

namespace {

// The first threads find their states here, so that a process with one thread
// allocates none. They are never destroyed: what runs at exit may call the library.
constexpr int places = 4;
struct Place {
    std::atomic<bool> taken{false};
    alignas(ThreadState) unsigned char bytes[sizeof(ThreadState)] = {};
};
constinit Place place[places];

constinit std::atomic<int> threads_started{0};

void* take_place()
{
    for (Place& each : place) {
        if (!each.taken.exchange(true)) {
            return each.bytes;
        }
    }
    // Not through allocate(), which counts in the state.
    return std::malloc(sizeof(ThreadState));
}

void give_back_place(void* state)
{
    for (Place& each : place) {
        if (state == each.bytes) {
            each.taken.store(false);
            return;
        }
    }
    std::free(state);
}

} // namespace

// A thread without memory for its state cannot even be told so; it ends the
// process, as a thread without memory for its stack does.
__attribute__((noinline, cold)) ThreadState& start_thread_state()
{
    void* const memory = take_place();
    if (memory == nullptr) {
        std::fputs("zavo: not enough memory for the state of a thread\n", stderr);
        std::exit(ZAVO_INTERNAL);
    }
    auto* const state = new (memory) ThreadState();
    state->number = threads_started.fetch_add(1);
    platform::thread_pointer() = state;
    platform::call_at_thread_end(end_thread_state);
    return *state;
}

void end_thread_state()
{
    ThreadState* const state = platform::thread_pointer();
    if (state == nullptr) {
        return;
    }
    disarm_all_levels();
    release_work_since(nullptr);
    state->catalogue.reset();
    state->series.drop();
    state->fft_table.drop();
    platform::release_fault_stack(state->trap.fault_stack);
    platform::thread_pointer() = nullptr;
    state->~ThreadState();
    give_back_place(state);
}

// The mixer of SplitMix64 (G. L. Steele, D. Lea, C. H. Flood, "Fast splittable
// pseudorandom number generators", 2014).
int seed_of_thread(int seed)
{
    const int number = thread_state().number;
    if (number == 0) {
        return seed;
    }
    constexpr std::uint64_t states = 2147483646;
    std::uint64_t x = static_cast<std::uint32_t>(seed) + 0x9e3779b97f4a7c15U * static_cast<unsigned>(number);
    x = (x ^ x >> 30) * 0xbf58476d1ce4e5b9U;
    x = (x ^ x >> 27) * 0x94d049bb133111ebU;
    return static_cast<int>((x ^ x >> 31) % states) + 1;
}

// ---- The parts of core's own folders

MemoryState& memory_state()
{
    return thread_state().memory;
}

ErrorState& error_state()
{
    return thread_state().errors;
}

MessageParameters& message_parameters()
{
    return thread_state().parameters;
}

CatalogueCache& catalogue_cache()
{
    return thread_state().catalogue;
}

FaultTrap& fault_trap()
{
    return thread_state().trap;
}

Interruption& interruption()
{
    return thread_state().interruption;
}

FaultTrap* present_fault_trap()
{
    ThreadState* const state = platform::thread_pointer();
    return state != nullptr ? &state->trap : nullptr;
}

} // namespace zavo::core

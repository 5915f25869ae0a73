// The system services that the library uses. platform_posix.cpp and
// platform_windows.cpp implement them; nothing else asks which system it is.
#pragma once

#include <cstddef>
#include <cstdio>
#include <ctime>

namespace zavo::platform {

// Milliseconds since the system started, modulo 2^32.
unsigned tick_count();

// Copies an environment variable; returns its length, or 0 when it is unset,
// empty or does not fit `capacity` with its terminating zero.
std::size_t environment(const char* name, char* buffer, std::size_t capacity);

// Looks for a readable file `name` in the directories of `path` (separated by
// ";") and copies its path name. False when there is none.
bool search_path(const char* path, const char* name, char* buffer, std::size_t capacity);

// The same in one folder, whose name may have a ";".
bool find_in_folder(const char* folder, const char* name, char* buffer, std::size_t capacity);

// File name part of the host program's path.
void program_name(char* buffer, std::size_t capacity);

// A modal text box. On a system without one the text goes to standard error,
// headed by the title.
enum class BoxIcon { error, information };
void message_box(const char* title, const char* text, BoxIcon icon);

// Makes sure that there is a console to write to, and writes to it. On POSIX
// that is standard output, else the controlling terminal.
void* console();
void write_console(void* console, const char* text, std::size_t length);

// malloc() for blocks of `large_block` bytes and more. A large block's memory
// comes from the system page by page, at first touch, which costs more than
// filling it; where there are large pages the system is asked for those. Null
// when memory is short; free() releases the block.
inline constexpr std::size_t large_block = std::size_t{4} << 20;
void* allocate_large(std::size_t bytes);

// malloc() for smaller blocks that vectors may live in: at the start of a cache
// line where free() can release such a block, else as malloc() has it.
inline constexpr std::size_t aligned_block = 256;
void* allocate_aligned(std::size_t bytes);

// Wall clock broken down as UTC, else as local time; false when neither works.
bool clock_time(std::tm* now);

// Faults. A handler that the library installs leaves by longjmp, any number of
// times, when the fault is the library's, else it names the handler that the
// fault belongs to, which is then called as if nothing stood in front of it.
inline constexpr int fault_signals[] = {4, 11}; // illegal instruction, segment violation
inline constexpr std::size_t fault_signal_count = sizeof fault_signals / sizeof fault_signals[0];
inline constexpr std::size_t saved_handler_bytes = 160;
struct SavedHandler {
    alignas(16) unsigned char bytes[saved_handler_bytes];
};
using FaultHandler = const SavedHandler*(int signal);
// Puts `handler`, always the same one, in place of what stands there, which is
// stored in `saved`.
void install_fault_handler(int signal, FaultHandler* handler, SavedHandler* saved);
void restore_fault_handler(int signal, const SavedHandler* saved);
// True when what was replaced is the library's own handler.
bool is_own_handler(const SavedHandler& saved);

// A stack of its own for the calling thread's fault handlers, so that they can
// run when the thread's stack is used up; nothing when the host has set one.
// `stack`: null at first, the memory once there is some; it is kept for the next
// time and released with release_fault_stack. True when a stack was set, which
// leave_fault_stack undoes.
bool enter_fault_stack(void*& stack);
void leave_fault_stack();
void release_fault_stack(void* stack);

// Calls function() when the calling thread ends, in that thread; not when the
// process ends. Windows calls it for every thread, also for those that have not
// asked.
void call_at_thread_end(void (*function)());

// For a thread that waits for another to leave a few instructions.
void pause_briefly();

// Calls before() ahead of every fork, then in_parent() or in_child().
void around_fork(void (*before)(), void (*in_parent)(), void (*in_child)());

} // namespace zavo::platform

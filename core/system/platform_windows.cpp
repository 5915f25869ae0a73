// The system services on Windows: nine calls of the kernel and of the
// user interface, and the C runtime (msvcrt). Nothing else of the system is
// called; a test reads the import tables.

#include "core/system/platform.hpp"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace zavo::platform {

unsigned tick_count()
{
    return GetTickCount();
}

std::size_t environment(const char* name, char* buffer, std::size_t capacity)
{
    const DWORD length = GetEnvironmentVariableA(name, buffer, static_cast<DWORD>(capacity));
    // A value that does not fit gives the size that it needs.
    return length < capacity ? length : 0;
}

bool search_path(const char* path, const char* name, char* buffer, std::size_t capacity)
{
    // An empty path would mean the system's own search order.
    if (path[0] == '\0') {
        return false;
    }
    const DWORD length = SearchPathA(path, name, nullptr, static_cast<DWORD>(capacity), buffer, nullptr);
    return length > 0 && length < capacity;
}

// A path that is complete is looked for where it says.
bool find_in_folder(const char* folder, const char* name, char* buffer, std::size_t capacity)
{
    char path[2 * MAX_PATH];
    const int written = std::snprintf(path, sizeof path, "%s\\%s", folder, name);
    return written > 0 && static_cast<std::size_t>(written) < sizeof path &&
           search_path(".", path, buffer, capacity);
}

void program_name(char* buffer, std::size_t capacity)
{
    char path[MAX_PATH + 1] = "";
    GetModuleFileNameA(nullptr, path, MAX_PATH);
    const char* const last = std::strrchr(path, '\\');
    const char* const name = last != nullptr ? last + 1 : path;
    const std::size_t length = std::min(std::strlen(name), capacity - 1);
    std::memcpy(buffer, name, length);
    buffer[length] = '\0';
}

void message_box(const char* title, const char* text, BoxIcon icon)
{
    const UINT style = icon == BoxIcon::error ? MB_ICONERROR : MB_ICONINFORMATION;
    MessageBoxA(nullptr, text, title, style | MB_SETFOREGROUND);
}

namespace {

HANDLE standard_output()
{
    HANDLE const handle = GetStdHandle(STD_OUTPUT_HANDLE);
    return handle != INVALID_HANDLE_VALUE ? handle : nullptr;
}

} // namespace

void* console()
{
    HANDLE handle = standard_output();
    if (handle == nullptr) {
        // A window program has no standard output; it gets a console.
        FreeConsole();
        AllocConsole();
        handle = standard_output();
    }
    return handle;
}

void write_console(void* console, const char* text, std::size_t length)
{
    DWORD written = 0;
    WriteConsoleA(console, text, static_cast<DWORD>(length), &written, nullptr);
}

// Large pages need a privilege that ordinary accounts lack.
void* allocate_large(std::size_t bytes)
{
    return std::malloc(bytes);
}

// free() takes what malloc() gave, and nothing else.
void* allocate_aligned(std::size_t bytes)
{
    return std::malloc(bytes);
}

namespace {

// The runtime's clock has functions of their own for either width of seconds; the
// 64-bit runtime lacks some of the narrow ones.
#if defined(_WIN64)
struct RuntimeClock {
    using Seconds = __time64_t;
    static constexpr auto now = _time64;
    static constexpr auto utc = _gmtime64;
    static constexpr auto local = _localtime64;
};
#else
struct RuntimeClock {
    using Seconds = __time32_t;
    static constexpr auto now = _time32;
    static constexpr auto utc = _gmtime32;
    static constexpr auto local = _localtime32;
};
#endif

} // namespace

bool clock_time(std::tm* now)
{
    const RuntimeClock::Seconds seconds = RuntimeClock::now(nullptr);
    const std::tm* broken_down = RuntimeClock::utc(&seconds);
    if (broken_down == nullptr) {
        broken_down = RuntimeClock::local(&seconds);
    }
    if (broken_down == nullptr) {
        return false;
    }
    *now = *broken_down;
    return true;
}

// The runtime delivers a hardware fault as a signal from the exception filter
// that the host's start-up code has installed, and sets the signal back to its
// default as it does so. The trap needs no more: its handler puts itself back at
// once, since other threads may be armed, and what it replaced is put back when
// the trap is disarmed. longjmp from the handler unwinds the exception frames down
// to those that stood when setjmp was called, so that the system considers the
// fault dealt with and the next one is delivered like the first.
using Handler = void (*)(int);
static_assert(sizeof(Handler) <= saved_handler_bytes);

namespace {

constinit std::atomic<FaultHandler*> own_handler{nullptr};

Handler function_of(const SavedHandler& saved)
{
    Handler handler = nullptr;
    std::memcpy(&handler, saved.bytes, sizeof handler);
    return handler;
}

void on_fault(int signal)
{
    std::signal(signal, on_fault);
    const Handler host = function_of(*own_handler.load()(signal));
    if (host == SIG_DFL || host == SIG_IGN || host == SIG_ERR) {
        std::signal(signal, SIG_DFL); // the fault strikes again
    } else {
        host(signal);
    }
}

} // namespace

void install_fault_handler(int signal, FaultHandler* handler, SavedHandler* saved)
{
    own_handler.store(handler);
    const Handler replaced = std::signal(signal, on_fault);
    std::memcpy(saved->bytes, &replaced, sizeof replaced);
}

void restore_fault_handler(int signal, const SavedHandler* saved)
{
    const Handler replaced = function_of(*saved);
    if (replaced != SIG_ERR) {
        std::signal(signal, replaced);
    }
}

bool is_own_handler(const SavedHandler& saved)
{
    return function_of(saved) == on_fault;
}

// The system keeps a few pages for exception filters itself. The runtime makes no
// signal of a stack that is used up, so such a fault ends the process.
bool enter_fault_stack(void*&)
{
    return false;
}
void leave_fault_stack() {}
void release_fault_stack(void*) {}

// Nothing forks.
void around_fork(void (*)(), void (*)(), void (*)()) {}

} // namespace zavo::platform

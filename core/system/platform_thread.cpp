#include "core/system/platform_thread.hpp"

#include "core/system/platform.hpp"

#if defined(_WIN32)

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <atomic>

namespace {

constinit std::atomic<void (*)()> thread_end{nullptr};

void NTAPI on_thread_event(void*, DWORD reason, void*)
{
    void (*const function)() = thread_end.load();
    if (reason == DLL_THREAD_DETACH && function != nullptr) {
        function();
    }
}

} // namespace

extern "C" {

__attribute__((section(".tls$ZAVO"))) zavo::core::ThreadState* zavo_thread_pointer = nullptr;
__attribute__((section(".CRT$XLZA"), used)) PIMAGE_TLS_CALLBACK zavo_thread_callback = on_thread_event;

} // extern "C"

namespace zavo::platform {

// Called at the end of every thread; those without a state are skipped.
void call_at_thread_end(void (*function)())
{
    thread_end.store(function);
}

void pause_briefly()
{
    __builtin_ia32_pause();
}

} // namespace zavo::platform

#else

#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

extern "C" {
// Of the C library: what C++ compilers call for the destructors of a thread. It
// keeps the shared object that `dso` stands for loaded until the thread ends.
int __cxa_thread_atexit_impl(void (*function)(void*), void* argument, void* dso);
extern void* __dso_handle;
}

namespace zavo::platform {

constinit thread_local core::ThreadState* the_thread_pointer = nullptr;

namespace {

void call(void* function)
{
    reinterpret_cast<void (*)()>(function)();
}

} // namespace

// Not for the main thread, which ends with the process: what runs at exit may
// still call the library.
void call_at_thread_end(void (*function)())
{
    if (getpid() != static_cast<pid_t>(syscall(SYS_gettid))) {
        __cxa_thread_atexit_impl(call, reinterpret_cast<void*>(function), &__dso_handle);
    }
}

void pause_briefly()
{
    sched_yield();
}

} // namespace zavo::platform

#endif

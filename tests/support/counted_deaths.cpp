// In a build with coverage counters: what a process has counted is written before it
// ends in a way that runs nothing at exit, as tests of stops and faults make it end.
// Linked into the test programs, these names come before those of the C library.

#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <sys/syscall.h>
#include <unistd.h>

extern "C" {

void __gcov_dump(void);
void __gcov_reset(void); // so that a process that lives on writes the rest later

[[noreturn]] void _exit(int status)
{
    __gcov_dump();
    while (true) {
        syscall(SYS_exit_group, status);
    }
}

[[noreturn]] void _Exit(int status)
{
    _exit(status);
}

// A handler that gives up leaves the signal to the system and sends it again.
__sighandler_t signal(int number, __sighandler_t handler) noexcept
{
    if (handler == SIG_DFL) {
        __gcov_dump();
        __gcov_reset();
    }
    static auto* const next = reinterpret_cast<decltype(&signal)>(dlsym(RTLD_NEXT, "signal"));
    return next(number, handler);
}

int raise(int number) noexcept
{
    __gcov_dump();
    __gcov_reset();
    static auto* const next = reinterpret_cast<decltype(&raise)>(dlsym(RTLD_NEXT, "raise"));
    return next(number);
}
}

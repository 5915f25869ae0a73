#include "core/system/platform.hpp"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zavo::platform {

unsigned tick_count()
{
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<unsigned>(static_cast<unsigned long long>(now.tv_sec) * 1000ULL +
                                 static_cast<unsigned long long>(now.tv_nsec) / 1000000ULL);
}

std::size_t environment(const char* name, char* buffer, std::size_t capacity)
{
    const char* const value = std::getenv(name);
    const std::size_t length = value != nullptr ? std::strlen(value) : 0;
    if (length == 0 || length >= capacity) {
        return 0;
    }
    std::memcpy(buffer, value, length + 1);
    return length;
}

namespace {

bool is_readable_file(const char* path)
{
    struct stat status {};
    return stat(path, &status) == 0 && S_ISREG(status.st_mode) && access(path, R_OK) == 0;
}

bool is_in_folder(const char* folder, std::size_t length, const char* name, char* buffer,
                  std::size_t capacity)
{
    const int written = std::snprintf(buffer, capacity, "%.*s/%s", static_cast<int>(length), folder, name);
    return written > 0 && static_cast<std::size_t>(written) < capacity && is_readable_file(buffer);
}

} // namespace

bool search_path(const char* path, const char* name, char* buffer, std::size_t capacity)
{
    while (true) {
        const std::size_t length = std::strcspn(path, ";");
        if (length > 0 && is_in_folder(path, length, name, buffer, capacity)) {
            return true;
        }
        if (path[length] == '\0') {
            return false;
        }
        path += length + 1;
    }
}

bool find_in_folder(const char* folder, const char* name, char* buffer, std::size_t capacity)
{
    return is_in_folder(folder, std::strlen(folder), name, buffer, capacity);
}

void program_name(char* buffer, std::size_t capacity)
{
    std::snprintf(buffer, capacity, "%s", program_invocation_short_name);
}

void message_box(const char* title, const char* text, BoxIcon)
{
    std::fprintf(stderr, "%s: %s\n", title, text);
    std::fflush(stderr);
}

void* console()
{
    static constinit std::atomic<FILE*> terminal{nullptr};
    if (fcntl(STDOUT_FILENO, F_GETFD) != -1) {
        return stdout;
    }
    FILE* present = terminal.load();
    if (present == nullptr) {
        FILE* const opened = std::fopen("/dev/tty", "w");
        if (opened == nullptr || terminal.compare_exchange_strong(present, opened)) {
            return opened;
        }
        std::fclose(opened); // another thread was first
    }
    return present;
}

void write_console(void* console, const char* text, std::size_t length)
{
    if (console != nullptr) {
        std::fwrite(text, 1, length, static_cast<FILE*>(console));
        std::fflush(static_cast<FILE*>(console));
    }
}

void* allocate_large(std::size_t bytes)
{
    constexpr std::size_t large_page = std::size_t{2} << 20;
    void* block = nullptr;
    if (posix_memalign(&block, large_page, bytes) != 0) {
        return nullptr;
    }
#ifdef MADV_HUGEPAGE
    // Advice only. Whole large pages: the rest of the last one may hold other
    // blocks of the heap.
    madvise(block, bytes / large_page * large_page, MADV_HUGEPAGE);
#endif
    return block;
}

void* allocate_aligned(std::size_t bytes)
{
    constexpr std::size_t cache_line = 64;
    void* block = nullptr;
    return posix_memalign(&block, cache_line, bytes) == 0 ? block : nullptr;
}

bool clock_time(std::tm* now)
{
    const std::time_t seconds = std::time(nullptr);
    return gmtime_r(&seconds, now) != nullptr || localtime_r(&seconds, now) != nullptr;
}

namespace {

static_assert(sizeof(struct sigaction) <= saved_handler_bytes);
static_assert(std::atomic<FaultHandler*>::is_always_lock_free);
constinit std::atomic<FaultHandler*> own_handler{nullptr};

struct sigaction action_of(const SavedHandler& saved)
{
    struct sigaction action {};
    std::memcpy(&action, saved.bytes, sizeof action);
    return action;
}

// Leaves the signal to the system: a fault strikes again when the handler
// returns, a signal that was sent is sent again.
void default_action(int signal, const siginfo_t* details)
{
    std::signal(signal, SIG_DFL);
    if (details->si_code <= 0) {
        raise(signal);
    }
}

// As the system would call it: with the signals blocked that the host asked for.
void call_host(const struct sigaction& host, int signal, siginfo_t* details, void* context)
{
    sigset_t blocked = host.sa_mask;
    sigset_t before;
    if ((host.sa_flags & SA_NODEFER) == 0) {
        sigaddset(&blocked, signal);
    }
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    if ((static_cast<unsigned>(host.sa_flags) & static_cast<unsigned>(SA_RESETHAND)) != 0) {
        std::signal(signal, SIG_DFL);
    }
    if ((host.sa_flags & SA_SIGINFO) != 0) {
        host.sa_sigaction(signal, details, context);
    } else {
        host.sa_handler(signal);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void on_fault(int signal, siginfo_t* details, void* context)
{
    const int error_number = errno;
    const SavedHandler* const saved = own_handler.load()(signal);
    errno = error_number;
    const struct sigaction host = action_of(*saved);
    const bool has_function =
        (host.sa_flags & SA_SIGINFO) != 0 || (host.sa_handler != SIG_DFL && host.sa_handler != SIG_IGN);
    if (has_function) {
        call_host(host, signal, details, context);
    } else if (host.sa_handler == SIG_DFL || details->si_code > 0) {
        default_action(signal, details); // a fault cannot be ignored
    }
}

} // namespace

void install_fault_handler(int signal, FaultHandler* handler, SavedHandler* saved)
{
    own_handler.store(handler);
    struct sigaction action {};
    action.sa_sigaction = on_fault;
    // The signal stays unblocked in the handler, which leaves by a jump: there
    // is no mask to put back, and the next fault is delivered like the first.
    action.sa_flags = SA_NODEFER | SA_ONSTACK | SA_SIGINFO;
    struct sigaction replaced {};
    sigaction(signal, &action, &replaced);
    std::memcpy(saved->bytes, &replaced, sizeof replaced);
}

void restore_fault_handler(int signal, const SavedHandler* saved)
{
    const struct sigaction replaced = action_of(*saved);
    sigaction(signal, &replaced, nullptr);
}

bool is_own_handler(const SavedHandler& saved)
{
    const struct sigaction action = action_of(saved);
    return (action.sa_flags & SA_SIGINFO) != 0 && action.sa_sigaction == on_fault;
}

namespace {

// Room for a handler that reads the catalogue and prints, beyond what the system
// needs for the registers.
std::size_t fault_stack_size()
{
    constexpr std::size_t for_handlers = std::size_t{256} << 10;
    const long for_registers = sysconf(_SC_MINSIGSTKSZ);
    return for_handlers + (for_registers > 0 ? static_cast<std::size_t>(for_registers) : 0);
}

} // namespace

bool enter_fault_stack(void*& stack)
{
    stack_t present{};
    if (sigaltstack(nullptr, &present) != 0 || (present.ss_flags & SS_DISABLE) == 0) {
        return false;
    }
    if (stack == nullptr) {
        void* const memory = mmap(nullptr, fault_stack_size(), PROT_READ | PROT_WRITE,
                                  MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
        if (memory == MAP_FAILED) {
            return false;
        }
        stack = memory;
    }
    stack_t own{};
    own.ss_sp = stack;
    own.ss_size = fault_stack_size();
    return sigaltstack(&own, nullptr) == 0;
}

void leave_fault_stack()
{
    stack_t none{};
    none.ss_flags = SS_DISABLE;
    none.ss_size = MINSIGSTKSZ;
    sigaltstack(&none, nullptr);
}

void release_fault_stack(void* stack)
{
    if (stack != nullptr) {
        munmap(stack, fault_stack_size());
    }
}

void around_fork(void (*before)(), void (*in_parent)(), void (*in_child)())
{
    pthread_atfork(before, in_parent, in_child);
}

} // namespace zavo::platform

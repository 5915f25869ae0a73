#include "core/system/platform.hpp"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
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

} // namespace

bool search_path(const char* path, const char* name, char* buffer, std::size_t capacity)
{
    while (true) {
        const std::size_t length = std::strcspn(path, ";");
        if (length > 0) {
            const int written =
                std::snprintf(buffer, capacity, "%.*s/%s", static_cast<int>(length), path, name);
            if (written > 0 && static_cast<std::size_t>(written) < capacity && is_readable_file(buffer)) {
                return true;
            }
        }
        if (path[length] == '\0') {
            return false;
        }
        path += length + 1;
    }
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
    static FILE* terminal = nullptr;
    if (fcntl(STDOUT_FILENO, F_GETFD) != -1) {
        return stdout;
    }
    if (terminal == nullptr) {
        terminal = std::fopen("/dev/tty", "w");
    }
    return terminal;
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

static_assert(sizeof(struct sigaction) <= saved_handler_bytes);

void install_fault_handler(int signal, void (*handler)(int), SavedHandler* saved)
{
    struct sigaction action {};
    action.sa_handler = handler;
    // The signal stays unblocked in the handler, which leaves by a jump: there
    // is no mask to put back, and the next fault is delivered like the first.
    action.sa_flags = SA_NODEFER | SA_ONSTACK;
    struct sigaction replaced {};
    sigaction(signal, &action, &replaced);
    std::memcpy(saved->bytes, &replaced, sizeof replaced);
}

void restore_fault_handler(int signal, const SavedHandler* saved)
{
    struct sigaction replaced {};
    std::memcpy(&replaced, saved->bytes, sizeof replaced);
    sigaction(signal, &replaced, nullptr);
}

void default_fault_handler(int signal)
{
    std::signal(signal, SIG_DFL);
}

} // namespace zavo::platform

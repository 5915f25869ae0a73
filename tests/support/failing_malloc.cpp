// Allocations that fail on request, of the libraries of the package alone. The
// library is loaded ahead of everything (LD_PRELOAD) and, in an interpreter, by
// `load`, which adds the commands:
//   failing::watch folder   from now on allocations that code of a library below
//                           this folder asks for are counted and may fail
//   failing::next n ?rest?  the n-th of them fails, with `rest` all after it too;
//                           0 switches that off. The result is the number of those
//                           that have failed since the last call
//   failing::count          allocations since the last call of failing::next
//   failing::live           blocks that such code has been given and not freed
// The interpreter's own allocations, which end the process when they fail, are
// left alone. Needs the names under which the GNU C library also offers its
// allocator.

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <tcl.h>

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}

namespace {

struct Range {
    std::uintptr_t first, last;
};
constexpr int most_ranges = 64;
Range ranges[most_ranges];
int range_count = 0;

long until_failure = 0; // 0: none is to fail
bool rest_fails = false;
long failures = 0;
long allocations = 0;

// The blocks that live: open addressing; a place that was left holds `gone`.
constexpr std::size_t places = std::size_t{1} << 20;
std::uintptr_t blocks[places];
constexpr std::uintptr_t gone = 1;
long live = 0;

bool watched(const void* caller)
{
    const auto address = reinterpret_cast<std::uintptr_t>(caller);
    for (int i = 0; i < range_count; ++i) {
        if (address >= ranges[i].first && address < ranges[i].last) {
            return true;
        }
    }
    return false;
}

bool must_fail()
{
    ++allocations;
    if (until_failure == 0) {
        return false;
    }
    if (until_failure > 1) {
        --until_failure;
        return false;
    }
    if (!rest_fails) {
        until_failure = 0;
    }
    ++failures;
    errno = ENOMEM;
    return true;
}

std::size_t place_of(std::uintptr_t block)
{
    return (block >> 4U) * 0x9E3779B97F4A7C15U >> 44U;
}

void* remember(void* block)
{
    if (block == nullptr) {
        return nullptr;
    }
    std::size_t at = place_of(reinterpret_cast<std::uintptr_t>(block));
    while (blocks[at] > gone) {
        at = (at + 1) % places;
    }
    blocks[at] = reinterpret_cast<std::uintptr_t>(block);
    ++live;
    return block;
}

void forget(void* block)
{
    if (live == 0 || block == nullptr) {
        return;
    }
    const auto address = reinterpret_cast<std::uintptr_t>(block);
    for (std::size_t at = place_of(address); blocks[at] != 0; at = (at + 1) % places) {
        if (blocks[at] == address) {
            blocks[at] = gone;
            --live;
            return;
        }
    }
}

} // namespace

extern "C" {

__attribute__((visibility("default"))) void* malloc(std::size_t size)
{
    if (range_count == 0 || !watched(__builtin_return_address(0))) {
        return __libc_malloc(size);
    }
    return must_fail() ? nullptr : remember(__libc_malloc(size));
}

__attribute__((visibility("default"))) void* calloc(std::size_t count, std::size_t size)
{
    if (range_count == 0 || !watched(__builtin_return_address(0))) {
        return __libc_calloc(count, size);
    }
    return must_fail() ? nullptr : remember(__libc_calloc(count, size));
}

__attribute__((visibility("default"))) void* realloc(void* block, std::size_t size)
{
    if (range_count == 0 || !watched(__builtin_return_address(0))) {
        forget(block);
        return __libc_realloc(block, size);
    }
    if (must_fail()) {
        return nullptr;
    }
    forget(block);
    return remember(__libc_realloc(block, size));
}

__attribute__((visibility("default"))) int posix_memalign(void** block, std::size_t alignment,
                                                          std::size_t size)
{
    void* found = nullptr;
    if (range_count == 0 || !watched(__builtin_return_address(0))) {
        found = __libc_memalign(alignment, size);
    } else if (!must_fail()) {
        found = remember(__libc_memalign(alignment, size));
    }
    if (found == nullptr) {
        return ENOMEM;
    }
    *block = found;
    return 0;
}

__attribute__((visibility("default"))) void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    if (range_count == 0 || !watched(__builtin_return_address(0))) {
        return __libc_memalign(alignment, size);
    }
    return must_fail() ? nullptr : remember(__libc_memalign(alignment, size));
}

__attribute__((visibility("default"))) void free(void* block)
{
    forget(block);
    __libc_free(block);
}

} // extern "C"

namespace {

int watch_command(ClientData, Tcl_Interp* interp, int argc, const char* argv[])
{
    if (argc != 2) {
        Tcl_SetResult(interp, const_cast<char*>("usage: failing::watch folder"), TCL_STATIC);
        return TCL_ERROR;
    }
    std::FILE* const maps = std::fopen("/proc/self/maps", "r");
    if (maps == nullptr) {
        return TCL_ERROR;
    }
    char line[4096];
    int found = 0;
    while (std::fgets(line, sizeof line, maps) != nullptr && found < most_ranges) {
        unsigned long first = 0;
        unsigned long last = 0;
        char rights[8];
        if (std::strstr(line, argv[1]) != nullptr &&
            std::sscanf(line, "%lx-%lx %7s", &first, &last, rights) == 3 &&
            std::strchr(rights, 'x') != nullptr) {
            ranges[found++] = {first, last};
        }
    }
    std::fclose(maps);
    range_count = found;
    Tcl_SetObjResult(interp, Tcl_NewIntObj(found));
    return TCL_OK;
}

int next_command(ClientData, Tcl_Interp* interp, int argc, const char* argv[])
{
    int nth = 0;
    if (argc < 2 || Tcl_GetInt(interp, argv[1], &nth) != TCL_OK) {
        return TCL_ERROR;
    }
    Tcl_SetObjResult(interp, Tcl_NewLongObj(failures));
    failures = 0;
    allocations = 0;
    rest_fails = argc > 2;
    until_failure = nth;
    return TCL_OK;
}

int number_command(ClientData number, Tcl_Interp* interp, int, const char*[])
{
    Tcl_SetObjResult(interp, Tcl_NewLongObj(*static_cast<long*>(number)));
    return TCL_OK;
}

} // namespace

extern "C" __attribute__((visibility("default"))) int Failing_Init(Tcl_Interp* interp)
{
    if (Tcl_InitStubs(interp, "8.5", 0) == nullptr) {
        return TCL_ERROR;
    }
    Tcl_CreateCommand(interp, "failing::watch", watch_command, nullptr, nullptr);
    Tcl_CreateCommand(interp, "failing::next", next_command, nullptr, nullptr);
    Tcl_CreateCommand(interp, "failing::count", number_command, &allocations, nullptr);
    Tcl_CreateCommand(interp, "failing::live", number_command, &live, nullptr);
    return TCL_OK;
}

#include "core/simd/path.hpp"

#include <atomic>
#include <cstring>

namespace zavo::simd {

namespace {

// Not detected yet: threads that ask at the same time all find the same.
constexpr int unknown = -1;
constinit std::atomic<int> best{unknown};

Path find_best_path()
{
#if defined(ZAVO_X86_PATHS)
    __builtin_cpu_init();
    if (!__builtin_cpu_supports("avx2")) {
        return Path::sse2;
    }
    const bool has_avx512 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                            __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl");
    return has_avx512 ? Path::avx512 : Path::avx2;
#else
    return widest_path; // what every processor of the family has
#endif
}

} // namespace

const char* name_of(Path path)
{
    static constexpr const char* names[] = {"scalar", "sse2", "avx2", "avx512", "neon"};
    return names[static_cast<int>(path)];
}

Path best_path()
{
    int found = best.load(std::memory_order_relaxed);
    if (found == unknown) {
        found = static_cast<int>(find_best_path());
        best.store(found, std::memory_order_relaxed);
    }
    return static_cast<Path>(found);
}

bool has_path(Path path)
{
    bool of_family = false;
    for (const Path each : all_paths) {
        of_family = of_family || each == path;
    }
    return of_family && path <= best_path();
}

constinit int path_or_unknown = unknown;

// Leaves a limit that another thread has set meanwhile.
Path find_path_in_use()
{
    int expected = unknown;
    __atomic_compare_exchange_n(&path_or_unknown, &expected, static_cast<int>(best_path()), false,
                                __ATOMIC_RELAXED, __ATOMIC_RELAXED);
    return path_in_use();
}

void limit_path(Path most)
{
    const Path widest = best_path();
    __atomic_store_n(&path_or_unknown, static_cast<int>(most < widest ? most : widest), __ATOMIC_RELAXED);
}

bool limit_path_by_name(const char* name)
{
    for (const Path path : all_paths) {
        if (has_path(path) && std::strcmp(name_of(path), name) == 0) {
            limit_path(path);
            return true;
        }
    }
    return false;
}

} // namespace zavo::simd

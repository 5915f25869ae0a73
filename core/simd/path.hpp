// The code paths: what the processor has and which of them runs. Transforms, deviates
// and whatever else is compiled for several instruction sets ask here, and a test or a
// benchmark forces a path for all of them at once. All paths give the same bits.
//
// Another processor family is another list of paths here, with its detection in
// path.cpp and its helpers in vectors.hpp.
#pragma once

namespace zavo::simd {

// For each family of processors in rising order of register width. What has no code for
// a path runs its next narrower one.
enum class Path {
    scalar,
    sse2,
    avx2,
    avx512, // F, DQ, BW and VL
    neon,   // of 64-bit ARM
};

// Those that the product has for this family of processors.
#if defined(__x86_64__) || defined(__i386__)
#define ZAVO_X86_PATHS
#elif defined(__aarch64__)
#define ZAVO_ARM_PATHS
#endif
inline constexpr Path all_paths[] = {
    Path::scalar,
#if defined(ZAVO_X86_PATHS)
    Path::sse2,
    Path::avx2,
    Path::avx512,
#elif defined(ZAVO_ARM_PATHS)
    Path::neon,
#endif
};
inline constexpr int path_count = sizeof all_paths / sizeof all_paths[0];
inline constexpr Path widest_path = all_paths[path_count - 1];

// "scalar", "sse2", "avx2", "avx512", "neon".
const char* name_of(Path path);

// The widest path of this processor, and whether it has a path.
Path best_path();
bool has_path(Path path);

// The path in use: the best, unless limit_path holds it down for the whole process.
extern int path_or_unknown; // behind path_in_use; -1 before the first question
Path find_path_in_use();
inline Path path_in_use()
{
    const int path = __atomic_load_n(&path_or_unknown, __ATOMIC_RELAXED);
    return __builtin_expect(path >= 0, 1) ? static_cast<Path>(path) : find_path_in_use();
}
void limit_path(Path most);
// False when this processor has no path of that name.
bool limit_path_by_name(const char* name);

} // namespace zavo::simd

// What the processor has, and paths by name.
#include "core/simd/path.hpp"
#include "tests/support/covered_paths.hpp"

#include <gtest/gtest.h>

namespace {

using zavo::simd::Path;
using zavo::test::LimitedPath;

constexpr Path every_path[] = {Path::scalar, Path::sse2, Path::avx2, Path::avx512, Path::neon};

// Of two families of processors at most one is here.
TEST(path, paths_of_another_family_are_not_here)
{
    EXPECT_TRUE(has_path(Path::scalar));
    EXPECT_FALSE(has_path(Path::neon) && has_path(Path::sse2));
    for (const Path path : every_path) {
        bool of_family = false;
        for (const Path each : zavo::simd::all_paths) {
            of_family = of_family || each == path;
        }
        EXPECT_EQ(has_path(path), of_family && path <= zavo::simd::best_path());
    }
}

TEST(path, paths_are_limited_by_name)
{
    const LimitedPath restored{Path::scalar};
    for (const Path path : every_path) {
        limit_path(Path::scalar);
        EXPECT_EQ(zavo::simd::limit_path_by_name(name_of(path)), has_path(path)) << name_of(path);
        EXPECT_EQ(zavo::simd::path_in_use(), has_path(path) ? path : Path::scalar) << name_of(path);
    }
    limit_path(Path::scalar);
    for (const char* const name : {"", "Scalar", "avx", "avx1024"}) {
        EXPECT_FALSE(zavo::simd::limit_path_by_name(name)) << name;
    }
    EXPECT_EQ(zavo::simd::path_in_use(), Path::scalar);
}

} // namespace

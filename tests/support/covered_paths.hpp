// Which code paths a test program has run: a test marks those that it covers, the
// program prints them at its end and fails when the processor offers one that no test
// has covered. What this processor lacks is said on a line of its own.
#pragma once

#include "core/simd/path.hpp"

#include <cstdio>
#include <gtest/gtest.h>

namespace zavo::test {

inline unsigned& covered_paths()
{
    static unsigned bits = 0;
    return bits;
}

// Holds the paths down to `path` for its lifetime.
class LimitedPath {
public:
    explicit LimitedPath(simd::Path path)
    {
        simd::limit_path(path);
        covered_paths() |= 1U << static_cast<unsigned>(path);
    }
    ~LimitedPath() { simd::limit_path(simd::widest_path); }
    LimitedPath(const LimitedPath&) = delete;
    LimitedPath& operator=(const LimitedPath&) = delete;
};

// Runs body() on each path that the processor has.
template <class Body>
void on_each_path(Body&& body)
{
    for (const simd::Path path : simd::all_paths) {
        if (simd::has_path(path)) {
            SCOPED_TRACE(simd::name_of(path));
            const LimitedPath limited{path};
            body();
        }
    }
}

// One instance a program, of all paths that its code is compiled for.
template <std::size_t count>
class PathsOfProgram : public testing::Environment {
public:
    explicit PathsOfProgram(const simd::Path (&paths)[count]) : paths_(paths) {}
    void TearDown() override
    {
        // A filter chooses tests, which then need not cover all.
        const bool all_tests = testing::GTEST_FLAG(filter) == "*";
        print("paths covered:", [](simd::Path path) { return covers(path); });
        print("paths not on this processor:", [](simd::Path path) { return !simd::has_path(path); });
        for (const simd::Path path : paths_) {
            if (all_tests && simd::has_path(path)) {
                EXPECT_TRUE(covers(path)) << "no test has run the path " << simd::name_of(path);
            }
        }
    }

private:
    static bool covers(simd::Path path) { return (covered_paths() >> static_cast<unsigned>(path) & 1U) != 0; }
    template <class Chosen>
    void print(const char* title, Chosen chosen)
    {
        bool any = false;
        for (const simd::Path path : paths_) {
            if (chosen(path)) {
                std::printf("%s%s", any ? " " : title, any ? "" : " ");
                std::printf("%s", simd::name_of(path));
                any = true;
            }
        }
        std::printf("%s", any ? "\n" : "");
    }
    const simd::Path (&paths_)[count];
};

// Stands for its effect: registers the environment.
template <std::size_t count>
const testing::Environment* cover_paths(const simd::Path (&paths)[count])
{
    return testing::AddGlobalTestEnvironment(new PathsOfProgram<count>{paths});
}

} // namespace zavo::test

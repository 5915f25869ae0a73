// The engine, for the files of the package that see no Tcl.
#pragma once

#include "core/simd/path.hpp"
#include "ext/engine.h"

#include <cstdint>

namespace zavox {

// The table of the module's library; the same for every interpreter.
const zavo_engine& engine();

// The engine's path: what the processor has, or less where a test forces it.
inline zavo::simd::Path path_in_use()
{
    return static_cast<zavo::simd::Path>(engine().path_in_use());
}

// Counts what a command has done, in about nanoseconds. True when the interpreter has ended
// it: the caller then leaves with nothing that is of use, and the command's error is the
// interpreter's, whatever it says itself (long work in ext/engine.h).
inline bool interrupted(std::int64_t nanoseconds)
{
    return engine().long_work_ended(nanoseconds) != 0;
}

inline constexpr std::int64_t part_of_work = 1 << 18; // elements between two questions

// work(begin, end) for one part after the other of 0 ... n - 1, each element of which takes
// so long. False when interrupted.
template <class Work>
[[nodiscard]] bool in_parts(std::int64_t n, int nanoseconds, Work&& work)
{
    std::int64_t begin = 0;
    for (; n - begin > part_of_work; begin += part_of_work) {
        work(begin, begin + part_of_work);
        if (interrupted(nanoseconds * part_of_work)) {
            return false;
        }
    }
    work(begin, n);
    return true;
}

} // namespace zavox

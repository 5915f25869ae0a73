// zavo_golden <family> <file> ?<path>?: writes the family's result bits into the file,
// computed with the vector instructions that the path names, else with the best that
// the processor has. Without arguments it prints the names of the families, one a
// line; with -paths those of the paths that this processor can go.
#include "core/simd/path.hpp"
#include "tests/golden/golden.hpp"

#include <cstdio>
#include <cstring>

namespace {

namespace simd = zavo::simd;

void print_paths()
{
    for (const simd::Path path : simd::all_paths) {
        if (simd::has_path(path)) {
            std::puts(simd::name_of(path));
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    using zavo::golden::Family;
    if (argc == 1) {
        for (const Family* family = Family::first; family != nullptr; family = family->next) {
            std::puts(family->name);
        }
        return 0;
    }
    if (argc == 2 && std::strcmp(argv[1], "-paths") == 0) {
        print_paths();
        return 0;
    }
    if (argc != 3 && argc != 4) {
        std::fprintf(stderr, "usage: %s ?-paths? ?family file ?path??\n", argv[0]);
        return 2;
    }
    if (argc == 4 && !simd::limit_path_by_name(argv[3])) {
        std::fprintf(stderr, "this processor has no path \"%s\"\n", argv[3]);
        return 1;
    }
    for (const Family* family = Family::first; family != nullptr; family = family->next) {
        if (std::strcmp(family->name, argv[1]) != 0) {
            continue;
        }
        // Binary, so that line ends are the same on every system.
        std::FILE* const file = std::fopen(argv[2], "wb");
        if (file == nullptr) {
            std::perror(argv[2]);
            return 1;
        }
        zavo::golden::Output out{file};
        family->writer(out);
        return std::fclose(file) == 0 ? 0 : 1;
    }
    std::fprintf(stderr, "no family \"%s\"\n", argv[1]);
    return 1;
}

// zavo_golden <family> <file> ?<path>?: writes the family's result bits into the file,
// computed with the vector instructions that the path names, else with the best that
// the processor has. Without arguments it prints the names of the families, one a
// line; with -paths those of the paths that this processor can go.
#include "fft/transforms.hpp"
#include "random/kernels.hpp"
#include "tests/golden/golden.hpp"

#include <cstdio>
#include <cstring>

namespace {

namespace fft = zavo::fft;
namespace random = zavo::random;

// Each set of instructions for the deviates, which has the most of them, and what the
// transforms do on a processor that has no better one.
fft::Path transforms_of(const char* set)
{
    return std::strcmp(set, "avx512") == 0 ? fft::Path::avx512
           : std::strcmp(set, "avx2") == 0 ? fft::Path::avx2
                                           : fft::Path::scalar;
}

void print_paths()
{
    for (int i = 0; random::available_kernels(i) != nullptr; ++i) {
        std::puts(random::available_kernels(i)->name);
    }
}

bool go(const char* path)
{
    for (int i = 0; random::available_kernels(i) != nullptr; ++i) {
        if (std::strcmp(random::available_kernels(i)->name, path) == 0) {
            random::use_kernels(random::available_kernels(i));
            fft::limit_path(transforms_of(path));
            return fft::path_in_use() == transforms_of(path);
        }
    }
    return false;
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
    if (argc == 4 && !go(argv[3])) {
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

// zavo_golden <family> <file>: writes the family's result bits into the file.
// Without arguments it prints the names of the families, one a line.
#include "tests/golden/golden.hpp"

#include <cstdio>
#include <cstring>

int main(int argc, char** argv)
{
    using zavo::golden::Family;
    if (argc == 1) {
        for (const Family* family = Family::first; family != nullptr; family = family->next) {
            std::puts(family->name);
        }
        return 0;
    }
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s ?family file?\n", argv[0]);
        return 2;
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

// Prints result bits for the comparison between targets; see README.md here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace zavo::golden {

class Output {
public:
    explicit Output(std::FILE* file) : file_(file) {}

    template <class T>
    void value(const char* name, T value)
    {
        values(name, &value, 1);
    }

    template <class T>
    void values(const char* name, const T* array, std::size_t n)
    {
        std::fprintf(file_, "%s %s %lu", name, type_name(array), static_cast<unsigned long>(n));
        for (std::size_t i = 0; i < n; ++i) {
            std::fputs(i % per_line == 0 ? "\n  " : " ", file_);
            print_bits(array[i]);
        }
        std::fputc('\n', file_);
    }

    // Hash of a long array: FNV-1a, 32 bits, over its bytes.
    template <class T>
    void digest(const char* name, const T* array, std::size_t n)
    {
        std::uint32_t hash = 2166136261U;
        const auto* bytes = reinterpret_cast<const unsigned char*>(array);
        for (std::size_t i = 0; i < n * sizeof(T); ++i) {
            hash = (hash ^ bytes[i]) * 16777619U;
        }
        std::fprintf(file_, "%s %s %lu digest %08lx\n", name, type_name(array), static_cast<unsigned long>(n),
                     static_cast<unsigned long>(hash));
    }

    void text(const char* name, const char* text) { std::fprintf(file_, "%s text {%s}\n", name, text); }

private:
    static constexpr std::size_t per_line = 8;

    static const char* type_name(const float*) { return "float"; }
    static const char* type_name(const double*) { return "double"; }
    static const char* type_name(const int*) { return "int"; }

    void print_bits(float value)
    {
        std::uint32_t bits;
        std::memcpy(&bits, &value, sizeof bits);
        std::fprintf(file_, "%08lx", static_cast<unsigned long>(bits));
    }
    void print_bits(double value)
    {
        std::uint64_t bits;
        std::memcpy(&bits, &value, sizeof bits);
        std::fprintf(file_, "%08lx%08lx", static_cast<unsigned long>(bits >> 32),
                     static_cast<unsigned long>(bits & 0xffffffffU));
    }
    void print_bits(int value) { std::fprintf(file_, "%d", value); }

    std::FILE* file_;
};

using Writer = void(Output& out);

// Links a family into the list that the main program searches.
struct Family {
    Family(const char* family_name, Writer* family_writer)
        : name(family_name), writer(family_writer), next(first)
    {
        first = this;
    }
    const char* name;
    Writer* writer;
    Family* next;
    static inline Family* first = nullptr;
};

} // namespace zavo::golden

#define GOLDEN(family)                                                                                       \
    static void golden_write_##family(zavo::golden::Output& out);                                            \
    static const zavo::golden::Family golden_family_##family{#family, golden_write_##family};                \
    static void golden_write_##family(zavo::golden::Output& out)

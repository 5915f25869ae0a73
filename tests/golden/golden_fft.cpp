// Parameter tables, complex transforms, padded convolution and its spectrum.
#include "core/zavo.h"
#include "tests/golden/golden.hpp"

#include <cstdlib>
#include <string>
#include <vector>

namespace {

using zavo::golden::Output;

// Exact in floats, so the same everywhere.
std::vector<float> numbers(std::size_t n, std::uint32_t state)
{
    std::vector<float> values(n);
    for (float& value : values) {
        state = state * 1664525U + 1013904223U;
        value = static_cast<float>(static_cast<int>(state >> 12) - (1 << 19)) / 4096.0F;
    }
    return values;
}

void write_tables(Output& out)
{
    for (const int n : {2, 12, 30, 64, 77, 1000}) {
        const std::string name = std::to_string(n);
        float* const real = zavo_f_fft_real_init(n);
        float* const complex = zavo_c_fft_complex_init(n);
        out.values(("real-table-" + name).c_str(), real, 2 * static_cast<std::size_t>(n) + 15);
        out.digest(("complex-table-" + name).c_str(), complex, 4 * static_cast<std::size_t>(n) + 15);
        std::free(real);
        std::free(complex);
    }
    for (const int n : {65536, 100000, 1 << 20}) {
        float* const table = zavo_f_fft_real_init(n);
        out.digest(("real-table-" + std::to_string(n)).c_str(), table, 2 * static_cast<std::size_t>(n) + 15);
        std::free(table);
    }
}

void write_complex(Output& out)
{
    for (const int n : {1, 2, 3, 4, 5, 6, 7, 8, 12, 15, 30, 49, 256, 1000, 1009, 4096, 12000}) {
        const auto z = numbers(2 * static_cast<std::size_t>(n), 5);
        const auto* const p = reinterpret_cast<const f_complex*>(z.data());
        for (const int option : {0, static_cast<int>(ZAVO_BACKWARD)}) {
            f_complex* const r = zavo_c_fft_complex(n, p, option, 0);
            const std::string name = (option == 0 ? "complex-" : "complex-back-") + std::to_string(n);
            if (n <= 49) {
                out.values(name.c_str(), reinterpret_cast<const float*>(r), z.size());
            } else {
                out.digest(name.c_str(), reinterpret_cast<const float*>(r), z.size());
            }
            std::free(r);
        }
    }
}

void write_convolution(Output& out)
{
    const auto x = numbers(40, 1), y = numbers(50, 2);
    for (const int option : {0, static_cast<int>(ZAVO_CORRELATE)}) {
        int nz = 0;
        float* zhat = nullptr;
        float* const z = zavo_f_convolution(40, x.data(), 50, y.data(), &nz, ZAVO_Z_TRANS, &zhat, option, 0);
        const std::string name = option == 0 ? "padded-convolution" : "padded-correlation";
        out.values(name.c_str(), z, static_cast<std::size_t>(nz));
        out.values((name + "-spectrum").c_str(), zhat, static_cast<std::size_t>(nz));
        std::free(z);
        std::free(zhat);
    }
    for (const int n : {1, 6, 7, 11, 17, 100, 1000, 12345, 99999, 1000003}) {
        const auto a = numbers(static_cast<std::size_t>(n), 3);
        const float one = 1.0F;
        int nz = 0;
        float* const z = zavo_f_convolution(n, a.data(), 1, &one, &nz, 0);
        out.value(("padded-length-" + std::to_string(n)).c_str(), nz);
        std::free(z);
    }
}

} // namespace

GOLDEN(fft)
{
    write_tables(out);
    write_complex(out);
    write_convolution(out);
}

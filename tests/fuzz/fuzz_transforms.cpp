// The transforms by every path that the processor offers against the scalar one:
// lengths that are products of any factors, arrays that begin anywhere on a line
// of the cache, in place, apart or overlapping by some places, values of any size. Bits
// must be the same.

#include "core/simd/path.hpp"
#include "core/zavo.h"
#include "fft/complex_fft.h"
#include "fft/real_fft.h"
#include "fft/transforms.hpp"
#include "tests/fuzz/bytes.hpp"

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

using zavo::fuzz::Bytes;
using zavo::fuzz::require;
using zavo::simd::limit_path;
using zavo::simd::Path;
using namespace zavo::fft;

constexpr int longest = 4096;

int largest_prime(int n)
{
    int largest = 1;
    for (int d = 2; n > 1; ++d) {
        for (; n % d == 0; n /= d) {
            largest = d;
        }
    }
    return largest;
}

// One input in 256 may have any length. The others have one whose transform is quick: its
// time grows with the largest prime factor.
int any_length(Bytes& in)
{
    constexpr int quick = 1 << 15;
    static constexpr int factors[] = {2, 3, 4, 5, 7, 8, 11, 13, 16, 17, 23, 32, 64, 97, 128, 251};
    const std::uint8_t way = in.byte();
    int n = 1;
    if (way % 4 == 0) {
        n = 1 + in.below(longest);
    } else {
        for (int i = 0; i < way % 8; ++i) {
            const int factor = factors[in.byte() % 16];
            n = n * factor <= longest ? n * factor : n;
        }
    }
    while (way != 0 && n * largest_prime(n) > quick) {
        --n;
    }
    return n;
}

struct Case {
    bool complex;
    bool backward;
    bool in_place;
    bool overlapping; // where the offsets differ
    int n;
    int p_offset; // floats
    int q_offset;
    const std::vector<float>& values;
    const float* table;

    int floats() const { return complex ? 2 * n : n; }
};

std::vector<float> by_path(Path path, const Case& c)
{
    limit_path(path);
    constexpr float guard = -77.0F;
    const auto size = static_cast<std::size_t>(c.floats());
    std::vector<float> p(size + 32, guard);
    std::vector<float> q(size + 32, guard);
    std::copy(c.values.begin(), c.values.end(), p.begin() + c.p_offset);
    const float* const from = p.data() + c.p_offset;
    std::vector<float>& written = c.in_place || c.overlapping ? p : q;
    const int offset = c.in_place ? c.p_offset : c.q_offset;
    float* const to = written.data() + offset;
    if (c.complex) {
        const auto* const source = reinterpret_cast<const f_complex*>(from);
        auto* const target = reinterpret_cast<f_complex*>(to);
        f_complex* const result =
            c.backward ? zavo_c_fft_complex(c.n, source, ZAVO_BACKWARD, ZAVO_PARAMS, c.table,
                                            ZAVO_RETURN_USER, target, 0)
                       : zavo_c_fft_complex(c.n, source, ZAVO_PARAMS, c.table, ZAVO_RETURN_USER, target, 0);
        require(result == target);
    } else {
        float* const result =
            c.backward
                ? zavo_f_fft_real(c.n, from, ZAVO_BACKWARD, ZAVO_PARAMS, c.table, ZAVO_RETURN_USER, to, 0)
                : zavo_f_fft_real(c.n, from, ZAVO_PARAMS, c.table, ZAVO_RETURN_USER, to, 0);
        require(result == to);
    }
    const bool apart = &written == &q;
    // What of p the result does not cover stays as it was.
    std::vector<float> expected(size + 32, guard);
    if (!apart) {
        std::copy(c.values.begin(), c.values.end(), expected.begin() + c.p_offset);
    }
    const auto end = static_cast<std::size_t>(offset + c.floats());
    const auto start = static_cast<std::size_t>(offset);
    require(std::memcmp(written.data(), expected.data(), start * sizeof(float)) == 0);
    require(std::memcmp(written.data() + end, expected.data() + end,
                        (written.size() - end) * sizeof(float)) == 0);
    require(!apart || std::memcmp(from, c.values.data(), size * sizeof(float)) == 0);
    limit_path(zavo::simd::widest_path);
    return {written.begin() + offset, written.begin() + offset + c.floats()};
}

// The same bits; any NaN is as good as another.
bool same(const std::vector<float>& a, const std::vector<float>& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), [](float x, float y) {
        return std::memcmp(&x, &y, sizeof x) == 0 || (x != x && y != y);
    });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Bytes in(data, size);
    const std::uint8_t kind = in.byte();
    const bool complex = (kind & 1U) != 0;
    const int n = any_length(in);
    if (n == 1) {
        return 0; // has no table, and no path but one
    }
    const int p_offset = in.byte() % 16;
    const int q_offset = in.byte() % 16;
    std::vector<float> values = in.numbers(std::min(complex ? 2 * n : n, 256));
    for (int i = static_cast<int>(values.size()); i < (complex ? 2 * n : n); ++i) {
        values.push_back(static_cast<float>(i * 37 % 101) - 50.0F);
    }
    float* const table = complex ? zavo_c_fft_complex_init(n) : zavo_f_fft_real_init(n);
    require(table != nullptr);
    const Case each{
        complex, (kind & 2U) != 0, (kind & 4U) != 0, (kind & 8U) != 0, n, p_offset, q_offset, values, table};
    const std::vector<float> expected = by_path(Path::scalar, each);
    for (const Path path : zavo::simd::all_paths) {
        if (zavo::simd::has_path(path)) {
            require(same(by_path(path, each), expected));
        }
    }
    std::free(table);
    return 0;
}

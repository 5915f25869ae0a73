// Every code path gives the bits of the scalar one.

#include "core/zavo.h"
#include "fft/transforms.hpp"
#include "fft/twiddle.hpp"
#include "tests/unit/fft/reference.hpp"

#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>

namespace {

using namespace zavo::fft;
using zavo::test::noise;

struct Free {
    void operator()(void* p) const { std::free(p); }
};
using Table = std::unique_ptr<float, Free>;

class LimitedPath {
public:
    explicit LimitedPath(Path path) { limit_path(path); }
    ~LimitedPath() { limit_path(Path::avx512); }
    LimitedPath(const LimitedPath&) = delete;
    LimitedPath& operator=(const LimitedPath&) = delete;
};

std::vector<Path> wide_paths()
{
    std::vector<Path> paths;
    for (const Path path : {Path::avx2, Path::avx512}) {
        if (path <= best_path()) {
            paths.push_back(path);
        }
    }
    return paths;
}

bool same_bits(const std::vector<float>& a, const std::vector<float>& b)
{
    return std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

// One transform by one path, between guards that it must leave alone.
using Transform = void (*)(Direction, Index, const float*, float*, float*);
std::vector<float> by_path(Path path, Transform transform, Direction d, int n, const std::vector<float>& x,
                           float* table, bool in_place)
{
    const LimitedPath limited{path};
    const std::size_t size = x.size();
    std::vector<float> q(size + 32, 12345.0F);
    float* const result = q.data() + 16;
    if (in_place) {
        std::copy(x.begin(), x.end(), result);
    }
    transform(d, n, in_place ? result : x.data(), result, table);
    for (std::size_t i = 0; i < 16; ++i) {
        EXPECT_EQ(q[i], 12345.0F) << n;
        EXPECT_EQ(q[size + 16 + i], 12345.0F) << n;
    }
    return {result, result + size};
}

void expect_same_bits(int n)
{
    const Table tables[] = {Table{zavo_f_fft_real_init(n)}, Table{zavo_c_fft_complex_init(n)}};
    const Transform transforms[] = {transform_real, transform_complex};
    for (int kind = 0; kind < 2; ++kind) {
        const auto x = noise((kind + 1) * n, static_cast<std::uint64_t>(n));
        float* const table = tables[kind].get();
        for (const Direction d : {Direction::forward, Direction::backward}) {
            const auto expected = by_path(Path::scalar, transforms[kind], d, n, x, table, false);
            for (const Path path : wide_paths()) {
                for (const bool in_place : {false, true}) {
                    EXPECT_TRUE(
                        same_bits(by_path(path, transforms[kind], d, n, x, table, in_place), expected))
                        << "n " << n << " complex " << kind << " forward " << (d == Direction::forward)
                        << " path " << static_cast<int>(path) << " in place " << in_place;
                }
            }
        }
    }
}

TEST(simd, every_path_gives_the_scalar_bits_up_to_2048)
{
    for (int n = 1; n <= 2048; ++n) {
        expect_same_bits(n);
    }
}

TEST(simd, every_path_gives_the_scalar_bits_for_a_sample_up_to_a_million)
{
    for (const int n :
         {2187,   3000,   3125,   4096,   5000,   6561,       7 * 1024, 8192,    10007,  11 * 13 * 17,
          12000,  16384,  15625,  30030,  32768,  3 * 16384,  65536,    78125,   100000, 101 * 1024,
          131072, 177147, 200000, 262144, 390625, 3 * 131072, 500000,   1000000, 1 << 20}) {
        expect_same_bits(n);
    }
}

} // namespace

// Every code path gives the bits of the scalar one.

#include "core/system/memory.hpp"
#include "core/zavo.h"
#include "fft/tables/twiddle.hpp"
#include "fft/transforms.hpp"
#include "tests/support/covered_paths.hpp"
#include "tests/unit/fft/reference.hpp"

#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace {

using namespace zavo::fft;
using zavo::test::noise;

struct Free {
    void operator()(void* p) const { std::free(p); }
};
using Table = std::unique_ptr<float, Free>;

using zavo::simd::Path;
using zavo::test::LimitedPath;

#if defined(ZAVO_ARM_PATHS)
constexpr Path paths_of_transforms[] = {Path::scalar, Path::neon};
#else
constexpr Path paths_of_transforms[] = {Path::scalar, Path::avx2, Path::avx512};
#endif
const auto* const environment = zavo::test::cover_paths(paths_of_transforms);

std::vector<Path> wide_paths()
{
    std::vector<Path> paths;
    for (const Path path : paths_of_transforms) {
        if (path != Path::scalar && zavo::simd::has_path(path)) {
            paths.push_back(path);
        }
    }
    return paths;
}

std::vector<Path> paths_here()
{
    std::vector<Path> paths = wide_paths();
    paths.push_back(Path::scalar);
    return paths;
}

bool same_bits(const std::vector<float>& a, const std::vector<float>& b)
{
    return a.size() == b.size() &&
           (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0);
}

// Where a transform finds its input and leaves its result.
enum class Place { on_a_line, off_a_line, over_the_input };
constexpr Place places[] = {Place::on_a_line, Place::off_a_line, Place::over_the_input};

// One transform by one path, between guards that it must leave alone.
using Transform = void (*)(Direction, Index, const float*, float*, float*);
std::vector<float> by_path(Path path, Transform transform, Direction d, int n, const std::vector<float>& x,
                           float* table, Place place)
{
    const LimitedPath limited{path};
    constexpr std::size_t line = 16; // floats of a line of the cache
    const std::size_t size = x.size();
    std::vector<float> q(size + 4 * line, 12345.0F);
    const std::size_t past_line = reinterpret_cast<std::uintptr_t>(q.data()) / sizeof(float) % line;
    const std::size_t start = 2 * line - past_line + (place == Place::off_a_line ? 1 : 0);
    float* const result = q.data() + start;
    const bool in_place = place == Place::over_the_input;
    if (in_place) {
        std::copy(x.begin(), x.end(), result);
    }
    transform(d, n, in_place ? result : x.data(), result, table);
    for (std::size_t i = 0; i < q.size(); ++i) {
        if (i == start) {
            i += size;
        }
        EXPECT_EQ(q[i], 12345.0F) << n;
    }
    return {result, result + size};
}

// What a transform may not change of its table: all behind the scratch.
std::vector<float> kept_part(int n, int kind, const float* table)
{
    const int parts = kind + 1;
    return table == nullptr ? std::vector<float>{}
                            : std::vector<float>{table + parts * n, table + 2 * parts * n + 15};
}

// As l_f2tcf has it: with an array for work.
void transform_complex_values(Direction d, Index n, const float* p, float* q, float* table)
{
    std::vector<float> work(static_cast<std::size_t>(2 * n));
    transform_complex(d, n, p, q, table, work.data());
}
constexpr Transform transforms[] = {transform_real, transform_complex_values};

using Tables = std::array<Table, 2>; // real, complex
Tables tables_of(int n)
{
    return {Table{zavo_f_fft_real_init(n)}, Table{zavo_c_fft_complex_init(n)}};
}

// values(kind) makes the input: n values for kind 0, real, and 2 n for kind 1, complex.
template <class Values>
void expect_same_bits(int n, const Tables& tables, const Values& values)
{
    for (int kind = 0; kind < 2; ++kind) {
        const std::vector<float> x = values(kind);
        float* const table = tables[static_cast<std::size_t>(kind)].get();
        const std::vector<float> kept = kept_part(n, kind, table);
        for (const Direction d : {Direction::forward, Direction::backward}) {
            const auto expected = by_path(Path::scalar, transforms[kind], d, n, x, table, Place::on_a_line);
            for (const Path path : wide_paths()) {
                for (const Place place : places) {
                    EXPECT_TRUE(same_bits(by_path(path, transforms[kind], d, n, x, table, place), expected))
                        << "n " << n << " complex " << kind << " forward " << (d == Direction::forward)
                        << " path " << static_cast<int>(path) << " place " << static_cast<int>(place);
                }
            }
        }
        EXPECT_TRUE(same_bits(kept_part(n, kind, table), kept)) << "n " << n << " complex " << kind;
    }
}

template <class Values>
void expect_same_bits(int n, const Values& values)
{
    expect_same_bits(n, tables_of(n), values);
}

void expect_same_bits(int n)
{
    expect_same_bits(n, [&](int kind) { return noise((kind + 1) * n, static_cast<std::uint64_t>(n)); });
}

// From one length to the next, where all could be tried.
#if defined(__SANITIZE_ADDRESS__) || defined(ZAVO_EMULATED)
constexpr int next_length = 7; // the same code, many times slower
#else
constexpr int next_length = 1;
#endif

TEST(simd, every_path_gives_the_scalar_bits_up_to_2048)
{
    for (int n = 1; n <= 2048; n += next_length) {
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

// Such lengths take their rotations in the order of powers of a primitive root, the longest
// by look-ups.
TEST(simd, large_prime_factors_have_the_scalar_bits)
{
    for (const int n : {2 * 2053, 4099, 5 * 1021, 10289, 10301}) {
        expect_same_bits(n);
    }
}

// Rows of V transforms keep the sums of factors to 1025 in registers.
TEST(simd, rows_with_large_prime_factors_have_the_scalar_bits)
{
    for (const int n : {9 * 167, 12 * 1021, 16 * 1021, 8 * 1031, 12 * 1033}) {
        expect_same_bits(n);
    }
}

// A slab that is longer than a radix above 1025 goes one value at a time.
TEST(simd, two_large_prime_factors_have_the_scalar_bits)
{
    constexpr int n = 1031 * 1033;
    const Tables tables = tables_of(n);
    const auto x = noise(n, 1);
    const auto run = [&](Path path) {
        return by_path(path, transforms[0], Direction::forward, n, x, tables[0].get(), Place::on_a_line);
    };
    const auto expected = run(Path::scalar);
    for (const Path path : wide_paths()) {
        EXPECT_TRUE(same_bits(run(path), expected)) << name_of(path);
    }
}

TEST(simd, powers_of_two_with_code_of_their_own_have_the_scalar_bits)
{
    for (int n = 32; n <= 8192; n *= 2) {
        expect_same_bits(n);
    }
}

// That fast code exists does not mean that it runs.
TEST(simd, lengths_with_code_of_their_own_take_it)
{
    for (const Path path : wide_paths()) {
        const LimitedPath limited{path};
        int known = 0;
        for (int n = 2; n <= 8192; n *= 2) {
            const Tables tables = tables_of(n);
            known += way_of_real(n, tables[0].get()) == Way::known;
            known += way_of_complex(n, tables[1].get()) == Way::known;
        }
        // 8 to 4096; NEON has real ones from 64 on and complex ones from 16 on.
        const bool has_all = path != Path::neon;
        EXPECT_EQ(known, has_all ? 10 + 10 : 7 + 9);
        for (const int n : has_all ? std::vector{48, 96, 120, 240} : std::vector<int>{}) {
            const Tables tables = tables_of(n);
            EXPECT_EQ(way_of_real(n, tables[0].get()), Way::known) << n;
            EXPECT_EQ(way_of_complex(n, tables[1].get()), Way::known) << n;
        }
        for (const int n : has_all ? std::vector{14, 42} : std::vector<int>{}) {
            EXPECT_EQ(way_of_real(n, tables_of(n)[0].get()), Way::known) << n;
        }
        for (const int n : {100, 1000, 12000, 65536, 78125}) {
            const Tables tables = tables_of(n);
            EXPECT_EQ(way_of_real(n, tables[0].get()), Way::found) << n;
            EXPECT_EQ(way_of_complex(n, tables[1].get()), Way::found) << n;
        }
        const Tables one = tables_of(1);
        EXPECT_EQ(way_of_real(1, one[0].get()), Way::scalar);
        EXPECT_EQ(way_of_complex(1, one[1].get()), Way::scalar);
        const Tables prime = tables_of(1009);
        EXPECT_EQ(way_of_real(1009, prime[0].get()), Way::scalar);
        EXPECT_EQ(way_of_complex(1009, prime[1].get()), Way::scalar);
    }
}

// Without an array for work the bits are the same.
TEST(simd, complex_transforms_without_an_array_for_work_have_the_scalar_bits)
{
    for (const int n : {64, 1000, 3125, 6561, 11 * 13 * 17, 78125}) {
        const Tables tables = tables_of(n);
        const auto x = noise(2 * n, 6);
        const Transform without = [](Direction d, Index count, const float* p, float* q, float* table) {
            transform_complex(d, count, p, q, table, nullptr);
        };
        for (const Direction d : {Direction::forward, Direction::backward}) {
            float* const table = tables[1].get();
            const auto expected = by_path(Path::scalar, without, d, n, x, table, Place::on_a_line);
            for (const Path path : wide_paths()) {
                EXPECT_TRUE(same_bits(by_path(path, without, d, n, x, table, Place::on_a_line), expected))
                    << n;
            }
        }
    }
}

// A record may list the factors otherwise than the table's builder does; what is made
// for the usual list may not be used then.
TEST(simd, every_path_goes_by_the_record)
{
    const std::vector<std::vector<int>> lists = {
        {2, 2, 4, 4, 4},    {4, 4, 4, 4, 2}, {4, 4, 2, 2, 4, 4}, {4, 4, 4, 4, 4, 2}, {2, 4, 4, 4, 4, 4, 2},
        {4, 4, 4, 4, 2, 2}, {4, 2},          {2, 2, 2},          {2, 2, 4},          {2, 2, 4, 3},
        {2, 4, 2, 2, 3},    {4, 2, 3, 5},    {2, 4, 2, 3, 5}};
    for (const auto& list : lists) {
        int n = 1;
        for (const int ip : list) {
            n *= ip;
        }
        const Tables tables = tables_of(n);
        for (int kind = 0; kind < 2; ++kind) {
            float* const record = tables[static_cast<std::size_t>(kind)].get() + 2 * (kind + 1) * n;
            record[1] = static_cast<float>(list.size());
            std::copy(list.begin(), list.end(), record + 2);
        }
        expect_same_bits(n, tables, [&](int kind) { return noise((kind + 1) * n, 7); });
    }
}

// A product with a cosine of 1 and a sine of 0 can turn a negative zero.
TEST(simd, zeros_of_both_signs_keep_theirs)
{
    for (const int n : {14, 42,  8,   16,  32,  36,  48,  60,   64,   96,   120, 240,
                        75, 128, 250, 256, 343, 405, 512, 1000, 1024, 1792, 4096}) {
        for (const unsigned mask : {1U, 2U, 3U, 5U, 7U}) {
            expect_same_bits(n, [&](int kind) {
                std::vector<float> x(static_cast<std::size_t>((kind + 1) * n));
                for (std::size_t i = 0; i < x.size(); ++i) {
                    x[i] = std::popcount(static_cast<unsigned>(i) & mask) % 2 == 0 ? -0.0F : 0.0F;
                }
                return x;
            });
        }
    }
}

// Nothing is asked for: table, result and the array for work are all that a transform uses.
TEST(simd, transforms_allocate_nothing)
{
    std::vector<int> lengths = {5000,   6561,   8192,   10007,   16384,  15625,   30030,
                                32768,  65536,  78125,  100000,  177147, 262144,  390625,
                                500000, 531441, 823543, 1 << 19, 786432, 1000000, 1 << 20};
    for (int n = 1; n <= 4096; n += next_length) {
        lengths.push_back(n);
    }
    for (const int n : lengths) {
        const Tables tables = tables_of(n);
        std::vector<float> x = noise(2 * n, 1), y(x.size()), work(x.size());
        zavo_fail_allocation(0);
        for (const Direction d : {Direction::forward, Direction::backward}) {
            for (float* const q : {x.data(), y.data()}) {
                transform_real(d, n, x.data(), q, tables[0].get());
                transform_complex(d, n, x.data(), q, tables[1].get(), work.data());
            }
        }
        EXPECT_EQ(zavo_allocation_count(), 0) << n;
    }
}

// p and q that overlap in part: p is read as it was before the call.
TEST(simd, overlapping_arrays_give_the_results_of_disjoint_ones)
{
    for (const int n :
         {1, 2, 7, 8, 16, 30, 48, 64, 96, 100, 120, 240, 256, 1000, 1001, 1009, 4096, 5000, 65536}) {
        const Tables tables = tables_of(n);
        for (int kind = 0; kind < 2; ++kind) {
            const int count = (kind + 1) * n;
            const auto x = noise(count, 11);
            float* const table = tables[static_cast<std::size_t>(kind)].get();
            for (const Direction d : {Direction::forward, Direction::backward}) {
                const auto expected =
                    by_path(Path::scalar, transforms[kind], d, n, x, table, Place::on_a_line);
                for (const int shift : {1, kind + 1, count / 3 + 1, count - 1}) {
                    for (const Path path : paths_here()) {
                        const LimitedPath limited{path};
                        std::vector<float> array(static_cast<std::size_t>(count + shift));
                        const auto run = [&](std::ptrdiff_t from, std::ptrdiff_t to) {
                            std::copy(x.begin(), x.end(), array.begin() + from);
                            transforms[kind](d, n, array.data() + from, array.data() + to, table);
                            const auto start = array.begin() + to;
                            EXPECT_TRUE(same_bits({start, start + count}, expected))
                                << n << " complex " << kind << " from " << from << " to " << to;
                        };
                        run(0, shift);
                        run(shift, 0);
                    }
                }
            }
        }
    }
}

TEST(simd, products_of_spectra_and_divisions_have_the_scalar_bits)
{
    for (int n = 1; n <= 200; ++n) {
        const auto x = noise(n, 1), y = noise(n, 2);
        for (const Product kind : {Product::convolution, Product::correlation}) {
            const auto product = [&](Path path) {
                const LimitedPath limited{path};
                std::vector<float> z(x.size());
                multiply_spectra(kind, n, x.data(), y.data(), z.data());
                divide(n, z.data(), 3.7F);
                return z;
            };
            for (const Path path : wide_paths()) {
                EXPECT_TRUE(same_bits(product(path), product(Path::scalar))) << n;
            }
        }
    }
}

// As in convolution: the product may take the place of either factor.
TEST(simd, products_of_spectra_may_take_the_place_of_a_factor)
{
    for (const Path path : zavo::simd::all_paths) {
        const LimitedPath limited{path};
        for (const int n : {3, 5, 8, 31, 100}) {
            const auto x = noise(n, 1), y = noise(n, 2);
            for (const Product kind : {Product::convolution, Product::correlation}) {
                auto apart = x, in_x = x, in_y = y;
                multiply_spectra(kind, n, x.data(), y.data(), apart.data());
                multiply_spectra(kind, n, in_x.data(), y.data(), in_x.data());
                multiply_spectra(kind, n, x.data(), in_y.data(), in_y.data());
                EXPECT_TRUE(same_bits(in_x, apart)) << n << " " << zavo::simd::name_of(path);
                EXPECT_TRUE(same_bits(in_y, apart)) << n << " " << zavo::simd::name_of(path);
            }
        }
    }
}

TEST(simd, matrices_have_the_scalar_bits)
{
    for (const int m : {1, 2, 3, 7, 8, 9, 16, 25, 29, 60, 64}) {
        for (const int n : {1, 2, 5, 16, 17, 33, 64, 100}) {
            const auto p = noise(2 * m * n, 3);
            for (const int direction : {0, static_cast<int>(ZAVO_BACKWARD)}) {
                const auto transformed = [&](Path path) {
                    const LimitedPath limited{path};
                    std::vector<float> q(p.size());
                    zavo_c_fft_2d_complex(m, n, reinterpret_cast<const f_complex*>(p.data()),
                                          ZAVO_RETURN_USER, reinterpret_cast<f_complex*>(q.data()), direction,
                                          0);
                    return q;
                };
                for (const Path path : wide_paths()) {
                    EXPECT_TRUE(same_bits(transformed(path), transformed(Path::scalar))) << m << ' ' << n;
                }
            }
        }
    }
}

// Angles of every table of small lengths, and of some long ones. The reference is
// long double, whose error of 2^-64 settles a float except within that of the
// middle between two; a difference of one unit there would be no error, and the
// number of them is bounded instead.
TEST(simd, twiddles_are_the_floats_of_exact_cosines_and_sines_by_every_path)
{
    const std::vector<Path> paths = paths_here();
    long differing = 0, values = 0;
    const auto check = [&](int n, int l1, int count) {
        const float step = static_cast<float>(l1) * (6.2831855F / static_cast<float>(n));
        std::vector<float> first(static_cast<std::size_t>(2 * count));
        for (std::size_t k = 0; k < paths.size(); ++k) {
            const LimitedPath limited{paths[k]};
            std::vector<float> found(first.size());
            fill_cos_sin(step, 1, count, found.data());
            if (k == 0) {
                first = found;
            }
            EXPECT_TRUE(same_bits(found, first)) << n;
        }
        for (int t = 1; t <= count; ++t) {
            const long double angle = static_cast<long double>(t) * static_cast<long double>(step);
            const std::size_t at = static_cast<std::size_t>(2 * (t - 1));
            differing += first[at] != static_cast<float>(static_cast<double>(std::cos(angle)));
            differing += first[at + 1] != static_cast<float>(static_cast<double>(std::sin(angle)));
            values += 2;
        }
    };
    for (int n = 2; n <= 1500; ++n) {
        check(n, 1, n - 1);
    }
    for (const int n : {65536, 100000, 1 << 20}) {
        for (int l1 = 1; l1 < 100; l1 = 4 * l1 + 1) {
            check(n, l1, n / l1 - 1);
        }
    }
    EXPECT_LE(differing, 0) << "of " << values;
}

// A double that lies within a last place or two of the middle between two floats is made
// carefully; there is one in about ten million.
TEST(simd, twiddles_near_the_middle_between_two_floats_are_those_of_the_careful_way)
{
    const std::pair<float, int> in_doubt[] = {
        {0x1.91ab9ap-19F, 1033202}, {0x1.919d1cp-19F, 464727}, {0x1.917714p-19F, 1468481}};
    for (const Path path : paths_here()) {
        const LimitedPath limited{path};
        for (const auto& [step, t] : in_doubt) {
            for (const int before : {0, 1, 3}) {
                float pairs[22];
                fill_cos_sin(step, t - before, 11, pairs);
                const CosSin careful = cos_sin(t * static_cast<double>(step));
                EXPECT_EQ(pairs[2 * before], careful.cos) << t;
                EXPECT_EQ(pairs[2 * before + 1], careful.sin) << t;
            }
        }
    }
}

TEST(simd, rotations_of_slots_are_those_of_their_angle)
{
    for (int ip = 1; ip < 300; ++ip) {
        const CosSin found = rotation_of(ip);
        const CosSin wanted = cos_sin(static_cast<double>(static_cast<float>(6.283185307179586 / ip)));
        EXPECT_EQ(found.cos, wanted.cos) << ip;
        EXPECT_EQ(found.sin, wanted.sin) << ip;
    }
}

TEST(simd, careful_and_quick_twiddles_agree)
{
    const float step = 6.2831855F / 5000.0F;
    std::vector<float> quick(10000);
    fill_cos_sin(step, 0, 5000, quick.data());
    for (int t = 0; t < 5000; ++t) {
        const CosSin careful = cos_sin(t * static_cast<double>(step));
        EXPECT_EQ(quick[static_cast<std::size_t>(2 * t)], careful.cos) << t;
        EXPECT_EQ(quick[static_cast<std::size_t>(2 * t + 1)], careful.sin) << t;
    }
}

} // namespace

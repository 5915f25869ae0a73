#include "core/errors/error_stack.h"
#include "core/kernels/vector_kernels.h"
#include "core/system/memory.hpp"
#include "tests/support/captured_errors.hpp"

#include <gtest/gtest.h>

#include <bit>
#include <climits>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

using zavo::test::CapturedErrors;

// The three faces under one name, with values that tell every element apart.
template <class T>
struct Face;
template <>
struct Face<float> {
    static constexpr auto* call = M1RAN_F;
    static float value(int i) { return 0.5F + static_cast<float>(i); }
};
template <>
struct Face<f_complex> {
    static constexpr auto* call = M1RAN_C;
    static f_complex value(int i) { return {static_cast<float>(i), static_cast<float>(-i) - 0.25F}; }
};
template <>
struct Face<int> {
    static constexpr auto* call = M1RAN_I;
    static int value(int i) { return i * 7919; }
};

bool same(float a, float b)
{
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}
bool same(f_complex a, f_complex b)
{
    return same(a.re, b.re) && same(a.im, b.im);
}
bool same(int a, int b)
{
    return a == b;
}

enum class Road { distinct, copied, cycles };

// Transposes one matrix and compares every element with the definition.
template <class T>
void check(int nrow, int ncol, Road road)
{
    const int size = nrow * ncol;
    std::vector<T> a(static_cast<std::size_t>(size));
    for (int i = 0; i < size; ++i) {
        a[static_cast<std::size_t>(i)] = Face<T>::value(i);
    }
    const std::vector<T> before = a;
    std::vector<T> b(road == Road::distinct ? a.size() : 0);
    std::vector<T>& result = road == Road::distinct ? b : a;
    zavo_fail_allocation(road == Road::cycles ? 1 : 0);
    Face<T>::call(nrow, ncol, a.data(), result.data());
    const long allocations = zavo_allocation_count();
    zavo_fail_allocation(0);
    ASSERT_EQ(zavo_error_code(1), 0) << nrow << " x " << ncol;
    EXPECT_EQ(allocations, road == Road::distinct || nrow == ncol ? 0 : 1) << nrow << " x " << ncol;
    int wrong = 0;
    for (int i = 0; i < nrow; ++i) {
        for (int j = 0; j < ncol; ++j) {
            wrong += same(result[static_cast<std::size_t>(i + nrow * j)],
                          before[static_cast<std::size_t>(j + ncol * i)])
                         ? 0
                         : 1;
        }
    }
    EXPECT_EQ(wrong, 0) << nrow << " x " << ncol << " road " << static_cast<int>(road);
    if (road == Road::distinct) {
        for (std::size_t i = 0; i < a.size(); ++i) {
            ASSERT_TRUE(same(a[i], before[i])) << "the input has changed";
        }
    }
}

template <class T>
class transpose : public testing::Test {
};
using Elements = testing::Types<float, f_complex, int>;
TYPED_TEST_SUITE(transpose, Elements);

TYPED_TEST(transpose, every_shape_up_to_forty_by_every_road)
{
    for (int nrow = 1; nrow <= 40; ++nrow) {
        for (int ncol = 1; ncol <= 40; ++ncol) {
            check<TypeParam>(nrow, ncol, Road::distinct);
            check<TypeParam>(nrow, ncol, Road::copied);
            check<TypeParam>(nrow, ncol, Road::cycles);
        }
    }
}

// Around the edges of tiles, long and thin, squares; nrow*ncol - 1 prime and with
// many small factors.
TYPED_TEST(transpose, larger_shapes_by_every_road)
{
    const int shapes[][2] = {{63, 65},    {64, 64},   {65, 127},  {128, 96},  {257, 129},
                             {1000, 37},  {37, 1000}, {2, 50000}, {50000, 2}, {1, 100000},
                             {100000, 1}, {211, 211}, {331, 97},  {512, 256}, {30030, 3}};
    for (const auto& shape : shapes) {
        check<TypeParam>(shape[0], shape[1], Road::distinct);
        check<TypeParam>(shape[0], shape[1], Road::copied);
        check<TypeParam>(shape[0], shape[1], Road::cycles);
    }
}

TYPED_TEST(transpose, bad_sizes_are_posted_and_change_nothing)
{
    CapturedErrors errors;
    TypeParam a[2] = {Face<TypeParam>::value(1), Face<TypeParam>::value(2)};
    TypeParam b[2] = {Face<TypeParam>::value(3), Face<TypeParam>::value(4)};
    const struct {
        int nrow;
        int ncol;
        const char* codes;
        int last;
        const char* parameter; // of the last error
    } rows[] = {{0, 2, "5/620", 620, "0"},
                {2, 0, "5/621", 621, "0"},
                {-4, -5, "5/620 5/621", 621, "-5"},
                {INT_MIN, 1, "5/620", 620, "-2147483648"}};
    for (const auto& row : rows) {
        errors.clear();
        Face<TypeParam>::call(row.nrow, row.ncol, a, b);
        EXPECT_EQ(errors.codes(), row.codes);
        EXPECT_EQ(errors.all()[0].routine, "M1RAN_F");
        EXPECT_EQ(errors.all()[0].type, ZAVO_TERMINAL);
        EXPECT_EQ(zavo_error_code(1), row.last);
        EXPECT_EQ(errors.expand("%(I1)"), row.parameter);
        EXPECT_TRUE(same(a[1], Face<TypeParam>::value(2)));
        EXPECT_TRUE(same(b[0], Face<TypeParam>::value(3)));
    }
    Face<TypeParam>::call(1, 2, a, b); // works after errors
    EXPECT_TRUE(same(b[0], a[0]) && same(b[1], a[1]));
}

TEST(transpose_example, two_by_three_in_its_own_array)
{
    float a[] = {1, 2, 3, 4, 5, 6};
    M1RAN_F(2, 3, a, a);
    EXPECT_EQ(std::vector<float>(a, a + 6), (std::vector<float>{1, 4, 2, 5, 3, 6}));
    zavo_fail_allocation(1);
    M1RAN_F(3, 2, a, a);
    zavo_fail_allocation(0);
    EXPECT_EQ(std::vector<float>(a, a + 6), (std::vector<float>{1, 2, 3, 4, 5, 6}));
}

// Nothing of the matrix is touched.
TEST(transpose_example, elements_beyond_an_int_are_refused_when_memory_is_short)
{
    float nothing = 1;
    zavo::test::CapturedErrors errors;
    zavo_fail_allocation(1);
    M1RAN_F(65536, 65537, &nothing, &nothing);
    zavo_fail_allocation(0);
    EXPECT_EQ(nothing, 1.0F);
    ASSERT_EQ(errors.all().size(), 1U);
    EXPECT_EQ(errors.last().routine, "M1RAN_F");
}

TEST(transpose_example, keeps_the_bits_of_signalling_nans)
{
    int pattern[] = {0x7F800001, static_cast<int>(0xFFC12345U), 1, static_cast<int>(0x80000000U), 0x7FFFFFFF,
                     2};
    int moved[6];
    float a[6];
    float b[6];
    static_assert(sizeof pattern == sizeof a);
    std::memcpy(a, pattern, sizeof a);
    M1RAN_F(2, 3, a, b);
    std::memcpy(moved, b, sizeof b);
    EXPECT_EQ(std::vector<int>(moved, moved + 6),
              (std::vector<int>{pattern[0], pattern[3], pattern[1], pattern[4], pattern[2], pattern[5]}));
}

struct Factors {
    int count = -1;
    int primes[14]; // the last one of each is not the routine's
    int exponents[14];
    int powers[14];
    explicit Factors(int n)
    {
        for (int i = 0; i < 14; ++i) {
            primes[i] = exponents[i] = powers[i] = -1;
        }
        l_factor_int(n, &count, primes, exponents, powers);
    }
};

bool is_prime(int n)
{
    if (n < 2) {
        return false;
    }
    for (int d = 2; d <= n / d; ++d) {
        if (n % d == 0) {
            return false;
        }
    }
    return true;
}

void check_factors(int n)
{
    const Factors f(n);
    long long product = 1;
    for (int i = 0; i < 13; ++i) {
        if (i >= f.count) {
            EXPECT_EQ(f.primes[i] | f.exponents[i] | f.powers[i], 0) << n;
            continue;
        }
        EXPECT_TRUE(is_prime(f.primes[i])) << n;
        EXPECT_TRUE(i == 0 || f.primes[i] > f.primes[i - 1]) << n;
        long long power = 1;
        for (int e = 0; e < f.exponents[i]; ++e) {
            power *= f.primes[i];
        }
        EXPECT_GE(f.exponents[i], 1) << n;
        EXPECT_EQ(f.powers[i], power) << n;
        product *= power;
    }
    EXPECT_EQ(product, n < 0 ? -static_cast<long long>(n) : n) << n;
    EXPECT_EQ(f.primes[13] & f.exponents[13] & f.powers[13], -1) << n;
}

TEST(factor_int, products_of_prime_powers)
{
    for (int n = 2; n <= 5000; ++n) {
        check_factors(n);
        check_factors(-n);
    }
    for (const int n : {223092870, 1 << 30, INT_MAX, INT_MAX - 1, 46337 * 46337, 46337 * 46327, 1162261467}) {
        check_factors(n);
    }
}

TEST(factor_int, zero_and_one_have_no_primes)
{
    for (const int n : {0, 1, -1}) {
        EXPECT_EQ(Factors(n).count, 0);
        EXPECT_EQ(Factors(n).primes[0], 0);
    }
}

TEST(factor_int, the_smallest_integer_is_two_to_the_31)
{
    const Factors f(INT_MIN);
    EXPECT_EQ(f.count, 1);
    EXPECT_EQ(f.primes[0], 2);
    EXPECT_EQ(f.exponents[0], 31);
}

} // namespace

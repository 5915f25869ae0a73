// The functions of calc: their promised errors, their special values, and the same
// bits from every set of instructions.

#include "tests/support/covered_paths.hpp"
#include "zavox/engine.hpp"
#include "zavox/wide/kernels.hpp"

#include <bit>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

namespace {

using zavox::wide::Kernels;
using zavox::wide::Operation;
using enum zavox::wide::Operation;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

const auto* const environment = zavo::test::cover_paths(zavo::simd::all_paths);

const Kernels& kernels_of(zavo::simd::Path path)
{
    const zavo::test::LimitedPath limited{path};
    return zavox::wide::kernels();
}
const Kernels& base = kernels_of(zavo::simd::Path::scalar);

double apply(Operation operation, double x, double y = 0, double z = 0, const Kernels& set = base)
{
    double in[3][zavox::wide::granule];
    double out[zavox::wide::granule];
    for (int i = 0; i < zavox::wide::granule; ++i) {
        in[0][i] = x;
        in[1][i] = y;
        in[2][i] = z;
    }
    set.of[static_cast<int>(operation)][0](out, in[0], in[1], in[2], zavox::wide::granule);
    return out[0];
}

// Arguments of all sizes: doubles with exponents within +-`range` about 0.
class Arguments {
public:
    explicit Arguments(unsigned seed) : source_(seed) {}
    double any(int range)
    {
        const std::uint64_t word = source_();
        const auto exponent = static_cast<int>(word % static_cast<unsigned>(2 * range + 1)) - range;
        const double fraction = 1.0 + static_cast<double>(source_() >> 12) * 0x1p-52;
        return std::ldexp((word >> 63) != 0 ? -fraction : fraction, exponent);
    }
    double between(double low, double high)
    {
        return low + (high - low) * (static_cast<double>(source_() >> 11) * 0x1p-53);
    }

private:
    std::mt19937_64 source_;
};

double ulps(double value, long double exact)
{
    if (std::isnan(value) || std::isinf(value)) {
        const auto rounded = static_cast<double>(exact);
        return (std::isnan(value) && std::isnan(rounded)) || value == rounded ? 0 : infinity;
    }
    int exponent = 0;
    std::frexp(static_cast<double>(exact), &exponent);
    const long double unit = std::ldexp(1.0L, std::max(exponent - 53, -1074));
    return static_cast<double>(std::fabs(static_cast<long double>(value) - exact) / unit);
}

constexpr int trials = 40000;

template <class Exact, class Argument>
void expect_within(double bound, Operation operation, Exact exact, Argument argument)
{
    double worst = 0;
    double at = 0;
    for (int i = 0; i < trials; ++i) {
        const double x = argument(i);
        const double error = ulps(apply(operation, x), exact(static_cast<long double>(x)));
        if (error > worst) {
            worst = error;
            at = x;
        }
    }
    EXPECT_LE(worst, bound) << "at " << at;
}

// x of all sizes, and more of those of everyday sizes.
auto sizes(int range)
{
    return [=, arguments = Arguments(7)](int i) mutable {
        return i % 2 == 0 ? arguments.any(range) : arguments.any(3);
    };
}
auto interval(double low, double high)
{
    return [=, arguments = Arguments(8)](int) mutable { return arguments.between(low, high); };
}
template <class Inner>
auto positive(Inner inner)
{
    return [=](int i) mutable { return std::fabs(inner(i)); };
}

// The C library of Windows knows pi to 66 bits only, and not much of arcs near 1;
// these ask it for what it can. pi/2 in parts of 32 bits, whose products with whole
// numbers below 2^20 are exact.
struct Angle {
    long double rest;
    int quadrant;
};
Angle reduce(long double x)
{
    const long double k = std::round(x / 1.57079632679489661923L);
    const long double rest = ((x - k * 0x1.921fb544p+0L) - k * 0x42d18469p-64L) - k * 0x898cc517p-96L;
    return {rest - k * 0x01b839a2p-128L, static_cast<int>(static_cast<long long>(k) & 3)};
}
long double exact_sin(long double x, int shift = 0)
{
    const Angle angle = reduce(x);
    const int quadrant = (angle.quadrant + shift) & 3;
    const long double size = quadrant % 2 == 0 ? sinl(angle.rest) : cosl(angle.rest);
    return quadrant < 2 ? size : -size;
}
long double exact_cos(long double x)
{
    return exact_sin(x, 1);
}
long double other_leg(long double x)
{
    return sqrtl((1 - x) * (1 + x));
}

TEST(functions, sine_cosine_tangent)
{
    expect_within(
        2.5, sin_, [](long double x) { return exact_sin(x); }, sizes(19));
    expect_within(
        2.5, cos_, [](long double x) { return exact_cos(x); }, sizes(19));
    expect_within(
        3, tan_, [](long double x) { return exact_sin(x) / exact_cos(x); }, sizes(19));
    // about the multiples of pi/16, at the ends of the reduction and near zeros
    const auto near_sixteenths = [arguments = Arguments(14)](int i) mutable {
        const double middle = std::round(arguments.between(-4000, 4000)) * 0x1.921fb54442d18p-3;
        const double beside = i % 2 == 0 ? arguments.between(-0.1, 0.1) : 0;
        return static_cast<double>(static_cast<float>(middle + beside));
    };
    expect_within(
        2.5, sin_, [](long double x) { return exact_sin(x); }, near_sixteenths);
    expect_within(
        2.5, cos_, [](long double x) { return exact_cos(x); }, near_sixteenths);
    zavo::test::on_each_path([] {
        for (const double zero : {0.0, -0.0}) {
            EXPECT_EQ(apply(sin_, zero), 0);
            EXPECT_EQ(std::signbit(apply(sin_, zero)), std::signbit(zero));
        }
    });
}

// Beyond the reduction in three parts the engine's functions take over.
TEST(functions, large_angles)
{
    for (const double x : {0x1p20, 0x1.8p31, 0x1p100, -0x1p1000, 1e22}) {
        EXPECT_EQ(apply(sin_, x), zavox::engine().sin(x)) << x;
        EXPECT_EQ(apply(cos_, x), zavox::engine().cos(x)) << x;
        EXPECT_EQ(apply(tan_, x), zavox::engine().sin(x) / zavox::engine().cos(x)) << x;
    }
    for (const Operation operation : {sin_, cos_, tan_}) {
        EXPECT_TRUE(std::isnan(apply(operation, infinity)));
        EXPECT_TRUE(std::isnan(apply(operation, nan)));
    }
}

TEST(functions, exponential_and_logarithms)
{
    expect_within(
        1, exp_, [](long double x) { return expl(x); }, interval(-745, 709.7));
    expect_within(
        1, exp_, [](long double x) { return expl(x); }, sizes(9));
    expect_within(
        1, log_, [](long double x) { return logl(x); }, positive(sizes(1020)));
    expect_within(
        1, log_, [](long double x) { return logl(x); }, interval(0.9, 1.1));
    expect_within(
        1, log10_, [](long double x) { return log10l(x); }, positive(sizes(1020)));
    expect_within(
        1, log10_, [](long double x) { return log10l(x); }, interval(0.9, 1.1));
    EXPECT_EQ(apply(exp_, infinity), infinity);
    EXPECT_EQ(apply(exp_, -infinity), 0);
    EXPECT_EQ(apply(exp_, 800), infinity);
    EXPECT_EQ(apply(exp_, -800), 0);
    for (const Operation operation : {log_, log10_}) {
        EXPECT_EQ(apply(operation, 0), -infinity);
        EXPECT_EQ(apply(operation, infinity), infinity);
        EXPECT_TRUE(std::isnan(apply(operation, -1)));
        EXPECT_EQ(apply(operation, 1), 0);
    }
    EXPECT_LE(ulps(apply(log_, 0x1p-1074), logl(0x1p-1074L)), 1);
    double power = 1;
    for (int i = 0; i <= 22; ++i, power *= 10) {
        EXPECT_EQ(apply(log10_, power), i);
    }
}

TEST(functions, hyperbolic_functions_are_near_the_truth)
{
    expect_within(
        2, sinh_, [](long double x) { return sinhl(x); }, sizes(9));
    expect_within(
        2, cosh_, [](long double x) { return coshl(x); }, sizes(9));
    expect_within(
        3, tanh_, [](long double x) { return tanhl(x); }, sizes(9));
    EXPECT_EQ(apply(tanh_, -infinity), -1);
    EXPECT_EQ(apply(sinh_, -infinity), -infinity);
    EXPECT_EQ(apply(cosh_, -infinity), infinity);
    EXPECT_LT(apply(cosh_, 710.4), infinity);
}

TEST(functions, angles_are_near_the_truth)
{
    expect_within(
        2, atan_, [](long double x) { return atanl(x); }, sizes(1000));
    expect_within(
        3, asin_, [](long double x) { return atan2l(x, other_leg(x)); }, interval(-1, 1));
    expect_within(
        3, acos_, [](long double x) { return atan2l(other_leg(x), x); }, interval(-1, 1));
    expect_within(
        3, asin_, [](long double x) { return atan2l(x, other_leg(x)); }, interval(0.9999, 1));
    expect_within(
        3, acos_, [](long double x) { return atan2l(other_leg(x), x); }, interval(0.9999, 1));
    for (const Operation operation : {asin_, acos_}) {
        EXPECT_TRUE(std::isnan(apply(operation, 1.0000001)));
        EXPECT_TRUE(std::isnan(apply(operation, nan)));
    }
    Arguments arguments(3);
    double worst = 0;
    for (int i = 0; i < trials; ++i) {
        const double y = arguments.any(i % 2 == 0 ? 1000 : 2);
        const double x = arguments.any(i % 2 == 0 ? 1000 : 2);
        worst = std::fmax(worst, ulps(apply(atan2_, y, x), atan2l(y, x)));
    }
    EXPECT_LE(worst, 2);
    for (const double y : {0.0, -0.0, 1.0, -1.0, infinity, -infinity}) {
        for (const double x : {0.0, -0.0, 1.0, -1.0, infinity, -infinity}) {
            EXPECT_LE(ulps(apply(atan2_, y, x), atan2l(y, x)), 0.5) << y << " " << x;
            EXPECT_EQ(std::signbit(apply(atan2_, y, x)), std::signbit(std::atan2(y, x)));
        }
    }
}

TEST(functions, powers_are_near_the_truth)
{
    Arguments arguments(5);
    double worst = 0;
    for (int i = 0; i < trials; ++i) {
        const double x = std::fabs(arguments.any(i % 3 == 0 ? 1000 : 2));
        const double most = 740 / std::fmax(std::fabs(std::log(x)), 1e-300);
        const double y = i % 2 == 0 ? arguments.between(-most, most) : arguments.any(3);
        const long double exact = powl(x, y);
        if (std::fabs(exact) > 0x1p-1022L && std::fabs(exact) < 0x1p1023L) {
            worst = std::fmax(worst, ulps(apply(pow_, x, y), exact));
        }
    }
    EXPECT_LE(worst, 1.5);
    const double bases[] = {0.0, -0.0, 1.0, -1.0, 2.0, -2.0, 0.5, -0.5, infinity, -infinity, nan};
    const double exponents[] = {0.0,  -0.0,  1.0,   -1.0,     2.0,       3.0, -3.0,       0.5,      -0.5,
                                1e30, -1e30, 1e300, infinity, -infinity, nan, 0x1p52 + 1, 0x1.8p51, 0x1p53};
    for (const double x : bases) {
        for (const double y : exponents) {
            const double expected = std::pow(x, y);
            const double got = apply(pow_, x, y);
            if (std::isnan(expected)) {
                EXPECT_TRUE(std::isnan(got)) << x << " ** " << y;
            } else {
                EXPECT_LE(ulps(got, expected), 1) << x << " ** " << y << " gives " << got;
                EXPECT_EQ(std::signbit(got), std::signbit(expected)) << x << " ** " << y;
            }
        }
    }
}

TEST(functions, lengths_are_near_the_truth)
{
    Arguments arguments(6);
    double worst = 0;
    for (int i = 0; i < trials; ++i) {
        const double x = arguments.any(i % 2 == 0 ? 1000 : 2);
        const double y = arguments.any(i % 2 == 0 ? 1000 : 2);
        worst = std::fmax(worst, ulps(apply(hypot_, x, y), hypotl(x, y)));
    }
    EXPECT_LE(worst, 1.5);
    EXPECT_EQ(apply(hypot_, nan, infinity), infinity);
    EXPECT_EQ(apply(hypot_, -3, 4), 5);
    EXPECT_EQ(apply(hypot_, 0x1p-1074, 0), 0x1p-1074);
    EXPECT_TRUE(std::isnan(apply(hypot_, nan, 1)));
}

// To the nearest whole number, halves away from zero. Not std::round, which some C
// libraries of Windows compute as floor(x + 0.5): that is 1 for the double below 0.5.
double rounded(double x)
{
    const double whole = std::trunc(x);
    return std::fabs(x - whole) < 0.5 ? whole : whole + std::copysign(1.0, x);
}

TEST(functions, whole_numbers)
{
    Arguments arguments(9);
    for (int i = 0; i < trials; ++i) {
        const double x = arguments.any(i % 2 == 0 ? 60 : 5);
        EXPECT_EQ(apply(floor_, x), std::floor(x)) << x;
        EXPECT_EQ(apply(ceil_, x), std::ceil(x)) << x;
        EXPECT_EQ(apply(trunc_, x), std::trunc(x)) << x;
        EXPECT_EQ(apply(round_, x), rounded(x)) << x;
    }
    for (const double x : {0.0, -0.0, 0.5, -0.5, 1.5, 2.5, -2.5, 0.49999999999999994, 0x1p51 + 0.5,
                           -0x1p51 - 0.5, 0x1p52, 0x1p52 - 0.5, 4503599627370497.5, infinity, -infinity}) {
        EXPECT_EQ(apply(floor_, x), std::floor(x)) << x;
        EXPECT_EQ(apply(ceil_, x), std::ceil(x)) << x;
        EXPECT_EQ(apply(trunc_, x), std::trunc(x)) << x;
        EXPECT_EQ(apply(round_, x), rounded(x)) << x;
        EXPECT_EQ(std::signbit(apply(ceil_, x)), std::signbit(std::ceil(x))) << x;
        EXPECT_EQ(std::signbit(apply(floor_, x)), std::signbit(std::floor(x))) << x;
    }
    EXPECT_TRUE(std::isnan(apply(floor_, nan)));
}

TEST(functions, remainders_are_exact)
{
    Arguments arguments(10);
    for (int i = 0; i < trials; ++i) {
        const double x = i % 4 == 0   ? arguments.any(1020)
                         : i % 4 == 1 ? std::round(arguments.any(20))
                                      : arguments.any(20);
        const double y = i % 4 == 0 ? arguments.any(1020) : i % 4 == 1 ? 7 : arguments.any(20);
        const double exact = std::fmod(x, y);
        EXPECT_EQ(apply(fmod_, x, y), exact) << x << " " << y;
        const double floored = exact != 0 && std::signbit(exact) != std::signbit(y) ? exact + y : exact;
        EXPECT_EQ(apply(modulo_, x, y), floored) << x << " " << y;
    }
    EXPECT_TRUE(std::isnan(apply(fmod_, 1, 0)));
    EXPECT_TRUE(std::isnan(apply(fmod_, infinity, 1)));
    EXPECT_EQ(apply(fmod_, 5, infinity), 5);
    EXPECT_EQ(apply(modulo_, -7, 3), 2);
    EXPECT_EQ(apply(modulo_, 7, -3), -2);
    EXPECT_EQ(apply(modulo_, 5.5, 2), 1.5);
    EXPECT_EQ(apply(fmod_, 0x1.8p-1070, 0x1p-1071), std::fmod(0x1.8p-1070, 0x1p-1071));
}

TEST(functions, truth_and_choice)
{
    EXPECT_EQ(apply(not_, 0), 1);
    EXPECT_EQ(apply(not_, 2), 0);
    EXPECT_EQ(apply(not_, nan), 1);
    EXPECT_EQ(apply(and_, nan, 1), 0);
    EXPECT_EQ(apply(or_, nan, -1), 1);
    EXPECT_EQ(apply(choose_, nan, 1, 2), 2);
    EXPECT_EQ(apply(choose_, -3, 1, 2), 1);
    EXPECT_EQ(apply(unequal_, nan, nan), 1);
    EXPECT_EQ(apply(equal_, nan, nan), 0);
    EXPECT_EQ(apply(equal_, 0.0, -0.0), 1);
    EXPECT_TRUE(std::isnan(apply(max_, nan, 1)));
    EXPECT_TRUE(std::isnan(apply(min_, 1, nan)));
    EXPECT_EQ(apply(max_, -1, 1), 1);
    EXPECT_EQ(apply(isnan_, nan), 1);
    EXPECT_EQ(apply(isfinite_, infinity), 0);
    EXPECT_EQ(apply(isfinite_, nan), 0);
    EXPECT_EQ(apply(isfinite_, -1e308), 1);
}

std::uint64_t pattern(double x)
{
    return std::isnan(x) ? 0 : std::bit_cast<std::uint64_t>(x);
}

TEST(functions, each_path_has_the_widest_kernels_that_it_can_run)
{
    std::vector<const Kernels*> sets;
    zavo::test::on_each_path([&] { sets.push_back(&zavox::wide::kernels()); });
    for (std::size_t path = 0; path < sets.size(); ++path) {
        // scalar and SSE2 share the base set.
        const std::size_t expected = path < 2 ? 0 : path;
        EXPECT_EQ(sets[path], sets[expected]);
        EXPECT_EQ(path < 2, sets[path] == &base);
    }
}

// Every operation, on arguments of all kinds.
TEST(functions, all_sets_of_instructions_give_the_same_bits)
{
    Arguments arguments(11);
    constexpr int n = 4096;
    std::vector<double> in[3];
    for (std::vector<double>& values : in) {
        for (int i = 0; i < n; ++i) {
            values.push_back(i % 3 == 0   ? arguments.any(1073)
                             : i % 3 == 1 ? arguments.any(9)
                                          : arguments.between(-1, 1));
        }
        for (const double special : {0.0, -0.0, infinity, -infinity, nan, 1.0, -1.0}) {
            values[static_cast<std::size_t>(arguments.between(0, n))] = special;
        }
    }
    std::vector<double> expected(n);
    std::vector<double> got(n);
    for (int operation = 0; operation < zavox::wide::operation_count; ++operation) {
        base.of[operation][0](expected.data(), in[0].data(), in[1].data(), in[2].data(), n);
        zavo::test::on_each_path([&] {
            zavox::wide::kernels().of[operation][0](got.data(), in[0].data(), in[1].data(), in[2].data(), n);
            for (std::size_t i = 0; i < n; ++i) {
                ASSERT_EQ(pattern(got[i]), pattern(expected[i]))
                    << "operation " << operation << " " << in[0][i] << " " << in[1][i];
            }
        });
    }
}

// Every form of an operation gives of floats what the form of doubles does, rounded
// where floats come out.
TEST(functions, all_forms_give_the_same_bits)
{
    using zavox::wide::form_count;
    Arguments arguments(13);
    constexpr int n = 1024;
    std::vector<float> floats[3];
    std::vector<double> doubles[3];
    for (int k = 0; k < 3; ++k) {
        for (int i = 0; i < n; ++i) {
            floats[k].push_back(static_cast<float>(arguments.any(i % 2 == 0 ? 140 : 9)));
        }
        for (const double special : {0.0, -0.0, infinity, -infinity, nan, 1.0, -1.0}) {
            floats[k][static_cast<std::size_t>(arguments.between(0, n))] = static_cast<float>(special);
        }
        doubles[k].assign(floats[k].begin(), floats[k].end());
    }
    std::vector<double> expected(n);
    std::vector<double> got(n);
    std::vector<float> rounded(n);
    for (int operation = 0; operation < zavox::wide::operation_count; ++operation) {
        base.of[operation][0](expected.data(), doubles[0].data(), doubles[1].data(), doubles[2].data(), n);
        zavo::test::on_each_path([&] {
            for (int form = 1; form < form_count; ++form) {
                zavox::wide::Kernel* const kernel = zavox::wide::kernels().of[operation][form];
                ASSERT_EQ(kernel == nullptr, base.of[operation][form] == nullptr) << operation << " " << form;
                if (kernel == nullptr) {
                    continue;
                }
                const bool rounds = (form & zavox::wide::floats_out) != 0;
                const auto operand = [&](int k, int flag) {
                    return (form & flag) != 0 ? static_cast<const void*>(floats[k].data())
                                              : doubles[k].data();
                };
                kernel(rounds ? static_cast<void*>(rounded.data()) : got.data(),
                       operand(0, zavox::wide::floats_x), operand(1, zavox::wide::floats_y),
                       operand(2, zavox::wide::floats_z), n);
                for (std::size_t i = 0; i < n; ++i) {
                    const double value = rounds ? static_cast<double>(rounded[i]) : got[i];
                    const double exact =
                        rounds ? static_cast<double>(static_cast<float>(expected[i])) : expected[i];
                    ASSERT_EQ(pattern(value), pattern(exact))
                        << "operation " << operation << " form " << form << " of " << floats[0][i] << " "
                        << floats[1][i];
                }
            }
        });
    }
}

TEST(functions, all_sets_sum_alike)
{
    Arguments arguments(12);
    std::vector<float> x(zavox::wide::sum_block);
    std::vector<float> y(zavox::wide::sum_block);
    for (const int range : {2, 9, 30, 120}) {
        for (std::size_t i = 0; i < x.size(); ++i) {
            x[i] = static_cast<float>(arguments.any(range));
            y[i] = static_cast<float>(arguments.any(range));
        }
        double sum = 0;
        const bool exact = base.sum(x.data(), &sum);
        EXPECT_EQ(exact, range < 9 || range == 9) << range;
        zavo::test::on_each_path([&] {
            const Kernels& other = zavox::wide::kernels();
            double other_sum = 0;
            EXPECT_EQ(other.sum(x.data(), &other_sum), exact);
            if (exact) {
                EXPECT_EQ(other_sum, sum);
            }
            EXPECT_EQ(other.squares(x.data(), 0.25), base.squares(x.data(), 0.25));
            EXPECT_EQ(other.products(x.data(), y.data()), base.products(x.data(), y.data()));
        });
    }
}

} // namespace

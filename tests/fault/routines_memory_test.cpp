// The n-th allocation of every public routine fails, for n = 1, 2, ... until the
// call asks for no more; once alone, and once with all that follow it. Each time the
// call ends as it should, or with an error of type 5 that names the want of memory,
// null or NaN, and every array that it was to hand out null.
#include "core/system/memory.hpp"
#include "core/zavo.h"
#include "tests/support/captured_errors.hpp"

#include <cmath>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <vector>

namespace {

using zavo::test::CapturedErrors;

float bowl(int n, float* x)
{
    float f = 0.0F;
    for (int i = 0; i < n; ++i) {
        f += (x[i] - 1.0F) * (x[i] - 1.0F);
    }
    return f;
}
void constrained_bowl(int n, float* x, float* f)
{
    *f = bowl(n, x);
}
void gradient(int n, float* x, float* g)
{
    for (int i = 0; i < n; ++i) {
        g[i] = 2.0F * (x[i] - 1.0F);
    }
}

// Far from the states whose deviate is 1, of which no normal one can be made.
constexpr int quiet_seed = 12345;

// A call and what it gives: the values, or nothing after a failure.
using Result = std::vector<float>;
using Call = std::function<Result()>;

Result take(float* values, int n)
{
    const Result result(values, values != nullptr ? values + n : values);
    std::free(values);
    return result;
}
Result take(f_complex* values, int n)
{
    return take(reinterpret_cast<float*>(values), 2 * n);
}

void check(const char* name, const Call& call, bool random = false)
{
    CapturedErrors errors;
    zavo_random_seed_set(quiet_seed);
    const Result wanted = call();
    ASSERT_FALSE(wanted.empty()) << name;
    ASSERT_TRUE(errors.empty() || errors.last().type != ZAVO_TERMINAL) << name << ' ' << errors.codes();
    for (const int sign : {1, -1}) {
        for (int n = 1; n < 1000; ++n) {
            errors.clear();
            zavo_fail_allocation(sign * n);
            const Result found = call();
            const bool failed = zavo_allocation_count() >= n;
            zavo_fail_allocation(0);
            if (found.empty() || std::isnan(found[0])) {
                EXPECT_TRUE(failed) << name << ' ' << sign * n;
                ASSERT_FALSE(errors.empty()) << name << ' ' << sign * n;
                EXPECT_EQ(errors.last().type, ZAVO_TERMINAL) << name << ' ' << sign * n;
                EXPECT_TRUE(errors.last().code >= 200 && errors.last().code <= 202)
                    << name << ' ' << sign * n << ' ' << errors.codes();
                EXPECT_NE(errors.last().message, "") << name << ' ' << sign * n;
            } else if (random) {
                EXPECT_EQ(found.size(), wanted.size()) << name << ' ' << sign * n;
            } else {
                EXPECT_EQ(found, wanted) << name << ' ' << sign * n;
            }
            if (!failed) {
                break;
            }
            ASSERT_LT(n, 999) << name << " asks for more and more";
        }
    }
    EXPECT_EQ(call().size(), wanted.size()) << name;
}

std::vector<float> ramp(int n)
{
    std::vector<float> values(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
        values[static_cast<std::size_t>(i)] = static_cast<float>(i * 7 % 11) - 4.5F;
    }
    return values;
}

TEST(routines_memory, deviates_survive_every_failure)
{
    for (const int n : {1, 5, 300, 5000}) {
        check(
            "uniform", [=] { return take(zavo_f_random_uniform(n, 0), n); }, true);
        check(
            "normal", [=] { return take(zavo_f_random_normal(n, 0), n); }, true);
        check(
            "exponential", [=] { return take(zavo_f_random_exponential(n, 0), n); }, true);
    }
    for (int option = 1; option <= 6; ++option) {
        zavo_random_option(option);
        check(
            "each generator", [] { return take(zavo_f_random_uniform(40, 0), 40); }, true);
    }
    zavo_random_option(1);
}

TEST(routines_memory, transforms_survive_every_failure)
{
    for (const int n : {1, 2, 7, 97, 256, 1000, 4096, 20000}) {
        const std::vector<float> x = ramp(2 * n);
        const auto* const c = reinterpret_cast<const f_complex*>(x.data());
        check("real", [&] { return take(zavo_f_fft_real(n, x.data(), 0), n); });
        check("real backward", [&] { return take(zavo_f_fft_real(n, x.data(), ZAVO_BACKWARD, 0), n); });
        if (n > 1) { // one value needs no table
            check("real table", [&] { return take(zavo_f_fft_real_init(n), n); });
            // Its last n places are scratch.
            check("complex table", [&] { return take(zavo_c_fft_complex_init(n), 1); });
        }
        check("complex", [&] { return take(zavo_c_fft_complex(n, c, 0), n); });
        check("complex backward", [&] { return take(zavo_c_fft_complex(n, c, ZAVO_BACKWARD, 0), n); });
        std::vector<f_complex> out(static_cast<std::size_t>(n));
        check("into the caller's array", [&]() -> Result {
            f_complex* const q = zavo_c_fft_complex(n, c, ZAVO_RETURN_USER, out.data(), 0);
            return zavo_error_type(1) == ZAVO_TERMINAL ? Result() : Result{q[0].re, q[n - 1].im};
        });
    }
    for (const int m : {1, 4, 30}) {
        for (const int n : {1, 5, 32}) {
            const std::vector<float> x = ramp(2 * m * n);
            const auto* const c = reinterpret_cast<const f_complex*>(x.data());
            check("plane", [&] { return take(zavo_c_fft_2d_complex(m, n, c, 0), m * n); });
            check("plane backward",
                  [&] { return take(zavo_c_fft_2d_complex(m, n, c, ZAVO_BACKWARD, 0), m * n); });
        }
    }
}

TEST(routines_memory, convolution_survives_every_failure)
{
    const std::vector<float> x = ramp(60);
    const std::vector<float> y = ramp(60);
    int nz = 0;
    const auto sum = [&](float* z) { return take(z, nz); };
    check("convolution", [&] { return sum(zavo_f_convolution(60, x.data(), 20, y.data(), &nz, 0)); });
    check("circular",
          [&] { return sum(zavo_f_convolution(60, x.data(), 20, y.data(), &nz, ZAVO_CIRCULAR, 0)); });
    check("correlation",
          [&] { return sum(zavo_f_convolution(60, x.data(), 60, y.data(), &nz, ZAVO_CORRELATE, 0)); });
    check("autocorrelation",
          [&] { return sum(zavo_f_convolution(60, x.data(), 60, x.data(), &nz, ZAVO_CORRELATE, 0)); });
    check("spectrum", [&] {
        float* spectrum = nullptr;
        Result result = sum(zavo_f_convolution(60, x.data(), 20, y.data(), &nz, ZAVO_Z_TRANS, &spectrum, 0));
        EXPECT_EQ(spectrum == nullptr, result.empty());
        const Result transformed = take(spectrum, nz);
        result.insert(result.end(), transformed.begin(), transformed.end());
        return result;
    });
    // A series that fails at any of its calls can be begun anew.
    check("series", [&]() -> Result {
        Result all;
        for (const int when : {ZAVO_SERIES_FIRST, ZAVO_SERIES_NEXT, ZAVO_SERIES_LAST}) {
            const Result each = sum(zavo_f_convolution(60, x.data(), 20, y.data(), &nz, when, 0));
            if (each.empty()) {
                return {};
            }
            all.insert(all.end(), each.begin(), each.end());
        }
        return all;
    });
}

TEST(routines_memory, minimisers_survive_every_failure)
{
    for (const int n : {1, 2, 9}) {
        const std::vector<float> start = ramp(n);
        const auto unconstrained = [&](auto... options) {
            return take(
                zavo_f_min_uncon_multivar(&bowl, n, int{ZAVO_START_POINT}, start.data(), options..., 0), n);
        };
        check("unconstrained", [&] { return unconstrained(); });
        check("unconstrained with a gradient",
              [&] { return unconstrained(int{ZAVO_GRADIENT_FUNCTION}, &gradient); });
        std::vector<float> low(static_cast<std::size_t>(n), -9.0F);
        std::vector<float> high(static_cast<std::size_t>(n), 0.5F);
        std::vector<float> a(static_cast<std::size_t>(n), 1.0F);
        const float b = 0.25F;
        const auto constrained = [&](auto... options) -> Result {
            int* list = nullptr;
            float* multipliers = nullptr;
            int count = -1;
            Result result =
                take(zavo_f_min_con_gen_lin(&constrained_bowl, n, 1, 0, a.data(), &b, low.data(), high.data(),
                                            int{ZAVO_ACTIVE_LIST}, &list, int{ZAVO_MULTIPLIERS}, &multipliers,
                                            int{ZAVO_ACTIVE_COUNT}, &count, options..., 0),
                     n);
            EXPECT_EQ(list == nullptr, result.empty());
            EXPECT_EQ(multipliers == nullptr, result.empty());
            std::free(list);
            std::free(multipliers);
            return result;
        };
        check("constrained", [&] { return constrained(); });
        check("constrained with a gradient",
              [&] { return constrained(int{ZAVO_CON_GRADIENT_FUNCTION}, &gradient); });
    }
}

TEST(routines_memory, constants_and_dates)
{
    check("constant", [] { return Result{zavo_f_constant("gas", "erg/mole/K")}; });
    check("days", [] { return Result{static_cast<float>(zavo_date_to_days(24, 12, 2026))}; });
    check("date", [] {
        int day = 0;
        int month = 0;
        int year = 0;
        zavo_days_to_date(46378, &day, &month, &year);
        return Result{static_cast<float>(day), static_cast<float>(month), static_cast<float>(year)};
    });
    check("machine", [] { return Result{zavo_f_machine(4), static_cast<float>(zavo_i_machine(5))}; });
}

// The messages themselves need memory; an error without any is told all the same.
TEST(routines_memory, an_error_is_told_when_no_memory_is_left)
{
    CapturedErrors errors;
    for (int n = 1; n < 20; ++n) {
        errors.clear();
        zavo_fail_allocation(-n);
        EXPECT_TRUE(std::isnan(zavo_f_constant("no such constant", nullptr)));
        zavo_fail_allocation(0);
        ASSERT_EQ(errors.codes(), "5/12111");
        EXPECT_NE(errors.last().message, "");
    }
}

} // namespace

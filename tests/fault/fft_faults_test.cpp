// Memory that is not there, handed to the transforms: the fault is trapped, the
// caller gets null and both errors, nothing leaks, and the next call works.

#include "core/zavo.h"
#include "tests/support/captured_errors.hpp"

#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

using zavo::test::CapturedErrors;

template <class T>
T* nowhere()
{
    volatile std::uintptr_t address = 64; // hidden from the compiler
    return reinterpret_cast<T*>(address);
}

TEST(fft_faults, real_transform_of_a_wild_pointer)
{
    CapturedErrors errors;
    EXPECT_EQ(zavo_f_fft_real(100, nowhere<const float>(), 0), nullptr);
    EXPECT_EQ(errors.codes(), "5/511 5/102");
    EXPECT_EQ(zavo_error_code(1), 102);
}

TEST(fft_faults, real_transform_with_a_wild_table_leaves_the_callers_array)
{
    CapturedErrors errors;
    const float x[4] = {1, 2, 3, 4};
    float* const q = static_cast<float*>(std::calloc(4, sizeof(float)));
    EXPECT_EQ(zavo_f_fft_real(4, x, ZAVO_PARAMS, nowhere<const float>(), ZAVO_RETURN_USER, q, 0), nullptr);
    EXPECT_EQ(errors.codes(), "5/511 5/102");
    EXPECT_EQ(q[0] * 0.0F, 0.0F);
    EXPECT_EQ(zavo_f_fft_real(4, x, ZAVO_RETURN_USER, q, 0), q);
    EXPECT_EQ(q[0], 10.0F);
    std::free(q);
}

TEST(fft_faults, many_faults_in_one_process)
{
    CapturedErrors errors;
    for (int i = 0; i < 300; ++i) {
        EXPECT_EQ(zavo_f_fft_real(100, nowhere<const float>(), ZAVO_BACKWARD, 0), nullptr);
    }
    EXPECT_EQ(errors.all().size(), 600U);
}

TEST(fft_faults, complex_transforms_of_a_wild_pointer)
{
    CapturedErrors errors;
    EXPECT_EQ(zavo_c_fft_complex(100, nowhere<const f_complex>(), 0), nullptr);
    f_complex q[100];
    EXPECT_EQ(zavo_c_fft_complex(100, nowhere<const f_complex>(), ZAVO_RETURN_USER, q, 0), nullptr);
    EXPECT_EQ(zavo_c_fft_2d_complex(10, 10, nowhere<const f_complex>(), 0), nullptr);
    EXPECT_EQ(
        zavo_c_fft_2d_complex(10, 10, nowhere<const f_complex>(), ZAVO_BACKWARD, ZAVO_RETURN_USER, q, 0),
        nullptr);
    EXPECT_EQ(errors.codes(), "5/511 5/102 5/511 5/102 5/511 5/102 5/511 5/102");
}

TEST(fft_faults, convolution_of_a_wild_pointer_and_the_calls_behind_it)
{
    CapturedErrors errors;
    const float x[4] = {1, 2, 3, 4};
    int nz = 0;
    float* zhat = nullptr;
    EXPECT_EQ(zavo_f_convolution(4, x, 4, nowhere<const float>(), &nz, ZAVO_Z_TRANS, &zhat, 0), nullptr);
    EXPECT_EQ(zhat, nullptr);
    EXPECT_EQ(zavo_f_convolution(4, x, 4, nowhere<const float>(), &nz, ZAVO_SERIES_FIRST, 0), nullptr);
    EXPECT_EQ(errors.codes(), "5/511 5/102 5/511 5/102");
    float* const z = zavo_f_convolution(4, x, 4, x, &nz, ZAVO_SERIES_LAST, ZAVO_CIRCULAR, 0);
    ASSERT_NE(z, nullptr);
    EXPECT_NEAR(z[0], 26.0, 1e-4);
    std::free(z);
}

} // namespace

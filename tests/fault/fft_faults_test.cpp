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

} // namespace

// A million faults in user functions and in arrays that are not there: each comes
// back as an error, and the process does not grow.

#include "core/zavo.h"
#include "tests/support/captured_errors.hpp"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

namespace {

// A page that nobody has, hidden from the compiler.
float* nowhere()
{
    volatile std::uintptr_t address = 64;
    return reinterpret_cast<float*>(address);
}

float faults(int n, float* x)
{
    return n > 0 ? x[0] + *nowhere() : 0.0F;
}

// Kilobytes in memory; 0 where the system does not say.
long memory()
{
    long kilobytes = 0;
    if (std::FILE* const file = std::fopen("/proc/self/status", "r")) {
        char line[256];
        while (std::fgets(line, sizeof line, file) != nullptr) {
            std::sscanf(line, "RssAnon: %ld", &kilobytes);
        }
        std::fclose(file);
    }
    return kilobytes;
}

TEST(trapped_faults_long, a_million_faults_come_back_and_nothing_grows)
{
    zavo::test::CapturedErrors errors;
    long early = 0;
    for (int i = 0; i < 500000; ++i) {
        float* const x = zavo_f_min_uncon_multivar(&faults, 2, 0);
        float* const q = zavo_f_fft_real(100, nowhere(), 0);
        ASSERT_EQ(x, nullptr);
        ASSERT_EQ(q, nullptr);
        ASSERT_EQ(errors.codes(), "5/511 5/102 5/511 5/102") << i;
        errors.clear();
        if (i == 50000) {
            early = memory();
        }
    }
    EXPECT_LE(memory(), early + early / 100);
}

} // namespace

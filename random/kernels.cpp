#include "random/kernels.hpp"

namespace zavo::random {

namespace {

constexpr int max_sets = 4;

struct Sets {
    const Kernels* set[max_sets + 1] = {&scalar_kernels, &sse2_kernels};
    int count = 2;

    Sets()
    {
        __builtin_cpu_init();
        if (__builtin_cpu_supports("avx2")) {
            set[count++] = &avx2_kernels;
        }
        if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
            __builtin_cpu_supports("avx512vl")) {
            set[count++] = &avx512_kernels;
        }
    }
};

const Sets& sets()
{
    static const Sets found;
    return found;
}

const Kernels* chosen = nullptr;

} // namespace

const Kernels& kernels()
{
    if (chosen == nullptr) {
        chosen = sets().set[sets().count - 1];
    }
    return *chosen;
}

const Kernels* available_kernels(int i)
{
    return i >= 0 && i < sets().count ? sets().set[i] : nullptr;
}

void use_kernels(const Kernels* set)
{
    chosen = set;
}

} // namespace zavo::random

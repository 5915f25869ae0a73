#include "random/kernels.hpp"

#include <atomic>

namespace zavo::random {

namespace {

constexpr int max_sets = 4;

struct Sets {
    const Kernels* set[max_sets + 1] = {&scalar_kernels};
    int count = 1;

    Sets()
    {
#if defined(__x86_64__) || defined(__i386__)
        set[count++] = &sse2_kernels;
        __builtin_cpu_init();
        if (__builtin_cpu_supports("avx2")) {
            set[count++] = &avx2_kernels;
        }
        if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
            __builtin_cpu_supports("avx512vl")) {
            set[count++] = &avx512_kernels;
        }
#endif
    }
};

// Threads may look at once: each finds the same.
constinit std::atomic<const Kernels*> chosen{nullptr};

} // namespace

const Kernels& kernels()
{
    const Kernels* present = chosen.load(std::memory_order_relaxed);
    if (present == nullptr) {
        const Sets sets;
        present = sets.set[sets.count - 1];
        chosen.store(present, std::memory_order_relaxed);
    }
    return *present;
}

const Kernels* available_kernels(int i)
{
    const Sets sets;
    return i >= 0 && i < sets.count ? sets.set[i] : nullptr;
}

void use_kernels(const Kernels* set)
{
    chosen = set;
}

} // namespace zavo::random

// 64-bit Windows promises callers that xmm6 to xmm15 outlast a call, and callees a
// stack aligned to 16 bytes, not to the 32 or 64 of the vectors that they may put
// there. Calls routines by every path of vector instructions from either place of the
// stack with marks in those registers: the marks stay, and results are the same.

#include "core/simd/path.hpp"
#include "core/zavo.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace {

constexpr int kept_registers = 10;

struct Marks {
    alignas(16) unsigned long long halves[2 * kept_registers];
};

// Calls work(context) with the marks in xmm6 to xmm15 and `offset` more bytes of stack;
// what the registers hold afterwards comes back.
Marks call_marked(void (*work)(void*), void* context, Marks marks, long long offset)
{
    Marks* const at = &marks;
    register long long shift __asm__("r12") = offset;
    register void (*function)(void*) __asm__("r13") = work;
    register void* argument __asm__("r14") = context;
    register Marks* place __asm__("r15") = at;
    __asm__ volatile("movaps 0(%%r15), %%xmm6\n\t"
                     "movaps 16(%%r15), %%xmm7\n\t"
                     "movaps 32(%%r15), %%xmm8\n\t"
                     "movaps 48(%%r15), %%xmm9\n\t"
                     "movaps 64(%%r15), %%xmm10\n\t"
                     "movaps 80(%%r15), %%xmm11\n\t"
                     "movaps 96(%%r15), %%xmm12\n\t"
                     "movaps 112(%%r15), %%xmm13\n\t"
                     "movaps 128(%%r15), %%xmm14\n\t"
                     "movaps 144(%%r15), %%xmm15\n\t"
                     "movq %%rsp, %%rbx\n\t"
                     "andq $-64, %%rsp\n\t"
                     "subq %%r12, %%rsp\n\t"
                     "subq $64, %%rsp\n\t"
                     "movq %%r14, %%rcx\n\t"
                     "call *%%r13\n\t"
                     "movq %%rbx, %%rsp\n\t"
                     "movaps %%xmm6, 0(%%r15)\n\t"
                     "movaps %%xmm7, 16(%%r15)\n\t"
                     "movaps %%xmm8, 32(%%r15)\n\t"
                     "movaps %%xmm9, 48(%%r15)\n\t"
                     "movaps %%xmm10, 64(%%r15)\n\t"
                     "movaps %%xmm11, 80(%%r15)\n\t"
                     "movaps %%xmm12, 96(%%r15)\n\t"
                     "movaps %%xmm13, 112(%%r15)\n\t"
                     "movaps %%xmm14, 128(%%r15)\n\t"
                     "movaps %%xmm15, 144(%%r15)\n\t"
                     :
                     : "r"(shift), "r"(function), "r"(argument), "r"(place)
                     : "rax", "rbx", "rcx", "rdx", "r8", "r9", "r10", "r11", "xmm0", "xmm1", "xmm2", "xmm3",
                       "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10", "xmm11", "xmm12", "xmm13",
                       "xmm14", "xmm15", "memory", "cc");
    return marks;
}

constexpr int greatest = 65536;

struct Call {
    int n;
    float input[greatest];
    float result[3 * greatest];
};

void work(void* context)
{
    auto* const call = static_cast<Call*>(context);
    zavo_f_fft_real(call->n, call->input, ZAVO_RETURN_USER, call->result, 0);
    zavo_f_fft_real(call->n, call->result, ZAVO_BACKWARD, ZAVO_RETURN_USER, call->result + greatest, 0);
    zavo_random_seed_set(123457);
    zavo_f_random_normal(call->n, ZAVO_RETURN_USER, call->result + 2 * greatest, 0);
}

// What a call must not do, to show that it would be seen.
void spoil(void*)
{
    __asm__ volatile("xorps %%xmm11, %%xmm11" ::: "memory");
}

int faults = 0;

void check(const char* path, Call* call, const Call* expected)
{
    Marks marks;
    for (int i = 0; i < 2 * kept_registers; ++i) {
        marks.halves[i] = 0x1111111111111111ULL * static_cast<unsigned long long>(i % 15 + 1);
    }
    for (const long long offset : {0, 16, 32, 48}) {
        std::memset(call->result, 0, sizeof call->result);
        const Marks after = call_marked(work, call, marks, offset);
        if (std::memcmp(after.halves, marks.halves, sizeof marks.halves) != 0) {
            ++faults;
            std::printf("%s, %d values: a register that belongs to the caller has changed\n", path, call->n);
        }
        if (std::memcmp(call->result, expected->result, sizeof call->result) != 0) {
            ++faults;
            std::printf("%s, %d values: the result differs\n", path, call->n);
        }
    }
    if (std::memcmp(call_marked(spoil, nullptr, marks, 0).halves, marks.halves, sizeof marks.halves) == 0) {
        ++faults;
        std::puts("a changed register would not be seen");
    }
}

} // namespace

int main()
{
    namespace simd = zavo::simd;
    static Call call;
    static Call expected;
    int paths = 0;
    for (int i = 0; i < greatest; ++i) {
        call.input[i] = expected.input[i] = static_cast<float>(i * 7919 % 1024) / 64.0F;
    }
    for (const int n : {16, 60, 1000, 1001, 4096, greatest}) {
        call.n = expected.n = n;
        std::memset(expected.result, 0, sizeof expected.result);
        simd::limit_path(simd::Path::scalar);
        work(&expected);
        paths = 0;
        for (const simd::Path path : simd::all_paths) {
            if (simd::has_path(path)) {
                simd::limit_path(path);
                check(simd::name_of(path), &call, &expected);
                ++paths;
            }
        }
    }
    std::printf("call convention: %d paths, %d faults\n", paths, faults);
    return faults == 0 ? 0 : 1;
}

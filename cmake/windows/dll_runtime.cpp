// Start-up code of the Windows DLLs, in place of the compiler's. That prepares
// for exceptions, threads and relocations at load time, none of which these
// libraries have, and calls dozens of services of the kernel to do so. Two
// things are left: the constructors of static objects, run when the DLL is
// loaded, and their destructors, which the compiler registers with atexit, run
// when it is unloaded.
//
// Below that stand the few functions through which the compiler's number
// formatting (kept because its digits and exponents are those of Linux) would
// reach the kernel.

#include <cstddef>
#include <cwchar>

// Names as the linker has them; 32 bits decorate those of functions.
#if defined(__i386__)
#define ZAVO_SYMBOL(name) "_" name
#define ZAVO_IMPORTED(name, argument_bytes) "__imp__" name "@" argument_bytes
#else
#define ZAVO_SYMBOL(name) name
#define ZAVO_IMPORTED(name, argument_bytes) "__imp_" name
#endif

namespace {

using Function = void (*)();

constexpr unsigned long process_detach = 0;
constexpr unsigned long process_attach = 1;

constexpr int exit_function_limit = 32;
Function exit_functions[exit_function_limit];
int exit_function_count;

} // namespace

extern "C" {

// Written by the linker: -1, the constructors, 0.
extern Function zavo_constructors[] __asm__(ZAVO_SYMBOL("__CTOR_LIST__"));

int atexit(Function function)
{
    if (exit_function_count == exit_function_limit) {
        return -1;
    }
    exit_functions[exit_function_count++] = function;
    return 0;
}

// The 32-bit loader aligns the stack to 4 bytes, code with SSE wants 16.
#if defined(__i386__)
__attribute__((force_align_arg_pointer))
#endif
int __stdcall zavo_dll_entry(void*, unsigned long reason, void*)
{
    if (reason == process_attach) {
        int count = 0;
        while (zavo_constructors[count + 1] != nullptr) {
            ++count;
        }
        for (; count > 0; --count) {
            zavo_constructors[count]();
        }
    } else if (reason == process_detach) {
        while (exit_function_count > 0) {
            exit_functions[--exit_function_count]();
        }
    }
    return 1;
}

// Number formatting guards its cache of big numbers with these, for a few
// instructions at a time; so the first word of a lock serves as a flag. The
// pointers stand where the linker would put those of the imported functions.
static void __stdcall initialize_lock(void* lock)
{
    __atomic_store_n(static_cast<int*>(lock), 0, __ATOMIC_RELEASE);
}
static void __stdcall enter_lock(void* lock)
{
    while (__atomic_exchange_n(static_cast<int*>(lock), 1, __ATOMIC_ACQUIRE) != 0) {
        __builtin_ia32_pause();
    }
}
static void __stdcall leave_lock(void* lock)
{
    __atomic_store_n(static_cast<int*>(lock), 0, __ATOMIC_RELEASE);
}
static void __stdcall delete_lock(void*) {}
static void __stdcall sleep(unsigned long)
{
    __builtin_ia32_pause();
}

void(__stdcall* zavo_initialize_lock)(void*) __asm__(ZAVO_IMPORTED("InitializeCriticalSection",
                                                                   "4")) = initialize_lock;
void(__stdcall* zavo_enter_lock)(void*) __asm__(ZAVO_IMPORTED("EnterCriticalSection", "4")) = enter_lock;
void(__stdcall* zavo_leave_lock)(void*) __asm__(ZAVO_IMPORTED("LeaveCriticalSection", "4")) = leave_lock;
void(__stdcall* zavo_delete_lock)(void*) __asm__(ZAVO_IMPORTED("DeleteCriticalSection", "4")) = delete_lock;
void(__stdcall* zavo_sleep)(unsigned long) __asm__(ZAVO_IMPORTED("Sleep", "4")) = sleep;

// It converts the decimal point of the locale to a wide character and back: one
// byte, the same number.
std::size_t mbrtowc(wchar_t* wide, const char* bytes, std::size_t n, std::mbstate_t*)
{
    if (bytes == nullptr || n == 0) {
        return 0;
    }
    if (wide != nullptr) {
        *wide = static_cast<unsigned char>(*bytes);
    }
    return *bytes != '\0' ? 1 : 0;
}

std::size_t wcrtomb(char* bytes, wchar_t wide, std::mbstate_t*)
{
    if (bytes != nullptr) {
        *bytes = static_cast<char>(wide);
    }
    return 1;
}

// Mathematical functions would tell a handler of the program of domain errors;
// there is none.
void __mingw_raise_matherr(int, const char*, double, double, double) {}

} // extern "C"

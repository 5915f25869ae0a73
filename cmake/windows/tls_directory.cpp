// The thread storage of a DLL that has none of the compiler's start-up code: the
// directory by which the loader finds it. Each thread gets a copy of section .tls,
// and the callbacks in .CRT$XL* hear of threads that begin and end. The linker
// sorts the parts of both sections by name.

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

extern "C" {

unsigned long _tls_index = 0; // written by the loader

__attribute__((section(".tls$AAA"), used)) void* zavo_tls_start = nullptr;
__attribute__((section(".tls$ZZZ"), used)) void* zavo_tls_end = nullptr;

__attribute__((section(".CRT$XLA"), used)) PIMAGE_TLS_CALLBACK zavo_tls_callbacks_start = nullptr;
__attribute__((section(".CRT$XLZ"), used)) PIMAGE_TLS_CALLBACK zavo_tls_callbacks_end = nullptr;

#if defined(_WIN64)
using Address = ULONGLONG;
#else
using Address = DWORD;
#endif

struct TlsDirectory {
    void* start;
    void* end;
    unsigned long* index;
    PIMAGE_TLS_CALLBACK* callbacks;
    DWORD zeros;
    DWORD characteristics;
};
static_assert(sizeof(TlsDirectory) == sizeof(IMAGE_TLS_DIRECTORY) && sizeof(Address) == sizeof(void*));

// The linker enters the address of this symbol in the headers.
extern const TlsDirectory zavo_tls_used __asm__(
#if defined(__i386__)
    "__tls_used"
#else
    "_tls_used"
#endif
);
const TlsDirectory zavo_tls_used = {
    &zavo_tls_start, &zavo_tls_end, &_tls_index, &zavo_tls_callbacks_start + 1, 0, 0};

} // extern "C"

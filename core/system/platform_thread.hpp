// The pointer that each thread has for the library's state, null at first.
//
// On POSIX systems a thread_local in the block that the loader sets up with the
// thread (8 bytes of it, so the initial-exec model always finds room): one load
// relative to the thread's register. On Windows the compiler would emulate that
// with calls of a run-time library; the pointer stands in the program's or the
// DLL's own thread-local storage instead (section .tls), which the loader allocates
// for each thread and enters in the thread environment block.
#pragma once

namespace zavo::core {
struct ThreadState;
}

#if defined(_WIN32)

extern "C" {
// Of the C runtime in programs, of cmake/win32/tls_directory.cpp in the DLLs.
// The first member is the start of section .tls.
struct ZavoTlsDirectory {
    char* start;
};
extern const ZavoTlsDirectory zavo_tls_directory __asm__(
#if defined(__i386__)
    "__tls_used"
#else
    "_tls_used"
#endif
);
extern unsigned long _tls_index;
extern zavo::core::ThreadState* zavo_thread_pointer;
}

namespace zavo::platform {

inline core::ThreadState*& thread_pointer()
{
    char** blocks = nullptr; // of the thread, by the index of a module
#if defined(__i386__)
    __asm__ volatile("movl %%fs:0x2c, %0" : "=r"(blocks));
#else
    __asm__ volatile("movq %%gs:0x58, %0" : "=r"(blocks));
#endif
    char* const in_section = reinterpret_cast<char*>(&zavo_thread_pointer);
    char* const mine = blocks[_tls_index] + (in_section - zavo_tls_directory.start);
    return *reinterpret_cast<core::ThreadState**>(mine);
}

} // namespace zavo::platform

#else

namespace zavo::platform {

extern constinit thread_local core::ThreadState* the_thread_pointer
    __attribute__((tls_model("initial-exec"), visibility("hidden")));

inline core::ThreadState*& thread_pointer()
{
    return the_thread_pointer;
}

} // namespace zavo::platform

#endif

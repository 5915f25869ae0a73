// Code that is compiled once for every instruction set. So that the linker cannot take
// a function compiled for a wider set than the processor has for one that everybody
// calls, such templates stand in unnamed namespaces, and small members are always
// inlined.
#pragma once

#if !defined(ZAVO_COUNTED)
#define ZAVO_INLINE inline __attribute__((always_inline))
// The same for a lambda, behind its parameters.
#define ZAVO_INLINED __attribute__((always_inline))
#else
// Where branches are counted, once in the source is once in the count. Such a build runs
// where it was built, on a processor that has all the sets.
#define ZAVO_INLINE inline
#define ZAVO_INLINED
#endif

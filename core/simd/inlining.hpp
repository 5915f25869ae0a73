// Code that is compiled once for every instruction set. Of equal inline functions the
// linker keeps one, and if that were compiled for a wider set than the processor has,
// every caller would fault. So such templates stand in unnamed namespaces, and small
// members are always inlined.
#pragma once

#if !defined(ZAVO_COUNTED)
#define ZAVO_INLINE inline __attribute__((always_inline))
// The same for a lambda, behind its parameters.
#define ZAVO_INLINED __attribute__((always_inline))
#else
// A build that counts branches counts each once, so nothing is forced inline. It runs
// on the machine that built it, which has all the sets.
#define ZAVO_INLINE inline
#define ZAVO_INLINED
#endif

// Code that is compiled once for every instruction set. So that the linker cannot take
// a function compiled for a wider set than the processor has for one that everybody
// calls, such templates stand in unnamed namespaces, and small members are always
// inlined.
#pragma once

#define ZAVO_INLINE inline __attribute__((always_inline))
// The same for a lambda, behind its parameters.
#define ZAVO_INLINED __attribute__((always_inline))

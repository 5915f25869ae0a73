// Code that is compiled once for every instruction set. Of equal inline functions the
// linker keeps one, and if that were compiled for a wider set than the processor has,
// every caller would fault. So such templates stand in unnamed namespaces, and small
// members are always inlined.
//
// Always inlined are small members and the loops of a pass. The levels between these and
// a whole transform bear no mark: the transform is marked ZAVO_FLATTEN and takes in at
// once all that it calls and that is not noinline. With a mark at every level the compiler
// copied and optimised the code of all levels below once more at each.
#pragma once

#if !defined(ZAVO_COUNTED)
#define ZAVO_INLINE inline __attribute__((always_inline))
// The same for a lambda, behind its parameters.
#define ZAVO_INLINED __attribute__((always_inline))
#define ZAVO_FLATTEN __attribute__((flatten))
#else
// A build that counts branches counts each once, so nothing is forced inline. It runs
// on the machine that built it, which has all the sets.
#define ZAVO_INLINE inline
#define ZAVO_INLINED
#define ZAVO_FLATTEN
#endif

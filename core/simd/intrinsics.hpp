// The intrinsics of the instruction sets that a source is compiled for. <immintrin.h>
// declares every set that the compiler knows; GCC takes 0.8 s of CPU time to read it,
// and 0.1 s (AVX2) or 0.3 s (AVX-512) for these parts of it.
#pragma once

#ifdef __SSE2__
#if defined(__GNUC__) && !defined(__clang__)
#include <emmintrin.h>
#ifdef __AVX2__
#ifndef _IMMINTRIN_H_INCLUDED
#define _IMMINTRIN_H_INCLUDED // the parts refuse to be read without it
#define ZAVO_READS_PARTS
#endif
// Each builds on those before it.
#include <smmintrin.h>

#include <avxintrin.h>

#include <avx2intrin.h>
#ifdef __AVX512F__
#include <avx512fintrin.h>

#include <avx512vlintrin.h>

#include <avx512bwintrin.h>
#include <avx512dqintrin.h>
#endif
#ifdef ZAVO_READS_PARTS
#undef _IMMINTRIN_H_INCLUDED
#undef ZAVO_READS_PARTS
#endif
#endif
#else
#include <immintrin.h>
#endif
#endif

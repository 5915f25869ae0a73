# Compiler settings shared by every target. Results are reproducible to the
# bit, so contraction and fast-math stay off and 32-bit x86 computes in SSE.
option(ZAVO_BUILD_TESTS "Build the unit tests" ON)
option(ZAVO_BUILD_BENCH "Build the benchmarks" OFF)
option(ZAVO_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
option(ZAVO_THREAD_SANITIZE "Build with ThreadSanitizer" OFF)
option(ZAVO_COVERAGE "Build with coverage counters" OFF)
option(ZAVO_FUZZ "Build libFuzzer targets (needs clang)" OFF)
# Off where each source has to show that it includes what it uses (the preset sanitize),
# and on Windows, whose header's macros are no names to share a run of the compiler with.
option(ZAVO_COMPILE_TOGETHER "Compile the sources of a library in one run of the compiler" ON)
if(WIN32)
  set(ZAVO_COMPILE_TOGETHER OFF)
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# GCC 12 vectorises pairs of statements wrongly: double -> float -> double over
# two lanes loses the rounding to float (unit test "rounding"), so that pass is
# off. Loops are still vectorised.
add_compile_options(-fno-tree-slp-vectorize)
add_compile_options(-Wall -Wextra -Werror -ffp-contract=off -fno-fast-math)
# Nothing throws and nothing asks for a dynamic type; the tests switch back what
# their framework needs. No static object is made at its first use, which threads
# could meet together: statics are constants, atomic, or a thread's own.
add_compile_options(-fno-exceptions -fno-rtti -fno-threadsafe-statics)
# Whether the sources of the x86 instruction sets are compiled, or those of ARM's.
set(ZAVO_X86 OFF)
set(ZAVO_ARM OFF)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
  set(ZAVO_ARM ON)
endif()
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(i[3-6]86|x86_64|AMD64)$")
  set(ZAVO_X86 ON)
endif()
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^i[3-6]86$")
  # The Windows x86 ABI aligns the stack to 4 bytes; callers of ours do too.
  add_compile_options(-msse2 -mfpmath=sse -mstackrealign)
elseif(WIN32)
  # 64-bit Windows aligns the stack to 16 bytes, and GCC puts wider vectors there as
  # if it were aligned to their size (its bug 54412). The assembler turns the moves
  # that would fault into such as take any address, which cost the same.
  add_compile_options(-Wa,-muse-unaligned-vector-move)
endif()
if(ZAVO_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
if(ZAVO_THREAD_SANITIZE)
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
endif()
if(ZAVO_COVERAGE)
  add_compile_options(-fprofile-arcs -ftest-coverage -fprofile-update=atomic -O0)
  add_compile_definitions(ZAVO_COUNTED)
  add_link_options(--coverage)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  add_compile_options(-Wno-unknown-warning-option)
endif()
if(ZAVO_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined)
  add_link_options(-fsanitize=address,undefined)
endif()

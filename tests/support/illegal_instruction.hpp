// A real fault, hidden from the optimiser and the sanitizers: SIGILL.
#pragma once

[[gnu::noinline, gnu::no_sanitize("all")]] inline void fault_by_instruction()
{
#if defined(__aarch64__)
    asm volatile("udf #0");
#else
    asm volatile("ud2");
#endif
}

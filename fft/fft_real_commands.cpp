// zavo_fft_real p ?BACKWARD?

#include "core/frame/entry_frame.hpp"
#include "core/thread_state.hpp"
#include "core/zavo.h"
#include "ext/conventions.hpp"

#include <cstring>

namespace zavo::ext {

namespace {

// The table of the length transformed last, for the life of the thread; null for
// a length that has none or when memory is short, which then is the library's last
// error.
const float* table_for(int length)
{
    core::LengthArray& cache = core::thread_state().fft_table;
    if (length != cache.n) {
        cache.drop();
        cache.data = zavo_f_fft_real_init(length);
        cache.n = cache.data != nullptr ? length : 0;
    }
    return cache.data;
}

// A table of more than 64 MB does not outlive its command.
void give_back_large_table()
{
    constexpr int longest_kept = (64 << 20) / (2 * sizeof(float));
    core::LengthArray& cache = core::thread_state().fft_table;
    if (cache.n > longest_kept) {
        cache.drop();
    }
}

// n >= 1 values; the table is used when there is one.
float* transform(int n, const float* values, bool backward, const float* table)
{
    if (table == nullptr) {
        return backward ? zavo_f_fft_real(n, values, ZAVO_BACKWARD, 0) : zavo_f_fft_real(n, values, 0);
    }
    return backward ? zavo_f_fft_real(n, values, ZAVO_PARAMS, table, ZAVO_BACKWARD, 0)
                    : zavo_f_fft_real(n, values, ZAVO_PARAMS, table, 0);
}

} // namespace

int fft_real_command(ClientData, Tcl_Interp* interp, int argc, const char* argv[])
{
    if (argc < 2) {
        return usage(interp, argv[0], " p [BACKWARD]");
    }
    const bool backward = argc > 2 && std::strcmp(argv[2], "BACKWARD") == 0;
    HeldList p;
    if (p.find(interp, argv[1]) != TCL_OK) {
        return TCL_ERROR;
    }
    const core::TrustedCaller trusted;
    ResultBuilder builder{"zavo_f_fft_real"};
    DynList* const result = builder.map(p.get(), [&](const DynList* list) -> DynList* {
        if (list->datatype != DFU_FLOAT) {
            return builder.wrong_type();
        }
        const int n = count_of(list);
        const float* const table = n > 1 ? table_for(n) : nullptr;
        return builder.floats(n, transform(n, values_of(list), backward, table));
    });
    give_back_large_table();
    return builder.put(interp, argv[0], result);
}

} // namespace zavo::ext

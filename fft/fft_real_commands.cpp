// zavo_fft_real p ?BACKWARD?

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

// n >= 1 values; the table is used when there is one.
float* transform(int n, const float* values, bool backward, const float* table)
{
    if (table == nullptr) {
        return backward ? zavo_f_fft_real(n, values, ZAVO_BACKWARD, 0) : zavo_f_fft_real(n, values, 0);
    }
    return backward ? zavo_f_fft_real(n, values, ZAVO_PARAMS, table, ZAVO_BACKWARD, 0)
                    : zavo_f_fft_real(n, values, ZAVO_PARAMS, table, 0);
}

// The transform of a float list as a new list; null after an error.
DynList* transform_list(const DynList* list, bool backward)
{
    static const float nothing = 0.0F; // an empty list may have no array
    const int n = count_of(list);
    const float* const values = n > 0 ? floats_of(list) : &nothing;
    const float* const table = n > 1 ? table_for(n) : nullptr;
    float* const result = transform(n, values, backward, table);
    return result != nullptr ? float_list(n, result) : nullptr;
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
    bool wrong_type = p->datatype != DFU_FLOAT && p->datatype != DFU_LIST;
    if (wrong_type) {
        return bad_datatype(interp, argv[0]);
    }
    const auto leaf = [&](const DynList* list) -> DynList* {
        wrong_type = list->datatype != DFU_FLOAT;
        return wrong_type ? nullptr : transform_list(list, backward);
    };
    DynList* const result = p->datatype == DFU_LIST ? map_lists(p.get(), leaf) : leaf(p.get());
    if (result != nullptr) {
        return tclPutList(interp, result);
    }
    return wrong_type ? bad_datatype(interp, argv[0]) : library_failure(interp);
}

} // namespace zavo::ext

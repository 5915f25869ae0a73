// zavo_random_uniform n, zavo_random_normal n, zavo_random_exp n

#include "core/zavo.h"
#include "ext/conventions.hpp"

#include <cstdint>

namespace zavo::ext {

namespace {

using Routine = float*(int n, ...);

// By client data.
constexpr Routine* routines[] = {zavo_f_random_uniform, zavo_f_random_normal, zavo_f_random_exponential};

DynList* deviates(Routine* routine, int n)
{
    float* const values = routine(n, 0);
    return values != nullptr ? float_list(n, values) : nullptr;
}

// A list of deviates for each count; null, with nothing left behind, when one
// cannot be made.
DynList* deviates_by_counts(Routine* routine, const DynList* counts)
{
    DynList* const result = dfuCreateDynList(DFU_LIST, count_of(counts));
    for (int i = 0; result != nullptr && i < count_of(counts); ++i) {
        DynList* const child = deviates(routine, ints_of(counts)[i]);
        if (child == nullptr || dfuMoveDynListList(result, child) != 0) {
            dfuFreeDynList(child);
            dfuFreeDynList(result);
            return nullptr;
        }
    }
    return result;
}

} // namespace

// n is a count, or a list of counts nested to any depth.
int random_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[])
{
    if (argc != 2) {
        return usage(interp, argv[0], " n");
    }
    Routine* const routine = routines[reinterpret_cast<std::intptr_t>(client_data)];
    forget_last_error();
    DynList* result = nullptr;
    bool has_other_type = false;
    int n = 0;
    if (Tcl_GetInt(interp, argv[1], &n) == TCL_OK) {
        result = deviates(routine, n);
    } else {
        Tcl_ResetResult(interp);
        HeldList counts;
        if (counts.find(interp, argv[1]) != TCL_OK) {
            return TCL_ERROR;
        }
        const auto draw = [&](const DynList* list) -> DynList* {
            has_other_type = list->datatype != DFU_INT;
            return has_other_type ? nullptr : deviates_by_counts(routine, list);
        };
        result = counts->datatype == DFU_LIST ? map_lists(counts.get(), draw) : draw(counts.get());
    }
    if (result != nullptr) {
        return tclPutList(interp, result);
    }
    if (has_other_type) {
        return bad_datatype(interp, argv[0]);
    }
    return zavo_error_result(interp) ? TCL_ERROR : fail(interp, argv[0], ": not enough memory for the list");
}

} // namespace zavo::ext

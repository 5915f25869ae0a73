// zavo_random_uniform n, zavo_random_normal n, zavo_random_exp n

#include "core/frame/entry_frame.hpp"
#include "core/zavo.h"
#include "ext/conventions.hpp"

#include <cstdint>

namespace zavo::ext {

namespace {

struct Distribution {
    float* (*routine)(int n, ...);
    const char* name;
};

// By client data.
constexpr Distribution distributions[] = {
    {zavo_f_random_uniform, "zavo_f_random_uniform"},
    {zavo_f_random_normal, "zavo_f_random_normal"},
    {zavo_f_random_exponential, "zavo_f_random_exponential"},
};

} // namespace

// n is a count, or a list of counts nested to any depth.
int random_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[])
{
    if (argc != 2) {
        return usage(interp, argv[0], " n");
    }
    const Distribution& distribution = distributions[reinterpret_cast<std::intptr_t>(client_data)];
    const core::TrustedCaller trusted;
    ResultBuilder builder{distribution.name};
    const auto deviates = [&](int n) { return builder.floats(n, distribution.routine(n, 0)); };
    int n = 0;
    if (read_int(interp, argv[1], &n) == TCL_OK) {
        return builder.put(interp, argv[0], deviates(n));
    }
    Tcl_ResetResult(interp);
    HeldList counts;
    if (counts.find(interp, argv[1]) != TCL_OK) {
        return TCL_ERROR;
    }
    DynList* const result = builder.map(counts.get(), [&](const DynList* list) -> DynList* {
        if (list->datatype != DFU_INT) {
            return builder.wrong_type();
        }
        return builder.list_of(count_of(list), [&](int i) { return deviates(ints_of(list)[i]); });
    });
    return builder.put(interp, argv[0], result);
}

} // namespace zavo::ext

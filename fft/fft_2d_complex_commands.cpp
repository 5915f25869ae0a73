// zavo_fft_2d_complex p m n ?BACKWARD?

#include "core/zavo.h"
#include "ext/conventions.hpp"

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace zavo::ext {

namespace {

struct Request {
    int m;
    int n;
    bool backward;

    // Floats of the input and of the result; -1 when no list can hold them.
    int floats() const
    {
        const std::int64_t count = static_cast<std::int64_t>(m) * n; // 62 bits
        return count > INT_MAX / 2 ? -1 : static_cast<int>(2 * count);
    }
};

f_complex* transform(const Request& request, const float* values)
{
    const f_complex* const p = reinterpret_cast<const f_complex*>(values);
    return request.backward ? zavo_c_fft_2d_complex(request.m, request.n, p, ZAVO_BACKWARD, 0)
                            : zavo_c_fft_2d_complex(request.m, request.n, p, 0);
}

// The list's values with zeros behind them up to `count`; null when memory is
// short. To be freed.
float* padded_copy(const DynList* list, int count)
{
    float* const copy = static_cast<float*>(std::calloc(static_cast<std::size_t>(count), sizeof(float)));
    if (copy != nullptr && count_of(list) > 0) {
        std::memcpy(copy, floats_of(list), static_cast<std::size_t>(count_of(list)) * sizeof(float));
    }
    return copy;
}

// The transform of a float list as a new list; null after an error, with
// *too_large when no list or memory could hold the matrix.
DynList* transform_list(const Request& request, const DynList* list, bool* too_large)
{
    static const float nothing[2] = {};
    f_complex* result = nullptr;
    if (request.m < 1 || request.n < 1) {
        result = transform(request, nothing); // the library says what is wrong
        std::free(result);
        return nullptr;
    }
    const int count = request.floats();
    if (count < 0) {
        *too_large = true;
        return nullptr;
    }
    if (count_of(list) >= count) {
        result = transform(request, floats_of(list));
    } else {
        float* const padded = padded_copy(list, count);
        if (padded == nullptr) {
            *too_large = true;
            return nullptr;
        }
        result = transform(request, padded);
        std::free(padded);
    }
    return result != nullptr ? float_list(count, reinterpret_cast<float*>(result)) : nullptr;
}

} // namespace

int fft_2d_complex_command(ClientData, Tcl_Interp* interp, int argc, const char* argv[])
{
    if (argc < 4) {
        return usage(interp, argv[0], " p m n [BACKWARD]");
    }
    HeldList p;
    Request request{};
    if (p.find(interp, argv[1]) != TCL_OK || Tcl_GetInt(interp, argv[2], &request.m) != TCL_OK ||
        Tcl_GetInt(interp, argv[3], &request.n) != TCL_OK) {
        return TCL_ERROR;
    }
    request.backward = argc > 4 && std::strcmp(argv[4], "BACKWARD") == 0;
    bool wrong_type = p->datatype != DFU_FLOAT && p->datatype != DFU_LIST;
    if (wrong_type) {
        return bad_datatype(interp, argv[0]);
    }
    bool too_large = false;
    const auto leaf = [&](const DynList* list) -> DynList* {
        wrong_type = list->datatype != DFU_FLOAT;
        return wrong_type ? nullptr : transform_list(request, list, &too_large);
    };
    DynList* const result = p->datatype == DFU_LIST ? map_lists(p.get(), leaf) : leaf(p.get());
    if (result != nullptr) {
        return tclPutList(interp, result);
    }
    if (too_large) {
        return fail(interp, argv[0], ": not enough memory for m by n values");
    }
    return wrong_type ? bad_datatype(interp, argv[0]) : library_failure(interp);
}

} // namespace zavo::ext

// zavo_fft_2d_complex p m n ?BACKWARD?

#include "core/frame/entry_frame.hpp"
#include "core/system/memory.hpp"
#include "core/zavo.h"
#include "ext/conventions.hpp"

#include <climits>
#include <cstdint>
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

// The transform of a float list as a new list; null after an error.
DynList* transform_list(const Request& request, const DynList* list, ResultBuilder& builder)
{
    if (request.m < 1 || request.n < 1) {
        static const float nothing[2] = {};
        // The library says what is wrong.
        return builder.floats(0, reinterpret_cast<float*>(transform(request, nothing)));
    }
    const int count = request.floats();
    if (count < 0) {
        return builder.no_memory("n", request.m); // as the library puts it
    }
    if (count_of(list) >= count) {
        return builder.floats(count, reinterpret_cast<float*>(transform(request, floats_of(list))));
    }
    float* const padded = padded_copy(list, count);
    if (padded == nullptr) {
        return builder.no_memory("n", request.m);
    }
    f_complex* const result = transform(request, padded);
    core::release(padded);
    return builder.floats(count, reinterpret_cast<float*>(result));
}

} // namespace

int fft_2d_complex_command(ClientData, Tcl_Interp* interp, int argc, const char* argv[])
{
    if (argc < 4) {
        return usage(interp, argv[0], " p m n [BACKWARD]");
    }
    HeldList p;
    Request request{};
    if (p.find(interp, argv[1]) != TCL_OK || read_int(interp, argv[2], &request.m) != TCL_OK ||
        read_int(interp, argv[3], &request.n) != TCL_OK) {
        return TCL_ERROR;
    }
    request.backward = argc > 4 && std::strcmp(argv[4], "BACKWARD") == 0;
    const core::TrustedCaller trusted;
    ResultBuilder builder{"zavo_c_fft_2d_complex"};
    DynList* const result = builder.map(p.get(), [&](const DynList* list) {
        return list->datatype == DFU_FLOAT ? transform_list(request, list, builder) : builder.wrong_type();
    });
    return builder.put(interp, argv[0], result);
}

} // namespace zavo::ext

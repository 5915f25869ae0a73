// zavo_convolution x y (client data 0) and zavo_correlation x y (client data 1).

#include "core/frame/entry_frame.hpp"
#include "core/system/memory.hpp"
#include "core/zavo.h"
#include "ext/conventions.hpp"

#include <algorithm>
#include <cstdint>

namespace zavo::ext {

namespace {

// Combines pairs of lists.
class Combiner {
public:
    explicit Combiner(bool correlate) : correlate_(correlate) {}

    DynList* combine(const DynList* x, const DynList* y)
    {
        const bool x_floats = x->datatype == DFU_FLOAT, x_lists = x->datatype == DFU_LIST;
        const bool y_floats = y->datatype == DFU_FLOAT, y_lists = y->datatype == DFU_LIST;
        if (x_floats && y_floats) {
            return combine_floats(x, y);
        }
        if (x_floats && y_lists) {
            return builder_.list_of(count_of(y), [&](int i) { return combine(x, child_of(y, i)); });
        }
        if (x_lists && y_floats) {
            // Kept: y's count decides how many elements of x are combined, as far
            // as there are any
            // (convolution.lists.lists_with_floats_y_s_count_decides_as_far_as_x_goes).
            const int count = std::min(count_of(x), count_of(y));
            return builder_.list_of(count, [&](int i) { return combine(child_of(x, i), y); });
        }
        return x_lists && y_lists ? combine_lists(x, y) : builder_.wrong_type();
    }

    int put(Tcl_Interp* interp, DynList* result) const
    {
        return builder_.put(interp, result, [](Tcl_Interp* in) {
            return fail(in, "zavo_convolution/correlation", ": bad datatype");
        });
    }

private:
    // Element by element; a list of one element goes with every element of the
    // other.
    DynList* combine_lists(const DynList* x, const DynList* y)
    {
        const int nx = count_of(x), ny = count_of(y);
        if (nx != ny && nx != 1 && ny != 1) {
            return builder_.wrong_type();
        }
        const int count = nx == 1 ? ny : nx;
        return builder_.list_of(count, [&](int i) {
            return combine(child_of(x, nx == 1 ? 0 : i), child_of(y, ny == 1 ? 0 : i));
        });
    }

    DynList* combine_floats(const DynList* x, const DynList* y)
    {
        // The routine reads as many values of y as x has: zeros for the missing.
        const int nx = count_of(x);
        float* padded = nullptr;
        if (correlate_ && count_of(y) > 0 && count_of(y) < nx) {
            padded = padded_copy(y, nx);
            if (padded == nullptr) {
                return builder_.no_memory("n", nx);
            }
        }
        int nz = 0;
        float* const z = call(x, padded != nullptr ? padded : values_of(y), count_of(y), &nz);
        core::release(padded);
        return builder_.floats(nz, z);
    }

    float* call(const DynList* x, const float* y, int ny, int* nz) const
    {
        const int nx = count_of(x);
        return correlate_ ? zavo_f_convolution(nx, values_of(x), ny, y, nz, ZAVO_CIRCULAR, ZAVO_CORRELATE, 0)
                          : zavo_f_convolution(nx, values_of(x), ny, y, nz, ZAVO_CIRCULAR, 0);
    }

    bool correlate_;
    ResultBuilder builder_{"zavo_f_convolution"};
};

} // namespace

int convolution_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[])
{
    if (argc < 3) {
        return usage(interp, argv[0], " x y");
    }
    HeldList x, y;
    if (x.find(interp, argv[1]) != TCL_OK || y.find(interp, argv[2]) != TCL_OK) {
        return TCL_ERROR;
    }
    const core::TrustedCaller trusted;
    Combiner combiner{reinterpret_cast<std::intptr_t>(client_data) == 1};
    return combiner.put(interp, combiner.combine(x.get(), y.get()));
}

} // namespace zavo::ext

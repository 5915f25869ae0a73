// zavo_convolution x y (client data 0) and zavo_correlation x y (client data 1).

#include "core/zavo.h"
#include "ext/conventions.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace zavo::ext {

namespace {

enum class Trouble { none, bad_type, library, memory };

// Combines pairs of lists; `trouble` says why the result is null.
class Combiner {
public:
    explicit Combiner(bool correlate) : correlate_(correlate) {}
    Trouble trouble = Trouble::none;

    DynList* combine(const DynList* x, const DynList* y)
    {
        const bool x_floats = x->datatype == DFU_FLOAT, x_lists = x->datatype == DFU_LIST;
        const bool y_floats = y->datatype == DFU_FLOAT, y_lists = y->datatype == DFU_LIST;
        if (x_floats && y_floats) {
            return combine_floats(x, y);
        }
        if (x_floats && y_lists) {
            return combine_each(count_of(y), [&](int i) { return combine(x, child_of(y, i)); });
        }
        if (x_lists && y_floats) {
            // Kept: y's count decides how many elements of x are combined, as far
            // as there are any (convolution-lists-3).
            const int count = std::min(count_of(x), count_of(y));
            return combine_each(count, [&](int i) { return combine(child_of(x, i), y); });
        }
        return x_lists && y_lists ? combine_lists(x, y) : give_up(Trouble::bad_type);
    }

private:
    DynList* give_up(Trouble why)
    {
        trouble = why;
        return nullptr;
    }

    // Element by element; a list of one element goes with every element of the
    // other.
    DynList* combine_lists(const DynList* x, const DynList* y)
    {
        const int nx = count_of(x), ny = count_of(y);
        if (nx != ny && nx != 1 && ny != 1) {
            return give_up(Trouble::bad_type);
        }
        const int count = nx == 1 ? ny : nx;
        return combine_each(count, [&](int i) {
            return combine(child_of(x, nx == 1 ? 0 : i), child_of(y, ny == 1 ? 0 : i));
        });
    }

    template <class Pair>
    DynList* combine_each(int count, Pair&& pair)
    {
        DynList* const result = dfuCreateDynList(DFU_LIST, count);
        if (result == nullptr) {
            return give_up(Trouble::memory);
        }
        for (int i = 0; i < count; ++i) {
            DynList* const combined = pair(i);
            if (combined == nullptr || dfuMoveDynListList(result, combined) != 0) {
                dfuFreeDynList(combined);
                dfuFreeDynList(result);
                return trouble == Trouble::none ? give_up(Trouble::memory) : nullptr;
            }
        }
        return result;
    }

    DynList* combine_floats(const DynList* x, const DynList* y)
    {
        // The routine reads as many values of y as x has: zeros for the missing.
        const int nx = count_of(x);
        float* padded = nullptr;
        if (correlate_ && count_of(y) > 0 && count_of(y) < nx) {
            padded = static_cast<float*>(std::calloc(static_cast<std::size_t>(nx), sizeof(float)));
            if (padded == nullptr) {
                return give_up(Trouble::memory);
            }
            std::memcpy(padded, floats_of(y), static_cast<std::size_t>(count_of(y)) * sizeof(float));
        }
        int nz = 0;
        float* const z = call(x, padded != nullptr ? padded : values_of(y), count_of(y), &nz);
        std::free(padded);
        if (z == nullptr) {
            return give_up(Trouble::library);
        }
        DynList* const result = float_list(nz, z);
        return result != nullptr ? result : give_up(Trouble::memory);
    }

    float* call(const DynList* x, const float* y, int ny, int* nz) const
    {
        const int nx = count_of(x);
        return correlate_ ? zavo_f_convolution(nx, values_of(x), ny, y, nz, ZAVO_CIRCULAR, ZAVO_CORRELATE, 0)
                          : zavo_f_convolution(nx, values_of(x), ny, y, nz, ZAVO_CIRCULAR, 0);
    }

    // An empty list may have no array; the library then complains of its count.
    static const float* values_of(const DynList* list)
    {
        static const float nothing = 0.0F;
        return count_of(list) > 0 ? floats_of(list) : &nothing;
    }

    bool correlate_;
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
    Combiner combiner{reinterpret_cast<std::intptr_t>(client_data) == 1};
    DynList* const result = combiner.combine(x.get(), y.get());
    if (result != nullptr) {
        return tclPutList(interp, result);
    }
    switch (combiner.trouble) {
    case Trouble::bad_type:
        return fail(interp, "zavo_convolution/correlation", ": bad datatype");
    case Trouble::memory:
        return fail(interp, argv[0], ": not enough memory for the result");
    default:
        return library_failure(interp);
    }
}

} // namespace zavo::ext

// Between DynLists and Tcl values. Functions that return a pointer give null
// with a message in the result when they fail.
#pragma once

#include "morvel.h"
#include "tcl_generations.hpp"

namespace morvel {

// Whether a conversion of many elements asks the interpreter if it may go on. What the
// caller reads then has to outlive any script.
enum class Long : bool { uninterrupted, interruptible };

inline constexpr int part_of_long = 1 << 16; // elements between two questions

// work(begin, end) for one part after the other of n elements, until it returns something
// other than TCL_OK, which is then returned, or the interpreter ends the work.
template <class Work>
int in_parts(Tcl_Interp* interp, int n, Long how, Work&& work)
{
    if (n <= part_of_long || how == Long::uninterrupted) {
        return work(0, n);
    }
    Tcl_Preserve(interp);
    int status = TCL_OK;
    for (int begin = 0; status == TCL_OK && begin < n;) {
        const int end = n - begin > part_of_long ? begin + part_of_long : n;
        status = work(begin, end);
        if (status == TCL_OK) {
            status = morvelMayGoOn(interp);
        }
        begin = end;
    }
    Tcl_Release(interp);
    return status;
}

// The elements of a Tcl list that is to become a DynList: TCL_OK, or TCL_ERROR
// with a message when it is no list or a longer one than a DynList can be.
int elements_of(Tcl_Interp* interp, Tcl_Obj* values, int* count, Tcl_Obj*** elements);

// The same, for work that may run scripts between its parts: of a long list it holds a
// copy, so that the elements stay whatever a script does with the value.
class HeldElements {
public:
    HeldElements() = default;
    ~HeldElements();
    HeldElements(const HeldElements&) = delete;
    HeldElements& operator=(const HeldElements&) = delete;
    int get(Tcl_Interp* interp, Tcl_Obj* values);

    int count = 0;
    Tcl_Obj** elements = nullptr;

private:
    Tcl_Obj* copy_ = nullptr;
};

// The floats of a Tcl list of numbers or of a vector, in a malloc() array of the
// caller's; null for none. TCL_OK, or TCL_ERROR with a message.
int floats_of_value(Tcl_Interp* interp, Tcl_Obj* value, Long how, int* count, float** numbers);

// Tcl's error for a number beyond the range of a type; returns TCL_ERROR.
int too_large(Tcl_Interp* interp, const char* kind, const char* message);

// A list of numbers from a Tcl list of numbers; interruptible.
DynList* ints_from_value(Tcl_Interp* interp, Tcl_Obj* values);
DynList* floats_from_value(Tcl_Interp* interp, Tcl_Obj* values);

// The Tcl list of a list's values, with no reference counted yet.
Tcl_Obj* value_of(Tcl_Interp* interp, const DynList* list, Long how);

// The value at a path of indices; path_length 0 gives the whole list. Interruptible.
Tcl_Obj* value_at(Tcl_Interp* interp, const DynList* list, int path_length, Tcl_Obj* const path[]);

// A list of numbers (datatype DFU_INT or DFU_FLOAT) from packed bytes, and the
// bytes of such a list.
DynList* numbers_from_bytes(Tcl_Interp* interp, int datatype, Tcl_Obj* bytes);
Tcl_Obj* bytes_of(Tcl_Interp* interp, const DynList* list);

} // namespace morvel

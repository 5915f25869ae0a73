// What the command procedures share: argument checks, lists in and out, and the
// road from a library error to a script error.
#pragma once

#include "ext/engine.h"

#include <morvel.h>
#include <tcl.h>

extern "C" {

// Error handler that the module installs: keeps the last error's text and type.
void zavo_error_handler(int type, int code, const char* routine, const char* message);

// 1, with the last error's text as the result, when the routine popped last
// ended with an error of type 4 or 5; else 0, result untouched.
int zavo_error_result(Tcl_Interp* interp);

} // extern "C"

namespace zavo::ext {

using Command = int(ClientData, Tcl_Interp*, int argc, const char* argv[]);

// Each returns TCL_ERROR with its text in the result.
int usage(Tcl_Interp* interp, const char* command, const char* arguments); // "usage: " command arguments
int fail(Tcl_Interp* interp, const char* command, const char* text);       // command text, e.g. ": bad n"
int bad_datatype(Tcl_Interp* interp, const char* command); // command ": data must be lists or floats"
int library_failure(Tcl_Interp* interp);                   // of the library's last error

// For a routine that posts a note behind an error, which hides the error from
// zavo_error_result: call forget_last_error() before the routine and ask
// failure_reported() after it. True, with the text as the result, when an error
// of type 4 or 5 was reported in between.
void forget_last_error();
bool failure_reported(Tcl_Interp* interp);

// The same for the companions (ext/engine.h), which know no script of ours.
int failure_seen();
void describe_last_error(zavo_engine_error* error);

// Keeps a list alive while a command reads it.
class HeldList {
public:
    HeldList() = default;
    ~HeldList();
    HeldList(const HeldList&) = delete;
    HeldList& operator=(const HeldList&) = delete;
    // TCL_OK, or TCL_ERROR with the registry's message.
    int find(Tcl_Interp* interp, const char* name);
    DynList* get() const { return list_; }
    DynList* operator->() const { return list_; }

private:
    Tcl_Interp* interp_ = nullptr;
    DynList* list_ = nullptr;
};

inline int count_of(const DynList* list)
{
    return list->count;
}
inline const float* floats_of(const DynList* list)
{
    return static_cast<const float*>(list->values);
}
inline const int* ints_of(const DynList* list)
{
    return static_cast<const int*>(list->values);
}
inline DynList* child_of(const DynList* list, int i)
{
    return static_cast<DynList**>(list->values)[i];
}

// Wraps a malloc() array as a float list, which owns it; frees it on failure
// and returns null.
DynList* float_list(int n, float* values);

// Applies `leaf` (DynList* -> new DynList* or null) to every list below a list
// of lists and gives a list of lists of the results, in order. Null, with
// nothing left behind, as soon as one is null.
template <class Leaf>
DynList* map_lists(const DynList* list, Leaf&& leaf)
{
    DynList* const result = dfuCreateDynList(DFU_LIST, count_of(list));
    for (int i = 0; result != nullptr && i < count_of(list); ++i) {
        DynList* const child = child_of(list, i);
        DynList* const mapped = child->datatype == DFU_LIST ? map_lists(child, leaf) : leaf(child);
        if (mapped == nullptr || dfuMoveDynListList(result, mapped) != 0) {
            dfuFreeDynList(mapped);
            dfuFreeDynList(result);
            return nullptr;
        }
    }
    return result;
}

// Command procedures, one each; client data as the command table says.
Command constant_command, i_machine_command, f_machine_command, date_to_days_command, days_to_date_command,
    random_command, fft_real_command, fft_2d_complex_command, convolution_command, min_uncon_multivar_command,
    min_con_gen_lin_command;

} // namespace zavo::ext

// What the command procedures share: argument checks, lists in and out, and the
// road from a library error to a script error.
#pragma once

#include "core/frame/interruption.hpp"
#include "ext/engine.h"

#include <cstdint>
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

// Tcl_GetInt; a plain decimal number, which has one meaning, is read on the spot.
int read_int(Tcl_Interp* interp, const char* word, int* value);

// The interpreter's result, for Tcl_SetIntObj and the like.
Tcl_Obj* own_result(Tcl_Interp* interp);

// For a list or an array that memory does not allow: posts 5/201 under the name of
// the routine that the command stands for, with `count` elements of `argument`.
int memory_failure(Tcl_Interp* interp, const char* routine, const char* argument, int count);

// Both set errorCode to {ZAVO type code routine} of the error.

// For a routine that posts a note behind an error, which hides the error from
// zavo_error_result: call forget_last_error() before the routine and ask
// failure_reported() after it. True, with the text as the result, when an error
// of type 4 or 5 was reported in between.
void forget_last_error();
bool failure_reported(Tcl_Interp* interp);

// The same for the companions (ext/engine.h), which know no script of ours.
int failure_seen();
void describe_last_error(zavo_engine_error* error);

// Work that the interpreter may end; see ext/engine.h.
void begin_long_work(zavo_long_work* work, Tcl_Interp* interp);
int long_work_ended(long long nanoseconds);
int end_long_work(zavo_long_work* work, int status);

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

// A copy of a float list's values with zeros behind them up to `count`; null when
// memory is short. Released with core::release.
float* padded_copy(const DynList* list, int count);

// Values of a float list; an empty one, which may have no array, gives an address
// all the same, so that the library complains of the count.
const float* values_of(const DynList* list);

// Builds a command's result, a list or lists within lists. Each part is a new list
// or null, and null makes the whole null, with nothing left behind; why, the
// builder knows.
class ResultBuilder {
public:
    // The routine that the command stands for.
    explicit ResultBuilder(const char* routine) : routine_(routine) {}

    // An array of the library's as a list; a null array is its error.
    DynList* floats(int n, float* values)
    {
        DynList* const list = values != nullptr ? float_list(n, values) : nullptr;
        return list != nullptr || values == nullptr ? list : no_memory("n", n);
    }
    DynList* wrong_type()
    {
        why_ = Why::wrong_type;
        return nullptr;
    }
    DynList* no_memory(const char* argument, int count)
    {
        why_ = Why::memory;
        argument_ = argument;
        count_ = count;
        return nullptr;
    }

    // The list of part(0) .. part(count - 1).
    template <class Part>
    DynList* list_of(int count, Part&& part)
    {
        DynList* const result = dfuCreateDynList(DFU_LIST, count);
        if (result == nullptr) {
            return no_memory("n", count);
        }
        for (int i = 0; i < count; ++i) {
            DynList* const child = part(i);
            if (child == nullptr || dfuMoveDynListList(result, child) != 0) {
                if (child != nullptr) {
                    no_memory("n", count);
                }
                dfuFreeDynList(child);
                dfuFreeDynList(result);
                return nullptr;
            }
            if (core::interrupted(nanoseconds_of(child))) {
                dfuFreeDynList(result);
                return nullptr;
            }
        }
        return result;
    }

    // leaf(list) of a list, and of every list below a list of lists, in order.
    template <class Leaf>
    DynList* map(const DynList* list, Leaf&& leaf)
    {
        if (list->datatype != DFU_LIST) {
            return leaf(list);
        }
        return list_of(count_of(list), [&](int i) { return map(child_of(list, i), leaf); });
    }

    // Registers the result; for null leaves the text of what went wrong, of which
    // bad_type(interp) writes the one about datatypes.
    template <class BadType>
    int put(Tcl_Interp* interp, DynList* result, BadType&& bad_type) const
    {
        if (core::interrupted()) {
            dfuFreeDynList(result);
            return TCL_ERROR; // the error is the interpreter's
        }
        if (result != nullptr) {
            return tclPutList(interp, result);
        }
        switch (why_) {
        case Why::wrong_type:
            return bad_type(interp);
        case Why::memory:
            return memory_failure(interp, routine_, argument_, count_);
        default:
            return library_failure(interp);
        }
    }
    int put(Tcl_Interp* interp, const char* command, DynList* result) const
    {
        return put(interp, result, [command](Tcl_Interp* in) { return bad_datatype(in, command); });
    }

private:
    // What it takes to make a part: the call of a routine, and its elements. Lists have
    // counted their own.
    static std::int64_t nanoseconds_of(const DynList* part)
    {
        constexpr int of_call = 500;
        constexpr int of_element = 8;
        return of_call + (part->datatype == DFU_LIST ? 0 : std::int64_t{of_element} * part->count);
    }

    enum class Why { library, wrong_type, memory };
    const char* routine_;
    Why why_ = Why::library;
    const char* argument_ = "";
    int count_ = 0;
};

// Command procedures, one each; client data as the command table says.
Command constant_command, i_machine_command, f_machine_command, date_to_days_command, days_to_date_command,
    random_command, fft_real_command, fft_2d_complex_command, convolution_command, min_uncon_multivar_command,
    min_con_gen_lin_command;

} // namespace zavo::ext

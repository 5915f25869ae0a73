// Between DynLists and Tcl values. Functions that return a pointer give null
// with a message in the result when they fail.
#pragma once

#include "morvel.h"

namespace morvel {

// The elements of a Tcl list that is to become a DynList: TCL_OK, or TCL_ERROR
// with a message when it is no list or a longer one than a DynList can be.
int elements_of(Tcl_Interp* interp, Tcl_Obj* values, int* count, Tcl_Obj*** elements);

// The floats of a Tcl list of numbers or of a vector, in a malloc() array of the
// caller's; null for none. TCL_OK, or TCL_ERROR with a message.
int floats_of_value(Tcl_Interp* interp, Tcl_Obj* value, int* count, float** numbers);

// Tcl's error for a number beyond the range of a type; returns TCL_ERROR.
int too_large(Tcl_Interp* interp, const char* kind, const char* message);

// A list of numbers from a Tcl list of numbers.
DynList* ints_from_value(Tcl_Interp* interp, Tcl_Obj* values);
DynList* floats_from_value(Tcl_Interp* interp, Tcl_Obj* values);

// The Tcl list of a list's values, with no reference counted yet.
Tcl_Obj* value_of(Tcl_Interp* interp, const DynList* list);

// The value at a path of indices; path_length 0 gives the whole list.
Tcl_Obj* value_at(Tcl_Interp* interp, const DynList* list, int path_length, Tcl_Obj* const path[]);

// A list of numbers (datatype DFU_INT or DFU_FLOAT) from packed bytes, and the
// bytes of such a list.
DynList* numbers_from_bytes(Tcl_Interp* interp, int datatype, Tcl_Obj* bytes);
Tcl_Obj* bytes_of(Tcl_Interp* interp, const DynList* list);

} // namespace morvel

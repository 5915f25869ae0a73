// What the C interfaces of Tcl 8 and of Tcl 9 have under different names: Tcl 9
// counts elements and bytes in Tcl_Size, as wide as a pointer; Tcl 8 in int. The
// number of elements of a DynList is an int with both.
#pragma once

#include <climits>
#include <tcl.h>

#ifndef TCL_SIZE_MAX
using Tcl_Size = int;
#define TCL_SIZE_MAX INT_MAX
#define TCL_SIZE_MODIFIER "" // between % and d in formats
#endif
#ifndef TCL_OBJTYPE_V0
#define TCL_OBJTYPE_V0
#endif
#ifndef TCL_OBJTYPE_V2 // the fields that end a Tcl_ObjType: what a list answers
#define TCL_OBJTYPE_V2(length, index, slice, reverse, elements, set, replace, in)
#endif

namespace morvel {

// Every version of Tcl that the library may be compiled for; with "8.5" alone
// Tcl 9 would not do.
inline constexpr char tcl_versions[] = "8.5-";

} // namespace morvel

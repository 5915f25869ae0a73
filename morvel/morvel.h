/*
 * morvel.h: DynLists that a Tcl interpreter knows by name.
 *
 * The functions work in any interpreter of Tcl 8.5 or later, whether or not it
 * has loaded the package; an interpreter's registry comes to be with its first
 * list and goes with the interpreter. Each function that fails leaves a message
 * in the result and words beginning with MORVEL, or Tcl's own, in errorCode.
 */
#ifndef MORVEL_H
#define MORVEL_H

#include <quillet.h>
#include <tcl.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(_WIN32) && defined(MORVEL_BUILD)
#define MORVEL_API __declspec(dllexport)
#elif defined(_WIN32)
#define MORVEL_API __declspec(dllimport)
#else
#define MORVEL_API __attribute__((visibility("default")))
#endif

/* Lists of lists nest at most this deep in a registry and as Tcl values: a list
 * of numbers may stand inside so many lists of lists. */
#define MORVEL_MAX_NESTING 500

/* Stores the list called `name` in *list and returns TCL_OK; the registry keeps
 * it. Otherwise leaves `no DynList named "..."` in the result, and MORVEL LOOKUP
 * DYNLIST and the name in errorCode. */
MORVEL_API int tclFindDynList(Tcl_Interp* interp, const char* name, DynList** list);

/* Registers a list under a new name, which becomes the result. The registry
 * owns the list from the call on: after a failure it has been freed. (A list
 * that has another owner is refused and stays with that owner.) */
MORVEL_API int tclPutList(Tcl_Interp* interp, DynList* list);

/* Sets the result to a Tcl list of the values, nested for lists of lists. The
 * list still belongs to the caller. */
MORVEL_API int tclDynListToTclList(Tcl_Interp* interp, DynList* list);

/* The same for a list that no script can free: the interpreter may end it when it
 * takes long, as morvelMayGoOn tells. */
MORVEL_API int morvelPutValues(Tcl_Interp* interp, const DynList* list);

/* A list that a running command reads stays alive between hold and release,
 * even when a script meanwhile frees its name, moves it into another list or
 * deletes the interpreter. Holds nest. */
MORVEL_API void morvelHoldList(Tcl_Interp* interp, DynList* list);
MORVEL_API void morvelReleaseList(Tcl_Interp* interp, DynList* list);

/* ---- Vectors ---------------------------------------------------------------
 *
 * A vector is a Tcl value: an array of floats that any number of values share.
 * To a script it is a list of numbers; its string gives each float by the
 * shortest decimals that read back as the same float. What holds a MorvelVector
 * counts as a reference to it; a vector that has more than one is not written.
 * Vectors belong to the thread of their interpreter.
 */
typedef struct MorvelVector {
    int count;
    int references; /* kept by the functions below */
    float* values;  /* a malloc() array; may be null when count is 0 */
} MorvelVector;

/* A vector of the n floats in `values`, a malloc() array that it owns from now
 * on (null is allowed for n = 0); nothing is copied. The caller holds the only
 * reference. Null when memory is short; the array then still belongs to the
 * caller. */
MORVEL_API MorvelVector* morvelNewVector(int n, float* values);

/* A vector of n floats of no particular value, to be filled by the caller, who
 * holds the only reference. Null when memory is short or n is negative. */
MORVEL_API MorvelVector* morvelAllocateVector(int n);

/* One reference more, and one less: the last frees the vector. Null is ignored. */
MORVEL_API void morvelHoldVector(MorvelVector* vector);
MORVEL_API void morvelReleaseVector(MorvelVector* vector);

/* Makes *vector one that nobody else refers to, so that its values may be
 * written: itself, or a copy that takes over the caller's reference. Returns 0,
 * or nonzero when memory is short, and *vector is then as it was. */
MORVEL_API int morvelOwnVector(MorvelVector** vector);

/* A Tcl value of the vector, with no reference counted on the value yet. The
 * caller's reference to the vector becomes the value's. */
MORVEL_API Tcl_Obj* morvelVectorValue(Tcl_Interp* interp, MorvelVector* vector);

/* The vector of a Tcl value: its own, or that of the numbers in a list, rounded
 * to the nearest float. *vector then carries a reference of the caller's, who
 * releases it; it outlives whatever happens to the value. Inf, -Inf and NaN are
 * numbers; a finite number that would round to infinity is refused. A text of
 * several numbers becomes a vector in its representation, so that it is read
 * once; its string stays. Returns TCL_OK, or TCL_ERROR with Tcl's message. */
MORVEL_API int morvelGetVector(Tcl_Interp* interp, Tcl_Obj* value, MorvelVector** vector);

/* The same when the value is a vector already: nothing is converted. Null, and
 * no message, when it is not; no reference is added. */
MORVEL_API MorvelVector* morvelVectorIfAny(Tcl_Obj* value);

/* A vector of the numbers of a list of floats or integers, a copy, rounded to the
 * nearest float. Null for a list of lists or when memory is short. */
MORVEL_API MorvelVector* morvelVectorOfList(const DynList* list);

/* A vector of the floats that stand packed in a byte array, and the byte array of n
 * floats (with no reference counted yet). Null with a message when they fail. */
MORVEL_API MorvelVector* morvelVectorOfBytes(Tcl_Interp* interp, Tcl_Obj* bytes);
MORVEL_API Tcl_Obj* morvelBytesOfFloats(Tcl_Interp* interp, int n, const float* values);

/* The index that a word means in a list of `count` elements: an integer or end,
 * perhaps with an offset, as in lindex. Not held against the count. Returns
 * TCL_OK, or TCL_ERROR with Tcl's message. */
MORVEL_API int morvelGetIndex(Tcl_Interp* interp, Tcl_Obj* word, int count, Tcl_WideInt* index);

/* In the middle of long work: what an interpreter does between two commands of a
 * script. TCL_OK, with the result as it was, or TCL_ERROR with the interpreter's own
 * error when it has been deleted or cancelled or has met a limit. Handlers may run
 * here, and with them any script. The caller keeps the interpreter (Tcl_Preserve). */
MORVEL_API int morvelMayGoOn(Tcl_Interp* interp);

/* Provides the package morvel 1.0 and the command dynlist. */
MORVEL_API int Morvel_Init(Tcl_Interp* interp);

#ifdef __cplusplus
}
#endif

#endif

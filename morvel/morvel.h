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

/* A list that a running command reads stays alive between hold and release,
 * even when a script meanwhile frees its name, moves it into another list or
 * deletes the interpreter. Holds nest. */
MORVEL_API void morvelHoldList(Tcl_Interp* interp, DynList* list);
MORVEL_API void morvelReleaseList(Tcl_Interp* interp, DynList* list);

/* Provides the package morvel 1.0 and the command dynlist. */
MORVEL_API int Morvel_Init(Tcl_Interp* interp);

#ifdef __cplusplus
}
#endif

#endif

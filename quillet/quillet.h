/*
 * quillet.h: the DynList, a growable list of integers, floats or further lists.
 *
 * The element array comes from malloc() and belongs to the list. A list of
 * lists owns its children.
 */
#ifndef QUILLET_H
#define QUILLET_H

#ifdef __cplusplus
extern "C" {
#endif

#if defined(_WIN32) && defined(QUILLET_BUILD)
#define QUILLET_API __declspec(dllexport)
#elif defined(_WIN32)
#define QUILLET_API __declspec(dllimport)
#else
#define QUILLET_API __attribute__((visibility("default")))
#endif

enum dfu_datatype {
    DFU_INT = 3,   /* int */
    DFU_FLOAT = 5, /* float */
    DFU_LIST = 12  /* DynList* */
};

typedef struct DynList {
    int datatype; /* one of dfu_datatype */
    int count;    /* elements in use */
    int capacity; /* elements that fit before the array grows */
    void* values; /* int*, float* or DynList**, by datatype; may be null when count is 0 */
} DynList;

/* A new, empty list with room for `capacity` elements (0 is allowed). Null for
 * an unknown datatype, a negative capacity or when memory is short. */
QUILLET_API DynList* dfuCreateDynList(int datatype, int capacity);

/* A new list of the n elements in `values`, a malloc() array that the list
 * owns from now on. Null on failure; the array then still belongs to the
 * caller. */
QUILLET_API DynList* dfuCreateDynListWithVals(int datatype, int n, void* values);

/* Appends `child` to a list of lists, which owns it from now on. Returns 0, or
 * nonzero when nothing was moved (parent no list of lists, child its own
 * parent, memory short). */
QUILLET_API int dfuMoveDynListList(DynList* parent, DynList* child);

/* Frees a list, its elements and all lists below it; null is ignored. */
QUILLET_API void dfuFreeDynList(DynList* list);

#ifdef __cplusplus
}
#endif

#endif

/*
 * quillet.h: the DynList, a growable list of integers, floats or further lists.
 *
 * Every list has one owner: the list of lists that it stands in, a registry
 * that knows it by name, or, while neither holds, the code that made it. The
 * element array comes from malloc() and belongs to its list. A list belongs to
 * one thread. Nothing here recurses: lists may nest as deeply as memory allows.
 */
#ifndef QUILLET_H
#define QUILLET_H

#include <stddef.h>

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

enum dfu_state {
    DFU_REGISTERED = 1, /* a registry owns the list */
    DFU_CONDEMNED = 2   /* freed while held: goes with the last release */
};

typedef struct DynList {
    int datatype; /* one of dfu_datatype */
    int count;    /* elements in use */
    int capacity; /* elements that fit before the array grows */
    void* values; /* int*, float* or DynList**, by datatype; may be null when capacity is 0 */
    /* Kept by the libraries; others read them at most. Numbers may be written
     * straight into `values` up to capacity, with count set to match; children
     * come in through the functions below only. */
    struct DynList* owner; /* the list of lists it stands in, or null */
    int holds;             /* holds on it and on all lists below it */
    int state;             /* bits of dfu_state */
} DynList;

/* A new, empty list with room for `capacity` elements (0 is allowed). Null for
 * an unknown datatype, a negative capacity or when memory is short. */
QUILLET_API DynList* dfuCreateDynList(int datatype, int capacity);

/* A new list of the n elements in `values`, a malloc() array that the list
 * owns from now on (null is allowed for n = 0). The elements of a list of lists
 * become its children: each must be a list that nobody else owns, and none may
 * stand there twice. Null on failure; the array and its elements then still
 * belong to the caller. */
QUILLET_API DynList* dfuCreateDynListWithVals(int datatype, int n, void* values);

/* Appends `child` to a list of lists, which owns it from now on. Returns 0, or
 * nonzero when nothing was moved: parent is no list of lists, child has an owner
 * already, or is the parent itself or a list above it, or memory is short. */
QUILLET_API int dfuMoveDynListList(DynList* parent, DynList* child);

/* An equal list of its own, children and all, with holds on none of it. Null
 * when memory is short. */
QUILLET_API DynList* dfuCopyDynList(const DynList* list);

/* Frees a list, its elements and all lists below it. While it or a list below
 * it is held, that waits for the last release. Null is ignored, and so is a
 * list that a list of lists or a registry owns: it goes with its owner. */
QUILLET_API void dfuFreeDynList(DynList* list);

/* Between hold and release a list and everything above it stay in memory,
 * whoever frees them. Holds nest; each needs its release. */
QUILLET_API void dfuHoldDynList(DynList* list);
QUILLET_API void dfuReleaseDynList(DynList* list);

/* malloc() of count elements of `size` bytes, as the lists themselves use it:
 * null when memory is short or the product does not fit. Free with free(). */
QUILLET_API void* dfuAllocate(size_t count, size_t size);

/* For tests: makes the nth allocation from now on fail (1 is the next one);
 * 0 switches that off. */
QUILLET_API void dfuFailAllocation(long nth);

#ifdef __cplusplus
}
#endif

#endif

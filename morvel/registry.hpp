// The lists that one interpreter knows by name, in the order of their making.
#pragma once

#include "morvel.h"
#include "tcl_generations.hpp"

namespace morvel {

using Serial = unsigned long long;

struct Entry {
    DynList* list;
    Serial serial;       // the number in the name
    Serial stamp;        // last Registry::new_stamp() that touched it
    Entry* older;        // neighbours by serial
    Entry* newer;        //
    Tcl_HashEntry* slot; // in Registry::names
};

struct Registry {
    Tcl_HashTable names; // name -> Entry*
    Entry* newest;
    Serial next_serial;
    Serial last_stamp;
};

// Makes the Tcl interface callable; every entry from outside passes here. False
// with the reason in the result when the interpreter is too old.
bool start(Tcl_Interp* interp);

// The registry of an interpreter. `registry_if_any` gives null when it has no
// list yet, `registry_of` null with a message when none can be made.
Registry* registry_if_any(Tcl_Interp* interp);
Registry* registry_of(Tcl_Interp* interp);

// Null when there is no such list; `find_or_complain` says so in the result.
Entry* find(Registry* registry, const char* name);
Entry* find_or_complain(Tcl_Interp* interp, const char* name);

const char* name_of(const Registry* registry, const Entry* entry);

// A new entry for a list, which the registry owns from now on; null when memory
// is short, and the list then still belongs to the caller.
Entry* add(Registry* registry, DynList* list);

// Forgets the name and hands the list to the caller.
DynList* take_out(Registry* registry, Entry* entry);

// Forgets the name and frees the list.
void drop(Registry* registry, Entry* entry);

// A number that no entry carries yet: a walk over many names marks with it
// those that it has seen.
Serial new_stamp(Registry* registry);

// True when lists of lists nest deeper than `limit` below and including `list`.
bool nests_deeper_than(const DynList* list, int limit);

// Errors of the package; each returns TCL_ERROR.
int memory_short(Tcl_Interp* interp);
int nests_too_deep(Tcl_Interp* interp);
int too_long(Tcl_Interp* interp);

// The element count of a DynList that is to hold `length` values: TCL_OK, or
// too_long when none can hold so many.
inline int element_count(Tcl_Interp* interp, long long length, int* count)
{
    if (length > INT_MAX) {
        return too_long(interp);
    }
    *count = static_cast<int>(length);
    return TCL_OK;
}

} // namespace morvel

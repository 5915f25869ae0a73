// One registry an interpreter, kept as its associated data and freed with it.
// An entry is reachable by name through a hash table and by age through a chain
// from the newest back, which is what a scope needs when it ends.
//
// Tcl's own tables allocate through Tcl, which gives up when memory is short;
// those blocks are a few dozen bytes. Whatever grows with the data goes through
// quillet's allocator and is checked.
#include "registry.hpp"

#include <charconv>
#include <cstdlib>
#include <cstring>

namespace morvel {

namespace {

constexpr char assoc_key[] = "morvel:lists";
constexpr char name_stem[] = "dynlist";

void unlink(Registry* registry, Entry* entry)
{
    if (entry->older != nullptr) {
        entry->older->newer = entry->newer;
    }
    if (entry->newer != nullptr) {
        entry->newer->older = entry->older;
    } else {
        registry->newest = entry->older;
    }
}

// Frees an entry that is no longer in the registry; its list is the caller's.
DynList* open_entry(Entry* entry)
{
    DynList* const list = entry->list;
    list->state &= ~DFU_REGISTERED;
    std::free(entry);
    return list;
}

// Called by Tcl when the interpreter goes. Held lists outlive it by themselves.
void delete_registry(ClientData data, Tcl_Interp*)
{
    auto* const registry = static_cast<Registry*>(data);
    for (Entry* entry = registry->newest; entry != nullptr;) {
        Entry* const older = entry->older;
        dfuFreeDynList(open_entry(entry));
        entry = older;
    }
    Tcl_DeleteHashTable(&registry->names);
    std::free(registry);
}

} // namespace

bool start(Tcl_Interp* interp)
{
    return tclStubsPtr != nullptr || Tcl_InitStubs(interp, tcl_versions, 0) != nullptr;
}

Registry* registry_if_any(Tcl_Interp* interp)
{
    return static_cast<Registry*>(Tcl_GetAssocData(interp, assoc_key, nullptr));
}

Registry* registry_of(Tcl_Interp* interp)
{
    Registry* registry = registry_if_any(interp);
    if (registry != nullptr) {
        return registry;
    }
    registry = static_cast<Registry*>(dfuAllocate(1, sizeof(Registry)));
    if (registry == nullptr) {
        memory_short(interp);
        return nullptr;
    }
    registry->newest = nullptr;
    registry->next_serial = 1;
    registry->last_stamp = 0;
    Tcl_InitHashTable(&registry->names, TCL_STRING_KEYS);
    Tcl_SetAssocData(interp, assoc_key, delete_registry, registry);
    return registry;
}

Entry* find(Registry* registry, const char* name)
{
    Tcl_HashEntry* const slot = registry != nullptr ? Tcl_FindHashEntry(&registry->names, name) : nullptr;
    return slot != nullptr ? static_cast<Entry*>(Tcl_GetHashValue(slot)) : nullptr;
}

Entry* find_or_complain(Tcl_Interp* interp, const char* name)
{
    Entry* const entry = find(registry_if_any(interp), name);
    if (entry == nullptr) {
        Tcl_SetObjResult(interp, Tcl_ObjPrintf("no DynList named \"%s\"", name));
        Tcl_SetErrorCode(interp, "MORVEL", "LOOKUP", "DYNLIST", name, nullptr);
    }
    return entry;
}

const char* name_of(const Registry* registry, const Entry* entry)
{
    return static_cast<const char*>(Tcl_GetHashKey(&registry->names, entry->slot));
}

Entry* add(Registry* registry, DynList* list)
{
    auto* const entry = static_cast<Entry*>(dfuAllocate(1, sizeof(Entry)));
    if (entry == nullptr) {
        return nullptr;
    }
    char name[sizeof name_stem + 20]; // 20 digits hold every Serial
    std::memcpy(name, name_stem, sizeof name_stem);
    char* const digits = name + sizeof name_stem - 1;
    *std::to_chars(digits, name + sizeof name, registry->next_serial).ptr = '\0';

    int is_new = 0;
    Tcl_HashEntry* const slot = Tcl_CreateHashEntry(&registry->names, name, &is_new);
    Tcl_SetHashValue(slot, entry);
    *entry = Entry{list, registry->next_serial++, 0, registry->newest, nullptr, slot};
    if (entry->older != nullptr) {
        entry->older->newer = entry;
    }
    registry->newest = entry;
    list->state |= DFU_REGISTERED;
    return entry;
}

DynList* take_out(Registry* registry, Entry* entry)
{
    unlink(registry, entry);
    Tcl_DeleteHashEntry(entry->slot);
    return open_entry(entry);
}

void drop(Registry* registry, Entry* entry)
{
    dfuFreeDynList(take_out(registry, entry));
}

Serial new_stamp(Registry* registry)
{
    return ++registry->last_stamp;
}

// Recursion is bounded by the limit, whatever the list looks like.
bool nests_deeper_than(const DynList* list, int limit)
{
    if (list->datatype != DFU_LIST) {
        return false;
    }
    if (limit == 0) {
        return true;
    }
    auto* const* const children = static_cast<DynList* const*>(list->values);
    for (int i = 0; i < list->count; ++i) {
        if (nests_deeper_than(children[i], limit - 1)) {
            return true;
        }
    }
    return false;
}

int memory_short(Tcl_Interp* interp)
{
    Tcl_SetObjResult(interp, Tcl_NewStringObj("not enough memory", -1));
    Tcl_SetErrorCode(interp, "MORVEL", "MEMORY", nullptr);
    return TCL_ERROR;
}

int nests_too_deep(Tcl_Interp* interp)
{
    Tcl_SetObjResult(interp, Tcl_ObjPrintf("DynLists nest at most %d deep", MORVEL_MAX_NESTING));
    Tcl_SetErrorCode(interp, "MORVEL", "VALUE", "NESTING", nullptr);
    return TCL_ERROR;
}

int too_long(Tcl_Interp* interp)
{
    Tcl_SetObjResult(interp, Tcl_ObjPrintf("max length of a DynList (%d elements) exceeded", INT_MAX));
    Tcl_SetErrorCode(interp, "MORVEL", "VALUE", "LENGTH", nullptr);
    return TCL_ERROR;
}

} // namespace morvel

extern "C" {

int tclFindDynList(Tcl_Interp* interp, const char* name, DynList** list)
{
    if (!morvel::start(interp)) {
        return TCL_ERROR;
    }
    const morvel::Entry* const entry = morvel::find_or_complain(interp, name);
    if (entry == nullptr) {
        return TCL_ERROR;
    }
    *list = entry->list;
    return TCL_OK;
}

int tclPutList(Tcl_Interp* interp, DynList* list)
{
    if (!morvel::start(interp)) {
        dfuFreeDynList(list);
        return TCL_ERROR;
    }
    if (list == nullptr) {
        return morvel::memory_short(interp); // what made it could not
    }
    if (list->owner != nullptr || list->state != 0) {
        Tcl_SetObjResult(interp, Tcl_NewStringObj("the DynList has an owner already", -1));
        Tcl_SetErrorCode(interp, "MORVEL", "VALUE", "OWNED", nullptr);
        return TCL_ERROR;
    }
    if (morvel::nests_deeper_than(list, MORVEL_MAX_NESTING)) {
        dfuFreeDynList(list);
        return morvel::nests_too_deep(interp);
    }
    morvel::Registry* const registry = morvel::registry_of(interp);
    if (registry == nullptr) {
        dfuFreeDynList(list);
        return TCL_ERROR;
    }
    const morvel::Entry* const entry = morvel::add(registry, list);
    if (entry == nullptr) {
        dfuFreeDynList(list);
        return morvel::memory_short(interp);
    }
    Tcl_SetObjResult(interp, Tcl_NewStringObj(morvel::name_of(registry, entry), -1));
    return TCL_OK;
}

// The hold lives in the list, so it needs neither name nor registry.
void morvelHoldList(Tcl_Interp*, DynList* list)
{
    dfuHoldDynList(list);
}

void morvelReleaseList(Tcl_Interp*, DynList* list)
{
    dfuReleaseDynList(list);
}

} // extern "C"

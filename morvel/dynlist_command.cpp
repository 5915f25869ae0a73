// The script command `dynlist`: an ensemble over the commands of namespace
// ::morvel, one procedure each.
//
// Every procedure checks all that can fail before it changes anything: a failed
// call leaves the registry as it was.
#include "core/system/float_control.hpp"
#include "registry.hpp"
#include "values.hpp"
#include "vector.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace morvel {

namespace {

// Words for datatypes. Tcl's lookup wants a table whose rows begin with the word.
struct TypeWord {
    const char* word;
    int datatype;
};
constexpr TypeWord all_types[] = {{"int", DFU_INT}, {"float", DFU_FLOAT}, {"list", DFU_LIST}, {nullptr, 0}};
constexpr TypeWord number_types[] = {{"int", DFU_INT}, {"float", DFU_FLOAT}, {nullptr, 0}};

int read_type(Tcl_Interp* interp, Tcl_Obj* word, const TypeWord* table, int* datatype)
{
    int row = 0;
    if (Tcl_GetIndexFromObjStruct(interp, word, table, sizeof(TypeWord), "type", TCL_EXACT, &row) != TCL_OK) {
        return TCL_ERROR;
    }
    *datatype = table[row].datatype;
    return TCL_OK;
}

int put_value(Tcl_Interp* interp, Tcl_Obj* value)
{
    if (value == nullptr) {
        return TCL_ERROR;
    }
    Tcl_SetObjResult(interp, value);
    return TCL_OK;
}

// For a list that a converter has made, or failed to make with a message.
int put_made(Tcl_Interp* interp, DynList* list)
{
    return list != nullptr ? tclPutList(interp, list) : TCL_ERROR;
}

// The checks of `create list`: each name known, none twice, none nested so deep
// that one level more is too much.
int check_children(Tcl_Interp* interp, Registry* registry, int count, Tcl_Obj* const names[])
{
    const Serial stamp = new_stamp(registry);
    for (int i = 0; i < count; ++i) {
        const char* const name = Tcl_GetString(names[i]);
        Entry* const entry = find_or_complain(interp, name);
        if (entry == nullptr) {
            return TCL_ERROR;
        }
        if (entry->stamp == stamp) {
            Tcl_SetObjResult(interp, Tcl_ObjPrintf("DynList \"%s\" cannot stand in a list twice", name));
            Tcl_SetErrorCode(interp, "MORVEL", "VALUE", "DUPLICATE", name, nullptr);
            return TCL_ERROR;
        }
        entry->stamp = stamp;
        if (nests_deeper_than(entry->list, MORVEL_MAX_NESTING - 1)) {
            return nests_too_deep(interp);
        }
    }
    return TCL_OK;
}

// Moves the named lists into a new one. The new list has its room and its name
// before the first child moves; from there on nothing can fail.
int create_list_of_lists(Tcl_Interp* interp, Tcl_Obj* values)
{
    int count = 0;
    Tcl_Obj** names = nullptr;
    Registry* const registry = registry_of(interp);
    if (registry == nullptr || elements_of(interp, values, &count, &names) != TCL_OK ||
        check_children(interp, registry, count, names) != TCL_OK) {
        return TCL_ERROR;
    }
    DynList* const parent = dfuCreateDynList(DFU_LIST, count);
    if (parent == nullptr || tclPutList(interp, parent) != TCL_OK) {
        return memory_short(interp);
    }
    for (int i = 0; i < count; ++i) {
        DynList* const child = take_out(registry, find(registry, Tcl_GetString(names[i])));
        dfuMoveDynListList(parent, child);
    }
    return TCL_OK;
}

// dynlist create type values
int create_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    int datatype = 0;
    if (objc != 3) {
        Tcl_WrongNumArgs(interp, 1, objv, "type values");
        return TCL_ERROR;
    }
    if (read_type(interp, objv[1], all_types, &datatype) != TCL_OK) {
        return TCL_ERROR;
    }
    switch (datatype) {
    case DFU_INT:
        return put_made(interp, ints_from_value(interp, objv[2]));
    case DFU_FLOAT:
        return put_made(interp, floats_from_value(interp, objv[2]));
    default:
        return create_list_of_lists(interp, objv[2]);
    }
}

// dynlist get name ?index ...?
int get_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    if (objc < 2) {
        Tcl_WrongNumArgs(interp, 1, objv, "name ?index ...?");
        return TCL_ERROR;
    }
    const Entry* const entry = find_or_complain(interp, Tcl_GetString(objv[1]));
    if (entry == nullptr) {
        return TCL_ERROR;
    }
    DynList* const list = entry->list;
    morvelHoldList(interp, list);
    const int status = put_value(interp, value_at(interp, list, objc - 2, objv + 2));
    morvelReleaseList(interp, list);
    return status;
}

// The entry that the only argument names; null with a message otherwise.
Entry* only_argument(Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    if (objc != 2) {
        Tcl_WrongNumArgs(interp, 1, objv, "name");
        return nullptr;
    }
    return find_or_complain(interp, Tcl_GetString(objv[1]));
}

// dynlist take name
int take_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    const Entry* const entry = only_argument(interp, objc, objv);
    if (entry == nullptr) {
        return TCL_ERROR;
    }
    DynList* const list = entry->list;
    morvelHoldList(interp, list);
    const int status = put_value(interp, value_of(interp, list, Long::interruptible));
    if (status == TCL_OK) {
        // A script may have taken the name away meanwhile.
        Registry* const registry = registry_if_any(interp);
        Entry* const still_there = find(registry, Tcl_GetString(objv[1]));
        if (still_there != nullptr) {
            drop(registry, still_there);
        }
    }
    morvelReleaseList(interp, list);
    return status;
}

// dynlist copy name
int copy_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    const Entry* const entry = only_argument(interp, objc, objv);
    return entry != nullptr ? tclPutList(interp, dfuCopyDynList(entry->list)) : TCL_ERROR;
}

// dynlist type name
int type_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    const Entry* const entry = only_argument(interp, objc, objv);
    if (entry == nullptr) {
        return TCL_ERROR;
    }
    const TypeWord* row = all_types;
    while (row->word != nullptr && row->datatype != entry->list->datatype) {
        ++row;
    }
    return put_value(interp, Tcl_NewStringObj(row->word, -1));
}

// dynlist length name
int length_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    const Entry* const entry = only_argument(interp, objc, objv);
    return entry != nullptr ? put_value(interp, Tcl_NewIntObj(entry->list->count)) : TCL_ERROR;
}

// dynlist tobytes name
int tobytes_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    const Entry* const entry = only_argument(interp, objc, objv);
    if (entry == nullptr) {
        return TCL_ERROR;
    }
    if (entry->list->datatype == DFU_LIST) {
        Tcl_SetObjResult(interp, Tcl_ObjPrintf("DynList \"%s\" is a list of lists, which has no bytes",
                                               Tcl_GetString(objv[1])));
        Tcl_SetErrorCode(interp, "MORVEL", "VALUE", "TYPE", nullptr);
        return TCL_ERROR;
    }
    return put_value(interp, bytes_of(interp, entry->list));
}

// dynlist value name
int value_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    const Entry* const entry = only_argument(interp, objc, objv);
    if (entry == nullptr) {
        return TCL_ERROR;
    }
    if (entry->list->datatype == DFU_LIST) {
        Tcl_SetObjResult(interp, Tcl_ObjPrintf("DynList \"%s\" is a list of lists, which is no vector",
                                               Tcl_GetString(objv[1])));
        Tcl_SetErrorCode(interp, "MORVEL", "VALUE", "TYPE", nullptr);
        return TCL_ERROR;
    }
    MorvelVector* const vector = vector_of_list(entry->list);
    return vector != nullptr ? put_value(interp, morvelVectorValue(interp, vector)) : memory_short(interp);
}

// dynlist frombytes type bytes
int frombytes_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    int datatype = 0;
    if (objc != 3) {
        Tcl_WrongNumArgs(interp, 1, objv, "type bytes");
        return TCL_ERROR;
    }
    if (read_type(interp, objv[1], number_types, &datatype) != TCL_OK) {
        return TCL_ERROR;
    }
    return put_made(interp, numbers_from_bytes(interp, datatype, objv[2]));
}

// dynlist exists name
int exists_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    if (objc != 2) {
        Tcl_WrongNumArgs(interp, 1, objv, "name");
        return TCL_ERROR;
    }
    const bool known = find(registry_if_any(interp), Tcl_GetString(objv[1])) != nullptr;
    return put_value(interp, Tcl_NewBooleanObj(known));
}

// dynlist names ?pattern?
int names_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    if (objc > 2) {
        Tcl_WrongNumArgs(interp, 1, objv, "?pattern?");
        return TCL_ERROR;
    }
    const Registry* const registry = registry_if_any(interp);
    if (registry == nullptr) {
        return TCL_OK;
    }
    const char* const pattern = objc == 2 ? Tcl_GetString(objv[1]) : "*";
    const auto known = static_cast<std::size_t>(registry->names.numEntries);
    auto** const found = static_cast<const char**>(dfuAllocate(known, sizeof(const char*)));
    if (found == nullptr) {
        return memory_short(interp);
    }
    const char** end = found;
    for (const Entry* entry = registry->newest; entry != nullptr; entry = entry->older) {
        const char* const name = name_of(registry, entry);
        if (Tcl_StringMatch(name, pattern)) {
            *end++ = name;
        }
    }
    std::sort(found, end, [](const char* a, const char* b) { return std::strcmp(a, b) < 0; });
    Tcl_Obj* const names = Tcl_NewListObj(0, nullptr);
    for (const char** name = found; name != end; ++name) {
        Tcl_ListObjAppendElement(nullptr, names, Tcl_NewStringObj(*name, -1));
    }
    std::free(found);
    return put_value(interp, names);
}

// dynlist free ?name ...?: a name given twice is freed once.
int free_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    for (int i = 1; i < objc; ++i) {
        if (find_or_complain(interp, Tcl_GetString(objv[i])) == nullptr) {
            return TCL_ERROR;
        }
    }
    Registry* const registry = registry_if_any(interp);
    for (int i = 1; i < objc; ++i) {
        Entry* const entry = find(registry, Tcl_GetString(objv[i]));
        if (entry != nullptr) {
            drop(registry, entry);
        }
    }
    return TCL_OK;
}

// Stamps the lists that the variables hold, each by the name of one list or a
// Tcl list of names. Variables that are not set and words that name no list hold
// nothing. Reading a variable may run traces, so no entry is kept across it.
void mark_kept(Tcl_Interp* interp, Registry* registry, Tcl_Obj* variables, Serial stamp)
{
    Tcl_Size variable_count = 0;
    Tcl_Obj** variable = nullptr;
    // Its own reference and a copy of its own: a trace may reach the original.
    Tcl_Obj* const list = Tcl_DuplicateObj(variables);
    Tcl_IncrRefCount(list);
    if (Tcl_ListObjGetElements(nullptr, list, &variable_count, &variable) == TCL_OK) {
        for (Tcl_Size i = 0; i < variable_count; ++i) {
            Tcl_Obj* const value = Tcl_ObjGetVar2(interp, variable[i], nullptr, 0);
            Tcl_Size count = 0;
            Tcl_Obj** word = nullptr;
            if (value == nullptr || Tcl_ListObjGetElements(nullptr, value, &count, &word) != TCL_OK) {
                continue;
            }
            for (Tcl_Size k = 0; k < count; ++k) {
                Entry* const entry = find(registry, Tcl_GetString(word[k]));
                if (entry != nullptr) {
                    entry->stamp = stamp;
                }
            }
        }
    }
    Tcl_DecrRefCount(list);
}

void free_made_since(Registry* registry, Serial first, Serial kept_stamp)
{
    Entry* entry = registry->newest;
    while (entry != nullptr && entry->serial >= first) {
        Entry* const older = entry->older;
        if (entry->stamp != kept_stamp) {
            drop(registry, entry);
        }
        entry = older;
    }
}

// dynlist scope ?-keep varList? body: the body's result or error is the
// command's own, whatever happens to the lists.
int scope_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    static const char* const options[] = {"-keep", nullptr};
    Tcl_Obj* kept = nullptr;
    int index = 0;
    Tcl_Size count = 0;
    if (objc != 2 && objc != 4) {
        Tcl_WrongNumArgs(interp, 1, objv, "?-keep varList? body");
        return TCL_ERROR;
    }
    if (objc == 4) {
        kept = objv[2];
        if (Tcl_GetIndexFromObj(interp, objv[1], options, "option", 0, &index) != TCL_OK ||
            Tcl_ListObjLength(interp, kept, &count) != TCL_OK) {
            return TCL_ERROR;
        }
    }
    Registry* const registry = registry_of(interp);
    if (registry == nullptr) {
        return TCL_ERROR;
    }
    const Serial first = registry->next_serial;
    Tcl_Preserve(interp); // and with it the registry, until the end of this procedure
    const int code = Tcl_EvalObjEx(interp, objv[objc - 1], 0);
    if (code == TCL_ERROR) {
        Tcl_AddErrorInfo(interp, "\n    (\"dynlist scope\" body)");
    }
    const Serial stamp = new_stamp(registry);
    if (kept != nullptr) {
        Tcl_InterpState const state = Tcl_SaveInterpState(interp, code);
        mark_kept(interp, registry, kept, stamp);
        Tcl_RestoreInterpState(interp, state);
    }
    free_made_since(registry, first, stamp);
    Tcl_Release(interp);
    return code;
}

// Numbers are read and written in the modes that a process starts with. (The script of
// a scope finds those of its host.)
template <Tcl_ObjCmdProc* procedure>
int in_usual_modes(ClientData data, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    const zavo::platform::UsualFloatControl usual;
    return procedure(data, interp, objc, objv);
}

struct Subcommand {
    const char* name; // under ::morvel
    Tcl_ObjCmdProc* procedure;
};
constexpr Subcommand subcommands[] = {
    // clang-format off
    {"::morvel::copy",      copy_command},
    {"::morvel::create",    in_usual_modes<create_command>},
    {"::morvel::exists",    exists_command},
    {"::morvel::free",      free_command},
    {"::morvel::frombytes", frombytes_command},
    {"::morvel::get",       in_usual_modes<get_command>},
    {"::morvel::length",    length_command},
    {"::morvel::names",     names_command},
    {"::morvel::scope",     scope_command},
    {"::morvel::take",      in_usual_modes<take_command>},
    {"::morvel::tobytes",   tobytes_command},
    {"::morvel::type",      type_command},
    {"::morvel::value",     in_usual_modes<value_command>},
    // clang-format on
};

// The ensemble offers what its namespace exports.
int create_ensemble(Tcl_Interp* interp)
{
    Tcl_Namespace* space = Tcl_FindNamespace(interp, "::morvel", nullptr, 0);
    if (space == nullptr) {
        space = Tcl_CreateNamespace(interp, "::morvel", nullptr, nullptr);
    }
    if (space == nullptr) {
        return TCL_ERROR;
    }
    for (const Subcommand& row : subcommands) {
        Tcl_CreateObjCommand(interp, row.name, row.procedure, nullptr, nullptr);
        if (Tcl_Export(interp, space, row.name + sizeof "::morvel::" - 1, 0) != TCL_OK) {
            return TCL_ERROR;
        }
    }
    return Tcl_CreateEnsemble(interp, "::dynlist", space, TCL_ENSEMBLE_PREFIX) != nullptr ? TCL_OK
                                                                                          : TCL_ERROR;
}

} // namespace

} // namespace morvel

extern "C" int Morvel_Init(Tcl_Interp* interp)
{
    if (!morvel::start(interp) || morvel::create_ensemble(interp) != TCL_OK) {
        return TCL_ERROR;
    }
    return Tcl_PkgProvide(interp, "morvel", "1.0");
}

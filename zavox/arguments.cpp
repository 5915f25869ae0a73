#include "zavox/arguments.hpp"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <tcl_generations.hpp>

namespace zavox {

namespace {

constexpr const char* fault_words[] = {"LENGTH", "EMPTY", "EXPRESSION", "VALUE"};

// Longer words are cut here in messages; errorCode has them whole.
constexpr int longest_quote = 60;

bool looks_like_list_name(const char* text)
{
    constexpr char stem[] = "dynlist";
    constexpr std::size_t stem_length = sizeof stem - 1;
    return std::strncmp(text, stem, stem_length) == 0 && text[stem_length] != '\0' &&
           text[stem_length + std::strspn(text + stem_length, "0123456789")] == '\0';
}

// Whether the message in the interpreter says more than that a word is no vector:
// a number that no float holds, or no memory.
bool is_telling(Tcl_Interp* interp)
{
    const char* const message = Tcl_GetStringResult(interp);
    return std::strcmp(message, "floating-point value too large to represent") == 0 ||
           std::strcmp(message, "not enough memory") == 0;
}

} // namespace

// ---- Errors ------------------------------------------------------------------

int fail(Tcl_Interp* interp, Fault fault, const char* word, Tcl_Obj* message)
{
    Tcl_SetObjResult(interp, message);
    Tcl_SetErrorCode(interp, "ZAVOX", fault_words[static_cast<int>(fault)], word, nullptr);
    return TCL_ERROR;
}

int fail(Tcl_Interp* interp, Fault fault, const char* word, const char* message)
{
    return fail(interp, fault, word, Tcl_NewStringObj(message, -1));
}

int fail_empty(Tcl_Interp* interp, const char* what)
{
    return fail(interp, Fault::empty, what, Tcl_ObjPrintf("%s of an empty vector", what));
}

int fail_lengths(Tcl_Interp* interp, int length, int other)
{
    Tcl_Obj* const word = Tcl_NewIntObj(other);
    Tcl_IncrRefCount(word);
    const int status = fail(interp, Fault::length, Tcl_GetString(word),
                            Tcl_ObjPrintf("cannot combine vectors of %d and %d values", length, other));
    Tcl_DecrRefCount(word);
    return status;
}

Tcl_Obj* quoted(const char* before, Tcl_Obj* word, const char* after)
{
    Tcl_Obj* const message = Tcl_NewStringObj(before, -1);
    Tcl_AppendToObj(message, "\"", 1);
    Tcl_AppendLimitedToObj(message, Tcl_GetString(word), -1, longest_quote, "...");
    Tcl_AppendToObj(message, "\"", 1);
    Tcl_AppendToObj(message, after, -1);
    return message;
}

int get_words(Tcl_Interp* interp, Tcl_Obj* list, int* count, Tcl_Obj*** words)
{
    Tcl_Size length = 0;
    if (Tcl_ListObjGetElements(interp, list, &length, words) != TCL_OK) {
        return TCL_ERROR;
    }
    *count = static_cast<int>(length);
    if (static_cast<Tcl_Size>(*count) != length) {
        return interp == nullptr ? TCL_ERROR
                                 : fail(interp, Fault::value, "2147483647",
                                        "max length of a list of arguments (2147483647 elements) exceeded");
    }
    return TCL_OK;
}

int memory_short(Tcl_Interp* interp)
{
    Tcl_SetObjResult(interp, Tcl_NewStringObj("not enough memory", -1));
    Tcl_SetErrorCode(interp, "MORVEL", "MEMORY", nullptr);
    return TCL_ERROR;
}

int library_failure(Tcl_Interp* interp)
{
    zavo_engine_error error{};
    engine().error_last(&error);
    char type[16];
    char code[16];
    std::snprintf(type, sizeof type, "%d", error.type);
    std::snprintf(code, sizeof code, "%d", error.code);
    Tcl_SetObjResult(interp, Tcl_NewStringObj(error.text, -1));
    Tcl_SetErrorCode(interp, "ZAVO", type, code, error.routine, nullptr);
    return TCL_ERROR;
}

// ---- Subcommands and options ---------------------------------------------------

bool count_is_good(Tcl_Interp* interp, int objc, Tcl_Obj* const objv[], int kept, int min, int max,
                   const char* usage)
{
    const int words = objc - kept;
    if (words < min || (max >= 0 && words > max)) {
        Tcl_WrongNumArgs(interp, kept, objv, usage);
        return false;
    }
    return true;
}

namespace {

// The interpreter's message, "bad subcommand ..." or "ambiguous subcommand ...", in the words
// of Tcl's ensembles.
int refuse_subcommand(Tcl_Interp* interp, Tcl_Obj* word)
{
    Tcl_Obj* const given = Tcl_GetObjResult(interp);
    Tcl_IncrRefCount(given);
    const char* const text = Tcl_GetString(given);
    const std::size_t kind = std::strcspn(text, " ");
    const char* const choices =
        text + kind + std::strlen(" subcommand \"\"") + std::strlen(Tcl_GetString(word));
    Tcl_SetObjResult(interp,
                     Tcl_ObjPrintf("unknown or ambiguous subcommand \"%s\"%s", Tcl_GetString(word), choices));
    Tcl_DecrRefCount(given);
    Tcl_SetErrorCode(interp, "TCL", "LOOKUP", "SUBCOMMAND", Tcl_GetString(word), nullptr);
    return TCL_ERROR;
}

} // namespace

int run_subcommand(const Subcommand* table, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    if (objc < 2) {
        Tcl_WrongNumArgs(interp, 1, objv, "subcommand ?arg ...?");
        return TCL_ERROR;
    }
    int row = 0;
    if (Tcl_GetIndexFromObjStruct(interp, objv[1], table, sizeof(Subcommand), "subcommand", 0, &row) !=
        TCL_OK) {
        return refuse_subcommand(interp, objv[1]);
    }
    const Subcommand& chosen = table[row];
    if (!count_is_good(interp, objc, objv, 2, chosen.min_words, chosen.max_words, chosen.usage)) {
        return TCL_ERROR;
    }
    return chosen.procedure(nullptr, interp, objc, objv);
}

int OptionWords::next(int* row, Tcl_Obj** value)
{
    *row = -1;
    *value = nullptr;
    if (at_ >= objc_) {
        return TCL_OK;
    }
    int found = 0;
    if (Tcl_GetIndexFromObjStruct(interp_, objv_[at_], table_, sizeof(OptionRow), "option", 0, &found) !=
        TCL_OK) {
        return TCL_ERROR;
    }
    ++at_;
    if (table_[found].takes_value) {
        if (at_ == objc_) {
            return fail(interp_, Fault::value, table_[found].name,
                        Tcl_ObjPrintf("value for \"%s\" missing", table_[found].name));
        }
        *value = objv_[at_++];
    }
    *row = found;
    return TCL_OK;
}

// ---- Numbers and vectors ----------------------------------------------------------

int get_count(Tcl_Interp* interp, Tcl_Obj* word, int low, const char* what, int* count)
{
    if (Tcl_GetIntFromObj(interp, word, count) != TCL_OK) {
        return TCL_ERROR;
    }
    if (*count < low) {
        return fail(interp, Fault::value, Tcl_GetString(word),
                    Tcl_ObjPrintf("%s must be at least %d", what, low));
    }
    return TCL_OK;
}

Tcl_Obj* new_number(double number)
{
    return Tcl_NewDoubleObj(std::isnan(number) ? std::numeric_limits<double>::quiet_NaN() : number);
}

// Tcl refuses a NaN where it reads a double, after having parsed it.
int get_number(Tcl_Interp* interp, Tcl_Obj* word, double* number)
{
    if (Tcl_GetDoubleFromObj(nullptr, word, number) == TCL_OK) {
        return TCL_OK;
    }
    if (word->typePtr != nullptr && std::strcmp(word->typePtr->name, "double") == 0) {
        *number = word->internalRep.doubleValue;
        return TCL_OK;
    }
    return Tcl_GetDoubleFromObj(interp, word, number); // once more, for its message
}

int get_vector(Tcl_Interp* interp, Tcl_Obj* word, MorvelVector** vector)
{
    MorvelVector* found = morvelVectorIfAny(word);
    if (found != nullptr) {
        morvelHoldVector(found);
        *vector = found;
        return TCL_OK;
    }
    if (word->bytes != nullptr && looks_like_list_name(word->bytes)) {
        DynList* list = nullptr;
        if (tclFindDynList(interp, word->bytes, &list) != TCL_OK) {
            return TCL_ERROR;
        }
        if (list->datatype != DFU_LIST) {
            *vector = morvelVectorOfList(list);
            return *vector != nullptr ? TCL_OK : memory_short(interp);
        }
    } else if (morvelGetVector(interp, word, vector) == TCL_OK) {
        return TCL_OK;
    } else if (is_telling(interp)) {
        return TCL_ERROR;
    }
    return fail(interp, Fault::value, Tcl_GetString(word), quoted("expected a vector but got ", word));
}

int Vector::allocate(Tcl_Interp* interp, int n)
{
    vector_ = morvelAllocateVector(n);
    return vector_ != nullptr ? TCL_OK : memory_short(interp);
}

Tcl_Obj* Vector::value(Tcl_Interp* interp)
{
    return morvelVectorValue(interp, std::exchange(vector_, nullptr));
}

int Vector::put(Tcl_Interp* interp)
{
    Tcl_Obj* const result = value(interp);
    if (result == nullptr) {
        return TCL_ERROR;
    }
    Tcl_SetObjResult(interp, result);
    return TCL_OK;
}

} // namespace zavox

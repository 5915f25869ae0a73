// zavox::constant, units, convert, days and date.
#include "zavox/arguments.hpp"
#include "zavox/iso_date.hpp"

#include <tcl_generations.hpp>

namespace zavox {

namespace {

// The names of a table that match the pattern, in either case; null matches all.
Tcl_Obj* names(const char* (*name_of)(int), const char* pattern)
{
    Tcl_Obj* const list = Tcl_NewListObj(0, nullptr);
    for (int i = 0; const char* name = name_of(i); ++i) {
        if (pattern == nullptr || Tcl_StringCaseMatch(name, pattern, 1) != 0) {
            Tcl_ListObjAppendElement(nullptr, list, Tcl_NewStringObj(name, -1));
        }
    }
    return list;
}

// Words, each through `convert`, which gives a new value or null with its message in the
// result.
template <class Convert>
int convert_words(Tcl_Interp* interp, Tcl_Size count, Tcl_Obj* const words[], Convert&& convert)
{
    Tcl_Obj* const results = Tcl_NewListObj(0, nullptr);
    Tcl_IncrRefCount(results);
    bool good = true;
    const bool done = in_parts(count, 100, [&](std::int64_t begin, std::int64_t end) {
        for (auto i = begin; good && i < end; ++i) {
            Tcl_Obj* const result = convert(words[i]);
            good = result != nullptr;
            if (good) {
                Tcl_ListObjAppendElement(nullptr, results, result);
            }
        }
    });
    good = good && done;
    if (good) {
        Tcl_SetObjResult(interp, results);
    }
    Tcl_DecrRefCount(results);
    return good ? TCL_OK : TCL_ERROR;
}

// The same for the words of a list. Between the parts of a long one scripts may run, which
// change the value as they like: its words are those of a copy.
template <class Convert>
int map_words(Tcl_Interp* interp, Tcl_Obj* list, Convert&& convert)
{
    Tcl_Size count = 0;
    Tcl_Obj** words = nullptr;
    if (Tcl_ListObjGetElements(interp, list, &count, &words) != TCL_OK) {
        return TCL_ERROR;
    }
    if (count <= part_of_work) {
        return convert_words(interp, count, words, convert);
    }
    Tcl_Obj* const copy = Tcl_DuplicateObj(list);
    Tcl_IncrRefCount(copy);
    Tcl_ListObjGetElements(nullptr, copy, &count, &words);
    const int status = as_long_work(
        interp, [&](const zavo_long_work&) { return convert_words(interp, count, words, convert); });
    Tcl_DecrRefCount(copy);
    return status;
}

Tcl_Obj* days_of(Tcl_Interp* interp, Tcl_Obj* word)
{
    Date date{};
    if (!read_iso_date(Tcl_GetString(word), &date)) {
        fail(interp, Fault::value, Tcl_GetString(word), quoted("expected a date YYYY-MM-DD but got ", word));
        return nullptr;
    }
    engine().error_forget();
    const int days = engine().date_to_days(date.day, date.month, date.year);
    if (engine().error_failed()) {
        library_failure(interp);
        return nullptr;
    }
    return Tcl_NewIntObj(days);
}

Tcl_Obj* date_of(Tcl_Interp* interp, Tcl_Obj* word)
{
    int days = 0;
    if (Tcl_GetIntFromObj(interp, word, &days) != TCL_OK) {
        return nullptr;
    }
    Date date{};
    engine().days_to_date(days, &date.day, &date.month, &date.year);
    char text[iso_date_size];
    return Tcl_NewStringObj(text, write_iso_date(date, text));
}

} // namespace

int constant_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    if (!count_is_good(interp, objc, objv, 1, 0, 2, "?name? ?unit?")) {
        return TCL_ERROR;
    }
    if (objc == 1) {
        Tcl_SetObjResult(interp, names(engine().constant_name, nullptr));
        return TCL_OK;
    }
    engine().error_forget();
    const float value =
        engine().f_constant(Tcl_GetString(objv[1]), objc == 3 ? Tcl_GetString(objv[2]) : nullptr);
    if (engine().error_failed()) {
        return library_failure(interp);
    }
    Tcl_SetObjResult(interp, Tcl_NewDoubleObj(value));
    return TCL_OK;
}

int units_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    if (!count_is_good(interp, objc, objv, 1, 0, 1, "?pattern?")) {
        return TCL_ERROR;
    }
    Tcl_SetObjResult(interp, names(engine().unit_name, objc == 2 ? Tcl_GetString(objv[1]) : nullptr));
    return TCL_OK;
}

int convert_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    if (!count_is_good(interp, objc, objv, 1, 3, 3, "value from to")) {
        return TCL_ERROR;
    }
    double number = 0.0;
    const bool is_number =
        morvelVectorIfAny(objv[1]) == nullptr && get_number(nullptr, objv[1], &number) == TCL_OK;
    Vector values;
    if (!is_number && values.get(interp, objv[1]) != TCL_OK) {
        return TCL_ERROR;
    }
    engine().error_forget();
    double above = 1.0;
    double below = 1.0;
    if (engine().unit_conversion(Tcl_GetString(objv[2]), Tcl_GetString(objv[3]), &above, &below) == 0) {
        return library_failure(interp);
    }
    if (is_number) {
        Tcl_SetObjResult(interp, Tcl_NewDoubleObj(static_cast<float>(number * above / below)));
        return TCL_OK;
    }
    Vector converted;
    if (converted.allocate(interp, values.size()) != TCL_OK) {
        return TCL_ERROR;
    }
    const bool done = in_parts(values.size(), 5, [&](std::int64_t begin, std::int64_t end) {
        for (auto i = begin; i < end; ++i) {
            converted.writable()[i] = static_cast<float>(values.data()[i] * above / below);
        }
    });
    return done ? converted.put(interp) : TCL_ERROR;
}

int days_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    if (!count_is_good(interp, objc, objv, 1, 1, 1, "date")) {
        return TCL_ERROR;
    }
    return map_words(interp, objv[1], [interp](Tcl_Obj* word) { return days_of(interp, word); });
}

int date_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    if (!count_is_good(interp, objc, objv, 1, 1, 1, "days")) {
        return TCL_ERROR;
    }
    return map_words(interp, objv[1], [interp](Tcl_Obj* word) { return date_of(interp, word); });
}

} // namespace zavox

// zavo_date_to_days day month year, zavo_days_to_date days

#include "core/zavo.h"
#include "ext/conventions.hpp"

#include <charconv>
#include <iterator>

namespace zavo::ext {
namespace {

// Appends the number and a blank.
char* put_int(char* at, char* end, int value)
{
    at = std::to_chars(at, end, value).ptr;
    *at++ = ' ';
    return at;
}

} // namespace

// Further words are ignored.
int date_to_days_command(ClientData, Tcl_Interp* interp, int argc, const char* argv[])
{
    if (argc < 4) {
        return usage(interp, argv[0], " day month year");
    }
    int day = 0;
    int month = 0;
    int year = 0;
    if (Tcl_GetInt(interp, argv[1], &day) != TCL_OK || Tcl_GetInt(interp, argv[2], &month) != TCL_OK ||
        Tcl_GetInt(interp, argv[3], &year) != TCL_OK) {
        return TCL_ERROR;
    }
    forget_last_error(); // a note may stand behind the error that fails the date
    const int days = zavo_date_to_days(day, month, year);
    if (zavo_error_result(interp)) {
        return TCL_ERROR;
    }
    Tcl_SetObjResult(interp, Tcl_NewIntObj(days));
    return TCL_OK;
}

// Further words are ignored.
int days_to_date_command(ClientData, Tcl_Interp* interp, int argc, const char* argv[])
{
    if (argc < 2) {
        return usage(interp, argv[0], " days");
    }
    int days = 0;
    if (Tcl_GetInt(interp, argv[1], &days) != TCL_OK) {
        return TCL_ERROR;
    }
    int day = 0;
    int month = 0;
    int year = 0;
    zavo_days_to_date(days, &day, &month, &year);
    if (zavo_error_result(interp)) {
        return TCL_ERROR;
    }
    char text[40]; // three ints of at most 11 characters, a blank behind each
    char* const end = std::end(text);
    const char* const last = put_int(put_int(put_int(text, end, day), end, month), end, year);
    Tcl_SetObjResult(interp, Tcl_NewStringObj(text, static_cast<int>(last - 1 - text)));
    return TCL_OK;
}

} // namespace zavo::ext

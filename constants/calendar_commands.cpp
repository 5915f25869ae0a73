// zavo_date_to_days day month year, zavo_days_to_date days

#include "core/zavo.h"
#include "ext/conventions.hpp"

#include <charconv>
#include <iterator>

namespace zavo::ext {

// Further words are ignored.
int date_to_days_command(ClientData, Tcl_Interp* interp, int argc, const char* argv[])
{
    if (argc < 4) {
        return usage(interp, argv[0], " day month year");
    }
    int day = 0;
    int month = 0;
    int year = 0;
    if (read_int(interp, argv[1], &day) != TCL_OK || read_int(interp, argv[2], &month) != TCL_OK ||
        read_int(interp, argv[3], &year) != TCL_OK) {
        return TCL_ERROR;
    }
    forget_last_error(); // a note may stand behind the error that fails the date
    const int days = zavo_date_to_days(day, month, year);
    if (failure_reported(interp)) {
        return TCL_ERROR;
    }
    Tcl_SetIntObj(own_result(interp), days);
    return TCL_OK;
}

// Further words are ignored.
int days_to_date_command(ClientData, Tcl_Interp* interp, int argc, const char* argv[])
{
    if (argc < 2) {
        return usage(interp, argv[0], " days");
    }
    int days = 0;
    if (read_int(interp, argv[1], &days) != TCL_OK) {
        return TCL_ERROR;
    }
    int day = 0;
    int month = 0;
    int year = 0;
    zavo_days_to_date(days, &day, &month, &year);
    if (zavo_error_result(interp)) {
        return TCL_ERROR;
    }
    char text[40]; // three ints of at most 11 characters, a blank before two
    char* end = text;
    for (const int part : {day, month, year}) {
        if (end != text) {
            *end++ = ' ';
        }
        end = std::to_chars(end, std::end(text), part).ptr;
    }
    Tcl_SetStringObj(own_result(interp), text, static_cast<int>(end - text));
    return TCL_OK;
}

} // namespace zavo::ext

// zavo_date_to_days day month year, zavo_days_to_date days

#include "constants/calendar.hpp"
#include "core/zavo.h"
#include "ext/conventions.hpp"

#include <charconv>
#include <iterator>

namespace zavo::ext {

namespace {

// Appends a number from 0 to 99. Without a branch: its digits are not to be foreseen.
char* append_below_100(char* end, int number)
{
    const int two_digits = number >= 10 ? 1 : 0;
    end[0] = static_cast<char>('0' + number / 10);
    end[two_digits] = static_cast<char>('0' + number % 10);
    return end + 1 + two_digits;
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
    if (read_int(interp, argv[1], &day) != TCL_OK || read_int(interp, argv[2], &month) != TCL_OK ||
        read_int(interp, argv[3], &year) != TCL_OK) {
        return TCL_ERROR;
    }
    if (const std::optional<int> days = constants::day_number_of({day, month, year})) {
        Tcl_SetIntObj(own_result(interp), *days);
        return TCL_OK;
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
    const constants::Date date = constants::date_of(days);
    char text[40]; // three ints of at most 11 characters, a blank before two
    char* end = append_below_100(text, date.day);
    *end++ = ' ';
    end = append_below_100(end, date.month);
    *end++ = ' ';
    if (date.year >= 1000 && date.year < 10000) { // nearly always
        end = append_below_100(end, date.year / 100);
        *end++ = static_cast<char>('0' + date.year / 10 % 10);
        *end++ = static_cast<char>('0' + date.year % 10);
    } else {
        end = std::to_chars(end, std::end(text), date.year).ptr;
    }
    Tcl_SetStringObj(own_result(interp), text, static_cast<int>(end - text));
    return TCL_OK;
}

} // namespace zavo::ext

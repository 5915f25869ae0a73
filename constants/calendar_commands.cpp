// zavo_date_to_days day month year, zavo_days_to_date days

#include "constants/calendar.hpp"
#include "constants/date_of_day.hpp"
#include "core/zavo.h"
#include "ext/conventions.hpp"

#include <array>
#include <charconv>
#include <cstring>

namespace zavo::ext {

namespace {

// "31 12 -5877591" and the terminating zero, which fit a small block of Tcl's allocator.
constexpr int longest_date = 16;

// A number from 0 to 99 with a blank behind it, and its length with the blank. Copied
// whole: a branch on the number of digits would often be mispredicted.
struct Word {
    char text[3];
    char length;
};

constexpr std::array<Word, 100> make_words()
{
    std::array<Word, 100> words{};
    for (int i = 0; i < 100; ++i) {
        const char tens = static_cast<char>('0' + i / 10);
        const char ones = static_cast<char>('0' + i % 10);
        words[static_cast<std::size_t>(i)] = i < 10 ? Word{{ones, ' ', 0}, 2} : Word{{tens, ones, ' '}, 3};
    }
    return words;
}
constexpr std::array<Word, 100> words = make_words();

// Appends a number from 0 to 99 and a blank; writes a byte beyond.
char* append_word(char* end, int number)
{
    const Word& word = words[static_cast<std::size_t>(number)];
    std::memcpy(end, &word, sizeof word);
    return end + word.length;
}

// Appends a number from 1000 to 9999.
char* append_four_digits(char* end, unsigned number)
{
    const unsigned low = number % 100;
    append_word(end, static_cast<int>(number / 100));
    end[2] = static_cast<char>('0' + low / 10);
    end[3] = static_cast<char>('0' + low % 10);
    return end + 4;
}

// Out of line, so that the usual case has fewer registers to save.
[[gnu::noinline]] char* append_other_year(char* end, char* last, int year)
{
    return std::to_chars(end, last, year).ptr;
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
    char* const text = reinterpret_cast<char*>(Tcl_Alloc(longest_date));
    char* end = append_word(append_word(text, date.day), date.month);
    end = date.year >= 1000 && date.year < 10000 // nearly always
              ? append_four_digits(end, static_cast<unsigned>(date.year))
              : append_other_year(end, text + longest_date, date.year);
    *end = '\0';
    Tcl_ResetResult(interp); // leaves an unshared empty value, with no string to free
    Tcl_Obj* const result = Tcl_GetObjResult(interp);
    result->bytes = text;
    result->length = static_cast<decltype(result->length)>(end - text);
    return TCL_OK;
}

} // namespace zavo::ext

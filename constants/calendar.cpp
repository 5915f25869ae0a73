// Day numbers: the days from 1 January 1900 to a date.
//
// Dates are Gregorian from 15 October 1582 on and Julian before; the ten days
// between do not exist. Year 0 does not exist either: it is left out of the
// Julian years whole, with its 366 days, so that -4 and -8 are leap years.
//   15 10 1582 is -115860, 4 10 1582 is -115861, 31 12 -1 is -693598
//
// A date's number goes through the start of its year; for a number's date see
// constants/date_of_day.hpp.

#include "constants/calendar.h"
#include "constants/calendar.hpp"
#include "constants/date_of_day.hpp"

#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"
#include "core/frame/entry_frame.hpp"

#include <array>
#include <cstdint>

namespace zavo::constants {
namespace {

constexpr int reform_year = 1582;
constexpr int reform_month = 10;
constexpr int first_skipped = 5; // 5 to 14 October 1582 do not exist
constexpr int last_skipped = 14;
constexpr int skipped_days = last_skipped - first_skipped + 1;

constexpr std::int64_t first_day_of_1583 = -115782;

// Indexed by month; entry 0 is not used, and the first days end with one that no year
// reaches.
using MonthTable = std::array<int, 14>;
// clang-format off
//                                 Jan Feb  Mar  Apr  May  Jun  Jul  Aug  Sep  Oct  Nov  Dec
constexpr MonthTable length_common{0, 31, 28, 31,  30,  31,  30,  31,  31,  30,  31,  30,  31};
constexpr MonthTable first_common {0, 1, 32, 60,  91, 121, 152, 182, 213, 244, 274, 305, 335, 400};
constexpr MonthTable first_leap   {0, 1, 32, 61,  92, 122, 153, 183, 214, 245, 275, 306, 336, 400};
constexpr MonthTable first_1582   {0, 1, 32, 60,  91, 121, 152, 182, 213, 244, 274, 295, 325, 400};
// clang-format on

constexpr int common_length = 365;
constexpr int leap_length = 366;
constexpr int reform_length = common_length - skipped_days;

constexpr bool is_leap(int year)
{
    if (year % 4 != 0) {
        return false;
    }
    return year <= reform_year || year % 100 != 0 || year % 400 == 0;
}

// First day of each month, counted from 1 January as day 1.
constexpr const MonthTable& month_starts(int year, bool leap)
{
    return year == reform_year ? first_1582 : leap ? first_leap : first_common;
}

constexpr int month_length(int month, int year)
{
    return length_common[month] + (month == 2 && is_leap(year) ? 1 : 0);
}

// Rounded towards minus infinity; b > 0.
constexpr int floor_div(int a, int b)
{
    return a / b - (a % b < 0 ? 1 : 0);
}

// Day number of 1 January; year is not 0 and near enough to have one.
constexpr std::int64_t year_start(int year)
{
    const int y = year - 1; // full years since year 1
    if (year > reform_year) {
        return gregorian_year_1 + std::int64_t{365} * y + y / 4 - y / 100 + y / 400;
    }
    return julian_year_1 + std::int64_t{365} * y + floor_div(y, 4) + (year < 0 ? year_0_length : 0);
}
static_assert(year_start(1900) == 0 && year_start(reform_year + 1) == first_day_of_1583);
static_assert(year_start(1583) - year_start(1582) == reform_length && year_start(1) - year_start(-1) == 365);

// Years before this one get a note: the Julian calendar dates from 45 BC.
constexpr int first_julian_year = -45;

constexpr std::int64_t day_number(int day, int month, int year)
{
    const bool after_gap = year == reform_year && month == reform_month && day > last_skipped;
    return year_start(year) + month_starts(year, is_leap(year))[month] - 1 + day - 1 -
           (after_gap ? skipped_days : 0);
}

static_assert(day_number(last_skipped + 1, reform_month, reform_year) == first_gregorian_day);

// The dates whose day number is an int.
constexpr Date first_date{3, 3, -5877591};
constexpr Date last_date{12, 7, 5881510};
static_assert(day_number(first_date.day, first_date.month, first_date.year) == INT32_MIN);
static_assert(day_number(last_date.day, last_date.month, last_date.year) == INT32_MAX);

// Posts what is wrong with the date, in this order; more than one error may be
// posted. False after one of type 5, also when the note 12003 follows it.
bool valid(int day, int month, int year)
{
    int argument_no = 0;
    zavo_arg_check_range(month, "month", 1, 12, &argument_no);
    const bool month_exists = month >= 1 && month <= 12;
    zavo_arg_check_range(day, "day", 1, 0, &argument_no); // no upper bound here
    if (year == 0) {
        zavo_error_post(ZAVO_TERMINAL, core::code::year_zero);
        return false;
    }
    if (year == reform_year && month == reform_month && day >= first_skipped && day <= last_skipped) {
        zavo_error_set_int(1, day);
        zavo_error_post(ZAVO_TERMINAL, core::code::date_skipped);
        return false;
    }
    if (year < first_julian_year) {
        zavo_error_set_int(1, year);
        zavo_error_post(ZAVO_NOTE, core::code::early_year);
    }
    if (!month_exists) {
        return false; // no length to compare the day with
    }
    const int length = month_length(month, year);
    if (day > length) {
        zavo_error_set_int(1, month);
        zavo_error_set_int(2, year);
        zavo_error_set_int(3, length);
        zavo_error_set_int(4, day);
        zavo_error_post(ZAVO_TERMINAL, core::code::day_beyond_month);
    }
    return day >= 1 && day <= length;
}

// For a valid date. In the first and last year the later parts decide.
bool representable(int day, int month, int year)
{
    if (year > first_date.year && year < last_date.year) {
        return true;
    }
    int argument_no = 0;
    zavo_arg_check_range(year, "year", first_date.year, last_date.year, &argument_no);
    if (year == first_date.year) {
        zavo_arg_check_range(month, "month", first_date.month, 12, &argument_no);
        if (month == first_date.month) {
            zavo_arg_check_range(day, "day", first_date.day, month_length(month, year), &argument_no);
        }
    } else if (year == last_date.year) {
        zavo_arg_check_range(month, "month", 1, last_date.month, &argument_no);
        if (month == last_date.month) {
            zavo_arg_check_range(day, "day", 1, last_date.day, &argument_no);
        }
    }
    return !core::is_failure(core::pending_type());
}

int day_of_year_error(int day_of_year, bool leap, int year)
{
    if (day_of_year < 1) {
        return core::code::day_of_year_below_one;
    }
    if (year == reform_year) {
        return day_of_year > reform_length ? core::code::day_of_1582_beyond : 0;
    }
    if (leap) {
        return day_of_year > leap_length ? core::code::day_of_leap_beyond : 0;
    }
    return day_of_year > common_length ? core::code::day_of_common_beyond : 0;
}

// For a day of the year that exists.
void split_day_of_year(int day_of_year, bool leap, int year, int* month, int* day)
{
    const MonthTable& starts = month_starts(year, leap);
    // No month is longer than 31 days, and all of them together fall short of that
    // by less than a month.
    int m = (day_of_year - 1) / 31 + 1;
    m += starts[m + 1] <= day_of_year ? 1 : 0;
    *month = m;
    *day = day_of_year - starts[m] + 1;
    if (year == reform_year && m == reform_month && *day >= first_skipped) {
        *day += skipped_days;
    }
}

} // namespace

std::optional<int> day_number_of(const Date& date)
{
    const auto [day, month, year] = date;
    const bool skipped =
        year == reform_year && month == reform_month && day >= first_skipped && day <= last_skipped;
    if (year < first_julian_year || year >= last_date.year || year == 0 || month < 1 || month > 12 ||
        day < 1 || day > month_length(month, year) || skipped) {
        return std::nullopt;
    }
    return static_cast<int>(day_number(day, month, year));
}

} // namespace zavo::constants

namespace calendar = zavo::constants;

void l_n3yin(const int* day_of_year, const int* leap, const int* year, int* month, int* day)
{
    zavo_error_push("l_n3yin");
    if (const int error = calendar::day_of_year_error(*day_of_year, *leap == 1, *year)) {
        zavo_error_set_int(1, *day_of_year);
        zavo_error_post(ZAVO_TERMINAL, error);
    } else {
        calendar::split_day_of_year(*day_of_year, *leap == 1, *year, month, day);
    }
    zavo_error_pop("l_n3yin");
}

int zavo_date_to_days(int day, int month, int year)
{
    zavo::core::EntryFrame frame{"zavo_date_to_days"};
    if (!calendar::valid(day, month, year) || !calendar::representable(day, month, year)) {
        return 0;
    }
    return static_cast<int>(calendar::day_number(day, month, year));
}

void zavo_days_to_date(int days, int* day, int* month, int* year)
{
    zavo::core::EntryFrame frame{"zavo_days_to_date"};
    const calendar::Date date = calendar::date_of(days);
    if (day != nullptr) {
        *day = date.day;
    }
    if (month != nullptr) {
        *month = date.month;
    }
    if (year != nullptr) {
        *year = date.year;
    }
}

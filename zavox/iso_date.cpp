#include "zavox/iso_date.hpp"

#include <cstdio>

namespace zavox {

namespace {

constexpr int usual_digits = 4;
constexpr int beyond_all_years = 1000000000; // far outside the calendar, inside an int

bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

// A minus and two digits behind it.
bool read_part(const char** text, int* value)
{
    const char* const at = *text;
    if (at[0] != '-' || !is_digit(at[1]) || !is_digit(at[2])) {
        return false;
    }
    *value = 10 * (at[1] - '0') + (at[2] - '0');
    *text = at + 3;
    return true;
}

} // namespace

bool read_iso_date(const char* text, Date* date)
{
    const bool has_sign = *text == '+' || *text == '-';
    const bool negative = *text == '-';
    text += has_sign ? 1 : 0;
    int digits = 0;
    int year = 0;
    for (; is_digit(*text); ++text, ++digits) {
        year = year >= beyond_all_years / 10 ? beyond_all_years : 10 * year + (*text - '0');
    }
    if (digits < usual_digits || (digits > usual_digits && !has_sign) || (negative && year == 0)) {
        return false;
    }
    if (!read_part(&text, &date->month) || !read_part(&text, &date->day) || *text != '\0') {
        return false;
    }
    const int astronomical = negative ? -year : year;
    date->year = astronomical > 0 ? astronomical : astronomical - 1;
    return true;
}

int write_iso_date(const Date& date, char* text)
{
    const int year = date.year > 0 ? date.year : date.year + 1;
    const char* const sign = year < 0 ? "-" : (year > 9999 ? "+" : "");
    return std::snprintf(text, iso_date_size, "%s%04d-%02d-%02d", sign, year < 0 ? -year : year, date.month,
                         date.day);
}

} // namespace zavox

// Dates as values, and the days of any year by counting leap years.
#pragma once

#include "constants/calendar.h"
#include "tests/support/captured_errors.hpp"

#include <cstdint>
#include <gtest/gtest.h>
#include <ostream>

namespace zavo::test {

struct Date {
    int day, month, year;
    friend bool operator==(const Date&, const Date&) = default;
    friend std::ostream& operator<<(std::ostream& out, const Date& d)
    {
        return out << d.day << " " << d.month << " " << d.year;
    }
};

inline Date date_of(int days)
{
    Date date{-1, -1, 0};
    zavo_days_to_date(days, &date.day, &date.month, &date.year);
    return date;
}

inline int days_of(const Date& date)
{
    return zavo_date_to_days(date.day, date.month, date.year);
}

inline bool leap_year(int year)
{
    return year % 4 == 0 && (year < 1583 || year % 100 != 0 || year % 400 == 0);
}

// The number of 1 January by the leap years between it and 1900, whatever the
// year, in 64 bits.
inline std::int64_t new_year(std::int64_t year)
{
    const std::int64_t v = year - 1900;
    if (v > 0) {
        const std::int64_t before = year - 1; // leap years from 1900 to it
        return 365 * v + before / 4 - before / 100 + before / 400 - (1899 / 4 - 1899 / 100 + 1899 / 400);
    }
    const std::int64_t centuries = (year <= 1800) + (year <= 1700); // no leap years since the reform
    const std::int64_t leap_years = -v / 4 - centuries;
    return 365 * v - leap_years + (year <= 1582 ? 10 : 0) + (year < 0 ? 366 : 0);
}

inline void check_ends_of_year(int year)
{
    const std::int64_t first = new_year(year);
    const std::int64_t last = new_year(year == -1 ? 1 : year + 1) - 1;
    const std::int64_t march = first + (leap_year(year) ? 60 : 59);
    ASSERT_EQ(date_of(static_cast<int>(first)), (Date{1, 1, year})) << first;
    ASSERT_EQ(date_of(static_cast<int>(march)), (Date{1, 3, year})) << march;
    ASSERT_EQ(date_of(static_cast<int>(last)), (Date{31, 12, year})) << last;
    ASSERT_EQ(days_of({1, 1, year}), first) << year;
    ASSERT_EQ(days_of({1, 3, year}), march) << year;
    ASSERT_EQ(days_of({31, 12, year}), last) << year;
}

constexpr int first_full_year = -5877590;
constexpr int last_full_year = 5881509;

inline void check_years(CapturedErrors& errors, int step)
{
    for (int year = first_full_year; year <= last_full_year; year += step) {
        if (year != 0) {
            check_ends_of_year(year);
        }
        errors.clear();
    }
}

} // namespace zavo::test

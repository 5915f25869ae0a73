// Day numbers against a calendar that is turned page by page, and against the
// count by leap years of a range; the errors and the ends of the range.

#include "constants/calendar.h"
#include "constants/calendar.hpp"
#include "core/system/memory.hpp"
#include "tests/unit/constants/calendar_years.hpp"
#include "tests/unit/constants/reporting_test.hpp"

#include <climits>
#include <cstdint>

namespace {

using namespace zavo::test;

class calendar : public reporting_test {
protected:
    void refuse(const Date& date, const std::string& codes)
    {
        errors.clear();
        EXPECT_EQ(days_of(date), 0) << date;
        EXPECT_EQ(errors.codes(), codes) << date;
    }
    void same(const Date& date, int days)
    {
        EXPECT_EQ(days_of(date), days) << date;
        EXPECT_EQ(date_of(days), date) << days;
    }
};

TEST_F(calendar, known_dates)
{
    same({1, 1, 1900}, 0);
    same({31, 12, 1899}, -1);
    same({28, 2, 1900}, 58);
    same({1, 3, 1900}, 59);
    same({1, 1, 2000}, 36524);
    same({29, 2, 2000}, 36583);
    same({1, 1, 2100}, 73049);
    same({15, 10, 1582}, -115860);
    same({4, 10, 1582}, -115861);
    same({1, 1, 1582}, -116137);
    same({31, 12, 1582}, -115783);
    same({1, 1, 1583}, -115782);
    same({31, 12, 1581}, -116138);
    same({1, 1, 1}, -693597);
    same({31, 12, -1}, -693598);
    same({1, 1, 2300}, 146097);
    same({1, 1, -3}, -694692);
    same({1, 1, 1970}, 25567);
    same({29, 2, 1500}, days_of({28, 2, 1500}) + 1);
    EXPECT_TRUE(errors.empty());
}

// ---- the independent calendar ------------------------------------------

int days_in(int month, int year)
{
    switch (month) {
    case 2:
        return leap_year(year) ? 29 : 28;
    case 4:
    case 6:
    case 9:
    case 11:
        return 30;
    default:
        return 31;
    }
}

Date day_after(Date d)
{
    if (d == Date{4, 10, 1582}) {
        return {15, 10, 1582};
    }
    if (++d.day > days_in(d.month, d.year)) {
        d.day = 1;
        if (++d.month > 12) {
            d.month = 1;
            d.year += d.year == -1 ? 2 : 1;
        }
    }
    return d;
}

Date day_before(Date d)
{
    if (d == Date{15, 10, 1582}) {
        return {4, 10, 1582};
    }
    if (--d.day < 1) {
        if (--d.month < 1) {
            d.month = 12;
            d.year -= d.year == 1 ? 2 : 1;
        }
        d.day = days_in(d.month, d.year);
    }
    return d;
}

// Round trip over four million days each way.
TEST_F(calendar, agrees_with_turning_the_pages)
{
    Date forward{1, 1, 1900};
    Date backward = forward;
    for (int n = 0; n <= 4000000; ++n) {
        ASSERT_EQ(days_of(forward), n) << forward;
        ASSERT_EQ(date_of(n), forward) << n;
        ASSERT_EQ(days_of(backward), -n) << backward;
        ASSERT_EQ(date_of(-n), backward) << -n;
        forward = day_after(forward);
        backward = day_before(backward);
        if (n % 1024 == 0) {
            errors.clear(); // the notes of early years
        }
    }
    EXPECT_LT(backward.year, -9000);
}

TEST_F(calendar, around_the_reform)
{
    Date date{1, 9, 1582};
    for (int n = days_of(date); date.year < 1584; ++n, date = day_after(date)) {
        same(date, n);
    }
    EXPECT_TRUE(errors.empty());
}

// Counting the remainders of short cycles can run one day past the end of the
// year on these; each is the 1 January on which a cycle begins.
TEST_F(calendar, first_days_of_cycles)
{
    const int days[] = {-46751,  -93502,  -162889, -209641, -256393, -262237, -308989, -355741,
                        -402493, -408337, -455089, -501841, -548593, -554437, -601189, -647941};
    const int years[] = {1772, 1644, 1454, 1326, 1198, 1182, 1054, 926,
                         798,  782,  654,  526,  398,  382,  254,  126};
    for (int i = 0; i < 16; ++i) {
        same({1, 1, years[i]}, days[i]);
    }
    EXPECT_TRUE(errors.empty());
}

TEST_F(calendar, years_of_the_whole_range)
{
    check_years(errors, 101);
    check_ends_of_year(last_full_year);
}

// ---- the ends of the range ---------------------------------------------

TEST_F(calendar, ends_of_the_range)
{
    same({12, 7, 5881510}, INT_MAX);
    same({11, 7, 5881510}, INT_MAX - 1);
    EXPECT_TRUE(errors.empty());
    same({3, 3, -5877591}, INT_MIN);
    same({4, 3, -5877591}, INT_MIN + 1);
    EXPECT_EQ(errors.codes(), "1/12003 1/12003");
}

TEST_F(calendar, dates_without_a_day_number)
{
    const struct {
        Date date;
        const char* parameters;
    } cases[] = {
        {{1, 1, 5881511}, "5881511 -5877591 5881510 year"},
        {{1, 1, INT_MAX}, "2147483647 -5877591 5881510 year"},
        {{1, 8, 5881510}, "8 1 7 month"},
        {{13, 7, 5881510}, "13 1 12 day"},
        {{31, 12, -5877592}, "-5877592 -5877591 5881510 year"},
        {{1, 1, INT_MIN}, "-2147483648 -5877591 5881510 year"},
        {{28, 2, -5877591}, "2 3 12 month"},
        {{2, 3, -5877591}, "2 3 31 day"},
    };
    for (const auto& c : cases) {
        refuse(c.date, "5/602"); // posted after the note of an early year, if any
        EXPECT_EQ(expanded("%(I1) %(I2) %(I3) %(S1)"), c.parameters) << c.date;
    }
}

// ---- checks of a date --------------------------------------------------

TEST_F(calendar, parameters_of_errors)
{
    refuse({1, 13, 2000}, "5/602");
    EXPECT_EQ(expanded("%(I1) %(I2) %(I3) %(S1)"), "13 1 12 month");
    refuse({1, 0, 2000}, "5/602");
    EXPECT_EQ(expanded("%(I1) %(I2) %(I3) %(S1)"), "0 1 12 month");
    refuse({0, 1, 2000}, "5/603");
    EXPECT_EQ(expanded("%(I1) %(I2) %(S1)"), "0 1 day");
    refuse({1, 1, 0}, "5/12001");
    refuse({10, 10, 1582}, "5/12002");
    EXPECT_EQ(expanded("%(I1)"), "10");
    refuse({30, 2, 2001}, "5/12004");
    EXPECT_EQ(expanded("%(I1) %(I2) %(I3) %(I4)"), "2 2001 28 30");
    refuse({29, 2, 1900}, "5/12004");
    refuse({31, 4, 1999}, "5/12004");
    refuse({32, 10, 1582}, "5/12004");
    refuse({INT_MAX, 1, 1}, "5/12004");
    for (int day = 5; day <= 14; ++day) {
        refuse({day, 10, 1582}, "5/12002");
    }
    EXPECT_EQ(errors.last().routine, "zavo_date_to_days");
}

// Each check goes on after an error, but for the two that end it. The note is
// reported at the return, unless an error has taken its place.
TEST_F(calendar, order_of_checks)
{
    refuse({0, 13, 2000}, "5/602 5/603");
    refuse({0, 13, 0}, "5/602 5/603 5/12001");
    refuse({INT_MIN, INT_MIN, INT_MIN}, "5/602 5/603 1/12003");
    refuse({INT_MAX, INT_MAX, INT_MAX}, "5/602");
    refuse({40, 13, 2000}, "5/602");
    refuse({40, 1, -100}, "5/12004");
    refuse({1, 13, -100}, "5/602 1/12003");
    EXPECT_EQ(zavo_error_type(1), 1);
    EXPECT_EQ(zavo_error_code(1), 12003);
}

TEST_F(calendar, early_years_are_noted)
{
    EXPECT_EQ(days_of({1, 1, -45}), days_of({31, 12, -46}) + 1);
    EXPECT_EQ(errors.codes(), "1/12003");
    EXPECT_EQ(expanded("%(I1)"), "-46");
    EXPECT_EQ(days_of({29, 2, -48}) + 1, days_of({1, 3, -48}));
    EXPECT_EQ(zavo_error_type(1), 1);
    EXPECT_EQ(days_of({1, 1, 1900}), 0);
    EXPECT_EQ(zavo_error_type(1), 0);
}

TEST_F(calendar, day_number_of_where_nothing_is_reported)
{
    for (const int year : {INT_MIN, -5877591, -5877590, -47,  -46,  -45,  -44,     -4,      -1,
                           0,       1,        4,        1500, 1581, 1582, 1583,    1600,    1700,
                           1900,    1999,     2000,     2001, 2004, 9999, 5881508, 5881509, INT_MAX}) {
        for (int month = -1; month <= 14; ++month) {
            for (int day = -1; day <= 33; ++day) {
                errors.clear();
                const int days = days_of({day, month, year});
                const std::optional<int> quiet = zavo::constants::day_number_of({day, month, year});
                ASSERT_EQ(quiet.has_value(), errors.codes().empty()) << Date{day, month, year};
                ASSERT_EQ(quiet.value_or(days), days) << Date{day, month, year};
            }
        }
    }
}

// ---- days of a year ------------------------------------------------------

class day_of_year : public reporting_test {
protected:
    // "day month", or the error's code.
    std::string split(int day_of_year, int leap, int year)
    {
        errors.clear();
        int month = 0;
        int day = 0;
        l_n3yin(&day_of_year, &leap, &year, &month, &day);
        const int code = zavo_error_code(1);
        if (code != 0) {
            EXPECT_EQ(reported(), "5/" + std::to_string(code) + " l_n3yin");
            EXPECT_EQ(expanded("%(I1)"), std::to_string(day_of_year));
            EXPECT_EQ(month + day, 0);
            return std::to_string(code);
        }
        return std::to_string(day) + " " + std::to_string(month);
    }
};

TEST_F(day_of_year, splits_into_day_and_month)
{
    EXPECT_EQ(split(1, -1, 2001), "1 1");
    EXPECT_EQ(split(59, -1, 2001), "28 2");
    EXPECT_EQ(split(60, -1, 2001), "1 3");
    EXPECT_EQ(split(60, 1, 2000), "29 2");
    EXPECT_EQ(split(365, -1, 2001), "31 12");
    EXPECT_EQ(split(366, 1, 2000), "31 12");
    EXPECT_EQ(split(277, -1, 1582), "4 10");
    EXPECT_EQ(split(278, -1, 1582), "15 10");
    EXPECT_EQ(split(294, -1, 1582), "31 10");
    EXPECT_EQ(split(295, -1, 1582), "1 11");
    EXPECT_EQ(split(355, -1, 1582), "31 12");
}

TEST_F(day_of_year, beyond_the_year)
{
    EXPECT_EQ(split(0, -1, 2001), "12005");
    EXPECT_EQ(split(INT_MIN, 1, 1582), "12005");
    EXPECT_EQ(split(356, -1, 1582), "12006");
    EXPECT_EQ(split(367, 1, 2000), "12007");
    EXPECT_EQ(split(366, -1, 2001), "12008");
    EXPECT_EQ(split(INT_MAX, -1, 2001), "12008");
}

// ---- the rest --------------------------------------------------------------

TEST_F(calendar, parts_that_are_not_wanted)
{
    int year = 0;
    zavo_days_to_date(36524, nullptr, nullptr, &year);
    EXPECT_EQ(year, 2000);
    int day = 0;
    zavo_days_to_date(36524, &day, nullptr, nullptr);
    EXPECT_EQ(day, 1);
}

TEST_F(calendar, reports_without_memory)
{
    long nth = 0;
    do {
        zavo_fail_allocation(++nth);
        EXPECT_EQ(days_of({30, 2, 2001}), 0);
        EXPECT_EQ(zavo_error_code(1), 12004);
        EXPECT_EQ(date_of(36524), (Date{1, 1, 2000}));
    } while (zavo_allocation_count() >= nth);
    zavo_fail_allocation(0);
}

} // namespace

// The date of a day number: a few multiplications, inline since a call that returns a
// struct would cost as much again.
//
// Both calendars count years from March on here, whose leap day is the last: dates of
// 1 March and later have the year's number, January and February the next one.
//   C. Neri, L. Schneider: Euclidean affine functions and their application to calendar
//   algorithms, Software: Practice and Experience 53 (2023) 937-970, section 7.
#pragma once

#include "constants/calendar.hpp"

#include <cstdint>

namespace zavo::constants {

// Day numbers of the calendars' first days, as if each had always been in use.
constexpr std::int64_t gregorian_year_1 = -693595; // 1 January 1
constexpr std::int64_t julian_year_1 = -693597;
constexpr std::int64_t year_0_length = 366;

constexpr int january_to_march = 306; // days from 1 March to the next 1 January

// The starts of the months are a straight line, rounded down: March is 3, February 14.
constexpr Date date_in_march_year(int year, unsigned day_of_year)
{
    const unsigned line = 2141 * day_of_year + 197913;
    const int next_year = day_of_year >= january_to_march ? 1 : 0;
    return {static_cast<int>(line % 65536 / 2141) + 1, static_cast<int>(line / 65536) - 12 * next_year,
            year + next_year};
}

constexpr int first_gregorian_day = -115860; // 15 October 1582

// From first_gregorian_day on.
constexpr Date gregorian_date(int days)
{
    const std::uint64_t quarters = 4 * std::uint64_t(days - gregorian_year_1 + january_to_march) + 3;
    const auto century = static_cast<int>(quarters / 146097);
    const auto rest = static_cast<unsigned>(quarters % 146097) | 3U;
    // rest / 1461 and rest % 1461 / 4 by one product, exact for what a century has.
    const std::uint64_t product = std::uint64_t{2939745} * rest;
    return date_in_march_year(100 * century + static_cast<int>(product >> 32),
                              static_cast<unsigned>(product) / 2939745 / 4);
}

// Before that.
constexpr Date julian_date(int days)
{
    constexpr int cycles = 1'470'000; // of 4 years before year 0, so that nothing is negative
    static_assert(1461 * std::int64_t{cycles} > std::int64_t{INT32_MAX} + year_0_length);
    const std::int64_t since_year_0 =
        days - julian_year_1 + january_to_march - (days < julian_year_1 ? year_0_length : 0);
    const std::uint64_t quarters = 4 * std::uint64_t(since_year_0 + 1461 * std::int64_t{cycles}) + 3;
    return date_in_march_year(static_cast<int>(quarters / 1461) - 4 * cycles,
                              static_cast<unsigned>(quarters % 1461) / 4);
}

// Every day number has one.
constexpr Date date_of(int days)
{
    return days >= first_gregorian_day ? gregorian_date(days) : julian_date(days);
}

} // namespace zavo::constants

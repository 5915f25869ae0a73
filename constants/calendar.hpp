// Day numbers without the frame of a public routine, for callers that have nothing to
// lose: neither function reads memory of the caller's or reports anything.
#pragma once

#include <optional>

namespace zavo::constants {

struct Date {
    int day, month, year;
};

// The date of a day number; each has one.
Date date_of(int days);

// The day number of a date; nothing for one of which zavo_date_to_days has an error or a
// note to report, and beyond year 5881509.
std::optional<int> day_number_of(Date date);

} // namespace zavo::constants

// Day numbers without the frame of a public routine, for callers that have nothing to
// lose: it reports nothing.
#pragma once

#include <optional>

namespace zavo::constants {

struct Date {
    int day, month, year;
};

// The day number of a date; nothing for one of which zavo_date_to_days has an error or a
// note to report, and beyond year 5881509.
std::optional<int> day_number_of(const Date& date);

} // namespace zavo::constants

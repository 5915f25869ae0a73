// Dates as text: YYYY-MM-DD as ISO 8601 has them, the year astronomical (0000 is
// the year before 0001) and with a sign where it is negative or has more than four
// digits. -0043-03-15 is the 15th of March of the year 44 BC.
#pragma once

namespace zavox {

// The year of the library's calendar, which has no year 0: -1 is the one before 1.
struct Date {
    int year;
    int month;
    int day;
};

// False when the text is not of that form; the date itself may still not exist.
// A year beyond nine digits counts as one of ten.
bool read_iso_date(const char* text, Date* date);

inline constexpr int iso_date_size = 32; // room for any date and the zero behind it

// Returns the length of the text.
int write_iso_date(const Date& date, char* text);

} // namespace zavox

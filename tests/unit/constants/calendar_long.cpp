// Every year that has a day number, some ten seconds.

#include "tests/unit/constants/calendar_years.hpp"

namespace {

TEST(calendar_long, every_year_of_the_whole_range)
{
    zavo::test::CapturedErrors errors;
    zavo::test::check_years(errors, 1);
}

} // namespace

// Every float through the elementary functions, some minutes each.

#include "tests/unit/core/elementary_reference.hpp"

namespace {

TEST(elementary_long, every_float_is_within_the_promised_error)
{
    zavo::test::check_floats(1);
}

} // namespace

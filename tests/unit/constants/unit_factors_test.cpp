// The factors between two units, and the names of both tables.

#include "constants/units.h"
#include "core/zavo.h"
#include "tests/unit/constants/reporting_test.hpp"

#include <string>

namespace {

class unit_factors : public reporting_test {
protected:
    // From the one unit to the other; -1 after an error.
    static double factor(const char* from, const char* to)
    {
        double above = 0.0;
        double below = 0.0;
        return zavo_unit_conversion(from, to, &above, &below) != 0 ? above / below : -1.0;
    }
};

TEST_F(unit_factors, are_those_of_the_table)
{
    EXPECT_EQ(factor("foot", "m"), 0.3048F);
    EXPECT_EQ(factor("m", "foot"), 1.0 / 0.3048F);
    EXPECT_EQ(factor("km/hour", "m/s"), static_cast<double>(1000.0F * (1.0F / 3600.0F)));
    EXPECT_EQ(reported(), "");
}

TEST_F(unit_factors, only_the_whole_word_is_si)
{
    EXPECT_EQ(factor("km", "SI"), 1000.0);
    EXPECT_EQ(factor("si", "foot"), 1.0 / 0.3048F);
    EXPECT_EQ(factor("s", "m"), -1.0); // seconds
    EXPECT_EQ(reported(), "5/12112 zavo_unit_conversion");
    EXPECT_EQ(factor("hour", "s"), 3600.0);
    EXPECT_EQ(reported(), "");
}

TEST_F(unit_factors, of_different_dimensions_are_an_error)
{
    EXPECT_EQ(factor("kg", "N"), -1.0); // no bridge from a mass to its weight here
    EXPECT_EQ(reported(), "5/12112 zavo_unit_conversion");
    EXPECT_EQ(factor("furlong", "m"), -1.0);
    EXPECT_EQ(reported(), "5/12114 l_c3nit");
    EXPECT_EQ(factor("m", "furlong"), -1.0);
    EXPECT_EQ(reported(), "5/12114 l_c3nit");
}

TEST_F(unit_factors, names_come_in_order_and_end)
{
    int constants = 0;
    for (std::string before; const char* name = zavo_constant_name(constants); ++constants) {
        EXPECT_LT(before, name);
        before = name;
        EXPECT_EQ(zavo_f_constant(name, nullptr), zavo_f_constant(name, "SI"));
    }
    EXPECT_EQ(constants, 30);
    int units = 0;
    for (std::string before; const char* name = zavo_unit_name(units); ++units) {
        EXPECT_LT(before, name);
        before = name;
    }
    EXPECT_EQ(units, 82);
    EXPECT_EQ(reported(), "");
    EXPECT_EQ(zavo_constant_name(-1), nullptr);
    EXPECT_EQ(zavo_unit_name(1000), nullptr);
}

} // namespace

// The rows of the tables, value for value.

#include "constants/tables.hpp"
#include "constants/units.h"
#include "tests/unit/constants/reporting_test.hpp"

#include <bit>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace {

using zavo::constants::find_constant;
using zavo::constants::find_unit;

struct ConstantCase {
    const char* name;
    std::uint32_t bits;
    const char* base_unit;
};

struct UnitCase {
    const char* name;
    int dims[5];
    std::uint32_t bits;
};

// clang-format off
const ConstantCase constants[] = {
    {"AMU",              0x13038FC2U, "kg"         }, // 1.6605403e-27
    {"ATM",              0x47C5E680U, "N/m^2"      }, // 101325
    {"AU",               0x520B536BU, "m"          }, // 1.496e+11
    {"AVOGADRO",         0x66FF0C23U, "1"          }, // 6.0221367e+23
    {"BOLTZMAN",         0x19858770U, "J/K"        }, // 1.380658e-23
    {"BOLTZMANN",        0x19858770U, "J/K"        }, // 1.380658e-23
    {"C",                0x4D8EF3C2U, "m/s"        }, // 2.9979245e+08
    {"CATALAN",          0x3F6A7CB9U, "1"          }, // 0.9159656
    {"E",                0x402DF854U, "1"          }, // 2.7182817
    {"ELECTRONCHARGE",   0x203D26D7U, "C"          }, // 1.6021774e-19
    {"ELECTRONMASS",     0x0D93CEEDU, "kg"         }, // 9.10939e-31
    {"ELECTRONVOLT",     0x203D26D7U, "J"          }, // 1.6021774e-19
    {"EULER",            0x3F13C468U, "1"          }, // 0.5772157
    {"FARADAY",          0x47BC72A8U, "C"          }, // 96485.31
    {"FINESTRUCTURE",    0x3BEF1EA2U, "1"          }, // 0.007297353
    {"GAMMA",            0x3F13C468U, "1"          }, // 0.5772157
    {"GAS",              0x4105083CU, "J/mole/K"   }, // 8.31451
    {"GRAVITY",          0x2E92BB58U, "N*m^2/kg^2" }, // 6.67259e-11
    {"HBAR",             0x070C2D40U, "J*s"        }, // 1.0545727e-34
    {"PERFECTGASVOLUME", 0x3CB79D35U, "m^3/mole"   }, // 0.02241383
    {"PI",               0x40490FDBU, "1"          }, // 3.1415927
    {"PLANCK",           0x085C306BU, "J*s"        }, // 6.6260757e-34
    {"PROTONMASS",       0x130484D4U, "kg"         }, // 1.6726232e-27
    {"RYDBERG",          0x4B277224U, "1/m"        }, // 10973732
    {"SPEEDLIGHT",       0x4D8EF3C2U, "m/s"        }, // 2.9979245e+08
    {"STANDARDGRAVITY",  0x411CE80AU, "m/s^2"      }, // 9.80665
    {"STANDARDPRESSURE", 0x47C5E680U, "N/m^2"      }, // 101325
    {"STEFANBOLTZMAN",   0x33738BEBU, "W/K^4/m^2"  }, // 5.67051e-08
    {"STEFANBOLTZMANN",  0x33738BEBU, "W/K^4/m^2"  }, // 5.67051e-08
    {"WATERTRIPLE",      0x4388947BU, "K"          }, // 273.16
};

const UnitCase units[] = {
    {"1",           { 0,  0,  0,  0,  0}, 0x3F800000U}, // 1
    {"A",           { 0,  0,  0,  1,  0}, 0x3F800000U}, // 1
    {"ABAMPERE",    { 0,  0,  0,  1,  0}, 0x41200000U}, // 10
    {"ABCOULOMB",   { 0,  0,  1,  1,  0}, 0x41200000U}, // 10
    {"ABVOLT",      { 2,  1, -3, -1,  0}, 0x322BCC77U}, // 1e-08
    {"ACRE",        { 2,  0,  0,  0,  0}, 0x457CEDB4U}, // 4046.8564
    {"AMPERE",      { 0,  0,  0,  1,  0}, 0x3F800000U}, // 1
    {"AMU",         { 0,  1,  0,  0,  0}, 0x3F800000U}, // 1
    {"ANGSTROM",    { 1,  0,  0,  0,  0}, 0x2EDBE6FFU}, // 1e-10
    {"ATM",         {-1,  1, -2,  0,  0}, 0x47C5E680U}, // 101325
    {"ATMOSPHERE",  {-1,  1, -2,  0,  0}, 0x47C5E680U}, // 101325
    {"AU",          { 1,  0,  0,  0,  0}, 0x520B536BU}, // 1.496e+11
    {"BAR",         {-1,  1, -2,  0,  0}, 0x47C35000U}, // 1e+05
    {"BTU",         { 2,  1, -2,  0,  0}, 0x4483CB33U}, // 1054.35
    {"C",           { 0,  0, -1,  1,  0}, 0x3F800000U}, // 1
    {"CELSIUS",     { 0,  0,  0,  0,  1}, 0x3F800000U}, // 1
    {"COULOMB",     { 0,  0,  1,  1,  0}, 0x3F800000U}, // 1
    {"DAY",         { 0,  0,  1,  0,  0}, 0x47A8C000U}, // 8.64e+04
    {"DEGC",        { 0,  0,  0,  0,  1}, 0x3F800000U}, // 1
    {"DEGF",        { 0,  0,  0,  0,  1}, 0x3F0E38E4U}, // 0.5555556
    {"DEGK",        { 0,  0,  0,  0,  1}, 0x3F800000U}, // 1
    {"DYNE",        { 1,  1, -2,  0,  0}, 0x3727C5ACU}, // 1e-05
    {"ERG",         { 2,  1, -2,  0,  0}, 0x33D6BF95U}, // 1e-07
    {"FAHRENHEIT",  { 0,  0,  0,  0,  1}, 0x3F0E38E4U}, // 0.5555556
    {"FARAD",       {-2, -1,  4,  2,  0}, 0x3F800000U}, // 1
    {"FEET",        { 1,  0,  0,  0,  0}, 0x3E9C0EBFU}, // 0.3048
    {"FOOT",        { 1,  0,  0,  0,  0}, 0x3E9C0EBFU}, // 0.3048
    {"G",           { 0,  1,  0,  0,  0}, 0x3A83126FU}, // 0.001
    {"GAUSS",       { 1, -2, -1,  0,  0}, 0x38D1B717U}, // 0.0001
    {"GRAM",        { 0,  1,  0,  0,  0}, 0x3A83126FU}, // 0.001
    {"HENRY",       { 2,  1, -2, -2,  0}, 0x3F800000U}, // 1
    {"HERTZ",       { 0,  0, -1,  0,  0}, 0x3F800000U}, // 1
    {"HOUR",        { 0,  0,  1,  0,  0}, 0x45610000U}, // 3.6e+03
    {"HR",          { 0,  0,  1,  0,  0}, 0x45610000U}, // 3.6e+03
    {"HZ",          { 0,  0, -1,  0,  0}, 0x3F800000U}, // 1
    {"IN",          { 1,  0,  0,  0,  0}, 0x3CD013A9U}, // 0.0254
    {"J",           { 2,  1, -2,  0,  0}, 0x3F800000U}, // 1
    {"JOULE",       { 2,  1, -2,  0,  0}, 0x3F800000U}, // 1
    {"K",           { 0,  0,  0,  0,  1}, 0x3F800000U}, // 1
    {"KELVIN",      { 0,  0,  0,  0,  1}, 0x3F800000U}, // 1
    {"L",           { 0,  0,  3,  0,  0}, 0x3A83126FU}, // 0.001
    {"LB",          { 0,  1,  0,  0,  0}, 0x3EE83D42U}, // 0.45359236
    {"LITER",       { 3,  0,  0,  0,  0}, 0x3A83126FU}, // 0.001
    {"LITRE",       { 3,  0,  0,  0,  0}, 0x3A83126FU}, // 0.001
    {"M",           { 1,  0,  0,  0,  0}, 0x3F800000U}, // 1
    {"MAXWELL",     { 2,  1, -2, -1,  0}, 0x322BCC77U}, // 1e-08
    {"METER",       { 1,  0,  0,  0,  0}, 0x3F800000U}, // 1
    {"METRE",       { 1,  0,  0,  0,  0}, 0x3F800000U}, // 1
    {"MICRON",      { 1,  0,  0,  0,  0}, 0x358637BDU}, // 1e-06
    {"MILE",        { 1,  0,  0,  0,  0}, 0x44C92B02U}, // 1609.344
    {"MILL",        { 1,  0,  0,  0,  0}, 0x37D51216U}, // 2.54e-05
    {"MIN",         { 0,  0,  1,  0,  0}, 0x42700000U}, // 6e+01
    {"MINUTE",      { 0,  0,  1,  0,  0}, 0x42700000U}, // 6e+01
    {"MOLE",        { 0,  0,  0,  0,  0}, 0x3F800000U}, // 1
    {"N",           { 1,  1, -2,  0,  0}, 0x3F800000U}, // 1
    {"NEWTON",      { 1,  1, -2,  0,  0}, 0x3F800000U}, // 1
    {"OHM",         { 2,  1, -3, -2,  0}, 0x3F800000U}, // 1
    {"OUNCE",       { 0,  1,  0,  0,  0}, 0x3CE83D42U}, // 0.028349523
    {"OZ",          { 0,  1,  0,  0,  0}, 0x3CE83D42U}, // 0.028349523
    {"PARSEC",      { 1,  0,  0,  0,  0}, 0x5ADB40F2U}, // 3.0857214e+16
    {"PASCAL",      {-1,  1, -2,  0,  0}, 0x3F800000U}, // 1
    {"POINT",       { 1,  0,  0,  0,  0}, 0x39B84423U}, // 0.0003514598
    {"POISE",       {-1,  1, -1,  0,  0}, 0x3DCCCCCDU}, // 0.1
    {"POUND",       { 0,  1,  0,  0,  0}, 0x3EE83D42U}, // 0.45359236
    {"POUNDAL",     { 1,  1, -2,  0,  0}, 0x3E0D92B8U}, // 0.138255
    {"S",           { 0,  0,  1,  0,  0}, 0x3F800000U}, // 1
    {"SEC",         { 0,  0,  0,  0,  0}, 0x3F800000U}, // 1
    {"SECOND",      { 0,  0,  1,  0,  0}, 0x3F800000U}, // 1
    {"SLUG",        { 0,  1,  0,  0,  0}, 0x4169809DU}, // 14.5939
    {"STATAMPERE",  { 0,  0,  0,  1,  0}, 0x2FB760F9U}, // 3.335641e-10
    {"STATCOULOMB", { 0,  0,  1,  1,  0}, 0x2FB760F9U}, // 3.335641e-10
    {"STOKE",       { 2,  0, -1,  0,  0}, 0x38D1B717U}, // 0.0001
    {"T",           { 0,  1, -2, -1,  0}, 0x3F800000U}, // 1
    {"TESLA",       { 0,  1, -2, -1,  0}, 0x3F800000U}, // 1
    {"V",           { 2,  1, -3, -1,  0}, 0x3F800000U}, // 1
    {"VOLT",        { 2,  1, -3, -1,  0}, 0x3F800000U}, // 1
    {"W",           { 2,  1, -3,  0,  0}, 0x3F800000U}, // 1
    {"WATT",        { 2,  1, -3,  0,  0}, 0x3F800000U}, // 1
    {"WB",          { 2,  1, -2, -1,  0}, 0x3F800000U}, // 1
    {"WEBER",       { 2,  1, -2, -1,  0}, 0x3F800000U}, // 1
    {"YARD",        { 1,  0,  0,  0,  0}, 0x3F6A161EU}, // 0.9144
    {"YEAR",        { 0,  0,  1,  0,  0}, 0x4BF099C0U}, // 3.1536e+07
};
// clang-format on

TEST(constant_table, holds_thirty_rows)
{
    EXPECT_EQ(std::size(constants), 30U);
    for (const ConstantCase& c : constants) {
        const auto* const row = find_constant(c.name);
        ASSERT_NE(row, nullptr) << c.name;
        EXPECT_EQ(row->name, c.name);
        EXPECT_EQ(std::bit_cast<std::uint32_t>(row->value), c.bits) << c.name;
        EXPECT_STREQ(row->base_unit, c.base_unit) << c.name;
    }
}

TEST(constant_table, holds_nothing_else)
{
    for (const char* name : {"", "@", "A", "AMT", "BOLTZMANNN", "D", "PI2", "STANDARDPRESSURES",
                             "WATERTRIPLF", "ZZZ", "pi", "\xFF", "STEFANBOLTZMANNSTEFANBOLTZMANN"}) {
        EXPECT_EQ(find_constant(name), nullptr) << name;
    }
}

TEST(unit_table, holds_eighty_two_rows)
{
    EXPECT_EQ(std::size(units), 82U);
    for (const UnitCase& u : units) {
        const auto* const row = find_unit(u.name);
        ASSERT_NE(row, nullptr) << u.name;
        EXPECT_EQ(row->name, u.name);
        EXPECT_EQ(std::bit_cast<std::uint32_t>(row->factor), u.bits) << u.name;
        for (int k = 0; k < 5; ++k) {
            EXPECT_EQ(row->dims[k], u.dims[k]) << u.name << " " << k;
        }
    }
}

TEST(unit_table, holds_nothing_else)
{
    for (const char* name : {"", "0", "2", "AA", "B", "METERS", "MICROM", "YEARS", "m", "FT", "\x80", "Z"}) {
        EXPECT_EQ(find_unit(name), nullptr) << name;
    }
}

// Every row is reached through an expression, but for the two whose names the
// parser splits.
using unit_names = reporting_test;
TEST_F(unit_names, are_reached_by_expressions)
{
    for (const UnitCase& u : units) {
        int dims[6] = {0, 0, 0, 0, 0, 77}; // the last one is not the routine's
        float factor = 0.0F;
        l_c3nit(u.name, dims, &factor);
        EXPECT_EQ(dims[5], 77) << u.name;
        if (std::strcmp(u.name, "AU") == 0) {
            EXPECT_EQ(zavo_error_code(1), 12114);
        } else if (std::strcmp(u.name, "MICRON") != 0) {
            EXPECT_EQ(zavo_error_code(1), 0) << u.name;
            EXPECT_EQ(std::bit_cast<std::uint32_t>(factor), u.bits) << u.name;
            EXPECT_TRUE(std::equal(dims, dims + 5, u.dims)) << u.name;
        }
    }
}

TEST(unit_table, keeps_its_peculiar_rows)
{
    const auto dim = [](const char* name, int k) { return static_cast<int>(find_unit(name)->dims[k]); };
    enum { length, mass, time };
    EXPECT_EQ(dim("C", time), -1);
    EXPECT_EQ(dim("COULOMB", time), 1);
    EXPECT_EQ(dim("L", time), 3);
    EXPECT_EQ(dim("L", length), 0);
    EXPECT_EQ(dim("LITER", length), 3);
    EXPECT_EQ(dim("SEC", time), 0);
    EXPECT_EQ(dim("SECOND", time), 1);
    EXPECT_EQ(find_unit("AMU")->factor, 1.0F);
    EXPECT_EQ(dim("GAUSS", mass), -2);
    EXPECT_NE(find_unit("MICRON"), nullptr);
}

} // namespace

// zavo_f_constant and l_cunit.

#include "constants/units.h"
#include "core/kernels/vector_kernels.h"
#include "core/system/memory.hpp"
#include "tests/unit/constants/reporting_test.hpp"

#include <string>

namespace {

class constant : public reporting_test {
protected:
    // NaN with this error of type 5 and no other.
    void refuse(const char* name, const char* unit, int code, const char* routine)
    {
        EXPECT_TRUE(std::isnan(zavo_f_constant(name, unit))) << name;
        EXPECT_EQ(reported(), "5/" + std::to_string(code) + " " + routine) << name;
        EXPECT_EQ(zavo_error_type(1), 5) << name;
        EXPECT_EQ(zavo_error_code(1), code) << name;
    }
    void accept(const char* name, const char* unit, float value)
    {
        EXPECT_EQ(zavo_f_constant(name, unit), value) << name;
        EXPECT_EQ(reported(), "") << name;
        EXPECT_EQ(zavo_error_code(1), 0) << name;
    }
};

TEST_F(constant, values_are_found_under_any_spelling)
{
    accept("pi", nullptr, 3.14159274F);
    accept("Speed_Light", nullptr, zavo_f_constant("C", nullptr));
    accept("Speed Light", nullptr, 299792458.0F);
    accept("_ s_p e_edlight_", nullptr, 299792458.0F);
    accept("E", nullptr, 2.71828183F);
    for (const auto& [a, b] :
         {std::pair{"boltzman", "boltzmann"}, std::pair{"stefanboltzman", "stefanboltzmann"},
          std::pair{"c", "speedlight"}, std::pair{"euler", "gamma"}, std::pair{"atm", "standardpressure"}}) {
        EXPECT_EQ(zavo_f_constant(a, nullptr), zavo_f_constant(b, nullptr)) << a;
    }
}

TEST_F(constant, unknown_names)
{
    for (const char* name :
         {"tau", "pi2", "", "_", "p-i", "\xCF\x80", "speedlight1", "STANDARDPRESSUREX", "electronmask"}) {
        refuse(name, nullptr, 12111, "zavo_f_constant");
        EXPECT_EQ(expanded("%(S1)"), name); // as given
    }
    refuse("Ta_u", "m", 12111, "zavo_f_constant");
    EXPECT_EQ(expanded("%(S1)"), "Ta_u");
    refuse(nullptr, nullptr, 12111, "zavo_f_constant");
}

TEST_F(constant, names_of_any_length)
{
    const std::string blanks(100000, ' ');
    accept((blanks + "p" + blanks + "i").c_str(), nullptr, 3.14159274F);
    const std::string letters(100000, 'p');
    refuse(letters.c_str(), nullptr, 12111, "zavo_f_constant");
    EXPECT_EQ(expanded("%(S1)"), letters);
}

TEST_F(constant, in_other_units)
{
    accept("c", "foot/s", static_cast<float>(299792448.0 / double{0.3048F}));
    EXPECT_NEAR(zavo_f_constant("c", "foot/s"), 9.83571e+08, 1e3);
    EXPECT_NEAR(zavo_f_constant("standardgravity", "feet/s^2"), 32.174, 1e-3);
    EXPECT_FLOAT_EQ(zavo_f_constant("ElectronMass", "g"), 9.10939e-28F);
    EXPECT_FLOAT_EQ(zavo_f_constant("gas", "erg/mole/K"), 8.31451e7F);
    EXPECT_FLOAT_EQ(zavo_f_constant("atm", "bar"), 1.01325F);
    EXPECT_FLOAT_EQ(zavo_f_constant("watertriple", "fahrenheit"), 491.688F); // a difference
    accept("electroncharge", "C", zavo_f_constant("electroncharge", nullptr));
    accept("pi", "*", 3.14159274F); // no factor at all: a pure number
}

// Infinite, as float arithmetic has it; no error.
TEST_F(constant, results_beyond_float)
{
    accept("pi", "am^3/m^3", HUGE_VALF);
    accept("planck", "J*s*tm^3/m^3*terahz^3/hz^3", 0.0F);
}

TEST_F(constant, base_units_by_si)
{
    for (const char* si : {"SI", "si", "Si", "sI", "S", "s", ""}) {
        accept("pi", si, 3.14159274F);
        accept("c", si, 299792458.0F);
    }
    refuse("pi", "six", 12114, "l_c3nit");
    refuse("pi", "i", 12114, "l_c3nit");
    refuse("pi", "sx", 12114, "l_c3nit");
}

TEST_F(constant, units_that_differ)
{
    refuse("pi", "m", 12112, "l_cunit");
    EXPECT_EQ(expanded("%(S1)|%(S2)"), "1|m");
    refuse("c", "ft/s", 12112, "l_cunit"); // femto-tesla
    EXPECT_EQ(expanded("%(S1)|%(S2)"), "m/s|ft/s");
    refuse("electroncharge", "coulomb", 12112, "l_cunit");
    refuse("c", "m/sec", 12112, "l_cunit");
    refuse("perfectgasvolume", "L/mole", 12112, "l_cunit");
    EXPECT_FLOAT_EQ(zavo_f_constant("perfectgasvolume", "liter/mole"), 22.41383F);
    refuse("c", "m^2147483647*m^2147483647/s", 12112, "l_cunit");
}

TEST_F(constant, unknown_units)
{
    refuse("pi", "furlong", 12114, "l_c3nit");
    EXPECT_EQ(expanded("%(S1)"), "FURLONG");
    refuse("au", "au", 12114, "l_c3nit");
    EXPECT_EQ(expanded("%(S1)"), "U");
    refuse("pi", std::string(1000, '1').c_str(), 12114, "l_c3nit");
    refuse("pi", "1*1*1*1*1*1*1*1*1*1*1", 12114, "l_c3nit");
}

TEST_F(constant, gravity_bridge)
{
    const float mass = zavo_f_constant("protonmass", nullptr);
    EXPECT_EQ(zavo_f_constant("protonmass", "N"), static_cast<float>(double{mass} * 9.80665));
    EXPECT_EQ(reported(), "3/12113 zavo_f_constant");
    EXPECT_EQ(zavo_error_type(1), 3);
    EXPECT_EQ(zavo_error_code(1), 12113);

    // A pressure in pounds by the square inch: there the target lacks gravity.
    EXPECT_NEAR(zavo_f_constant("atm", "lb/in^2"), 14.6959, 1e-3);
    EXPECT_EQ(reported(), "3/12113 zavo_f_constant");
    accept("c", "m/s", 299792458.0F); // and the warning does not stay
}

// ---- l_cunit -------------------------------------------------------------

float convert(float value, const char* from, const char* to)
{
    float result = 0.0F;
    l_cunit(value, from, &result, to);
    return result;
}

using unit_conversion = constant;

TEST_F(unit_conversion, both_directions)
{
    EXPECT_EQ(convert(2.0F, "foot", "m"), 2.0F * 0.3048F);
    EXPECT_FLOAT_EQ(convert(100.0F, "km/hour", "mile/hour"), 62.1371192F);
    EXPECT_FLOAT_EQ(convert(1.0F, "pound", "N"), 4.44822162F);
    EXPECT_FLOAT_EQ(convert(1.0F, "N", "kg"), 0.101971621F);
    EXPECT_EQ(convert(3.0F, "volt*ampere", "W"), 3.0F);
    EXPECT_EQ(convert(0.0F, "mile", "foot"), 0.0F);
}

// The quotient is rounded once, from double.
TEST_F(unit_conversion, rounds_once)
{
    for (float v = 1.0F; v < 2.0F; v += 0.001F) {
        const double in_feet = double{v} * double{1609.344F} / double{0.3048F};
        EXPECT_EQ(convert(v, "mile", "foot"), static_cast<float>(in_feet));
    }
}

// Either side: dimensions are then not compared.
TEST_F(unit_conversion, beginnings_of_si)
{
    EXPECT_EQ(convert(2.0F, "foot", "s"), 2.0F * 0.3048F);
    EXPECT_EQ(convert(2.0F, "SI", "hour"), static_cast<float>(2.0 / 3600.0));
    EXPECT_EQ(convert(2.0F, "", "Si"), 2.0F);
    EXPECT_EQ(reported(), "");
    EXPECT_TRUE(std::isnan(convert(1.0F, "foot", "SI "))); // longer than "SI": a unit
    EXPECT_EQ(reported(), "5/12114 l_c3nit");
    EXPECT_TRUE(std::isnan(convert(1.0F, "furlong", "SI")));
    EXPECT_EQ(reported(), "5/12114 l_c3nit");
}

TEST_F(unit_conversion, target_is_read_first)
{
    EXPECT_TRUE(std::isnan(convert(1.0F, "nix", "nought")));
    EXPECT_EQ(reported(), "5/12114 l_c3nit");
    EXPECT_EQ(expanded("%(S1)"), "NOUGHT");
}

TEST_F(unit_conversion, dimensions_at_the_ends_of_an_int)
{
    EXPECT_TRUE(std::isnan(convert(1.0F, "m^2147483647", "m^-2147483647")));
    EXPECT_TRUE(std::isnan(convert(1.0F, "m", "s^-2147483648")));
    EXPECT_TRUE(std::isnan(convert(1.0F, "m^2147483647", "kg/s^2")));
    EXPECT_EQ(errors.codes(), "5/12112 5/12112 5/12112");
}

TEST_F(constant, reports_without_memory)
{
    const struct {
        const char *name, *unit;
        int code;
    } cases[] = {{"tau", nullptr, 12111}, {"pi", "m", 12112}, {"pi", "furlong", 12114}};
    for (const auto& c : cases) {
        long nth = 0;
        do {
            zavo_fail_allocation(++nth);
            EXPECT_TRUE(std::isnan(zavo_f_constant(c.name, c.unit)));
            EXPECT_EQ(zavo_error_code(1), c.code);
        } while (zavo_allocation_count() >= nth);
        zavo_fail_allocation(0);
    }
    zavo_fail_allocation(1);
    EXPECT_EQ(zavo_f_constant("c", "km/s"), zavo_f_constant("c", "km/s"));
    EXPECT_EQ(zavo_error_code(1), 0);
    zavo_fail_allocation(0);
}

} // namespace

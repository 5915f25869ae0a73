// Mathematical and physical constants. The values are single precision: what is
// written here is the shortest decimal that rounds to the stored value.

#include "constants/name_key.hpp"
#include "constants/tables.hpp"
#include "constants/units.h"

namespace zavo::constants {
namespace {

// Several rows are synonyms: BOLTZMAN and BOLTZMANN, STEFANBOLTZMAN and
// STEFANBOLTZMANN, C and SPEEDLIGHT, EULER and GAMMA, ATM and STANDARDPRESSURE.
// ELECTRONVOLT is kept in joules.
// clang-format off
constexpr std::array<ConstantRow, 30> constant_rows{{
    // name                value            base unit
    {"AMU",              1.6605403e-27F,  "kg"},
    {"ATM",              101325.0F,       "N/m^2"},
    {"AU",               1.496e+11F,      "m"},
    {"AVOGADRO",         6.0221367e+23F,  "1"},
    {"BOLTZMAN",         1.380658e-23F,   "J/K"},
    {"BOLTZMANN",        1.380658e-23F,   "J/K"},
    {"C",                2.9979245e+08F,  "m/s"},
    {"CATALAN",          0.9159656F,      "1"},
    {"E",                2.7182817F,      "1"},
    {"ELECTRONCHARGE",   1.6021774e-19F,  "C"},
    {"ELECTRONMASS",     9.10939e-31F,    "kg"},
    {"ELECTRONVOLT",     1.6021774e-19F,  "J"},
    {"EULER",            0.5772157F,      "1"},
    {"FARADAY",          96485.31F,       "C"},
    {"FINESTRUCTURE",    0.007297353F,    "1"},
    {"GAMMA",            0.5772157F,      "1"},
    {"GAS",              8.31451F,        "J/mole/K"},
    {"GRAVITY",          6.67259e-11F,    "N*m^2/kg^2"},
    {"HBAR",             1.0545727e-34F,  "J*s"},
    {"PERFECTGASVOLUME", 0.02241383F,     "m^3/mole"},
    {"PI",               3.1415927F,      "1"},
    {"PLANCK",           6.6260757e-34F,  "J*s"},
    {"PROTONMASS",       1.6726232e-27F,  "kg"},
    {"RYDBERG",          10973732.0F,     "1/m"},
    {"SPEEDLIGHT",       2.9979245e+08F,  "m/s"},
    {"STANDARDGRAVITY",  9.80665F,        "m/s^2"},
    {"STANDARDPRESSURE", 101325.0F,       "N/m^2"},
    {"STEFANBOLTZMAN",   5.67051e-08F,    "W/K^4/m^2"},
    {"STEFANBOLTZMANN",  5.67051e-08F,    "W/K^4/m^2"},
    {"WATERTRIPLE",      273.16F,         "K"},
}};
// clang-format on

constexpr auto constant_keys = keys_of(constant_rows);
static_assert(ascending(constant_keys), "rows are in strcmp() order, each name once");
static_assert(!constant_rows.back().name.empty(), "every row is filled in");

} // namespace

const ConstantRow* find_constant(std::string_view name)
{
    return find_row(constant_rows, constant_keys, name);
}

} // namespace zavo::constants

const char* zavo_constant_name(int i)
{
    return zavo::constants::name_of_row(zavo::constants::constant_rows, i);
}

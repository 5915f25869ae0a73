// Units, their dimensions and their factors to SI base units.

#include "constants/name_key.hpp"
#include "constants/tables.hpp"
#include "constants/units.h"

namespace zavo::constants {
namespace {

// Kept: these rows are not what a physics book has, and conversions depend on
// them (unit_table.keeps_its_peculiar_rows):
//   C       time -1, unlike COULOMB: an electric charge does not convert to coulomb
//   L       time 3, unlike LITER and LITRE, which are lengths cubed
//   SEC     no dimension, unlike S and SECOND
//   AMU     factor 1, so that it converts like the kilogram
//   GAUSS   length 1, mass -2, time -1
//   MICRON  is never reached: the parser reads it as MICRO and N
//   AU      is never reached either: the parser reads it as A and U
// Units of temperature are scales only: DEGF converts differences.
// clang-format off
constexpr std::array<UnitRow, 82> unit_rows{{
    // L length, M mass, T time, I current, K temperature
    // name            L   M   T   I   K   factor
    {"1",            { 0,  0,  0,  0,  0},  1.0F},
    {"A",            { 0,  0,  0,  1,  0},  1.0F},
    {"ABAMPERE",     { 0,  0,  0,  1,  0},  10.0F},
    {"ABCOULOMB",    { 0,  0,  1,  1,  0},  10.0F},
    {"ABVOLT",       { 2,  1, -3, -1,  0},  1e-08F},
    {"ACRE",         { 2,  0,  0,  0,  0},  4046.8564F},
    {"AMPERE",       { 0,  0,  0,  1,  0},  1.0F},
    {"AMU",          { 0,  1,  0,  0,  0},  1.0F},
    {"ANGSTROM",     { 1,  0,  0,  0,  0},  1e-10F},
    {"ATM",          {-1,  1, -2,  0,  0},  101325.0F},
    {"ATMOSPHERE",   {-1,  1, -2,  0,  0},  101325.0F},
    {"AU",           { 1,  0,  0,  0,  0},  1.496e+11F},
    {"BAR",          {-1,  1, -2,  0,  0},  1e+05F},
    {"BTU",          { 2,  1, -2,  0,  0},  1054.35F},
    {"C",            { 0,  0, -1,  1,  0},  1.0F},
    {"CELSIUS",      { 0,  0,  0,  0,  1},  1.0F},
    {"COULOMB",      { 0,  0,  1,  1,  0},  1.0F},
    {"DAY",          { 0,  0,  1,  0,  0},  8.64e+04F},
    {"DEGC",         { 0,  0,  0,  0,  1},  1.0F},
    {"DEGF",         { 0,  0,  0,  0,  1},  0.5555556F},
    {"DEGK",         { 0,  0,  0,  0,  1},  1.0F},
    {"DYNE",         { 1,  1, -2,  0,  0},  1e-05F},
    {"ERG",          { 2,  1, -2,  0,  0},  1e-07F},
    {"FAHRENHEIT",   { 0,  0,  0,  0,  1},  0.5555556F},
    {"FARAD",        {-2, -1,  4,  2,  0},  1.0F},
    {"FEET",         { 1,  0,  0,  0,  0},  0.3048F},
    {"FOOT",         { 1,  0,  0,  0,  0},  0.3048F},
    {"G",            { 0,  1,  0,  0,  0},  0.001F},
    {"GAUSS",        { 1, -2, -1,  0,  0},  0.0001F},
    {"GRAM",         { 0,  1,  0,  0,  0},  0.001F},
    {"HENRY",        { 2,  1, -2, -2,  0},  1.0F},
    {"HERTZ",        { 0,  0, -1,  0,  0},  1.0F},
    {"HOUR",         { 0,  0,  1,  0,  0},  3.6e+03F},
    {"HR",           { 0,  0,  1,  0,  0},  3.6e+03F},
    {"HZ",           { 0,  0, -1,  0,  0},  1.0F},
    {"IN",           { 1,  0,  0,  0,  0},  0.0254F},
    {"J",            { 2,  1, -2,  0,  0},  1.0F},
    {"JOULE",        { 2,  1, -2,  0,  0},  1.0F},
    {"K",            { 0,  0,  0,  0,  1},  1.0F},
    {"KELVIN",       { 0,  0,  0,  0,  1},  1.0F},
    {"L",            { 0,  0,  3,  0,  0},  0.001F},
    {"LB",           { 0,  1,  0,  0,  0},  0.45359236F},
    {"LITER",        { 3,  0,  0,  0,  0},  0.001F},
    {"LITRE",        { 3,  0,  0,  0,  0},  0.001F},
    {"M",            { 1,  0,  0,  0,  0},  1.0F},
    {"MAXWELL",      { 2,  1, -2, -1,  0},  1e-08F},
    {"METER",        { 1,  0,  0,  0,  0},  1.0F},
    {"METRE",        { 1,  0,  0,  0,  0},  1.0F},
    {"MICRON",       { 1,  0,  0,  0,  0},  1e-06F},
    {"MILE",         { 1,  0,  0,  0,  0},  1609.344F},
    {"MILL",         { 1,  0,  0,  0,  0},  2.54e-05F},
    {"MIN",          { 0,  0,  1,  0,  0},  6e+01F},
    {"MINUTE",       { 0,  0,  1,  0,  0},  6e+01F},
    {"MOLE",         { 0,  0,  0,  0,  0},  1.0F},
    {"N",            { 1,  1, -2,  0,  0},  1.0F},
    {"NEWTON",       { 1,  1, -2,  0,  0},  1.0F},
    {"OHM",          { 2,  1, -3, -2,  0},  1.0F},
    {"OUNCE",        { 0,  1,  0,  0,  0},  0.028349523F},
    {"OZ",           { 0,  1,  0,  0,  0},  0.028349523F},
    {"PARSEC",       { 1,  0,  0,  0,  0},  3.0857214e+16F},
    {"PASCAL",       {-1,  1, -2,  0,  0},  1.0F},
    {"POINT",        { 1,  0,  0,  0,  0},  0.0003514598F},
    {"POISE",        {-1,  1, -1,  0,  0},  0.1F},
    {"POUND",        { 0,  1,  0,  0,  0},  0.45359236F},
    {"POUNDAL",      { 1,  1, -2,  0,  0},  0.138255F},
    {"S",            { 0,  0,  1,  0,  0},  1.0F},
    {"SEC",          { 0,  0,  0,  0,  0},  1.0F},
    {"SECOND",       { 0,  0,  1,  0,  0},  1.0F},
    {"SLUG",         { 0,  1,  0,  0,  0},  14.5939F},
    {"STATAMPERE",   { 0,  0,  0,  1,  0},  3.335641e-10F},
    {"STATCOULOMB",  { 0,  0,  1,  1,  0},  3.335641e-10F},
    {"STOKE",        { 2,  0, -1,  0,  0},  0.0001F},
    {"T",            { 0,  1, -2, -1,  0},  1.0F},
    {"TESLA",        { 0,  1, -2, -1,  0},  1.0F},
    {"V",            { 2,  1, -3, -1,  0},  1.0F},
    {"VOLT",         { 2,  1, -3, -1,  0},  1.0F},
    {"W",            { 2,  1, -3,  0,  0},  1.0F},
    {"WATT",         { 2,  1, -3,  0,  0},  1.0F},
    {"WB",           { 2,  1, -2, -1,  0},  1.0F},
    {"WEBER",        { 2,  1, -2, -1,  0},  1.0F},
    {"YARD",         { 1,  0,  0,  0,  0},  0.9144F},
    {"YEAR",         { 0,  0,  1,  0,  0},  3.1536e+07F},
}};
// clang-format on

constexpr auto unit_keys = keys_of(unit_rows);
static_assert(ascending(unit_keys), "rows are in strcmp() order, each name once");
static_assert(!unit_rows.back().name.empty(), "every row is filled in");

} // namespace

const UnitRow* find_unit(std::string_view name)
{
    return find_row(unit_rows, unit_keys, name);
}

} // namespace zavo::constants

const char* zavo_unit_name(int i)
{
    return zavo::constants::name_of_row(zavo::constants::unit_rows, i);
}

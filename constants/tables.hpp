// The tables of constants and units.
#pragma once

#include <string_view>

namespace zavo::constants {

struct ConstantRow {
    std::string_view name;
    float value;
    const char* base_unit; // the unit expression in which value is stored
};

// Exponents of length, mass, time, current and temperature. Amount of substance
// has none.
inline constexpr int dimension_count = 5;

struct UnitRow {
    std::string_view name;
    signed char dims[dimension_count];
    float factor; // one of the unit is this many of the SI base units
};

// The row of an upper-case name; null when there is none.
const ConstantRow* find_constant(std::string_view name);
// The same for a name as users write it: blanks and underscores do not count, nor does the
// case, so Speed_Light and "speed light" are SPEEDLIGHT.
const ConstantRow* find_constant_as_written(const char* name);
const UnitRow* find_unit(std::string_view name);

} // namespace zavo::constants

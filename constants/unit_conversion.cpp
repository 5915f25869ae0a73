// Conversion of a value from one unit expression into another, with standard
// gravity as a bridge between a mass and the force that it weighs.
//   5 kg into N: 5 * 9.80665, with warning 12113

#include "constants/units.h"

#include "constants/tables.hpp"
#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"
#include "core/frame/entry_frame.hpp"
#include "core/kernels/machine.hpp"

#include <cstdint>
#include <cstring>

namespace zavo::constants {
namespace {

constexpr double standard_gravity = 9.80665; // m/s^2

// One side of a conversion.
struct Unit {
    bool si = false; // "SI": factor 1, no dimensions taken
    int dims[dimension_count] = {};
    float factor = 1.0F;
};

// In either case; no letter is the zero that ends a text.
bool same_letter(char c, char capital)
{
    return capital != '\0' && (c == capital || c == capital + 32);
}

// Kept: every beginning of "SI" counts, so that the empty text and "s" ask for
// base units; "s" is not read as seconds (unit_conversion.beginnings_of_si).
bool counts_as_si(const char* text)
{
    constexpr char si[] = "SI";
    for (int i = 0; text[i] != '\0'; ++i) {
        if (!same_letter(text[i], si[i])) { // the zero that ends si matches nothing
            return false;
        }
    }
    return true;
}

// False when the expression was refused.
bool read(const char* text, Unit& unit)
{
    unit.si = counts_as_si(text);
    if (unit.si) {
        return true;
    }
    l_c3nit(text, unit.dims, &unit.factor);
    return zavo_error_type(1) == 0;
}

bool same_dimensions(const Unit& a, const Unit& b)
{
    for (int k = 0; k < dimension_count; ++k) {
        if (a.dims[k] != b.dims[k]) {
            return false;
        }
    }
    return true;
}

// True when a's dimensions times those of an acceleration are b's. Widened, since
// exponents may be as large as an int.
bool differ_by_acceleration(const Unit& a, const Unit& b)
{
    constexpr std::int64_t acceleration[dimension_count] = {1, 0, -2, 0, 0};
    for (int k = 0; k < dimension_count; ++k) {
        if (a.dims[k] + acceleration[k] != b.dims[k]) {
            return false;
        }
    }
    return true;
}

void warn_of_gravity()
{
    zavo_error_post(ZAVO_WARNING, core::code::gravity_bridge);
}

void post_difference(const char* from_unit, const char* to_unit)
{
    zavo_error_set_string(1, from_unit);
    zavo_error_set_string(2, to_unit);
    zavo_error_post(ZAVO_TERMINAL, core::code::units_differ);
}

void convert(float value, const char* from_unit, float* result, const char* to_unit)
{
    Unit to;
    Unit from;
    if (!read(to_unit, to) || !read(from_unit, from)) {
        return;
    }
    const double v = value;
    if (to.si || from.si || same_dimensions(from, to)) {
        *result = static_cast<float>(v * from.factor / to.factor);
    } else if (differ_by_acceleration(from, to)) { // a mass, wanted as a force
        warn_of_gravity();
        *result = static_cast<float>(v * standard_gravity * from.factor / to.factor);
    } else if (differ_by_acceleration(to, from)) {
        warn_of_gravity();
        *result = static_cast<float>(v * from.factor / (to.factor * standard_gravity));
    } else {
        post_difference(from_unit, to_unit);
    }
}

// As read(), but only the whole word stands for the base units: "s" is seconds.
bool read_strictly(const char* text, Unit& unit)
{
    unit.si = counts_as_si(text) && std::strlen(text) == 2;
    if (!unit.si) {
        l_c3nit(text, unit.dims, &unit.factor);
    }
    return unit.si || zavo_error_type(1) == 0;
}

} // namespace
} // namespace zavo::constants

void l_cunit(float value, const char* from_unit, float* result, const char* to_unit)
{
    zavo_error_push("l_cunit");
    *result = zavo::core::machine::not_a_number();
    zavo::constants::convert(value, from_unit, result, to_unit);
    zavo_error_pop("l_cunit");
}

int zavo_unit_conversion(const char* from_unit, const char* to_unit, double* numerator, double* denominator)
{
    const zavo::core::EntryFrame frame{"zavo_unit_conversion"};
    zavo::constants::Unit from;
    zavo::constants::Unit to;
    if (!zavo::constants::read_strictly(from_unit, from) || !zavo::constants::read_strictly(to_unit, to)) {
        return 0;
    }
    if (!from.si && !to.si && !zavo::constants::same_dimensions(from, to)) {
        zavo::constants::post_difference(from_unit, to_unit);
        return 0;
    }
    *numerator = from.factor;
    *denominator = to.factor;
    return 1;
}

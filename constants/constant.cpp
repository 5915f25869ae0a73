// A constant by its name, in the unit that the caller asks for.

#include "constants/name_key.hpp"
#include "constants/tables.hpp"
#include "constants/units.h"
#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"
#include "core/frame/entry_frame.hpp"
#include "core/kernels/machine.hpp"

namespace zavo::constants {

// A name too long for the table has no row.
const ConstantRow* find_constant_as_written(const char* name)
{
    char plain[max_name_length];
    std::size_t length = 0;
    for (; *name != '\0'; ++name) {
        if (*name == ' ' || *name == '_') {
            continue;
        }
        if (length == max_name_length) {
            return nullptr;
        }
        plain[length++] = capital(*name);
    }
    return find_constant({plain, length});
}

namespace {

float look_up(const char* name, const char* unit)
{
    const ConstantRow* const row = find_constant_as_written(name);
    if (row == nullptr) {
        zavo_error_set_string(1, name);
        zavo_error_post(ZAVO_TERMINAL, core::code::unknown_constant);
        return core::machine::not_a_number();
    }
    float value = row->value;
    if (unit != nullptr) {
        l_cunit(row->value, row->base_unit, &value, unit);
    }
    return value;
}

} // namespace
} // namespace zavo::constants

float zavo_f_constant(const char* name, const char* unit)
{
    zavo::core::EntryFrame frame{"zavo_f_constant"};
    return zavo::constants::look_up(name != nullptr ? name : "", unit);
}

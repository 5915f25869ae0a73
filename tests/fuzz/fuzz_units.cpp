// Unit expressions and names of constants. The input is up to three lines: the
// expression to convert from, the one to convert into, a constant's name.

#include "constants/units.h"
#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

using namespace zavo::core;

void ignore(int, int, const char*, const char*) {}

std::string take_line(std::string& text)
{
    const std::size_t end = text.find('\n');
    std::string line = text.substr(0, end);
    text.erase(0, end == std::string::npos ? end : end + 1);
    return line;
}

void require(bool good)
{
    if (!good) {
        std::abort();
    }
}

// An expression is parsed the same way twice, and refused as an unknown unit.
void check_expression(const std::string& text)
{
    int dims[2][5];
    float factor[2];
    for (int i = 0; i < 2; ++i) {
        l_c3nit(text.c_str(), dims[i], &factor[i]);
        const int code = zavo_error_code(1);
        require(code == 0 || code == code::unknown_unit);
        require(i == 0 || factor[0] == factor[1] || (std::isnan(factor[0]) && std::isnan(factor[1])));
        require(i == 0 || std::equal(dims[0], dims[0] + 5, dims[1]));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    zavo_error_options(ZAVO_SET_ERROR_HANDLER, ignore, ZAVO_SET_STOP, ZAVO_TERMINAL, 0, 0);
    std::string text(reinterpret_cast<const char*>(data), size);
    const std::string from = take_line(text);
    const std::string to = take_line(text);
    const std::string name = take_line(text);
    check_expression(from);
    check_expression(to);

    float result = 0.0F;
    l_cunit(2.0F, from.c_str(), &result, to.c_str());
    require(!is_failure(zavo_error_type(1)) || std::isnan(result));
    l_cunit(2.0F, from.c_str(), &result, from.c_str()); // into itself: never a matter of dimensions
    require(zavo_error_code(1) == 0 || zavo_error_code(1) == code::unknown_unit);

    for (const char* unit : {static_cast<const char*>(nullptr), to.c_str()}) {
        const float value = zavo_f_constant(name.c_str(), unit);
        require(!is_failure(zavo_error_type(1)) || std::isnan(value));
        zavo_f_constant("gas", unit);
    }
    return 0;
}

#include "core/frame/option_reader.hpp"

#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"

namespace zavo::core {

void OptionReader::complain(int code) const
{
    zavo_error_set_int(1, code);
    zavo_error_set_int(2, code_no_);
    zavo_error_post(ZAVO_TERMINAL, code::bad_option);
}

} // namespace zavo::core

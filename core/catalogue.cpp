#include "core/catalogue.hpp"

#include <cstdio>

namespace zavo::core {

const char* catalogue_message(int code)
{
    static char text[40];
    std::snprintf(text, sizeof text, "Error code %ld.", static_cast<long>(code));
    return text;
}

const char* code_text(int code)
{
    static char text[16];
    std::snprintf(text, sizeof text, "%ld", static_cast<long>(code));
    return text;
}

bool set_catalogue_path(const char*)
{
    return true;
}

bool set_catalogue_name(const char*)
{
    return true;
}

} // namespace zavo::core

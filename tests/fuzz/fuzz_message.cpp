// Message texts of any content: every place where one is expanded or printed.

#include "core/errors/error_stack.h"

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

void ignore(int, int, const char*, const char* message)
{
    // The expanded text is one string, whatever stands in it.
    if (std::string(message).size() > 1U << 24U) {
        std::abort();
    }
}

FILE* nowhere()
{
    static FILE* const stream = std::tmpfile();
    std::rewind(stream);
    return stream;
}

void post(const std::string& text)
{
    zavo_error_push("routine");
    zavo_error_set_int(1, -12345);
    zavo_error_set_real(2, 1e300);
    zavo_error_set_complex(3, -1e-300, 5);
    zavo_error_set_string(4, text.c_str());
    zavo_e1mes(ZAVO_WARNING_IMMEDIATE, 1, text.c_str());
    zavo_error_pop("routine");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    zavo_error_options(ZAVO_SET_ERROR_HANDLER, &ignore, 0);
    post(text);
    zavo_error_options(ZAVO_SET_OUTPUT_MODE, ZAVO_OUTPUT_STREAM, ZAVO_SET_ERROR_STREAM, nowhere(), 0);
    post(text);
    zavo_error_options(ZAVO_SET_ERROR_STREAM, stderr, 0);
    return 0;
}

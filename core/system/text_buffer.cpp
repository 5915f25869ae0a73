#include "core/system/text_buffer.hpp"

#include <cstdarg>
#include <cstdio>

namespace zavo::core {

void TextBuffer::format(const char* format, ...)
{
    std::va_list list;
    va_start(list, format);
    std::va_list again;
    va_copy(again, list);
    const int length = std::vsnprintf(nullptr, 0, format, list);
    va_end(list);
    if (length > 0 && !out_of_memory_ && reserve(static_cast<std::size_t>(length))) {
        std::vsnprintf(text_ + size_, static_cast<std::size_t>(length) + 1, format, again);
        size_ += static_cast<std::size_t>(length);
    }
    va_end(again);
}

} // namespace zavo::core

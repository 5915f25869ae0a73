// A growable text, for messages: never throws, and remembers when memory ran
// short instead of losing the process.
#pragma once

#include "core/system/memory.hpp"

#include <cstring>
#include <utility>

namespace zavo::core {

class TextBuffer {
public:
    TextBuffer() = default;
    TextBuffer(const TextBuffer&) = delete;
    TextBuffer& operator=(const TextBuffer&) = delete;
    ~TextBuffer() { release(text_); }

    const char* c_str() const { return static_ != nullptr ? static_ : text_ != nullptr ? text_ : ""; }
    std::size_t size() const { return size_; }
    bool empty() const { return c_str()[0] == '\0'; }
    bool out_of_memory() const { return out_of_memory_; }

    void clear()
    {
        size_ = 0;
        out_of_memory_ = false;
        static_ = nullptr;
        if (text_ != nullptr) {
            text_[0] = '\0';
        }
    }

    void swap(TextBuffer& other)
    {
        std::swap(text_, other.text_);
        std::swap(static_, other.static_);
        std::swap(size_, other.size_);
        std::swap(capacity_, other.capacity_);
        std::swap(out_of_memory_, other.out_of_memory_);
    }

    // Room for `extra` more characters and the terminating zero, in steps that
    // leave spare_characters beyond them.
    bool reserve(std::size_t extra)
    {
        if (size_ + extra + 1 <= capacity_) {
            return true;
        }
        const std::size_t wanted = size_ + extra + 1 + spare_characters;
        char* const grown = static_cast<char*>(reallocate(text_, wanted));
        if (grown == nullptr) {
            out_of_memory_ = true;
            return false;
        }
        text_ = grown;
        capacity_ = wanted;
        text_[size_] = '\0';
        return true;
    }

    void append(const char* text, std::size_t length)
    {
        if (out_of_memory_ || !reserve(length)) {
            return;
        }
        std::memcpy(text_ + size_, text, length);
        size_ += length;
        text_[size_] = '\0';
    }
    void append(const char* text) { append(text, std::strlen(text)); }
    void append(char c) { append(&c, 1); }

    // printf into the buffer.
    [[gnu::format(printf, 2, 3)]] void format(const char* format, ...);

    // Puts one character in place of `text`, when that stands at `at`.
    bool replace_at(std::size_t at, const char* text, char by)
    {
        const std::size_t length = std::strlen(text);
        if (length == 0 || at + length > size_ || std::memcmp(text_ + at, text, length) != 0) {
            return false;
        }
        text_[at] = by;
        std::memmove(text_ + at + 1, text_ + at + length, size_ - at - length + 1);
        size_ -= length - 1;
        return true;
    }

    // Shows a literal instead until the next clear(): needs no memory.
    void set_static(const char* literal) { static_ = literal; }

private:
    static constexpr std::size_t spare_characters = 512;
    char* text_ = nullptr;
    const char* static_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
    bool out_of_memory_ = false;
};

} // namespace zavo::core

// The optional arguments of a public routine: codes, each followed by its
// values, closed by 0.
#pragma once

#include <cstdarg>

namespace zavo::core {

class OptionReader {
public:
    // first_argument_no: the place of the first option code in the call,
    // counted from 1.
    OptionReader(std::va_list list, int first_argument_no) : next_no_(first_argument_no)
    {
        va_copy(list_, list);
    }
    // The same where the first code is a named argument of the call.
    OptionReader(int first_code, std::va_list list, int first_argument_no)
        : next_no_(first_argument_no), first_code_(first_code), first_is_named_(true)
    {
        va_copy(list_, list);
    }
    ~OptionReader() { va_end(list_); }
    OptionReader(const OptionReader&) = delete;
    OptionReader& operator=(const OptionReader&) = delete;

    // The next option code; 0 at the end, and ever after.
    int next()
    {
        if (ended_) {
            return 0;
        }
        code_no_ = next_no_;
        const int code = first_is_named_ ? first_code_ : va_arg(list_, int);
        first_is_named_ = false;
        ++next_no_;
        ended_ = code == 0;
        return code;
    }

    // The value behind the code read last; floats travel as double.
    template <class T>
    T take()
    {
        ++next_no_;
        return va_arg(list_, T);
    }

    // Place of the code read last, and of the next argument.
    int code_no() const { return code_no_; }
    int next_no() const { return next_no_; }

    // Posts 5/103 for the code read last. reject() also ends the list.
    void complain(int code) const;
    void reject(int code)
    {
        complain(code);
        ended_ = true;
    }

private:
    std::va_list list_;
    int next_no_;
    int code_no_ = 0;
    int first_code_ = 0;
    bool first_is_named_ = false;
    bool ended_ = false;
};

} // namespace zavo::core

// Collects what the library reports while it lives, with no error stopping the
// process, and puts the default policy back afterwards.
#pragma once

#include "core/errors/error_stack.h"
#include "core/zavo.h"

#include <string>
#include <vector>

namespace zavo::test {

struct ReportedError {
    int type;
    int code;
    std::string routine;
    std::string message;
};

class CapturedErrors {
public:
    CapturedErrors()
    {
        errors().clear();
        zavo_error_options(ZAVO_SET_ERROR_HANDLER, &collect, ZAVO_SET_STOP, ZAVO_FATAL, 0, ZAVO_SET_STOP,
                           ZAVO_TERMINAL, 0, ZAVO_SET_PRINT, ZAVO_NOTE, 1, ZAVO_SET_PRINT, ZAVO_ALERT, 1, 0);
    }
    ~CapturedErrors()
    {
        zavo_error_options(ZAVO_SET_ERROR_HANDLER, static_cast<zavo_error_handler_fn>(nullptr), ZAVO_SET_STOP,
                           ZAVO_FATAL, 1, ZAVO_SET_STOP, ZAVO_TERMINAL, 1, ZAVO_SET_PRINT, ZAVO_NOTE, 0,
                           ZAVO_SET_PRINT, ZAVO_ALERT, 0, 0);
    }
    CapturedErrors(const CapturedErrors&) = delete;
    CapturedErrors& operator=(const CapturedErrors&) = delete;

    const std::vector<ReportedError>& all() const { return errors(); }
    bool empty() const { return errors().empty(); }
    void clear() { errors().clear(); }
    const ReportedError& last() const { return errors().back(); }

    // A message text with the parameters that the last error left filled in.
    std::string expand(const char* text)
    {
        zavo_error_push("expand");
        zavo_e1mes(ZAVO_TERMINAL, 1, text);
        zavo_error_pop("expand");
        std::string result = last().message;
        errors().pop_back();
        return result;
    }

    // "type/code" of each, in order, separated by blanks: "5/504 5/102".
    std::string codes() const
    {
        std::string text;
        for (const ReportedError& error : errors()) {
            text += text.empty() ? "" : " ";
            text += std::to_string(error.type);
            text += '/';
            text += std::to_string(error.code);
        }
        return text;
    }

private:
    static std::vector<ReportedError>& errors()
    {
        static std::vector<ReportedError> list;
        return list;
    }
    static void collect(int type, int code, const char* routine, const char* message)
    {
        errors().push_back({type, code, routine, message});
    }
};

} // namespace zavo::test

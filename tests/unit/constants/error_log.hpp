// Errors as the library's handler sees them, and their message parameters.
#pragma once

#include "core/zavo.h"

#include <gtest/gtest.h>

#include <cmath>
#include <ostream>
#include <string>
#include <vector>

struct LoggedError {
    int type;
    int code;
    std::string routine;
    friend bool operator==(const LoggedError&, const LoggedError&) = default;
    friend std::ostream& operator<<(std::ostream& out, const LoggedError& e)
    {
        return out << e.type << "/" << e.code << " " << e.routine;
    }
};

// Errors of all types go to `errors`, and none stops the process.
class ErrorLog : public ::testing::Test {
protected:
    void SetUp() override
    {
        errors.clear();
        set_policy(1, 0, record);
    }
    void TearDown() override { set_policy(0, 1, nullptr); }

    // What the text is with the parameters of the last error in it.
    static std::string expanded(const char* text)
    {
        zavo_e1mes(ZAVO_WARNING_IMMEDIATE, 1, text);
        zavo_e1mes(0, 0, nullptr);
        errors.pop_back();
        return last_message;
    }

    inline static std::vector<LoggedError> errors;

private:
    static void record(int type, int code, const char* routine, const char* message)
    {
        errors.push_back({type, code, routine});
        last_message = message;
    }
    static void set_policy(int print_notes, int stop, zavo_error_handler_fn handler)
    {
        zavo_error_options(ZAVO_SET_ERROR_HANDLER, handler, ZAVO_SET_PRINT, ZAVO_NOTE, print_notes,
                           ZAVO_SET_STOP, ZAVO_FATAL, stop, ZAVO_SET_STOP, ZAVO_TERMINAL, stop, 0);
    }
    inline static std::string last_message;
};

using Errors = std::vector<LoggedError>;

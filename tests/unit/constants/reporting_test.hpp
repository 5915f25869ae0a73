// A fixture that collects errors and shows their message parameters.
#pragma once

#include "tests/support/captured_errors.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

class reporting_test : public ::testing::Test {
protected:
    // "type/code routine" of each error since the last call, in order.
    std::string reported()
    {
        std::string text;
        for (const auto& error : errors.all()) {
            text += (text.empty() ? "" : ", ") + std::to_string(error.type) + "/" +
                    std::to_string(error.code) + " " + error.routine;
        }
        errors.clear();
        return text;
    }

    // What the text is with the parameters of the last error in it.
    std::string expanded(const char* text)
    {
        zavo_e1mes(ZAVO_WARNING_IMMEDIATE, 1, text);
        zavo_e1mes(0, 0, nullptr);
        const std::string message = errors.last().message;
        errors.clear();
        return message;
    }

    zavo::test::CapturedErrors errors;
};

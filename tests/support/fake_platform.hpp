// What fake_platform.cpp answers and records, in place of the system's services.
#pragma once

#include "core/system/platform.hpp"

#include <map>
#include <string>
#include <vector>

namespace zavo::test {

struct ShownBox {
    std::string title;
    std::string text;
    platform::BoxIcon icon;
};

struct FakePlatform {
    std::map<std::string, std::string> variables;
    std::vector<std::string> searched; // paths that files were looked for in
    std::vector<std::string> folders;  // single ones that files were looked for in
    std::string found_in_folder;
    std::string found; // answer to the next searches; empty for none
    std::vector<ShownBox> boxes;
    int consoles_opened = 0;
    std::string console_text;
};

FakePlatform& fake_platform();

} // namespace zavo::test

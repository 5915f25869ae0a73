#include "tests/support/fake_platform.hpp"

#include <cstdlib>
#include <cstring>

namespace zavo::test {

FakePlatform& fake_platform()
{
    static FakePlatform the_platform;
    return the_platform;
}

namespace {

std::size_t copy(const std::string& text, char* buffer, std::size_t capacity)
{
    if (text.empty() || text.size() >= capacity) {
        return 0;
    }
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    return text.size();
}

} // namespace

} // namespace zavo::test

namespace zavo::platform {

using test::fake_platform;

unsigned tick_count()
{
    return 1;
}

std::size_t environment(const char* name, char* buffer, std::size_t capacity)
{
    const auto variable = fake_platform().variables.find(name);
    return variable != fake_platform().variables.end() ? test::copy(variable->second, buffer, capacity) : 0;
}

bool search_path(const char* path, const char*, char* buffer, std::size_t capacity)
{
    fake_platform().searched.emplace_back(path);
    return test::copy(fake_platform().found, buffer, capacity) > 0;
}

bool find_in_folder(const char* folder, const char*, char* buffer, std::size_t capacity)
{
    fake_platform().folders.emplace_back(folder);
    return test::copy(fake_platform().found_in_folder, buffer, capacity) > 0;
}

void program_name(char* buffer, std::size_t capacity)
{
    test::copy("host.exe", buffer, capacity);
}

void message_box(const char* title, const char* text, BoxIcon icon)
{
    fake_platform().boxes.push_back({title, text, icon});
}

void* console()
{
    ++fake_platform().consoles_opened;
    return &fake_platform();
}

void write_console(void* console, const char* text, std::size_t length)
{
    static_cast<test::FakePlatform*>(console)->console_text.append(text, length);
}

void* allocate_large(std::size_t bytes)
{
    return std::malloc(bytes);
}

void* allocate_aligned(std::size_t bytes)
{
    return std::malloc(bytes);
}

bool clock_time(std::tm* now)
{
    *now = std::tm{};
    return true;
}

// Faults are none of the tests that this stands in for.
void install_fault_handler(int, FaultHandler*, SavedHandler*) {}
void restore_fault_handler(int, const SavedHandler*) {}
bool is_own_handler(const SavedHandler&)
{
    return false;
}
bool enter_fault_stack(void*&)
{
    return false;
}
void leave_fault_stack() {}
void release_fault_stack(void*) {}
void around_fork(void (*)(), void (*)(), void (*)()) {}

} // namespace zavo::platform

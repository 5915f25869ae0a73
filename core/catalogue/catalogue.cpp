// The catalogue as the error routines see it: which file a code belongs to,
// where it is found, the record read last, and the texts that stand in for a
// record that cannot be had.

#include "core/catalogue/catalogue.hpp"

#include "core/catalogue/catalogue_file.hpp"
#include "core/system/error_settings.hpp"
#include "core/system/memory.hpp"
#include "core/system/platform.hpp"
#include "core/system/text_buffer.hpp"

#include <cstdio>
#include <cstring>
#include <iterator>
#include <utility>

namespace zavo::core {

namespace {

// Code / codes_per_file is the index of its file, the rest the record number.
constexpr int codes_per_file = 100000;
constexpr const char* file_names[] = {"zavoerr.bin", "kverr.bin", "XXXXXX.bin"};
constexpr int file_count = static_cast<int>(std::size(file_names));

constexpr char path_variable[] = "ZAVOERRPATH";
constexpr char default_path[] = ".;$LIB;/lib;c:/lib";
constexpr std::size_t path_limit = 260;       // longest value of path_variable
constexpr std::size_t variable_limit = 32767; // longest value of a variable in a path element
constexpr std::size_t found_limit = 4096;     // longest name of a file found

struct Catalogue {
    CatalogueFile files[file_count];
    char* path; // set by the options; null when not
    char* name;

    char* buffer; // of the record read last
    std::size_t buffer_size;
    bool cached;
    int cached_code;
    std::size_t name_start; // of the symbolic name in the buffer
};
constinit Catalogue catalogue{};

int file_index(int code)
{
    const int index = code / codes_per_file;
    return code >= 0 && index < file_count ? index : -1;
}

// ---- Finding a file ------------------------------------------------------

// Appends a path element, or the value of the variable that it names; nothing
// when that is unset.
bool append_element(const char* element, std::size_t length, TextBuffer& path)
{
    TextBuffer variable;
    char* value = nullptr;
    std::size_t value_length = 0;
    const bool is_variable = length > 0 && element[0] == '$';
    if (is_variable) {
        variable.append(element + 1, length - 1);
        value = static_cast<char*>(allocate(variable_limit + 1, 1));
        if (value == nullptr || variable.out_of_memory()) {
            release(value);
            return false;
        }
        value_length = length > 1 ? platform::environment(variable.c_str(), value, variable_limit + 1) : 0;
    }
    if (!is_variable || value_length > 0) {
        if (path.size() > 0) {
            path.append(';');
        }
        path.append(is_variable ? value : element, is_variable ? value_length : length);
    }
    release(value);
    return !path.out_of_memory();
}

bool expand_path(const char* source, TextBuffer& path)
{
    while (true) {
        const std::size_t length = std::strcspn(source, ";");
        if (!append_element(source, length, path)) {
            return false;
        }
        if (source[length] == '\0') {
            return true;
        }
        source += length + 1;
    }
}

// Null, or the reason why the file is not loaded.
const char* find_and_open(const char* name, CatalogueFile& file)
{
    char from_environment[path_limit + 1];
    const char* source = catalogue.path;
    if (source == nullptr) {
        source = platform::environment(path_variable, from_environment, sizeof from_environment) > 0
                     ? from_environment
                     : default_path;
    }
    TextBuffer path;
    if (!expand_path(source, path)) {
        return "Out-of-space";
    }
    char found[found_limit];
    if (!platform::search_path(path.c_str(), name, found, sizeof found)) {
        return "File not found";
    }
    return file.open(found);
}

void report_failure(const char* name, const char* reason)
{
    char text[120];
    std::snprintf(text, sizeof text, "Error in reading %s\n%s.\n", name, reason);
    std::fputs(text, stderr);
    std::fflush(stderr);
    if (output_mode() == ZAVO_OUTPUT_MESSAGE_BOX) {
        char title[path_limit];
        platform::program_name(title, sizeof title);
        platform::message_box(title, text, platform::BoxIcon::information);
    }
}

CatalogueFile* loaded_file(int code)
{
    const int index = file_index(code);
    if (index < 0) {
        return nullptr;
    }
    CatalogueFile& file = catalogue.files[index];
    if (file.status == CatalogueFile::Status::untried) {
        const char* const reason = find_and_open(file_names[index], file);
        file.status = reason == nullptr ? CatalogueFile::Status::loaded : CatalogueFile::Status::failed;
        if (reason != nullptr) {
            report_failure(file_names[index], reason);
        }
    }
    return file.status == CatalogueFile::Status::loaded ? &file : nullptr;
}

// ---- Reading a record ----------------------------------------------------

// The buffer is taken once, for the longest record that the header announces; a
// second file with longer ones replaces it.
bool reserve_buffer(std::size_t size)
{
    if (size <= catalogue.buffer_size) {
        return true;
    }
    char* const buffer = static_cast<char*>(allocate(size, 1));
    if (buffer == nullptr) {
        return false;
    }
    release(std::exchange(catalogue.buffer, buffer));
    catalogue.buffer_size = size;
    catalogue.cached = false;
    return true;
}

// Null, or the reason why the record is not in the buffer.
const char* read_record(CatalogueFile& file, int record, int code)
{
    if (!reserve_buffer(file.buffer_size())) {
        return "Out-of-memory";
    }
    catalogue.cached = false;
    if (!file.read(record, catalogue.buffer, &catalogue.name_start)) {
        return "Cannot seek to correct location";
    }
    catalogue.cached = true;
    catalogue.cached_code = code;
    return nullptr;
}

bool is_cached(int code)
{
    return catalogue.cached && catalogue.cached_code == code;
}

bool copy_setting(char*& setting, const char* text)
{
    char* copy = nullptr;
    if (text != nullptr && text[0] != '\0') {
        const std::size_t size = std::strlen(text) + 1;
        copy = static_cast<char*>(allocate(size, 1));
        if (copy == nullptr) {
            return false;
        }
        std::memcpy(copy, text, size);
    }
    release(std::exchange(setting, copy));
    return true;
}

} // namespace

const char* catalogue_message(int code)
{
    static char text[120];
    if (is_cached(code)) {
        return catalogue.buffer;
    }
    CatalogueFile* const file = loaded_file(code);
    // The name of the file in use is the table's again.
    copy_setting(catalogue.name, nullptr);
    const int record = file != nullptr ? file->find(code % codes_per_file) : -1;
    if (record < 0) {
        std::snprintf(text, sizeof text, "Error code %ld.", static_cast<long>(code));
        return text;
    }
    const char* const reason = read_record(*file, record, code);
    if (reason != nullptr) {
        std::snprintf(text, sizeof text, "Error in reading %s for error message %d.\n%s.\n",
                      file_names[file_index(code)], code, reason);
        file->close();
        file->status = CatalogueFile::Status::failed;
        return text;
    }
    return catalogue.buffer;
}

const char* code_text(int code)
{
    static char text[80];
    catalogue_message(code);
    if (is_cached(code) && catalogue.files[file_index(code)].status == CatalogueFile::Status::loaded) {
        std::snprintf(text, sizeof text, "%s", catalogue.buffer + catalogue.name_start);
    } else {
        std::snprintf(text, sizeof text, "%ld", static_cast<long>(code));
    }
    return text;
}

bool set_catalogue_path(const char* path)
{
    return copy_setting(catalogue.path, path);
}

bool set_catalogue_name(const char* name)
{
    return copy_setting(catalogue.name, name);
}

void reset_catalogue()
{
    for (CatalogueFile& file : catalogue.files) {
        file.close();
        file.status = CatalogueFile::Status::untried;
    }
    release(catalogue.buffer);
    release(catalogue.path);
    release(catalogue.name);
    catalogue = Catalogue{};
}

} // namespace zavo::core

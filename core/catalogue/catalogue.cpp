// The catalogue as the error routines see it: which file a code belongs to,
// where it is found, the record read last, and the texts that stand in for a
// record that cannot be had.

#include "core/catalogue/catalogue.hpp"

#include "core/catalogue/catalogue_file.hpp"
#include "core/system/error_settings.hpp"
#include "core/system/memory.hpp"
#include "core/system/platform.hpp"
#include "core/system/process_lock.hpp"
#include "core/system/text_buffer.hpp"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <utility>

namespace zavo::core {

namespace {

constexpr char path_variable[] = "ZAVOERRPATH";
constexpr char default_path[] = ".;$LIB;/lib;c:/lib";
constexpr std::size_t path_limit = 260;       // longest value of path_variable
constexpr std::size_t variable_limit = 32767; // longest value of a variable in a path element
constexpr std::size_t found_limit = 4096;     // longest name of a file found

// What the options set, for the whole process and under its lock; null when not
// set.
struct Settings {
    char* path = nullptr;
    std::atomic<char*> name{nullptr};
};
constinit Settings settings;

// Files that a thread has complained of.
constinit std::atomic<bool> reported[catalogue_count];

int file_index(int code)
{
    const int index = code / codes_per_file;
    return code >= 0 && index < catalogue_count ? index : -1;
}

// ---- Finding a file ------------------------------------------------------

// Where a file is looked for.
struct Search {
    TextBuffer path;   // folders, separated by ";"
    TextBuffer folder; // the value of a variable that has a ";" and may yet be the name of one folder
};

// Appends a path element, or the value of the variable that it names; nothing
// when that is unset.
bool append_element(const char* element, std::size_t length, Search& search)
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
        if (search.path.size() > 0) {
            search.path.append(';');
        }
        search.path.append(is_variable ? value : element, is_variable ? value_length : length);
    }
    if (value_length > 0 && std::strchr(value, ';') != nullptr && search.folder.empty()) {
        search.folder.append(value, value_length);
    }
    release(value);
    return !search.path.out_of_memory() && !search.folder.out_of_memory();
}

bool expand_path(const char* source, Search& search)
{
    while (true) {
        const std::size_t length = std::strcspn(source, ";");
        if (!append_element(source, length, search)) {
            return false;
        }
        if (source[length] == '\0') {
            return true;
        }
        source += length + 1;
    }
}

// The path that the options have set; empty when none is set.
void copy_set_path(TextBuffer& path)
{
    const ProcessLock lock;
    if (settings.path != nullptr) {
        path.append(settings.path);
    }
}

// Null, or the reason why the file is not loaded.
const char* find_and_open(const char* name, CatalogueFile& file)
{
    char from_environment[path_limit + 1];
    TextBuffer set_path;
    copy_set_path(set_path);
    const char* source = set_path.c_str();
    if (set_path.empty()) {
        source = platform::environment(path_variable, from_environment, sizeof from_environment) > 0
                     ? from_environment
                     : default_path;
    }
    Search search;
    if (set_path.out_of_memory() || !expand_path(source, search)) {
        return "Out-of-space";
    }
    char found[found_limit];
    if (!platform::search_path(search.path.c_str(), name, found, sizeof found) &&
        (search.folder.empty() ||
         !platform::find_in_folder(search.folder.c_str(), name, found, sizeof found))) {
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
    CatalogueFile& file = catalogue_cache().files[index];
    if (file.status == CatalogueFile::Status::untried) {
        const char* const reason = find_and_open(catalogue_names[index], file);
        file.status = reason == nullptr ? CatalogueFile::Status::loaded : CatalogueFile::Status::failed;
        if (reason != nullptr && !reported[index].exchange(true)) {
            report_failure(catalogue_names[index], reason);
        }
    }
    return file.status == CatalogueFile::Status::loaded ? &file : nullptr;
}

// ---- Reading a record ----------------------------------------------------

// The buffer is taken once, for the longest record that the header announces; a
// second file with longer ones replaces it.
bool reserve_buffer(CatalogueCache& cache, std::size_t size)
{
    if (size <= cache.buffer_size) {
        return true;
    }
    char* const buffer = static_cast<char*>(allocate(size, 1));
    if (buffer == nullptr) {
        return false;
    }
    release(std::exchange(cache.buffer, buffer));
    cache.buffer_size = size;
    cache.cached = false;
    return true;
}

// Null, or the reason why the record is not in the buffer.
const char* read_record(CatalogueCache& cache, CatalogueFile& file, int record, int code)
{
    if (!reserve_buffer(cache, file.buffer_size())) {
        return "Out-of-memory";
    }
    cache.cached = false;
    if (!file.read(record, cache.buffer, &cache.name_start)) {
        return "Cannot seek to correct location";
    }
    cache.cached = true;
    cache.cached_code = code;
    return nullptr;
}

// A copy of a setting's text, null for none. False when memory is short.
bool copy_text(const char* text, char** copy)
{
    *copy = nullptr;
    if (text == nullptr || text[0] == '\0') {
        return true;
    }
    const std::size_t size = std::strlen(text) + 1;
    *copy = static_cast<char*>(allocate(size, 1));
    if (*copy != nullptr) {
        std::memcpy(*copy, text, size);
    }
    return *copy != nullptr;
}

// The name of the file in use is the table's again.
void forget_set_name()
{
    if (settings.name.load(std::memory_order_relaxed) != nullptr) {
        release(settings.name.exchange(nullptr));
    }
}

} // namespace

const char* catalogue_message(int code)
{
    CatalogueCache& cache = catalogue_cache();
    if (cache.cached && cache.cached_code == code) {
        return cache.buffer;
    }
    char(&text)[sizeof cache.message_text] = cache.message_text;
    CatalogueFile* const file = loaded_file(code);
    forget_set_name();
    const int record = file != nullptr ? file->find(code % codes_per_file) : -1;
    if (record < 0) {
        std::snprintf(text, sizeof text, "Error code %ld.", static_cast<long>(code));
        return text;
    }
    const char* const reason = read_record(cache, *file, record, code);
    if (reason != nullptr) {
        std::snprintf(text, sizeof text, "Error in reading %s for error message %d.\n%s.\n",
                      catalogue_names[file_index(code)], code, reason);
        file->close();
        file->status = CatalogueFile::Status::failed;
        return text;
    }
    return cache.buffer;
}

const char* code_text(int code)
{
    CatalogueCache& cache = catalogue_cache();
    char(&text)[sizeof cache.code_text] = cache.code_text;
    catalogue_message(code);
    // What is cached was read from a file that is loaded: one that fails or is closed
    // takes the record along.
    const bool has_record = cache.cached && cache.cached_code == code;
    if (has_record) {
        std::snprintf(text, sizeof text, "%s", cache.buffer + cache.name_start);
    } else {
        std::snprintf(text, sizeof text, "%ld", static_cast<long>(code));
    }
    return text;
}

bool set_catalogue_path(const char* path)
{
    char* copy = nullptr;
    if (!copy_text(path, &copy)) {
        return false;
    }
    const ProcessLock lock;
    release(std::exchange(settings.path, copy));
    return true;
}

bool set_catalogue_name(const char* name)
{
    char* copy = nullptr;
    if (!copy_text(name, &copy)) {
        return false;
    }
    release(settings.name.exchange(copy));
    return true;
}

void CatalogueCache::reset()
{
    for (CatalogueFile& file : files) {
        file.close();
        file.status = CatalogueFile::Status::untried;
    }
    release(std::exchange(buffer, nullptr));
    buffer_size = 0;
    cached = false;
}

void reset_catalogue()
{
    catalogue_cache().reset();
    for (std::atomic<bool>& each : reported) {
        each = false;
    }
    set_catalogue_path(nullptr);
    set_catalogue_name(nullptr);
}

} // namespace zavo::core

// The message catalogue: texts and symbolic names of the error codes, read from
// binary files that are found on a search path at the first error.
//
// Search path: the one that zavo_error_options has set, else the environment
// variable ZAVOERRPATH, else ".;$LIB;/lib;c:/lib". Its elements are separated by
// ";"; an element "$NAME" stands for the value of that variable and is left out
// when it is unset. Each thread tries each file once. A catalogue that is missing
// or damaged is reported by the first of them on standard error (in message-box
// mode also in a box) and never keeps an error from being posted.
#pragma once

#include "core/catalogue/catalogue_file.hpp"

namespace zavo::core {

// Code / codes_per_file is the index of its file, the rest the record number.
inline constexpr int codes_per_file = 100000;
inline constexpr const char* catalogue_names[] = {"zavoerr.bin", "kverr.bin", "XXXXXX.bin"};
inline constexpr int catalogue_count = 3;

// A thread's files and the record that it has read last.
struct CatalogueCache {
    CatalogueFile files[catalogue_count];

    char* buffer = nullptr; // of the record read last
    std::size_t buffer_size = 0;
    bool cached = false;
    int cached_code = 0;
    std::size_t name_start = 0; // of the symbolic name in the buffer

    char message_text[120] = ""; // in place of a record that cannot be had
    char code_text[80] = "";

    // Closes the files and forgets what was tried and read.
    void reset();
};
CatalogueCache& catalogue_cache(); // the calling thread's (core/thread_state.cpp)

// Text of a code, message parameters unexpanded; valid until the next call.
// Never null: without a catalogue it is "Error code N.".
const char* catalogue_message(int code);

// The code's symbolic name when its file is loaded, else the decimal number.
// One buffer, overwritten by the next call.
const char* code_text(int code);

// Copies of what the error options set; null clears. False when memory is short
// (the former one then stays).
bool set_catalogue_path(const char* path);
// The next message looked up puts the standard name of its file back in place.
bool set_catalogue_name(const char* name);

// Resets this thread's cache and the settings: for tests, and for a program that
// checks its own balance of memory at its end.
void reset_catalogue();

} // namespace zavo::core

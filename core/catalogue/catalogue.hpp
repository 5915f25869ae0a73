// The message catalogue: texts and symbolic names of the error codes, read from
// binary files that are found on a search path at the first error.
//
// Search path: the one that zavo_error_options has set, else the environment
// variable ZAVOERRPATH, else ".;$LIB;/lib;c:/lib". Its elements are separated by
// ";"; an element "$NAME" stands for the value of that variable and is left out
// when it is unset. Each file is tried once in the life of the process. A
// catalogue that is missing or damaged is told once on standard error (in
// message-box mode also in a box) and never keeps an error from being posted.
#pragma once

namespace zavo::core {

// Text of a code, message parameters unexpanded; valid until the next call.
// Never null: without a catalogue it is "Error code N.".
const char* catalogue_message(int code);

// The code's symbolic name when its file is loaded, else the decimal number.
// One static buffer, overwritten by the next call.
const char* code_text(int code);

// Copies of what the error options set; null clears. False when memory is short
// (the former one then stays).
bool set_catalogue_path(const char* path);
// The next message looked up puts the standard name of its file back in place.
bool set_catalogue_name(const char* name);

// Closes the files and forgets what was tried and read: for tests, and for a
// program that checks its own balance of memory at its end. The settings go too.
void reset_catalogue();

} // namespace zavo::core

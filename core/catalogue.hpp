// The message catalogue: texts and symbolic names of the error codes, read from
// binary files that are found on a search path at the first error.
#pragma once

namespace zavo::core {

// Text of a code, message parameters unexpanded; valid until the next call.
// Never null: without a catalogue it is "Error code N.".
const char* catalogue_message(int code);

// The code's symbolic name when its file is loaded, else the decimal number.
// One static buffer, overwritten by the next call.
const char* code_text(int code);

// Copies of what the error options set; null clears. False when memory is short.
bool set_catalogue_path(const char* path);
bool set_catalogue_name(const char* name);

} // namespace zavo::core

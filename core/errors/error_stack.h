// The error stack as the library's own routines use it. C linkage, fixed names.
#pragma once

#include "core/zavo.h"

extern "C" {

// Enters and leaves a routine. `name` must outlive the routine (a literal).
// A pop that leaves the library reports the routine's error and may stop the
// process. Returns the popped entry's code.
void zavo_error_push(const char* name);
int zavo_error_pop(const char* name);

// Posts at the top entry with the catalogue's text for the code.
void zavo_error_post(int type, int code);

// "ON" marks the top entry as running user code, "OFF" ends that.
void zavo_error_user_level(const char* switch_text);

// Reads (unit 1..3) or stores (-1..-3) a stream slot; else posts 5/12010.
void zavo_error_stream(int unit, FILE** stream);

void zavo_error_traceback(void);

} // extern "C"

namespace zavo::core {

// Type of the error that stands at the top entry; 0 when none.
int pending_type();
// True when the top entry holds an error of type 4 or 5: a routine then hands
// out no result.
inline bool is_failure(int type)
{
    return type == ZAVO_FATAL || type == ZAVO_TERMINAL;
}

// Whether code outside the library runs at the top entry.
bool at_user_level();

// Clears what zavo_error_type and zavo_error_code answer, as a push would. For
// callers of routines that do not push on their good path.
void clear_queries();

// Routines that can still be entered before the stack, whose overflow stops the
// process, is full.
int stack_room();

// The error at the top entry, for code that lets user code run below it and
// wants what goes wrong there to stay there.
struct PostedError {
    int type;
    int code;
};
PostedError posted_error();
void restore_posted_error(PostedError error);

} // namespace zavo::core

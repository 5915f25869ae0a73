#include "ext/conventions.hpp"

#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"
#include "core/system/float_control.hpp"
#include "core/system/memory.hpp"
#include "core/thread_state.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

zavo::core::ModuleState& module_state()
{
    return zavo::core::thread_state().module;
}

// Of a text that has been cut, and so fills its buffer: the first bytes of a character
// in UTF-8 whose last ones are lost.
void drop_part_of_character(char* text)
{
    const std::size_t length = std::strlen(text);
    std::size_t start = length;
    while (length - start < 4 && (static_cast<unsigned char>(text[start - 1]) & 0xc0U) == 0x80U) {
        --start;
    }
    if (static_cast<unsigned char>(text[start - 1]) < 0xc0U) {
        return; // ends with a character of one byte, or is no UTF-8
    }
    const auto first = static_cast<unsigned char>(text[start - 1]);
    const std::size_t bytes = first < 0xe0U ? 2 : first < 0xf0U ? 3 : 4;
    if (length - (start - 1) < bytes) {
        text[start - 1] = '\0';
    }
}

} // namespace

void zavo_error_handler(int type, int code, const char* routine, const char* message)
{
    zavo::core::ModuleState& state = module_state();
    const int length =
        std::snprintf(state.last_error_text, sizeof state.last_error_text, "%s: %s", routine, message);
    if (length >= static_cast<int>(sizeof state.last_error_text)) {
        drop_part_of_character(state.last_error_text);
    }
    std::snprintf(state.last_error_routine, sizeof state.last_error_routine, "%s", routine);
    state.last_error_type = type;
    state.last_error_code = code;
}

int zavo_error_result(Tcl_Interp* interp)
{
    // Both types: an error that an earlier command left behind must not fail
    // this one, whose routine may have ended with a note of its own.
    const bool ended_in_failure = zavo_error_code(1) != 0 && zavo::core::is_failure(zavo_error_type(1));
    return ended_in_failure && zavo::ext::failure_reported(interp) ? 1 : 0;
}

namespace zavo::ext {

void forget_last_error()
{
    core::ModuleState& state = module_state();
    state.last_error_type = 0;
    state.last_error_code = 0;
    state.last_error_routine[0] = '\0';
    state.last_error_text[0] = '\0';
}

int failure_seen()
{
    return core::is_failure(module_state().last_error_type) ? 1 : 0;
}

void describe_last_error(zavo_engine_error* error)
{
    const core::ModuleState& state = module_state();
    *error = {state.last_error_type, state.last_error_code, state.last_error_routine, state.last_error_text};
}

bool failure_reported(Tcl_Interp* interp)
{
    core::ModuleState& state = module_state();
    if (!core::is_failure(state.last_error_type)) {
        return false;
    }
    char type[16];
    char code[16];
    std::snprintf(type, sizeof type, "%d", state.last_error_type);
    std::snprintf(code, sizeof code, "%d", state.last_error_code);
    Tcl_SetResult(interp, state.last_error_text, TCL_STATIC);
    Tcl_SetErrorCode(interp, "ZAVO", type, code, state.last_error_routine, nullptr);
    return true;
}

int usage(Tcl_Interp* interp, const char* command, const char* arguments)
{
    Tcl_ResetResult(interp);
    Tcl_AppendResult(interp, "usage: ", command, arguments, nullptr);
    return TCL_ERROR;
}

int fail(Tcl_Interp* interp, const char* command, const char* text)
{
    Tcl_ResetResult(interp);
    Tcl_AppendResult(interp, command, text, nullptr);
    return TCL_ERROR;
}

int bad_datatype(Tcl_Interp* interp, const char* command)
{
    return fail(interp, command, ": data must be lists or floats");
}

int library_failure(Tcl_Interp* interp)
{
    zavo_error_result(interp);
    return TCL_ERROR;
}

Tcl_Obj* own_result(Tcl_Interp* interp)
{
    Tcl_Obj* const result = Tcl_GetObjResult(interp);
    if (!Tcl_IsShared(result)) {
        return result;
    }
    Tcl_ResetResult(interp);
    return Tcl_GetObjResult(interp);
}

namespace {

// Out of line, so that the usual case has no frame to set up. What is no integer Tcl reads
// as a double, in the usual rounding modes.
[[gnu::noinline]] int read_unusual_int(Tcl_Interp* interp, const char* word, int* value)
{
    const platform::UsualFloatControl usual;
    return Tcl_GetInt(interp, word, value);
}

} // namespace

int read_int(Tcl_Interp* interp, const char* word, int* value)
{
    constexpr int digits_that_fit = 9;
    const bool negative = word[0] == '-';
    const char* const digits = word + (negative ? 1 : 0);
    const bool may_be_octal = digits[0] == '0' && digits[1] != '\0';
    const char* at = digits;
    unsigned number = 0;
    for (unsigned digit = 0;
         (digit = static_cast<unsigned>(*at) - '0') < 10 && at != digits + digits_that_fit; ++at) {
        number = 10 * number + digit;
    }
    if (*at != '\0' || at == digits || may_be_octal) {
        return read_unusual_int(interp, word, value);
    }
    *value = negative ? -static_cast<int>(number) : static_cast<int>(number);
    return TCL_OK;
}

int memory_failure(Tcl_Interp* interp, const char* routine, const char* argument, int count)
{
    zavo_error_push(routine);
    zavo_error_set_string(1, argument);
    zavo_error_set_int(1, count);
    zavo_error_post(ZAVO_TERMINAL, core::code::no_memory_for_array);
    zavo_error_pop(routine);
    return library_failure(interp);
}

float* padded_copy(const DynList* list, int count)
{
    auto* const copy =
        static_cast<float*>(core::allocate_zeroed(static_cast<std::size_t>(count), sizeof(float)));
    if (copy != nullptr && count_of(list) > 0) {
        std::memcpy(copy, floats_of(list), static_cast<std::size_t>(count_of(list)) * sizeof(float));
    }
    return copy;
}

const float* values_of(const DynList* list)
{
    static const float nothing[2] = {};
    return count_of(list) > 0 ? floats_of(list) : nothing;
}

int HeldList::find(Tcl_Interp* interp, const char* name)
{
    DynList* found = nullptr;
    const int status = tclFindDynList(interp, name, &found);
    if (status == TCL_OK) {
        interp_ = interp;
        list_ = found;
        morvelHoldList(interp_, list_);
    }
    return status;
}

HeldList::~HeldList()
{
    if (list_ != nullptr) {
        morvelReleaseList(interp_, list_);
    }
}

DynList* float_list(int n, float* values)
{
    DynList* const list = dfuCreateDynListWithVals(DFU_FLOAT, n, values);
    if (list == nullptr) {
        std::free(values);
    }
    return list;
}

} // namespace zavo::ext

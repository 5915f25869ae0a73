// Calls of a script procedure as an objective function. The words of a call are
//     name x[0] x[1] ...
// each number in fixed notation with six decimals. A plain name goes to
// Tcl_EvalObjv: no text is put together or parsed, the interpreter keeps the
// command that it found for the name, and the procedure gets the same texts, which
// already know the numbers that they stand for.
#include "minimize/objective_commands.hpp"

#include "core/system/memory.hpp"
#include "ext/host_code.hpp"
#include "minimize/objective/number_text.hpp"

#include <algorithm>
#include <cassert>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace zavo::ext {

using minimize::fixed_text_size;
using minimize::format_fixed;

namespace {

// A word that the parser of scripts takes as it stands.
bool is_plain_word(const char* word)
{
    constexpr char harmless[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_:.-+*/=<>!?@%&|~^,";
    return word[0] != '\0' && std::strspn(word, harmless) == std::strlen(word);
}

} // namespace

ScriptObjective::ScriptObjective(Tcl_Interp* interp, const char* function)
    : interp_(interp), function_(function), outer_(place()), double_type_(Tcl_GetObjType("double"))
{
    Tcl_Preserve(interp_);
    place() = this;
    watch_precision();
    if (is_plain_word(function)) {
        name_ = Tcl_NewStringObj(function, -1);
        Tcl_IncrRefCount(name_);
    }
}

ScriptObjective::~ScriptObjective()
{
    place() = outer_;
    if (name_ != nullptr) {
        Tcl_DecrRefCount(name_);
    }
    core::release(words_);
    core::release(script_);
    assert(!ended()); // raise() has handed the error on
    forget_precision();
    Tcl_Release(interp_);
}

// ---- The digits of texts --------------------------------------------------------

// What tcl_precision says: with 0, which means as many as needed, and 17 the text of
// a double reads as the same double. It is asked for once, and a trace tells when
// the procedure has changed it.
void ScriptObjective::watch_precision()
{
    const char* const digits = Tcl_GetVar2(interp_, "tcl_precision", nullptr, TCL_GLOBAL_ONLY);
    text_has_all_digits_ =
        digits == nullptr || std::strcmp(digits, "0") == 0 || std::strcmp(digits, "17") == 0;
    Tcl_TraceVar2(interp_, "tcl_precision", nullptr, TCL_GLOBAL_ONLY | TCL_TRACE_WRITES | TCL_TRACE_UNSETS,
                  precision_written, this);
}

void ScriptObjective::forget_precision()
{
    Tcl_UntraceVar2(interp_, "tcl_precision", nullptr, TCL_GLOBAL_ONLY | TCL_TRACE_WRITES | TCL_TRACE_UNSETS,
                    precision_written, this);
}

char* ScriptObjective::precision_written(ClientData objective, Tcl_Interp*, const char*, const char*, int)
{
    static_cast<ScriptObjective*>(objective)->text_has_all_digits_ = false;
    return nullptr;
}

// The number that the result's text stands for, or begins with.
float ScriptObjective::result() const
{
    Tcl_Obj* const object = Tcl_GetObjResult(interp_);
    if (text_has_all_digits_ && object->bytes == nullptr && object->typePtr == double_type_) {
        const double number = object->internalRep.doubleValue;
        if (std::isfinite(number)) {
            return static_cast<float>(number);
        }
    }
    return minimize::read_float(Tcl_GetString(object));
}

// ---- Calls ----------------------------------------------------------------------

// The word stands in the script as it is, so that it means the same as in a call.
int ScriptObjective::count_variables(int* n)
{
    Tcl_DString probe;
    Tcl_DStringInit(&probe);
    Tcl_DStringAppend(&probe, "llength [info args ", -1);
    Tcl_DStringAppend(&probe, function_, -1);
    Tcl_DStringAppend(&probe, "]", -1);
    const int status = Tcl_Eval(interp_, Tcl_DStringValue(&probe));
    Tcl_DStringFree(&probe);
    if (status == TCL_ERROR) {
        return TCL_ERROR;
    }
    const long count = std::strtol(Tcl_GetStringResult(interp_), nullptr, 10);
    *n = static_cast<int>(std::clamp(count, static_cast<long>(INT_MIN), static_cast<long>(INT_MAX)));
    Tcl_ResetResult(interp_);
    return TCL_OK;
}

bool ScriptObjective::reserve(int n)
{
    room_ = std::max(n, 0);
    const auto count = static_cast<std::size_t>(room_);
    if (name_ != nullptr) {
        words_ = static_cast<Tcl_Obj**>(core::allocate(count + 1, sizeof(Tcl_Obj*)));
        return words_ != nullptr;
    }
    if (count > (static_cast<std::size_t>(-1) / 2 - std::strlen(function_)) / fixed_text_size) {
        return false;
    }
    script_ = static_cast<char*>(core::allocate(std::strlen(function_) + 1 + count * fixed_text_size, 1));
    return script_ != nullptr;
}

float ScriptObjective::value(int n, const float* x)
{
    constexpr float no_value = std::numeric_limits<float>::quiet_NaN();
    if (ended()) {
        return no_value;
    }
    int status = TCL_OK;
    {
        const HostCode marks;
        status = name_ != nullptr ? call_by_words(n, x) : call_by_script(n, x);
    }
    place() = this;
    if (status == TCL_ERROR && ended_by_interpreter(status)) {
        end_ = Tcl_SaveInterpState(interp_, TCL_ERROR);
        return no_value;
    }
    return result();
}

// Cancellation came with Tcl 8.6 and is known by its error code, which is there
// whichever Tcl this was compiled for.
bool ScriptObjective::ended_by_interpreter(int status) const
{
    if (Tcl_InterpDeleted(interp_) != 0 || Tcl_LimitExceeded(interp_) != 0) {
        return true;
    }
    Tcl_Obj* const options = Tcl_GetReturnOptions(interp_, status);
    Tcl_Obj* const key = Tcl_NewStringObj("-errorcode", -1);
    Tcl_IncrRefCount(options);
    Tcl_IncrRefCount(key);
    Tcl_Obj* code = nullptr;
    constexpr char cancelled[] = "TCL CANCEL";
    const bool is_cancelled = Tcl_DictObjGet(nullptr, options, key, &code) == TCL_OK && code != nullptr &&
                              std::strncmp(Tcl_GetString(code), cancelled, sizeof cancelled - 1) == 0;
    Tcl_DecrRefCount(key);
    Tcl_DecrRefCount(options);
    return is_cancelled;
}

int ScriptObjective::raise()
{
    const int status = Tcl_RestoreInterpState(interp_, end_);
    end_ = nullptr;
    return status;
}

// The status matters where the interpreter has ended the call. Else it is not looked
// at: whatever the result is, it is the value.
int ScriptObjective::call_by_words(int n, const float* x)
{
    assert(words_ != nullptr && n <= room_);
    words_[0] = name_;
    for (int i = 0; i < n; ++i) {
        char text[fixed_text_size];
        const int length = format_fixed(x[i], text);
        words_[i + 1] = Tcl_NewStringObj(text, length);
        if (double number = 0.0; minimize::number_of_fixed(text, &number)) {
            words_[i + 1]->internalRep.doubleValue = number;
            words_[i + 1]->typePtr = double_type_;
        }
        Tcl_IncrRefCount(words_[i + 1]);
    }
    const int status = Tcl_EvalObjv(interp_, n + 1, words_, 0);
    for (int i = 1; i <= n; ++i) {
        Tcl_DecrRefCount(words_[i]);
    }
    return status;
}

int ScriptObjective::call_by_script(int n, const float* x)
{
    assert(script_ != nullptr && n <= room_);
    const std::size_t name_length = std::strlen(function_);
    std::memcpy(script_, function_, name_length);
    char* end = script_ + name_length;
    for (int i = 0; i < n; ++i) {
        *end++ = ' ';
        end += format_fixed(x[i], end);
    }
    *end = '\0';
    return Tcl_Eval(interp_, script_);
}

} // namespace zavo::ext

// Calls of a script procedure as an objective function. The words of a call are
//     name x[0] x[1] ...
// each number in fixed notation with six decimals. A plain name goes to
// Tcl_EvalObjv: no text is put together or parsed, the interpreter keeps the
// command that it found for the name, and the procedure gets the same texts.
#include "minimize/objective_commands.hpp"

#include "core/errors/error_stack.h"
#include "core/frame/entry_frame.hpp"
#include "core/system/memory.hpp"
#include "minimize/number_text.hpp"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>

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

// While the procedure runs it is user code to the library, and what its own
// calls of the library post stays behind when it is done. A fault in it is the
// host's: a jump would go over the frames of the interpreter.
class UserCode {
public:
    UserCode() : before_(core::posted_error()) { zavo_error_user_level("ON"); }
    ~UserCode()
    {
        zavo_error_user_level("OFF");
        core::restore_posted_error(before_);
    }
    UserCode(const UserCode&) = delete;
    UserCode& operator=(const UserCode&) = delete;

private:
    core::PostedError before_;
    core::SuspendedTrap suspended_;
};

} // namespace

ScriptObjective::ScriptObjective(Tcl_Interp* interp, const char* function)
    : interp_(interp), function_(function), outer_(place())
{
    Tcl_Preserve(interp_);
    place() = this;
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
    Tcl_Release(interp_);
}

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
    const auto count = static_cast<std::size_t>(std::max(n, 0));
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
    const UserCode marks;
    if (name_ != nullptr) {
        call_by_words(n, x);
    } else {
        call_by_script(n, x);
    }
    place() = this;
    return minimize::read_float(Tcl_GetStringResult(interp_));
}

// The return code is not looked at: whatever the result is, it is the value.
void ScriptObjective::call_by_words(int n, const float* x)
{
    words_[0] = name_;
    for (int i = 0; i < n; ++i) {
        char text[fixed_text_size];
        const int length = format_fixed(x[i], text);
        words_[i + 1] = Tcl_NewStringObj(text, length);
        Tcl_IncrRefCount(words_[i + 1]);
    }
    Tcl_EvalObjv(interp_, n + 1, words_, 0);
    for (int i = 1; i <= n; ++i) {
        Tcl_DecrRefCount(words_[i]);
    }
}

void ScriptObjective::call_by_script(int n, const float* x)
{
    const std::size_t name_length = std::strlen(function_);
    std::memcpy(script_, function_, name_length);
    char* end = script_ + name_length;
    for (int i = 0; i < n; ++i) {
        *end++ = ' ';
        end += format_fixed(x[i], end);
    }
    *end = '\0';
    Tcl_Eval(interp_, script_);
}

} // namespace zavo::ext

#include "zavox/callback.hpp"

#include "zavox/arguments.hpp"

#include <climits>
#include <cstdio>

namespace zavox {

namespace {

// The code that a return has been asked for with; ok for a plain one.
int code_of_return(Tcl_Interp* interp)
{
    Tcl_Obj* const options = Tcl_GetReturnOptions(interp, TCL_RETURN);
    Tcl_IncrRefCount(options);
    Tcl_Obj* const key = Tcl_NewStringObj("-code", -1);
    Tcl_IncrRefCount(key);
    Tcl_Obj* value = nullptr;
    int code = TCL_OK;
    if (Tcl_DictObjGet(nullptr, options, key, &value) == TCL_OK && value != nullptr) {
        Tcl_GetIntFromObj(nullptr, value, &code);
    }
    Tcl_DecrRefCount(key);
    Tcl_DecrRefCount(options);
    return code;
}

} // namespace

int Callback::set(Tcl_Interp* interp, Tcl_Obj* prefix, int extra)
{
    drop();
    int count = 0;
    Tcl_Obj** words = nullptr;
    if (get_words(interp, prefix, &count, &words) != TCL_OK) {
        return TCL_ERROR;
    }
    if (count == 0) {
        return fail(interp, Fault::value, "", "a command prefix must not be empty");
    }
    if (count > INT_MAX - extra || !words_.make(std::int64_t{count} + extra)) {
        return memory_short(interp);
    }
    for (int i = 0; i < count; ++i) {
        words_[i] = words[i];
        Tcl_IncrRefCount(words[i]);
    }
    fixed_ = count;
    return TCL_OK;
}

void Callback::drop()
{
    for (int i = 0; i < fixed_; ++i) {
        Tcl_DecrRefCount(words_[i]);
    }
    fixed_ = 0;
}

int Callback::call(Tcl_Interp* interp, const float* x, int n, bool spread)
{
    int count = fixed_;
    if (spread) {
        for (int i = 0; i < n; ++i) {
            words_[count++] = Tcl_NewDoubleObj(x[i]);
        }
    } else {
        Tcl_Obj* const list = Tcl_NewListObj(0, nullptr);
        for (int i = 0; i < n; ++i) {
            Tcl_ListObjAppendElement(nullptr, list, Tcl_NewDoubleObj(x[i]));
        }
        words_[count++] = list;
    }
    return evaluate(interp, count);
}

int Callback::call(Tcl_Interp* interp, Tcl_Obj* word)
{
    words_[fixed_] = word;
    return evaluate(interp, fixed_ + 1);
}

int Callback::evaluate(Tcl_Interp* interp, int count)
{
    for (int i = fixed_; i < count; ++i) {
        Tcl_IncrRefCount(words_[i]);
    }
    const int code = Tcl_EvalObjv(interp, count, words_.get(), 0);
    for (int i = fixed_; i < count; ++i) {
        Tcl_DecrRefCount(words_[i]);
    }
    if (Tcl_InterpDeleted(interp)) {
        return TCL_ERROR;
    }
    // A limit of the interpreter ends commands that run no script, too.
    const bool over = code != TCL_ERROR && Tcl_LimitReady(interp) != 0 && Tcl_LimitCheck(interp) != TCL_OK;
    return over ? TCL_ERROR : code;
}

int outside_a_loop(Tcl_Interp* interp, int code)
{
    code = code == TCL_RETURN ? code_of_return(interp) : code;
    if (code == TCL_OK || code == TCL_ERROR) {
        return code;
    }
    char number[TCL_INTEGER_SPACE];
    std::snprintf(number, sizeof number, "%d", code);
    Tcl_ResetResult(interp);
    if (code == TCL_BREAK || code == TCL_CONTINUE) {
        Tcl_SetObjResult(interp, Tcl_ObjPrintf("invoked \"%s\" outside of a loop",
                                               code == TCL_BREAK ? "break" : "continue"));
    } else {
        Tcl_SetObjResult(interp, Tcl_ObjPrintf("command returned bad code: %d", code));
    }
    Tcl_SetErrorCode(interp, "TCL", "UNEXPECTED_RESULT_CODE", number, nullptr);
    return TCL_ERROR;
}

} // namespace zavox

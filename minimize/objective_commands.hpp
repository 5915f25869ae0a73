// An objective function that is a script procedure. The minimisers pass their
// user functions no context, so the objective of the running minimisation is
// kept here; one that runs inside another's procedure takes its place until it
// is done.
#pragma once

#include "core/thread_state.hpp"

#include <tcl.h>

namespace zavo::ext {

class ScriptObjective {
public:
    // Becomes the running objective. `function`: the word that names the
    // procedure, or any script prefix; must stay alive as long as this.
    ScriptObjective(Tcl_Interp* interp, const char* function);
    ~ScriptObjective();
    ScriptObjective(const ScriptObjective&) = delete;
    ScriptObjective& operator=(const ScriptObjective&) = delete;

    // Asks the interpreter how many arguments the procedure has; TCL_ERROR with
    // the interpreter's message when it is none. Clears the result otherwise.
    int count_variables(int* n);

    // Makes room for calls with n arguments; false when memory is short.
    bool reserve(int n);

    // The procedure's value at x. An error's message is read as if it were the
    // value: the number that it begins with, else 0. But when the interpreter itself
    // has ended the call, because it was cancelled, met a limit or was deleted, the
    // procedure is not called again and all values are NaN from then on, with which
    // no minimisation goes far.
    float value(int n, const float* x);

    // Has the interpreter ended the run? raise() then puts its error back and returns
    // TCL_ERROR.
    bool ended() const { return end_ != nullptr; }
    int raise();

    static ScriptObjective& running() { return *static_cast<ScriptObjective*>(place()); }

private:
    int call_by_words(int n, const float* x);
    int call_by_script(int n, const float* x);
    bool ended_by_interpreter(int status) const;
    float result() const;
    void watch_precision();
    void forget_precision();
    static char* precision_written(ClientData objective, Tcl_Interp* interp, const char* name,
                                   const char* element, int flags);

    // Where the thread keeps its running objective.
    static void*& place() { return core::thread_state().objective; }

    Tcl_Interp* interp_;
    const char* function_;
    void* outer_;
    // A function word that is a plain word goes to the interpreter as words, all
    // others as a script that is parsed at every call.
    Tcl_Obj* name_ = nullptr;
    Tcl_Obj** words_ = nullptr;
    char* script_ = nullptr;
    int room_ = 0;                  // arguments that a call may have
    Tcl_InterpState end_ = nullptr; // the interpreter's error that ended the run
    // A double whose text has not been asked for is read as it is, unless the text
    // would have fewer digits.
    const Tcl_ObjType* double_type_;
    bool text_has_all_digits_ = false;
};

} // namespace zavo::ext

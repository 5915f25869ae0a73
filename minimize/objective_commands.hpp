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
    // value: the number that it begins with, else 0.
    float value(int n, const float* x);

    static ScriptObjective& running() { return *static_cast<ScriptObjective*>(place()); }

private:
    void call_by_words(int n, const float* x);
    void call_by_script(int n, const float* x);

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
};

} // namespace zavo::ext

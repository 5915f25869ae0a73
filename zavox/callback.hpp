// Command prefixes that a command of the package calls.
#pragma once

#include "zavox/buffer.hpp"
#include "zavox/zavox.hpp"

namespace zavox {

// A command prefix and the calls of it. What goes wrong in a call stays in the
// interpreter, whose result nobody touches any more until the command returns.
class Callback {
public:
    Callback() = default;
    ~Callback() { drop(); }
    Callback(const Callback&) = delete;
    Callback& operator=(const Callback&) = delete;

    // extra: most words behind the prefix.
    int set(Tcl_Interp* interp, Tcl_Obj* prefix, int extra);
    bool given() const { return fixed_ > 0; }

    // Calls it with x, as one list or word for word; the code that Tcl returns.
    int call(Tcl_Interp* interp, const float* x, int n, bool spread);
    int call(Tcl_Interp* interp, Tcl_Obj* word);

private:
    int evaluate(Tcl_Interp* interp, int count);
    void drop();

    Buffer<Tcl_Obj*> words_;
    int fixed_ = 0; // words of the prefix
};

// Codes other than ok and error, as Tcl takes them where there is no loop: an error
// with Tcl's words.
int outside_a_loop(Tcl_Interp* interp, int code);

} // namespace zavox

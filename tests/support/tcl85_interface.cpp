// A Tcl 8.6 that offers the C interface of 8.5. Loaded into an interpreter, it
// gives every extension loaded after it a table of functions that ends where
// that of 8.5 did; a call of anything newer ends the process with a message.

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <tcl.h>

namespace {

// Tcl_AppendPrintfToObj, the last function of 8.5.
constexpr std::size_t last_slot = 579;

// How every interpreter begins: what the stub library looks at.
struct InterpreterHead {
    char* result;
    Tcl_FreeProc* free_result;
    int error_line;
    const TclStubs* stubs;
};

[[noreturn]] void newer_function()
{
    std::fputs("a function was called that Tcl 8.5 does not have\n", stderr);
    std::abort();
}

// The command call_newer_function, which shows that the table does what it is
// for: calls the first function that came after 8.5.
int call_newer_function(ClientData, Tcl_Interp* interp, int, const char*[])
{
    const TclStubs* const stubs = reinterpret_cast<InterpreterHead*>(interp)->stubs;
    return stubs->tcl_CancelEval(interp, nullptr, nullptr, 0);
}

} // namespace

extern "C" __attribute__((visibility("default"))) int Tclinterface_Init(Tcl_Interp* interp)
{
    if (Tcl_InitStubs(interp, "8.5", 0) == nullptr) {
        return TCL_ERROR;
    }
    static TclStubs table = *tclStubsPtr;
    using Function = void (*)();
    constexpr Function newer = newer_function;
    constexpr std::size_t first = offsetof(TclStubs, tcl_PkgProvideEx);
    for (std::size_t at = first + (last_slot + 1) * sizeof newer; at < sizeof table; at += sizeof newer) {
        std::memcpy(reinterpret_cast<char*>(&table) + at, &newer, sizeof newer);
    }
    Tcl_CreateCommand(interp, "call_newer_function", call_newer_function, nullptr, nullptr);
    reinterpret_cast<InterpreterHead*>(interp)->stubs = &table;
    return TCL_OK;
}

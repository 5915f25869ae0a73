// The module as the golden results are run with: its own objects, entered by another
// Zavo_Init, which adds a command to the interpreter.
//
//   golden_host paths         the paths that this processor can go
//   golden_host path NAME     goes that one, in the whole process
//   golden_host modes         what a host may set that has an effect here
//   golden_host mode NAME     from now on every command of the packages in this
//                             interpreter runs with that set, and fails when it has
//                             not been left as it was
#include "core/simd/path.hpp"
#include "tests/support/host_modes.hpp"

#include <cstring>
#include <tcl_generations.hpp>

#if defined(_WIN32)
#define ZAVO_EXPORT __declspec(dllexport)
#else
#define ZAVO_EXPORT __attribute__((visibility("default")))
#endif

// The module's own, under another name (CMakeLists.txt here).
extern "C" int Zavo_InitModule(Tcl_Interp* interp);
extern "C" ZAVO_EXPORT int Zavo_Init(Tcl_Interp* interp);

namespace {

namespace simd = zavo::simd;
using zavo::test::HostMode;
using zavo::test::InHostMode;

const HostMode* chosen_mode = nullptr;

int run_in_mode(ClientData data, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    const auto& original = *static_cast<const Tcl_CmdInfo*>(data);
    bool stayed = false;
    int code = TCL_OK;
    {
        const InHostMode in{chosen_mode};
        code = original.objProc(original.objClientData, interp, objc, objv);
        stayed = in.still_is();
    }
    if (!stayed) {
        Tcl_AppendResult(interp, " (and leaves no host's mode)", nullptr);
        return TCL_ERROR;
    }
    return code;
}

int wrap_commands(Tcl_Interp* interp)
{
    if (Tcl_Eval(interp, "concat [info commands ::zavo_*] [info commands ::zavox::*] "
                         "[info commands ::morvel::*]") != TCL_OK) {
        return TCL_ERROR;
    }
    Tcl_Obj* const names = Tcl_GetObjResult(interp);
    Tcl_IncrRefCount(names);
    Tcl_Size count = 0;
    Tcl_Obj** words = nullptr;
    int code = Tcl_ListObjGetElements(interp, names, &count, &words);
    for (Tcl_Size i = 0; code == TCL_OK && i < count; ++i) {
        Tcl_CmdInfo info;
        if (Tcl_GetCommandInfo(interp, Tcl_GetString(words[i]), &info) == 0) {
            code = TCL_ERROR;
        } else if (info.objProc != run_in_mode) {
            // Stays until the process ends. (No C++ run time here, as in the module.)
            auto* const original = reinterpret_cast<Tcl_CmdInfo*>(Tcl_Alloc(sizeof info));
            *original = info;
            info.objProc = run_in_mode;
            info.objClientData = original;
            Tcl_SetCommandInfo(interp, Tcl_GetString(words[i]), &info);
        }
    }
    Tcl_SetObjResult(interp, names);
    Tcl_DecrRefCount(names);
    return code;
}

int host_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    const auto is = [&](int word, const char* text) {
        return word < objc && std::strcmp(Tcl_GetString(objv[word]), text) == 0;
    };
    const bool lists = is(1, "paths") || is(1, "modes");
    for (const simd::Path path : simd::all_paths) {
        if (simd::has_path(path) && is(1, "paths")) {
            Tcl_AppendElement(interp, simd::name_of(path));
        } else if (simd::has_path(path) && is(1, "path") && is(2, simd::name_of(path))) {
            simd::limit_path(path);
            return TCL_OK;
        }
    }
    for (const HostMode& mode : zavo::test::host_modes) {
        if (is(1, "modes") && has_effect(mode)) {
            Tcl_AppendElement(interp, mode.name);
        } else if (is(1, "mode") && is(2, mode.name)) {
            chosen_mode = &mode;
            return wrap_commands(interp);
        }
    }
    return lists ? TCL_OK : TCL_ERROR;
}

} // namespace

int Zavo_Init(Tcl_Interp* interp)
{
    const int code = Zavo_InitModule(interp);
    if (code == TCL_OK) {
        Tcl_CreateObjCommand(interp, "golden_host", host_command, nullptr, nullptr);
    }
    return code;
}

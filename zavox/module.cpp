// The entry point of the package and its table of commands.
#include "zavox/arguments.hpp"

#include "core/system/float_control.hpp"

#include <atomic>
#include <tcl_generations.hpp>

#if defined(_WIN32)
#define ZAVOX_EXPORT __declspec(dllexport)
#else
#define ZAVOX_EXPORT __attribute__((visibility("default")))
#endif

extern "C" ZAVOX_EXPORT int Zavox_Init(Tcl_Interp* interp);

namespace zavox {

namespace {

constexpr char space_name[] = "::zavox";

// Every interpreter and thread stores the same address.
std::atomic<const zavo_engine*> the_engine;

struct CommandRow {
    const char* name; // with its namespace
    Command* procedure;
};

// The modes that a process starts with, from the first word that is read to the result,
// in the scripts of an expression and in the function of a minimisation, too.
template <Command* procedure>
int in_usual_modes(ClientData data, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    const zavo::platform::UsualFloatControl usual;
    return procedure(data, interp, objc, objv);
}

// Of commands that run no script and may take long.
template <Command* procedure>
int computing(ClientData data, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    return as_long_work(interp, [&](const zavo_long_work& work) {
        const OwnTables tables(interp, work.within_another != 0);
        return in_usual_modes<procedure>(data, interp, objc, objv);
    });
}

constexpr CommandRow commands[] = {
    // clang-format off
    {"::zavox::calc",      in_usual_modes<calc_command>},
    {"::zavox::constant",  computing<constant_command>},
    {"::zavox::convert",   computing<convert_command>},
    {"::zavox::convolve",  computing<convolve_command>},
    {"::zavox::correlate", computing<correlate_command>},
    {"::zavox::date",      in_usual_modes<date_command>},
    {"::zavox::days",      in_usual_modes<days_command>},
    {"::zavox::fft",       computing<fft_command>},
    {"::zavox::minimize",  in_usual_modes<minimize_command>},
    {"::zavox::random",    computing<random_command>},
    {"::zavox::release",   computing<release_command>},
    {"::zavox::spectrum",  computing<spectrum_command>},
    {"::zavox::units",     in_usual_modes<units_command>},
    {"::zavox::vector",    computing<vector_command>},
    // clang-format on
};

int take_engine(Tcl_Interp* interp)
{
    ClientData table = nullptr;
    if (Tcl_PkgRequireEx(interp, "zavo", "1.0", 0, &table) == nullptr) {
        return TCL_ERROR;
    }
    const auto* const offered = static_cast<const zavo_engine*>(table);
    if (offered == nullptr || offered->version != ZAVO_ENGINE_VERSION ||
        offered->size < sizeof(zavo_engine)) {
        Tcl_SetObjResult(
            interp,
            Tcl_NewStringObj("package zavo is too old for zavox: its table of functions differs", -1));
        Tcl_SetErrorCode(interp, "ZAVOX", "VALUE", "zavo", nullptr);
        return TCL_ERROR;
    }
    the_engine.store(offered, std::memory_order_relaxed);
    return TCL_OK;
}

int create_commands(Tcl_Interp* interp)
{
    Tcl_Namespace* space = Tcl_FindNamespace(interp, space_name, nullptr, 0);
    if (space == nullptr) {
        space = Tcl_CreateNamespace(interp, space_name, nullptr, nullptr);
    }
    if (space == nullptr) {
        return TCL_ERROR;
    }
    for (const CommandRow& row : commands) {
        Tcl_CreateObjCommand(interp, row.name, row.procedure, nullptr, nullptr);
        if (Tcl_Export(interp, space, row.name + sizeof space_name + 1, 0) != TCL_OK) {
            return TCL_ERROR;
        }
    }
    return TCL_OK;
}

} // namespace

const zavo_engine& engine()
{
    return *the_engine.load(std::memory_order_relaxed);
}

} // namespace zavox

int Zavox_Init(Tcl_Interp* interp)
{
    if (Tcl_InitStubs(interp, morvel::tcl_versions, 0) == nullptr ||
        Tcl_PkgRequire(interp, "morvel", "1.0", 0) == nullptr || zavox::take_engine(interp) != TCL_OK ||
        zavox::create_commands(interp) != TCL_OK) {
        return TCL_ERROR;
    }
    return Tcl_PkgProvide(interp, "zavox", "1.0");
}

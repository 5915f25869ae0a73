// The module's entry point and its table of commands.

#include "core/system/float_control.hpp"
#include "core/system/platform.hpp"
#include "core/thread_state.hpp"
#include "core/zavo.h"
#include "ext/conventions.hpp"
#include "ext/engine.h"

#include <cstdint>
#include <tcl_generations.hpp>

#if defined(_WIN32)
#define ZAVO_EXPORT __declspec(dllexport)
#else
#define ZAVO_EXPORT __attribute__((visibility("default")))
#endif

extern "C" ZAVO_EXPORT int Zavo_Init(Tcl_Interp* interp);

namespace zavo::ext {

namespace {

struct CommandRow {
    const char* name;
    Command* procedure;
    int client_data; // tells apart the commands that share a procedure
    bool computes_floats;
    const char* description; // for the reader of this table
};

// Of commands that may take long.
template <Command* procedure>
int as_long_work(ClientData data, Tcl_Interp* interp, int argc, const char* argv[])
{
    zavo_long_work work;
    begin_long_work(&work, interp);
    return end_long_work(&work, procedure(data, interp, argc, argv));
}

// clang-format off
constexpr CommandRow command_table[] = {
    {"zavo_constant",           constant_command,                      0, true,  "return common numeric constants"},
    {"zavo_i_machine",          i_machine_command,                     0, false, "return integer information describing computer's arithmetic"},
    {"zavo_f_machine",          f_machine_command,                     0, true,  "return float information describing computer's floating point math"},
    {"zavo_date_to_days",       date_to_days_command,                  0, false, "return number of days from Jan 1, 1900 to given date"},
    {"zavo_days_to_date",       days_to_date_command,                  0, false, "return date correspond to given days after Jan 1, 1900"},
    {"zavo_random_uniform",     as_long_work<random_command>,          0, true,  "generate random uniform deviates"},
    {"zavo_random_normal",      as_long_work<random_command>,          1, true,  "generate random normal deviates"},
    {"zavo_random_exp",         as_long_work<random_command>,          2, true,  "generate random exponential deviates"},
    {"zavo_fft_real",           as_long_work<fft_real_command>,        0, true,  "Computes the real discrete Fourier transform"},
    {"zavo_fft_2d_complex",     as_long_work<fft_2d_complex_command>,  0, true,  "Computes the complex 2D discrete Fourier transform"},
    {"zavo_convolution",        as_long_work<convolution_command>,     0, true,  "Computes the convolution of two vectors"},
    {"zavo_correlation",        as_long_work<convolution_command>,     1, true,  "Computes the correlation of two vectors"},
    {"zavo_min_uncon_multivar", min_uncon_multivar_command,            0, true,  "minimize function f(x) of n variables using quasi newton method"},
    {"zavo_min_con_gen_lin",    min_con_gen_lin_command,               0, true,  "minimize general objective function subject to linear contraints"},
    {nullptr,                   nullptr,                               0, false, nullptr},
};
// clang-format on

void* argument_of(const CommandRow& row)
{
    return reinterpret_cast<void*>(static_cast<std::intptr_t>(row.client_data));
}

// From the first word that is read to the result, a minimisation's procedure included:
// the interpreter reads and computes numbers, too.
int run_in_usual_modes(ClientData data, Tcl_Interp* interp, int argc, const char* argv[])
{
    const platform::UsualFloatControl usual;
    const auto& row = *static_cast<const CommandRow*>(data);
    return row.procedure(argument_of(row), interp, argc, argv);
}

void register_commands(Tcl_Interp* interp)
{
    for (const CommandRow* row = command_table; row->name != nullptr; ++row) {
        if (row->computes_floats) {
            Tcl_CreateCommand(interp, row->name, run_in_usual_modes, const_cast<CommandRow*>(row), nullptr);
        } else {
            Tcl_CreateCommand(interp, row->name, row->procedure, argument_of(*row), nullptr);
        }
    }
}

// The state goes with the thread, while the interpreter's own libraries stand.
void end_with_thread(core::ModuleState& state)
{
    if (!state.ends_with_interpreter_thread) {
        state.ends_with_interpreter_thread = true;
        Tcl_CreateThreadExitHandler([](ClientData) { core::end_thread_state(); }, nullptr);
    }
}

void seed_stream(core::ModuleState& state)
{
    state.seed = platform::tick_count();
    zavo_random_seed_set(core::seed_of_thread(static_cast<int>(state.seed)));
}

} // namespace

} // namespace zavo::ext

// The stop settings of types 4 and 5 go to 0: no library error ends the host.
int Zavo_Init(Tcl_Interp* interp)
{
    if (Tcl_InitStubs(interp, morvel::tcl_versions, 0) == nullptr) {
        return TCL_ERROR;
    }
    zavo::ext::register_commands(interp);
    zavo::core::ModuleState& state = zavo::core::thread_state().module;
    zavo::ext::end_with_thread(state);
    zavo::ext::seed_stream(state);
    Tcl_PkgProvideEx(interp, "zavo", "1.0", const_cast<zavo_engine*>(&zavo_engine_table));
    zavo_error_options(ZAVO_SET_ERROR_HANDLER, zavo_error_handler, ZAVO_SET_STOP, ZAVO_FATAL, 0,
                       ZAVO_SET_STOP, ZAVO_TERMINAL, 0, 0);
    return TCL_OK;
}

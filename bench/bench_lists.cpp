// Lists across the script boundary beside the least that the Tcl interface
// allows: the same Tcl calls in a bare loop, run as a command of the same
// interpreter. A million elements each.
#include "bench/ratio_report.hpp"
#include "morvel/morvel.h"

#include <cstdlib>
#include <cstring>

namespace {

constexpr int count = 1'000'000;
constexpr int repetitions = 60;

Tcl_Interp* interp;
float* floats; // the numbers themselves
void* scratch; // keeps results from being optimised away

void check(bool good, const char* what)
{
    if (!good) {
        std::fprintf(stderr, "bench_lists: %s: %s\n", what, Tcl_GetStringResult(interp));
        std::exit(1);
    }
}

// --- the bare loops ---------------------------------------------------------

int floor_create(ClientData, Tcl_Interp* in, int, Tcl_Obj* const objv[])
{
    int n = 0;
    Tcl_Obj** elements = nullptr;
    if (Tcl_ListObjGetElements(in, objv[1], &n, &elements) != TCL_OK) {
        return TCL_ERROR;
    }
    auto* const values = static_cast<float*>(std::malloc(static_cast<std::size_t>(n) * sizeof(float)));
    for (int i = 0; i < n; ++i) {
        double value = 0.0;
        if (Tcl_GetDoubleFromObj(in, elements[i], &value) != TCL_OK) {
            return TCL_ERROR;
        }
        values[i] = static_cast<float>(value);
    }
    benchmark::DoNotOptimize(scratch = values);
    std::free(values);
    return TCL_OK;
}

int floor_get_by_append(ClientData, Tcl_Interp* in, int, Tcl_Obj* const[])
{
    Tcl_Obj* const list = Tcl_NewListObj(0, nullptr);
    for (int i = 0; i < count; ++i) {
        Tcl_ListObjAppendElement(in, list, Tcl_NewDoubleObj(static_cast<double>(floats[i])));
    }
    Tcl_SetObjResult(in, list);
    return TCL_OK;
}

int floor_get_by_array(ClientData, Tcl_Interp* in, int, Tcl_Obj* const[])
{
    auto** const elements = static_cast<Tcl_Obj**>(std::malloc(count * sizeof(Tcl_Obj*)));
    for (int i = 0; i < count; ++i) {
        elements[i] = Tcl_NewDoubleObj(static_cast<double>(floats[i]));
    }
    Tcl_SetObjResult(in, Tcl_NewListObj(count, elements));
    std::free(elements);
    return TCL_OK;
}

int floor_get_into_room(ClientData, Tcl_Interp* in, int, Tcl_Obj* const[])
{
    Tcl_Obj* const list = Tcl_NewListObj(count, nullptr);
    for (int i = 0; i < count; ++i) {
        Tcl_ListObjAppendElement(in, list, Tcl_NewDoubleObj(static_cast<double>(floats[i])));
    }
    Tcl_SetObjResult(in, list);
    return TCL_OK;
}

int floor_frombytes(ClientData, Tcl_Interp*, int, Tcl_Obj* const objv[])
{
    int length = 0;
    const unsigned char* const bytes = Tcl_GetByteArrayFromObj(objv[1], &length);
    void* const copy = std::malloc(static_cast<std::size_t>(length));
    std::memcpy(copy, bytes, static_cast<std::size_t>(length));
    benchmark::DoNotOptimize(scratch = copy);
    std::free(copy);
    return TCL_OK;
}

int floor_tobytes(ClientData, Tcl_Interp* in, int, Tcl_Obj* const[])
{
    Tcl_SetObjResult(in, Tcl_NewByteArrayObj(reinterpret_cast<unsigned char*>(floats), count * 4));
    return TCL_OK;
}

// --- what is timed ----------------------------------------------------------

// One evaluation a run, with the release of its result.
void time_command(benchmark::State& state, Tcl_Obj* command)
{
    for (auto _ : state) {
        check(Tcl_EvalObjEx(interp, command, TCL_EVAL_GLOBAL) == TCL_OK, Tcl_GetString(command));
        Tcl_ResetResult(interp);
    }
}

// The script is compiled once, before it is timed; it finds its data in
// variables, as a user's script does.
void add(const char* name, const char* script)
{
    Tcl_Obj* const command = Tcl_NewStringObj(script, -1);
    Tcl_IncrRefCount(command);
    check(Tcl_EvalObjEx(interp, command, TCL_EVAL_GLOBAL) == TCL_OK, name);
    benchmark::RegisterBenchmark(name, [command](benchmark::State& state) { time_command(state, command); })
        ->Iterations(1)
        ->Repetitions(repetitions)
        ->Unit(benchmark::kMicrosecond);
}

// Varied numbers, half of them with long decimal expansions.
void set_up()
{
    interp = Tcl_CreateInterp();
    check(Morvel_Init(interp) == TCL_OK, "morvel");
    floats = static_cast<float*>(std::malloc(count * sizeof(float)));
    Tcl_Obj* const list = Tcl_NewListObj(0, nullptr);
    unsigned state = 1;
    for (int i = 0; i < count; ++i) {
        state = state * 1664525U + 1013904223U;
        floats[i] = static_cast<float>(state >> 8) / (i % 2 != 0 ? 1024.0F : 3.0F);
        Tcl_ListObjAppendElement(interp, list, Tcl_NewDoubleObj(static_cast<double>(floats[i])));
    }
    Tcl_SetVar2Ex(interp, "values", nullptr, list, TCL_GLOBAL_ONLY);
    check(Tcl_Eval(interp, "set whole [lrepeat 1000000 7]; set stored [dynlist create float $values];"
                           "set bytes [dynlist tobytes $stored]") == TCL_OK,
          "data");
    Tcl_CreateObjCommand(interp, "floor_create", floor_create, nullptr, nullptr);
    Tcl_CreateObjCommand(interp, "floor_get_by_append", floor_get_by_append, nullptr, nullptr);
    Tcl_CreateObjCommand(interp, "floor_get_by_array", floor_get_by_array, nullptr, nullptr);
    Tcl_CreateObjCommand(interp, "floor_get_into_room", floor_get_into_room, nullptr, nullptr);
    Tcl_CreateObjCommand(interp, "floor_frombytes", floor_frombytes, nullptr, nullptr);
    Tcl_CreateObjCommand(interp, "floor_tobytes", floor_tobytes, nullptr, nullptr);
}

// The list must give back what went in, and the bare loops must give the same.
void check_results()
{
    check(Tcl_Eval(interp,
                   "set got [dynlist get $stored];"
                   "if {$got ne $values} {error {get differs from the values}};"
                   "if {[floor_get_by_append] ne $got} {error {append differs}};"
                   "if {[floor_get_by_array] ne $got} {error {array differs}};"
                   "if {[floor_get_into_room] ne $got} {error {room differs}};"
                   "binary scan $bytes f* scanned;"
                   "if {$scanned ne $got} {error {scan differs}};"
                   "if {[binary format f* $values] ne $bytes} {error {format differs}};"
                   "set bytes_with_string $bytes; set bytes [dynlist tobytes $stored];"
                   "unset got scanned; set values [lrange $values 0 end-1]; lappend values 0.5") == TCL_OK,
          "results");
}

} // namespace

int main(int argc, char** argv)
{
    Tcl_FindExecutable(argv[0]);
    set_up();
    check_results();
    add("create_float", "dynlist free [dynlist create float $values]");
    add("create_float_floor", "floor_create $values");
    add("get_float", "dynlist get $stored");
    add("get_float_floor_append", "floor_get_by_append");
    add("get_float_floor_array", "floor_get_by_array");
    add("get_float_floor_room", "floor_get_into_room");
    add("create_int", "dynlist free [dynlist create int $whole]");
    add("frombytes", "dynlist free [dynlist frombytes float $bytes]");
    add("frombytes_with_string", "dynlist free [dynlist frombytes float $bytes_with_string]");
    add("frombytes_floor", "floor_frombytes $bytes");
    add("tobytes", "dynlist tobytes $stored");
    add("tobytes_floor", "floor_tobytes");
    add("binary_scan", "binary scan $bytes f* scanned; unset scanned");
    add("binary_format", "binary format f* $values");
    return ratio_report::run(
        argc, argv,
        {
            {"create float : bare loop", "create_float", "create_float_floor", 1.15},
            {"get : bare loop, appending", "get_float", "get_float_floor_append", 1.15},
            {"get : bare loop, array of elements", "get_float", "get_float_floor_array", 1.15},
            {"get : bare loop, appending into room", "get_float", "get_float_floor_room", 1.15},
            {"frombytes : malloc and memcpy", "frombytes", "frombytes_floor", 0.0},
            {"tobytes : Tcl_NewByteArrayObj", "tobytes", "tobytes_floor", 0.0},
            {"get : binary scan f*", "get_float", "binary_scan", 0.0},
            {"create float : binary format f*", "create_float", "binary_format", 0.0},
        });
}

// Expressions of zavox::calc. The input is the expression; x and y are vectors of
// three values, z is a number. What comes out must come out again; and where no
// command looks at a vector as a whole, each element of the result must be what the
// expression gives for the elements alone. (They are floats: numbers would enter
// with more digits than vectors.)
#include "core/kernels/elementary.hpp"
#include "core/simd/path.hpp"
#include "core/system/memory.hpp"
#include "tests/support/long_work.hpp"
#include "tests/support/zavox_commands.hpp"
#include "zavox/engine.hpp"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <morvel.h>
#include <string>
#include <vector>

const zavo_engine& zavox::engine()
{
    static const zavo_engine table = [] {
        zavo_engine parts{};
        parts.allocate = zavo::core::allocate;
        parts.release = zavo::core::release;
        parts.sin = zavo::core::elementary::sin;
        parts.cos = zavo::core::elementary::cos;
        parts.path_in_use = [] { return static_cast<int>(zavo::simd::path_in_use()); };
        support::add_long_work(&parts);
        return parts;
    }();
    return table;
}

namespace {

void require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

// An interpreter whose commands end soon and reach nothing outside.
Tcl_Interp* make_interpreter()
{
    Tcl_FindExecutable(nullptr);
    Tcl_Interp* const interp = Tcl_CreateInterp();
    require(Morvel_Init(interp) == TCL_OK && support::add_zavox_commands(interp));
    require(Tcl_Eval(interp,
                     "foreach c [info commands] {"
                     "  if {$c ni {list lindex llength lrange set error return break continue concat if}} {"
                     "    if {$c ni {rename foreach}} {rename $c {}}"
                     "  }"
                     "}; rename foreach {}; rename rename {}") == TCL_OK);
    return interp;
}

struct Outcome {
    int status;
    std::string text;
};

Outcome evaluate(Tcl_Interp* interp, const std::string& expression, const char* x, const char* y)
{
    Tcl_SetVar2(interp, "x", nullptr, x, TCL_GLOBAL_ONLY);
    Tcl_SetVar2(interp, "y", nullptr, y, TCL_GLOBAL_ONLY);
    Tcl_SetVar2(interp, "z", nullptr, "0.5", TCL_GLOBAL_ONLY);
    Tcl_Obj* words[] = {Tcl_NewStringObj("zavox::calc", -1),
                        Tcl_NewStringObj(expression.data(), static_cast<int>(expression.size()))};
    for (Tcl_Obj* const word : words) {
        Tcl_IncrRefCount(word);
    }
    const int status = Tcl_EvalObjv(interp, 2, words, TCL_EVAL_GLOBAL);
    Outcome outcome{status, Tcl_GetStringResult(interp)};
    for (Tcl_Obj* const word : words) {
        Tcl_DecrRefCount(word);
    }
    return outcome;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Tcl_Interp* const interp = make_interpreter();
    const std::string expression(reinterpret_cast<const char*>(data), size);
    const char* const xs[] = {"-1.5", "0", "3"};
    const char* const ys[] = {"2", "NaN", "1073741824"};
    const Outcome whole = evaluate(interp, expression, "-1.5 0 3", "2 NaN 1073741824");
    if (expression.find_first_of("[\\") != std::string::npos) {
        return 0;
    }
    const Outcome again = evaluate(interp, expression, "-1.5 0 3", "2 NaN 1073741824");
    require(again.status == whole.status && again.text == whole.text);
    if (whole.status != TCL_OK || expression.find_first_of("\"{(") != std::string::npos) {
        return 0;
    }
    MorvelVector* vector = nullptr;
    Tcl_Obj* const value = Tcl_NewStringObj(whole.text.c_str(), -1);
    Tcl_IncrRefCount(value);
    require(morvelGetVector(interp, value, &vector) == TCL_OK);
    require(vector->count == 1 || vector->count == 3);
    for (int i = 0; i < 3; ++i) {
        const Outcome alone = evaluate(interp, expression, xs[i], ys[i]);
        if (alone.status != TCL_OK) {
            continue;
        }
        double number = 0;
        const float element = vector->values[vector->count == 1 ? 0 : i];
        const bool is_number = Tcl_GetDouble(nullptr, alone.text.c_str(), &number) == TCL_OK;
        require(is_number ? static_cast<float>(number) == element : element != element);
    }
    morvelReleaseVector(vector);
    Tcl_DecrRefCount(value);
    return 0;
}

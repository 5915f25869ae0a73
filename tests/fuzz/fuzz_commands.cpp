// Sequences of commands in an interpreter that has the module and the lists: words
// of every kind in every place, lists made, moved and freed between them, procedures
// that fail or free what a running command reads, and now and then an allocation
// that fails. A command that fails says so in words; a failed allocation may not
// fail what comes after it.

#undef USE_TCL_STUBS // this program has an interpreter of its own
#include "tests/fuzz/bytes.hpp"

#include "core/system/memory.hpp"

#include <cstdio>
#include <morvel.h>
#include <quillet.h>
#include <string>
#include <tcl.h>
#include <vector>

extern "C" int Zavo_Init(Tcl_Interp* interp);

namespace {

using zavo::fuzz::Bytes;
using zavo::fuzz::require;

const char* const set_up = R"(
    proc bowl {x y} {expr {($x - 1) * ($x - 1) + 3 * ($y + 2) * ($y + 2)}}
    proc line {x} {expr {abs($x - 0.25)}}
    proc nothing {} {return 1}
    proc words {x} {return text}
    proc fails {x y} {error oh}
    proc frees {x y} {dynlist free {*}[dynlist names]; expr {$x * $x + $y * $y}}
    proc nests {x} {zavo_min_uncon_multivar line; expr {$x * $x}}
    proc makes {x y} {dynlist create float [list $x $y]; expr {$x + $y * $y}}
    proc huge {x y} {expr {1e38 * $x * $x + 1e38 * $y}}
)";

Tcl_Interp* interpreter()
{
    static Tcl_Interp* interp = nullptr;
    if (interp == nullptr) {
        Tcl_FindExecutable(nullptr);
        interp = Tcl_CreateInterp();
        require(Zavo_Init(interp) == TCL_OK && Morvel_Init(interp) == TCL_OK);
        require(Tcl_Eval(interp, set_up) == TCL_OK);
    }
    return interp;
}

const char* const commands[] = {
    "zavo_constant",           "zavo_i_machine",       "zavo_f_machine",     "zavo_date_to_days",
    "zavo_days_to_date",       "zavo_random_uniform",  "zavo_random_normal", "zavo_random_exp",
    "zavo_fft_real",           "zavo_fft_2d_complex",  "zavo_convolution",   "zavo_correlation",
    "zavo_min_uncon_multivar", "zavo_min_con_gen_lin",
};
const char* const subcommands[] = {"create", "get",  "type",  "length",    "exists",  "names", "free",
                                   "take",   "copy", "scope", "frombytes", "tobytes", "value"};
const char* const procedures[] = {"bowl",  "line",  "nothing", "words", "fails",
                                  "frees", "nests", "makes",   "huge",  "no_such"};
const char* const other_words[] = {"BACKWARD", "backward", "",         "-keep", "float",   "int",
                                   "list",     "end",      "end-1",    "pi",    "c",       "gas",
                                   "km/s",     "m^2",      "J/mole/K", "1 2 3", "{1 2} 3", "1.5 -2",
                                   "NaN",      "Inf",      "{",        "\\",    "*"};

// A word for any place: mostly a list that there is.
std::string word(Bytes& in, const std::vector<std::string>& lists)
{
    switch (in.byte() % 8) {
    case 0:
    case 1:
    case 2:
        if (!lists.empty()) {
            return lists[in.byte() % lists.size()];
        }
        return "dynlist1";
    case 3: // small, so that nothing takes long
        return std::to_string(in.byte() % 40 - 3);
    case 4:
        return procedures[in.byte() % std::size(procedures)];
    case 5:
        return other_words[in.byte() % std::size(other_words)];
    case 6: {
        std::string numbers;
        for (int count = in.byte() % 24; count > 0; --count) {
            numbers += std::to_string(in.number()) + " ";
        }
        return numbers;
    }
    default: {
        std::string text;
        for (int count = in.byte() % 12; count > 0; --count) {
            const auto c = static_cast<char>(in.byte());
            text += c > ' ' && c < '\x7f' ? c : '_';
        }
        return text;
    }
    }
}

std::vector<std::string> lists_of(Tcl_Interp* interp)
{
    require(Tcl_Eval(interp, "dynlist names") == TCL_OK);
    std::vector<std::string> names;
    std::string name;
    for (const char c : std::string(Tcl_GetStringResult(interp)) + " ") {
        if (c == ' ') {
            if (!name.empty()) {
                names.push_back(name);
            }
            name.clear();
        } else {
            name += c;
        }
    }
    return names;
}

// A list of numbers or of lists, so that the words find something.
void make_list(Tcl_Interp* interp, Bytes& in, const std::vector<std::string>& lists)
{
    std::string script = "dynlist create ";
    const std::uint8_t kind = in.byte();
    if (kind % 4 == 3 && lists.size() > 1) {
        script += "list {" + lists[in.byte() % lists.size()] + " " + lists[in.byte() % lists.size()] + "}";
    } else {
        script += kind % 4 == 2 ? "int {" : "float {";
        for (int count = in.byte() % 48; count > 0; --count) {
            script += kind % 4 == 2 ? std::to_string(in.byte() % 9) + " " : std::to_string(in.number()) + " ";
        }
        script += "}";
    }
    Tcl_Eval(interp, script.c_str());
}

void run_words(Tcl_Interp* interp, const std::vector<std::string>& words)
{
    std::vector<Tcl_Obj*> objects;
    for (const std::string& each : words) {
        objects.push_back(Tcl_NewStringObj(each.data(), static_cast<int>(each.size())));
        Tcl_IncrRefCount(objects.back());
    }
    const int status =
        Tcl_EvalObjv(interp, static_cast<int>(objects.size()), objects.data(), TCL_EVAL_GLOBAL);
    if (status == TCL_ERROR) {
        const std::string message = Tcl_GetStringResult(interp);
        if (message.empty() || message[0] == ':') {
            for (const std::string& each : words) {
                std::fprintf(stderr, "{%s} ", each.c_str());
            }
            std::fprintf(stderr, "fails without words: '%s'\n", message.c_str());
            require(false);
        }
    }
    for (Tcl_Obj* const object : objects) {
        Tcl_DecrRefCount(object);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Tcl_Interp* const interp = interpreter();
    Bytes in(data, size);
    for (int step = 0; step < 40 && !in.at_end(); ++step) {
        const std::vector<std::string> lists = lists_of(interp);
        const std::uint8_t choice = in.byte();
        if (choice < 64) {
            make_list(interp, in, lists);
            continue;
        }
        std::vector<std::string> words;
        if (choice < 192) {
            words.emplace_back(commands[choice % std::size(commands)]);
        } else {
            words.emplace_back("dynlist");
            words.emplace_back(subcommands[choice % std::size(subcommands)]);
        }
        const bool objective = words[0].rfind("zavo_min", 0) == 0;
        const std::uint8_t shape = in.byte();
        for (int count = shape % 9; count > 0; --count) {
            words.push_back(objective && words.size() == 1 ? procedures[in.byte() % std::size(procedures)]
                                                           : word(in, lists));
        }
        if (shape >= 224) {
            (shape % 2 != 0 ? zavo_fail_allocation : dfuFailAllocation)(1 + in.byte() % 12);
        }
        run_words(interp, words);
        zavo_fail_allocation(0);
        dfuFailAllocation(0);
    }
    require(Tcl_Eval(interp, "dynlist free {*}[dynlist names]; dynlist names") == TCL_OK);
    require(Tcl_GetStringResult(interp)[0] == '\0');
    return 0;
}

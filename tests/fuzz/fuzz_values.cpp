// States of the random stream and dates. The input is one word: what zavox takes it
// for must come out of zavox again, and a state that is refused leaves the stream as
// it was.
#include "constants/units.h"
#include "core/system/memory.hpp"
#include "random/random.h"
#include "tests/support/long_work.hpp"
#include "tests/support/zavox_values.hpp"
#include "zavox/engine.hpp"

#include <cstdint>
#include <cstdlib>
#include <morvel.h>
#include <string>

namespace {

void require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

int failures = 0;
void note(int type, int, const char*, const char*)
{
    failures += type == ZAVO_FATAL || type == ZAVO_TERMINAL ? 1 : 0;
}

} // namespace

const zavo_engine& zavox::engine()
{
    static const zavo_engine table = [] {
        zavo_engine parts{};
        parts.error_forget = [] { failures = 0; };
        parts.error_failed = [] { return failures > 0 ? 1 : 0; };
        parts.error_last = [](zavo_engine_error* error) {
            *error = {ZAVO_TERMINAL, 1, "fuzz", "fuzz: refused"};
        };
        parts.allocate = zavo::core::allocate;
        parts.release = zavo::core::release;
        parts.random_seed_set = zavo_random_seed_set;
        parts.random_seed_get = zavo_random_seed_get;
        parts.random_option = zavo_random_option;
        parts.random_option_get = zavo_random_option_get;
        parts.random_state_get = zavo_random_state_get;
        parts.random_state_set = zavo_random_state_set;
        parts.random_uniforms = zavo_rnun;
        parts.date_to_days = zavo_date_to_days;
        parts.days_to_date = zavo_days_to_date;
        support::add_long_work(&parts);
        return parts;
    }();
    return table;
}

namespace {

struct Outcome {
    bool good;
    std::string text;
};

Outcome call(Tcl_Interp* interp, const char* command, const char* subcommand, const std::string* word)
{
    Tcl_Obj* words[3];
    int count = 0;
    words[count++] = Tcl_NewStringObj(command, -1);
    if (subcommand != nullptr) {
        words[count++] = Tcl_NewStringObj(subcommand, -1);
    }
    if (word != nullptr) {
        words[count++] = Tcl_NewStringObj(word->data(), static_cast<int>(word->size()));
    }
    for (int i = 0; i < count; ++i) {
        Tcl_IncrRefCount(words[i]);
    }
    const bool good = Tcl_EvalObjv(interp, count, words, TCL_EVAL_GLOBAL) == TCL_OK;
    Outcome outcome{good, Tcl_GetStringResult(interp)};
    for (int i = 0; i < count; ++i) {
        Tcl_DecrRefCount(words[i]);
    }
    return outcome;
}

void check_state(Tcl_Interp* interp, const std::string& word)
{
    const std::string before = call(interp, "zavox::random", "state", nullptr).text;
    const Outcome set = call(interp, "zavox::random", "state", &word);
    const std::string after = call(interp, "zavox::random", "state", nullptr).text;
    if (!set.good) {
        require(after == before);
        return;
    }
    const std::string three = "3";
    require(call(interp, "zavox::random", "uniform", &three).good);
    require(call(interp, "zavox::random", "state", &after).good);
    require(call(interp, "zavox::random", "state", nullptr).text == after);
}

void check_dates(Tcl_Interp* interp, const std::string& word)
{
    const Outcome days = call(interp, "zavox::days", nullptr, &word);
    if (days.good) {
        const Outcome dates = call(interp, "zavox::date", nullptr, &days.text);
        require(dates.good);
        require(call(interp, "zavox::days", nullptr, &dates.text).text == days.text);
    }
    const Outcome dates = call(interp, "zavox::date", nullptr, &word);
    if (dates.good) {
        require(call(interp, "zavox::days", nullptr, &dates.text).good);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Tcl_Interp* const interp = [] {
        zavo_error_options(ZAVO_SET_ERROR_HANDLER, note, ZAVO_SET_STOP, ZAVO_FATAL, 0, ZAVO_SET_STOP,
                           ZAVO_TERMINAL, 0, 0);
        Tcl_FindExecutable(nullptr);
        Tcl_Interp* const made = Tcl_CreateInterp();
        require(Morvel_Init(made) == TCL_OK && support::add_zavox_values(made));
        zavo_random_seed_set(1);
        return made;
    }();
    const std::string word(reinterpret_cast<const char*>(data), size);
    if (word.find('\0') != std::string::npos) {
        return 0; // no word of a script
    }
    check_state(interp, word);
    check_dates(interp, word);
    return 0;
}

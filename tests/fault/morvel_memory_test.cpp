// Every allocation behind the list commands fails in turn: the command says so,
// no list has come, gone or changed, and nothing leaks.
#include "tests/support/tcl_fixture.hpp"

#include <string>

namespace {

using support::floats;
using support::Interpreter;
using support::TclFixture;

class morvel_memory : public TclFixture {
protected:
    // Runs `script` after `before`, in a fresh interpreter each time, with the
    // first, second, ... allocation failing until it succeeds. Returns the
    // number of failures.
    static int failures_until_success(const char* before, const char* script)
    {
        for (int nth = 1; nth < 1000; ++nth) {
            Interpreter fresh;
            fresh.eval(before);
            const std::string lists = snapshot(fresh);
            dfuFailAllocation(nth);
            const int status = Tcl_Eval(fresh, script);
            dfuFailAllocation(0);
            if (status == TCL_OK) {
                return nth - 1;
            }
            EXPECT_EQ(fresh.result(), "not enough memory") << script;
            EXPECT_EQ(fresh.error_code(), "MORVEL MEMORY") << script;
            EXPECT_EQ(snapshot(fresh), lists) << script;
        }
        ADD_FAILURE() << "never succeeds: " << script;
        return -1;
    }

    static std::string snapshot(const Interpreter& interpreter)
    {
        return interpreter.eval("set s {}; foreach n [dynlist names] {lappend s $n [dynlist get $n]}; set s");
    }
};

TEST_F(morvel_memory, create_of_numbers)
{
    // The list, its array, the first list's registry, the entry.
    EXPECT_EQ(failures_until_success("", "dynlist create float {1 2 3}"), 4);
    EXPECT_EQ(failures_until_success("dynlist create int 1", "dynlist create int {1 2 3}"), 3);
    EXPECT_EQ(failures_until_success("dynlist create int 1", "dynlist create float {}"), 2);
}

TEST_F(morvel_memory, create_of_lists)
{
    EXPECT_EQ(failures_until_success("dynlist create int 1; dynlist create float {2 3}",
                                     "dynlist create list {dynlist2 dynlist1}"),
              3);
}

// The first list of an interpreter: its registry comes with it.
TEST_F(morvel_memory, create_of_an_empty_list_of_lists_survives_every_failure)
{
    EXPECT_EQ(failures_until_success("", "dynlist create list {}"), 3);
}

TEST_F(morvel_memory, values_survive_every_failure)
{
    EXPECT_EQ(failures_until_success("dynlist create float {1 2}", "dynlist value dynlist1"), 2);
    EXPECT_EQ(failures_until_success("dynlist create int {1 2}", "dynlist value dynlist1"), 2);
    // The array of numbers, the list, its entry.
    EXPECT_EQ(failures_until_success("dynlist create float {1 2}; set v [dynlist value dynlist1]",
                                     "dynlist create float $v"),
              3);
}

// From C: a vector of a value and of bytes, and bytes of floats.
TEST_F(morvel_memory, vectors_survive_every_failure)
{
    const unsigned char eight[8] = {};
    Tcl_Obj* const bytes = Tcl_NewByteArrayObj(eight, sizeof eight);
    Tcl_Obj* const text = Tcl_NewStringObj("1 2", -1);
    Tcl_IncrRefCount(bytes);
    Tcl_IncrRefCount(text);
    int failures = 0;
    for (MorvelVector* vector = nullptr; vector == nullptr; failures += vector == nullptr) {
        dfuFailAllocation(failures + 1);
        vector = morvelVectorOfBytes(interp, bytes);
        dfuFailAllocation(0);
        EXPECT_EQ(interp.result(), vector == nullptr ? "not enough memory" : interp.result());
        morvelReleaseVector(vector);
    }
    EXPECT_EQ(failures, 3);
    for (int nth = 1; nth <= 2; ++nth) {
        Tcl_ResetResult(interp);
        MorvelVector* vector = nullptr;
        dfuFailAllocation(nth);
        EXPECT_EQ(morvelGetVector(interp, text, &vector), TCL_ERROR);
        dfuFailAllocation(0);
        EXPECT_EQ(interp.result(), "not enough memory");
        EXPECT_EQ(vector, nullptr);
        EXPECT_STREQ(Tcl_GetString(text), "1 2");
    }
    Tcl_ResetResult(interp);
    const float two[2] = {};
    dfuFailAllocation(1);
    EXPECT_EQ(morvelBytesOfFloats(interp, 2, two), nullptr);
    dfuFailAllocation(0);
    EXPECT_EQ(interp.result(), "not enough memory");
    Tcl_DecrRefCount(bytes);
    Tcl_DecrRefCount(text);
}

TEST_F(morvel_memory, copy_survives_every_failure)
{
    EXPECT_EQ(
        failures_until_success("dynlist create list [list [dynlist create int 1] [dynlist create float 2]]",
                               "dynlist copy dynlist3"),
        7);
}

TEST_F(morvel_memory, bytes_survive_every_failure)
{
    EXPECT_EQ(failures_until_success("dynlist create int 1", "dynlist frombytes int abcdabcd"), 3);
    EXPECT_EQ(failures_until_success("dynlist create int 1", "dynlist tobytes dynlist1"), 1);
}

TEST_F(morvel_memory, get_and_take_of_many_values)
{
    const char* const before = "dynlist create list [list [dynlist create int [lrepeat 5000 1]] "
                               "[dynlist create float [lrepeat 5000 1]]]";
    EXPECT_EQ(failures_until_success(before, "dynlist get dynlist3"), 2);
    EXPECT_EQ(failures_until_success(before, "dynlist take dynlist3"), 2);
}

TEST_F(morvel_memory, names_survive_every_failure)
{
    EXPECT_EQ(failures_until_success("dynlist create int 1", "dynlist names"), 1);
}

TEST_F(morvel_memory, scope_survives_every_failure)
{
    EXPECT_EQ(failures_until_success("", "dynlist scope {}"), 1);
    EXPECT_EQ(failures_until_success("", "dynlist scope {dynlist create float 1}"), 4);
}

// Without the script layer: the list goes in any case.
TEST_F(morvel_memory, put_frees_the_list_when_it_fails)
{
    int failures = 0;
    for (int nth = 1;; ++nth, ++failures) {
        Interpreter bare{Interpreter::without_package};
        DynList* const list = floats({1.0F, 2.0F});
        dfuFailAllocation(nth);
        const int status = tclPutList(bare, list);
        dfuFailAllocation(0);
        if (status == TCL_OK) {
            break;
        }
        EXPECT_EQ(bare.result(), "not enough memory");
    }
    EXPECT_EQ(failures, 2);
}

} // namespace

// Every allocation behind calc and vector fails in turn: the command says so,
// variables and lists are as they were, and nothing leaks.
#include "tests/support/tcl_fixture.hpp"
#include "tests/support/zavox_commands.hpp"

#include <string>

namespace {

using support::Interpreter;
using support::TclFixture;

class zavox_memory : public TclFixture {
protected:
    // Runs the script with the first, second, ... allocation failing until it
    // succeeds; each time in a fresh interpreter. Returns the number of failures.
    static int failures_until_success(const char* script, const char* result)
    {
        for (int nth = 1; nth < 1000; ++nth) {
            Interpreter fresh;
            EXPECT_TRUE(support::add_zavox_commands(fresh));
            fresh.eval("set v [zavox::vector linspace 1 3 3]; set list [list 4 5 6]; set text {7 8 9}; "
                       "set name [dynlist create int {1 2 3}]");
            dfuFailAllocation(nth);
            const int status = Tcl_Eval(fresh, script);
            dfuFailAllocation(0);
            const std::string outcome = fresh.result();
            const std::string code = status == TCL_OK ? "" : fresh.error_code();
            EXPECT_EQ(fresh.eval("list $v $list $text [dynlist names]"),
                      "{1.0 2.0 3.0} {4 5 6} {7 8 9} dynlist1");
            if (status == TCL_OK) {
                EXPECT_EQ(outcome, result) << script;
                return nth - 1;
            }
            EXPECT_EQ(outcome, "not enough memory") << script;
            EXPECT_EQ(code, "MORVEL MEMORY") << script;
        }
        ADD_FAILURE() << "never succeeds: " << script;
        return -1;
    }
};

TEST_F(zavox_memory, calc_survives_every_failure)
{
    EXPECT_GT(failures_until_success("zavox::calc {$v * 2 + $list / 2.0}", "4.0 6.5 9.0"), 8);
    EXPECT_GT(failures_until_success("zavox::calc {$text - $name}", "6.0 6.0 6.0"), 8);
    EXPECT_GT(
        failures_until_success("zavox::calc {max($v, $v > 1 ? $list : 2, sin($v) && 1)}", "2.0 5.0 6.0"), 8);
    EXPECT_GT(failures_until_success("zavox::calc {2 + 2}", "4.0"), 1);
    EXPECT_GT(failures_until_success("zavox::calc {$v}", "1.0 2.0 3.0"), 2);
    // The only step makes doubles, which are rounded in a move of their own.
    EXPECT_GT(failures_until_success("zavox::calc {ceil($v - 0.5)}", "1.0 2.0 3.0"), 2);
    EXPECT_GT(failures_until_success("zavox::calc {ceil($v)}", "1.0 2.0 3.0"), 2);
}

// Stacks and arrays grow on the way.
TEST_F(zavox_memory, calc_of_many_terms)
{
    std::string expression = "0";
    for (int i = 1; i <= 40; ++i) {
        expression += "+(" + std::to_string(i) + "*$v";
    }
    expression += std::string(40, ')');
    EXPECT_GT(failures_until_success(("zavox::calc {" + expression + "}").c_str(), "820.0 1640.0 2460.0"),
              12);
}

TEST_F(zavox_memory, vector_survives_every_failure)
{
    for (const auto& [script, result] :
         {std::pair{"zavox::vector linspace 0 1 3", "0.0 0.5 1.0"},
          {"zavox::vector fill 1 2", "1.0 1.0"},
          {"zavox::vector frombytes [zavox::vector bytes 2]", "2.0"},
          {"zavox::vector length $list", "3"},
          {"zavox::vector range $name 0 1", "1.0 2.0"},
          {"zavox::vector replace $v 0 0 $list", "4.0 5.0 6.0 2.0 3.0"},
          {"zavox::vector concat $v $list $text $name", "1.0 2.0 3.0 4.0 5.0 6.0 7.0 8.0 9.0 1.0 2.0 3.0"},
          {"zavox::vector reverse $text", "9.0 8.0 7.0"},
          {"zavox::vector sort $list -decreasing", "6.0 5.0 4.0"},
          {"zavox::vector sort $list -indices", "0 1 2"},
          {"zavox::vector where $v", "0 1 2"},
          {"zavox::vector pick $text {2 0}", "9.0 7.0"},
          {"zavox::vector median $name", "2.0"},
          {"zavox::vector quantile $name 0 1", "1.0 3.0"},
          {"zavox::vector histogram $v -bins 2", "edges {1.0 2.0 3.0} counts {1 2} outside 0"},
          {"zavox::vector cumsum $list", "4.0 9.0 15.0"},
          {"zavox::vector diff $list", "1.0 1.0"},
          {"zavox::vector dot $list $text", "122.0"}}) {
        EXPECT_GT(failures_until_success(script, result), 0) << script;
    }
}

TEST_F(zavox_memory, list_of_many)
{
    EXPECT_GT(failures_until_success("llength [zavox::vector list [zavox::vector fill 1 5000]]", "5000"), 2);
}

} // namespace

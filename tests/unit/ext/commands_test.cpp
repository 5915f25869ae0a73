// The module's commands as a script meets them when something goes wrong.
#include "core/frame/entry_frame.hpp"
#include "core/system/memory.hpp"
#include "core/thread_state.hpp"
#include "core/zavo.h"
#include "ext/conventions.hpp"
#include "tests/support/host_modes.hpp"
#include "tests/support/tcl_fixture.hpp"

#include <csignal>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

extern "C" int Zavo_Init(Tcl_Interp* interp);

namespace {

using support::Interpreter;
using support::TclFixture;

class commands : public TclFixture {
protected:
    void SetUp() override { ASSERT_EQ(Zavo_Init(interp), TCL_OK); }
    void TearDown() override
    {
        zavo_fail_allocation(0);
        dfuFailAllocation(0);
        zavo_error_options(ZAVO_SET_ERROR_HANDLER, static_cast<zavo_error_handler_fn>(nullptr), ZAVO_SET_STOP,
                           ZAVO_FATAL, 1, ZAVO_SET_STOP, ZAVO_TERMINAL, 1, 0);
    }
    std::string error_of(const char* script)
    {
        EXPECT_EQ(Tcl_Eval(interp, script), TCL_ERROR) << script << ": " << interp.result();
        return interp.result();
    }
};

constexpr char lists[] = R"(
    set p [dynlist create float {1 2 3 4 5 6}]
    set q [dynlist create float {1 2 3}]
    set n [dynlist create int {2 3}]
    set pq [dynlist create list [list [dynlist copy $p] [dynlist copy $q]]]
    set nn [dynlist create list [list [dynlist copy $n] [dynlist create int 1]]]
    set low [dynlist create float {-5 -5}]
    set high [dynlist create float {5 5}]
    set row [dynlist create float {1 1}]
    set one [dynlist create float 1]
    proc bowl {x y} {expr {($x - 1)**2 + ($y + 2)**2}}
)";

// Every command, in each form of its arguments.
constexpr const char* scripts[] = {
    "zavo_constant pi",
    "zavo_constant speedlight km/s",
    "zavo_constant speedlight parsec",
    "zavo_i_machine 5",
    "zavo_f_machine 4",
    "zavo_date_to_days 24 12 2026",
    "zavo_date_to_days 30 2 2001",
    "zavo_days_to_date 46378",
    "zavo_random_uniform 5",
    "zavo_random_normal 5",
    "zavo_random_exp 5",
    "zavo_random_uniform 0",
    "zavo_random_normal $n",
    "zavo_random_exp $nn",
    "zavo_fft_real $p",
    "zavo_fft_real $p BACKWARD",
    "zavo_fft_real $pq",
    "zavo_fft_2d_complex $p 1 3",
    "zavo_fft_2d_complex $p 3 4 BACKWARD",
    "zavo_fft_2d_complex $pq 2 2",
    "zavo_convolution $p $q",
    "zavo_convolution $p $pq",
    "zavo_correlation $p $q",
    "zavo_correlation $pq $pq",
    "zavo_min_uncon_multivar bowl",
    "zavo_min_uncon_multivar bowl $row",
    "zavo_min_con_gen_lin bowl $row $low $high",
    "zavo_min_con_gen_lin bowl $row $low $high 1 0 $row $one",
};

bool begins_with(const std::string& text, const char* start)
{
    return text.rfind(start, 0) == 0;
}

// Runs `script` while an allocation fails. A failure has a text and an error code,
// and leaves no list; 0 when the command succeeds.
int failures_of(Interpreter& interp, const char* script, void (*fail)(long), long nth, long* allocations)
{
    const std::string before = interp.eval("dynlist names");
    fail(nth);
    const int status = Tcl_Eval(interp, script);
    *allocations = zavo_allocation_count();
    zavo_fail_allocation(0);
    dfuFailAllocation(0);
    const std::string result = interp.result();
    EXPECT_FALSE(result.empty());
    if (status == TCL_OK) {
        interp.eval(
            "foreach each [dynlist names] {if {[lsearch -exact $kept $each] < 0} {dynlist free $each}}");
        return 0;
    }
    const std::string code = interp.error_code();
    EXPECT_TRUE(begins_with(result, "zavo_") || begins_with(result, "l_") || result == "not enough memory")
        << result;
    EXPECT_TRUE(begins_with(code, "ZAVO 5 ") || code == "MORVEL MEMORY") << code;
    EXPECT_EQ(interp.eval("dynlist names"), before) << result;
    return 1;
}

TEST_F(commands, every_failed_allocation_has_a_text_and_leaves_nothing)
{
    interp.eval(lists);
    interp.eval("set kept [dynlist names]");
    int failures = 0;
    long allocations = 0;
    for (const char* script : scripts) {
        SCOPED_TRACE(script);
        for (long nth = 1;; ++nth) {
            SCOPED_TRACE(nth);
            zavo::core::thread_state().fft_table.drop(); // else only the first call takes one
            failures += failures_of(interp, script, zavo_fail_allocation, nth, &allocations);
            if (allocations < nth) {
                break;
            }
        }
        for (long nth = 1; nth <= 12; ++nth) {
            SCOPED_TRACE(nth);
            failures += failures_of(interp, script, dfuFailAllocation, nth, &allocations);
        }
    }
    EXPECT_GT(failures, 100);
}

TEST_F(commands, a_matrix_beyond_memory_gets_the_librarys_own_error)
{
    interp.eval(lists);
    EXPECT_TRUE(begins_with(error_of("zavo_fft_2d_complex $p 65536 65536"), "zavo_c_fft_2d_complex: "));
    EXPECT_EQ(interp.error_code(), "ZAVO 5 201 zavo_c_fft_2d_complex");
}

TEST_F(commands, library_errors_set_the_error_code)
{
    interp.eval(lists);
    error_of("zavo_random_uniform 0");
    EXPECT_EQ(interp.error_code(), "ZAVO 5 603 zavo_f_random_uniform");
    error_of("zavo_date_to_days 30 2 2001");
    EXPECT_EQ(interp.error_code(), "ZAVO 5 12004 zavo_date_to_days");
    error_of("zavo_fft_real [dynlist create float {}]");
    EXPECT_EQ(interp.error_code(), "ZAVO 5 6001 zavo_f_fft_real");
    error_of("zavo_constant nonsense");
    EXPECT_EQ(interp.error_code(), "ZAVO 5 12111 zavo_f_constant");
}

TEST_F(commands, a_constant_that_is_found_clears_the_error_before_it)
{
    error_of("zavo_constant nonsense");
    EXPECT_NE(zavo_error_code(1), 0);
    EXPECT_EQ(Tcl_Eval(interp, "zavo_constant pi"), TCL_OK);
    EXPECT_EQ(zavo_error_type(1), 0);
    EXPECT_EQ(zavo_error_code(1), 0);
}

TEST_F(commands, integers_are_read_as_tcl_reads_them)
{
    for (const char* word : {"0",          "-0",         "7",           "-7",
                             "+7",         "08",         "010",         "-010",
                             "0x1f",       "999999999",  "-999999999",  "1234567890",
                             "2147483647", "2147483648", "-2147483648", "-2147483649",
                             "4294967295", "",           "-",           "--1",
                             " 5",         "5 ",         "5x",          "1e3",
                             "1.0",        "0b11",       "0o17",        "99999999999999999999"}) {
        int expected = -77;
        int read = -77;
        const int status = Tcl_GetInt(interp, word, &expected);
        const std::string message = status == TCL_OK ? "" : interp.result();
        Tcl_ResetResult(interp);
        EXPECT_EQ(zavo::ext::read_int(interp, word, &read), status) << word;
        EXPECT_EQ(read, expected) << word;
        EXPECT_EQ(interp.result(), message) << word;
    }
}

TEST_F(commands, a_message_is_cut_between_characters)
{
    // A string parameter of two-byte characters, longer than any text is kept; the
    // names of routine and constant put the cut at both of their bytes.
    for (const char* before : {"", "x", "xy"}) {
        std::string name = before;
        for (int i = 0; i < 4000; ++i) {
            name += "\xc3\xa4";
        }
        zavo_error_push("zavo_f_constant");
        zavo_error_set_string(1, name.c_str());
        zavo_e1mes(ZAVO_TERMINAL, 1, "%(S1)");
        zavo_error_pop("zavo_f_constant");
        ASSERT_EQ(zavo_error_result(interp), 1);
        const std::string text = interp.result();
        EXPECT_GE(text.size(), 4093U);
        EXPECT_LE(text.size(), 4095U);
        EXPECT_EQ(text.substr(text.size() - 2), "\xc3\xa4");
    }
}

// Characters of three and of four bytes; bytes that are no UTF-8 stay.
TEST_F(commands, a_message_is_cut_between_characters_of_any_width)
{
    for (const std::string character : {"a", "\xe2\x82\xac", "\xf0\x9f\x98\x80"}) {
        for (const char* before : {"", "x", "xy", "xyz"}) {
            std::string name = before;
            while (name.size() < 5000) {
                name += character;
            }
            zavo_error_push("routine");
            zavo_error_set_string(1, name.c_str());
            zavo_e1mes(ZAVO_TERMINAL, 1, "%(S1)");
            zavo_error_pop("routine");
            ASSERT_EQ(zavo_error_result(interp), 1);
            const std::string text = interp.result();
            EXPECT_GE(text.size(), 4092U);
            EXPECT_EQ(text.substr(text.size() - character.size()), character);
        }
    }
    const std::string bytes(5000, '\x80');
    zavo_error_push("routine");
    zavo_error_set_string(1, bytes.c_str());
    zavo_e1mes(ZAVO_TERMINAL, 1, "%(S1)");
    zavo_error_pop("routine");
    ASSERT_EQ(zavo_error_result(interp), 1);
    EXPECT_EQ(interp.result().size(), 4095U);
}

// A host that has switched the printing of errors off hears of none.
TEST_F(commands, an_error_that_is_not_reported_is_no_result)
{
    zavo_error_options(ZAVO_SET_PRINT, ZAVO_TERMINAL, 0, 0);
    zavo::ext::forget_last_error();
    Tcl_SetResult(interp, const_cast<char*>("as it was"), TCL_STATIC);
    zavo_error_push("routine");
    zavo_e1mes(ZAVO_TERMINAL, 1, "unheard");
    zavo_error_pop("routine");
    EXPECT_EQ(zavo_error_result(interp), 0);
    EXPECT_EQ(interp.result(), "as it was");
    zavo_error_options(ZAVO_SET_PRINT, ZAVO_TERMINAL, 1, 0);
}

// A result that somebody else holds is not written into.
TEST_F(commands, a_shared_result_is_replaced)
{
    Tcl_Obj* const shared = Tcl_NewStringObj("held", -1);
    Tcl_IncrRefCount(shared);
    Tcl_SetObjResult(interp, shared);
    Tcl_SetStringObj(zavo::ext::own_result(interp), "written", -1);
    EXPECT_STREQ(Tcl_GetString(shared), "held");
    EXPECT_EQ(interp.result(), "written");
    Tcl_DecrRefCount(shared);
}

#if !defined(_WIN32)
int* volatile nowhere = nullptr;

[[gnu::no_sanitize("all")]] int fault_command(ClientData, Tcl_Interp*, int, const char**)
{
    *nowhere = 1;
    return TCL_OK;
}

void exit_of_the_host(int)
{
    std::_Exit(77);
}

// A jump over the interpreter's frames would leave it broken.
TEST_F(commands, a_fault_in_a_command_of_an_objective_is_the_hosts)
{
    interp.eval("proc faulty {x y} {fault}; proc {faulty too} {x y} {fault}");
    Tcl_CreateCommand(interp, "fault", fault_command, nullptr, nullptr);
    interp.eval(lists);
    for (const char* script :
         {"zavo_min_uncon_multivar faulty", "zavo_min_con_gen_lin faulty $row $low $high",
          "zavo_min_uncon_multivar {{faulty too}} $row"}) {
        EXPECT_EXIT(
            {
                std::signal(SIGSEGV, exit_of_the_host);
                Tcl_Eval(interp, script);
                std::_Exit(1);
            },
            testing::ExitedWithCode(77), "")
            << script;
    }
}
#endif

// The deviates of a seed; the golden results have the other commands.
TEST_F(commands, deviates_keep_their_bits_whatever_modes_the_host_has_set)
{
    for (const char* script : {"zavo_random_uniform 500", "zavo_random_normal 500", "zavo_random_exp 500"}) {
        SCOPED_TRACE(script);
        const std::string command = std::string("dynlist tobytes [") + script + "]";
        const auto bits_in = [&](const zavo::test::HostMode* mode) {
            zavo_random_seed_set(1);
            const zavo::test::InHostMode in{mode};
            const int status = Tcl_Eval(interp, command.c_str());
            EXPECT_EQ(status, TCL_OK) << interp.result();
            int length = 0;
            const unsigned char* const bytes = Tcl_GetByteArrayFromObj(Tcl_GetObjResult(interp), &length);
            return std::string(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length));
        };
        const std::string usual = bits_in(nullptr);
        EXPECT_FALSE(usual.empty());
        for (const zavo::test::HostMode& mode : zavo::test::host_modes) {
            if (has_effect(mode)) {
                EXPECT_TRUE(bits_in(&mode) == usual) << mode.name;
            }
        }
    }
}

// Interpreters in threads of their own.
TEST_F(commands, threads_with_interpreters_get_the_results_of_a_serial_run)
{
    static constexpr char script[] = R"(
        set all {}
        foreach i {1 2 3 4 5 6 7 8 9 10} {
            lappend all [dynlist get [zavo_fft_real $p]] [dynlist get [zavo_fft_real $q BACKWARD]]
            lappend all [dynlist get [zavo_convolution $p $q]] [zavo_min_uncon_multivar bowl]
            lappend all [catch {zavo_constant nonsense$i} text] $text $::errorCode
            lappend all [dynlist get [zavo_fft_2d_complex $p 3 1]] [zavo_date_to_days 1 2 200$i]
            lappend all [zavo_min_con_gen_lin bowl $row $low $high]
        }
        set all
    )";
    interp.eval(lists);
    const std::string alone = interp.eval(script);
    std::vector<std::string> results(4);
    std::vector<std::thread> threads;
    for (std::string& result : results) {
        threads.emplace_back([&result] {
            {
                Interpreter own;
                if (Zavo_Init(own) == TCL_OK) {
                    own.eval(lists);
                    result = own.eval(script);
                }
            }
            Tcl_FinalizeThread();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const std::string& result : results) {
        EXPECT_EQ(result, alone);
    }
}

} // namespace

// Constants, units and the calendar, a million operations a run: the routines
// beside the C++ library's calendar, the C library's and UDUNITS; the commands
// beside one that does nothing, Tcl's clock and Tcllib's units.
#include "bench/ratio_report.hpp"
#include "constants/units.h"
#include "core/zavo.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <iterator>
#include <tcl.h>
#include <udunits2.h>
#include <unordered_map>

namespace {

constexpr int count = 1'000'000;
constexpr int repetitions = 25;

void check(bool good, const char* what)
{
    if (!good) {
        std::fprintf(stderr, "bench_constants: %s\n", what);
        std::exit(1);
    }
}

// Times operation(i) for i = 0 .. n-1; what is reported is one operation.
template <class Operation>
void add(const char* name, int n, Operation operation)
{
    benchmark::RegisterBenchmark(name,
                                 [=](benchmark::State& state) {
                                     while (state.KeepRunningBatch(n)) {
                                         for (int i = 0; i < n; ++i) {
                                             operation(i);
                                         }
                                     }
                                 })
        ->Iterations(n)
        ->Repetitions(repetitions)
        ->Unit(benchmark::kNanosecond);
}

// ---- calendar --------------------------------------------------------------

struct Date {
    int day, month, year;
};

// Gregorian days, since the peers know no others: 1600 to 2600.
std::array<int, 4096> days;
std::array<Date, 4096> dates;

void set_up_calendar()
{
    unsigned state = 1;
    for (std::size_t i = 0; i < days.size(); ++i) {
        state = state * 1664525U + 1013904223U;
        days[i] = -109'572 + static_cast<int>((state >> 8) % 365'000U);
        zavo_days_to_date(days[i], &dates[i].day, &dates[i].month, &dates[i].year);
    }
}

int days_by_chrono(const Date& d)
{
    using namespace std::chrono;
    const year_month_day date{year{d.year}, month{static_cast<unsigned>(d.month)},
                              day{static_cast<unsigned>(d.day)}};
    return date.ok() ? sys_days{date}.time_since_epoch().count() + 25567 : 0;
}

Date date_by_chrono(int number)
{
    using namespace std::chrono;
    const year_month_day date{sys_days{std::chrono::days{number - 25567}}};
    return {static_cast<int>(static_cast<unsigned>(date.day())),
            static_cast<int>(static_cast<unsigned>(date.month())), static_cast<int>(date.year())};
}

int days_by_timegm(const Date& d)
{
    std::tm time{};
    time.tm_mday = d.day;
    time.tm_mon = d.month - 1;
    time.tm_year = d.year - 1900;
    return static_cast<int>(timegm(&time) / 86400) + 25567;
}

Date date_by_gmtime(int number)
{
    const std::time_t seconds = (std::time_t{number} - 25567) * 86400;
    std::tm time{};
    gmtime_r(&seconds, &time);
    return {time.tm_mday, time.tm_mon + 1, time.tm_year + 1900};
}

bool same(const Date& a, const Date& b)
{
    return a.day == b.day && a.month == b.month && a.year == b.year;
}

void add_calendar()
{
    for (std::size_t i = 0; i < days.size(); ++i) {
        check(days_by_chrono(dates[i]) == days[i] && days_by_timegm(dates[i]) == days[i] &&
                  zavo_date_to_days(dates[i].day, dates[i].month, dates[i].year) == days[i] &&
                  same(date_by_chrono(days[i]), dates[i]) && same(date_by_gmtime(days[i]), dates[i]),
              "the calendars differ");
    }
    const auto of_date = [](auto convert) {
        return [convert](int i) { benchmark::DoNotOptimize(convert(dates[i % dates.size()])); };
    };
    const auto of_days = [](auto convert) {
        return [convert](int i) { benchmark::DoNotOptimize(convert(days[i % days.size()])); };
    };
    add("date_to_days", count,
        of_date([](const Date& d) { return zavo_date_to_days(d.day, d.month, d.year); }));
    add("date_to_days_chrono", count, of_date(days_by_chrono));
    add("date_to_days_timegm", count, of_date(days_by_timegm));
    add("days_to_date", count, of_days([](int n) {
            Date d{};
            zavo_days_to_date(n, &d.day, &d.month, &d.year);
            return d;
        }));
    add("days_to_date_chrono", count, of_days(date_by_chrono));
    add("days_to_date_gmtime", count, of_days(date_by_gmtime));
}

// ---- constants and units -----------------------------------------------

struct Wanted {
    const char* name;
    const char* base_unit;
    const char* unit;
};
constexpr Wanted wanted[] = {
    {"c", "m/s", "foot/s"},
    {"standardgravity", "m/s^2", "foot/s^2"},
    {"gravity", "N*m^2/kg^2", "dyne*m^2/g^2"},
    {"planck", "J*s", "erg*hour"},
    {"boltzmann", "J/K", "erg/K"},
    {"standardpressure", "N/m^2", "bar"},
    {"rydberg", "1/m", "1/foot"},
    {"protonmass", "kg", "g"},
};
constexpr int kinds = static_cast<int>(std::size(wanted));

ut_system* units;
std::unordered_map<std::string, float> by_name;

// The same job from the same texts: parse both, convert.
float convert_by_udunits(float value, const char* from, const char* to)
{
    ut_unit* const from_unit = ut_parse(units, from, UT_ASCII);
    ut_unit* const to_unit = ut_parse(units, to, UT_ASCII);
    cv_converter* const converter = ut_get_converter(from_unit, to_unit);
    const float result = cv_convert_float(converter, value);
    cv_free(converter);
    ut_free(from_unit);
    ut_free(to_unit);
    return result;
}

void set_up_units()
{
    ut_set_error_message_handler(ut_ignore);
    units = ut_read_xml(nullptr);
    check(units != nullptr, "no unit system");
    for (const Wanted& w : wanted) {
        const float value = zavo_f_constant(w.name, nullptr);
        by_name[w.name] = value;
        const float converted = zavo_f_constant(w.name, w.unit);
        check(std::fabs(convert_by_udunits(value, w.base_unit, w.unit) / converted - 1.0F) < 1e-6F,
              "the conversions differ");
    }
}

void add_units()
{
    add("constant", count,
        [](int i) { benchmark::DoNotOptimize(zavo_f_constant(wanted[i % kinds].name, nullptr)); });
    add("constant_hash_table", count,
        [](int i) { benchmark::DoNotOptimize(by_name.find(wanted[i % kinds].name)->second); });
    add("constant_in_unit", count, [](int i) {
        const Wanted& w = wanted[i % kinds];
        benchmark::DoNotOptimize(zavo_f_constant(w.name, w.unit));
    });
    add("constant_in_unit_udunits", count / 50, [](int i) {
        const Wanted& w = wanted[i % kinds];
        benchmark::DoNotOptimize(convert_by_udunits(by_name.find(w.name)->second, w.base_unit, w.unit));
    });
}

// ---- commands --------------------------------------------------------------

Tcl_Interp* interp;

int nothing(ClientData, Tcl_Interp*, int, const char*[])
{
    return TCL_OK;
}

void evaluate(const std::string& script)
{
    if (Tcl_Eval(interp, script.c_str()) != TCL_OK) {
        check(false, Tcl_GetStringResult(interp));
    }
}

// Runs `body` n times, as a loop of a procedure does; `items` holds what it
// takes its arguments from, one element a turn.
void add_script(const char* name, int n, const char* items, const char* body)
{
    evaluate(std::string{"proc "} + name + " {turns} { set items [set ::" + items +
             "]; for {set i 0} {$i < $turns} {incr i} { foreach item $items {" + body + "} } }");
    const std::string call = std::string{name} + " " + std::to_string(n / 1000);
    evaluate(std::string{name} + " 1");
    benchmark::RegisterBenchmark(name,
                                 [=](benchmark::State& state) {
                                     while (state.KeepRunningBatch(n)) {
                                         evaluate(call);
                                     }
                                 })
        ->Iterations(n)
        ->Repetitions(repetitions)
        ->Unit(benchmark::kNanosecond);
}

// A thousand numbers of days and as many dates, which are lists of three words.
void set_up_commands()
{
    interp = Tcl_CreateInterp();
    check(Tcl_Init(interp) == TCL_OK, "no library of Tcl");
    Tcl_CreateCommand(interp, "nothing", nothing, nullptr, nullptr);
    evaluate(
        "package require zavo; package require units; set days {}; set dates {}; set seconds {};"
        "for {set i 0} {$i < 1000} {incr i} { set n [expr {25567 + $i * 29}]; lappend days $n;"
        "  lappend dates [split [zavo_days_to_date $n]]; lappend seconds [expr {($n - 25567) * 86400}] };"
        "set names [lrepeat 1000 c]");
    evaluate(
        "foreach n $days d $dates s $seconds {"
        "  if {[zavo_date_to_days {*}$d] != $n} {error {day number}};"
        "  if {[scan [clock format $s -format {%d %m %Y} -gmt 1] {%d %d %d}] ne $d} {error date} };"
        "if {abs([zavo_constant c foot/s] / [units::convert 299792448meter/second foot/second] - 1) > 1e-6}"
        "  {error {the conversions differ}}");
}

void add_commands()
{
    add_script("tcl_nothing_3", count, "dates", "lassign $item d m y; nothing $d $m $y");
    add_script("tcl_date_to_days", count, "dates", "lassign $item d m y; zavo_date_to_days $d $m $y");
    add_script("tcl_clock_scan", count / 100, "dates",
               "lassign $item d m y; clock scan $d.$m.$y -format %d.%m.%Y -gmt 1");
    add_script("tcl_nothing_1", count, "days", "nothing $item");
    add_script("tcl_days_to_date", count, "days", "zavo_days_to_date $item");
    add_script("tcl_clock_format", count / 100, "seconds", "clock format $item -format {%d %m %Y} -gmt 1");
    add_script("tcl_nothing_name", count, "names", "nothing $item foot/s");
    add_script("tcl_constant_in_unit", count, "names", "zavo_constant $item foot/s");
    add_script("tcl_constant", count, "names", "zavo_constant $item");
    add_script("tcl_units_convert", count / 100, "names", "units::convert 299792448meter/second foot/second");
}

} // namespace

int main(int argc, char** argv)
{
    Tcl_FindExecutable(argv[0]);
    set_up_calendar();
    set_up_units();
    set_up_commands();
    add_calendar();
    add_units();
    add_commands();
    return ratio_report::run(
        argc, argv,
        {
            {"date to days : std::chrono, with its check", "date_to_days", "date_to_days_chrono", 0.0},
            {"date to days : timegm", "date_to_days", "date_to_days_timegm", 1.0},
            {"days to date : std::chrono", "days_to_date", "days_to_date_chrono", 0.0},
            {"days to date : gmtime_r", "days_to_date", "days_to_date_gmtime", 1.0},
            {"constant : hash table", "constant", "constant_hash_table", 0.0},
            {"constant in unit : UDUNITS", "constant_in_unit", "constant_in_unit_udunits", 0.2},
            {"command date to days : empty command", "tcl_date_to_days", "tcl_nothing_3", 1.5},
            {"command date to days : clock scan", "tcl_date_to_days", "tcl_clock_scan", 0.2},
            {"command days to date : empty command", "tcl_days_to_date", "tcl_nothing_1", 1.5},
            {"command days to date : clock format", "tcl_days_to_date", "tcl_clock_format", 0.2},
            {"command constant : empty command", "tcl_constant", "tcl_nothing_1", 1.5},
            {"command constant in unit : empty command", "tcl_constant_in_unit", "tcl_nothing_name", 0.0},
            {"command constant in unit : units::convert", "tcl_constant_in_unit", "tcl_units_convert", 0.2},
        });
}

// The minimisers: what they reach on the published problem sets, with how many
// evaluations, and what a script objective costs beside the same procedure
// called by Tcl_Eval of a ready string and its result read by atof().
#include "bench/ratio_report.hpp"
#include "tests/support/problem_page.hpp"
#include "tests/support/script_runs.hpp"

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <tcl.h>
#include <vector>

namespace {

using namespace zavo::test;

// ---- The problem tables ----------------------------------------------------------

void print_outcome(const Problem& p, const char* how, const Outcome& outcome, bool good)
{
    std::printf("  %-30s %-24s %13.6g %13.6g %6d %6d %6d  %s\n", p.name, how, static_cast<double>(outcome.f),
                p.optimum, outcome.evaluations, outcome.until_close, outcome.code, good ? "yes" : "no");
}

// A run that does not come close misses any goal.
void note_goal(const Problem& p, const char* how, const Outcome& outcome,
               const std::map<std::string, double>& goals)
{
    if (const auto goal = goals.find(p.name); goal != goals.end()) {
        const std::string label = std::string(p.name) + ", " + how + ": evaluations until close";
        ratio_report::note_goal(label.c_str(), outcome.until_close > 0 ? outcome.until_close : 1e6,
                                goal->second);
    }
}

const char* description(View view, bool gradient, bool scaled)
{
    static std::string text;
    text = view == View::script ? "script's view" : "floats";
    text += gradient ? ", gradient" : ", differences";
    text += scaled ? ", scaled" : "";
    return text.c_str();
}

void heading(const char* title)
{
    std::printf("%s\n  %-30s %-24s %13s %13s %6s %6s %6s  %s\n", title, "problem", "arguments, derivatives",
                "reached", "optimum", "evals", "close", "code", "solved");
}

void print_unconstrained()
{
    heading("Unconstrained (More, Garbow, Hillstrom); close, solved: within 1e-3 max(1, |optimum|)");
    const std::vector<Problem> problems = unconstrained_problems();
    for (const bool scaled : {false, true}) {
        for (const bool gradient : {false, true}) {
            int solved = 0;
            for (const Problem& p : problems) {
                const double near = 1e-3 * std::fmax(1.0, std::fabs(p.optimum));
                const Outcome outcome = minimize_free(p, View::compiled, gradient, near, scaled);
                const bool good = std::fabs(outcome.f - p.optimum) <= near;
                solved += good ? 1 : 0;
                if (!scaled || !p.sizes.empty()) { // scales change nothing elsewhere
                    print_outcome(p, description(View::compiled, gradient, scaled), outcome, good);
                }
            }
            std::printf("  %s: %d of %d solved\n", description(View::compiled, gradient, scaled), solved,
                        static_cast<int>(problems.size()));
        }
    }
    heading("Unconstrained in the script's view; close: within 1e-4 of the optimum");
    for (const Problem& p : small_problems()) {
        const Outcome outcome = minimize_free(p, View::script, false, 1e-4, false, 400);
        print_outcome(p, description(View::script, false, false), outcome, outcome.until_close > 0);
        note_goal(p, "script's view", outcome, free_goals());
    }
}

// Written by `bench_minimize --page=docs/minimization_problems.man`.
int write_page(const char* path)
{
    std::FILE* const page = std::fopen(path, "w");
    if (page == nullptr) {
        std::fprintf(stderr, "bench_minimize: cannot write %s\n", path);
        return 1;
    }
    std::fputs(problem_page().c_str(), page);
    return std::fclose(page) == 0 ? 0 : 1;
}

// ---- Runs beside those of the baseline ---------------------------------------------

// Evaluations here and in the baseline, of a set's runs with one step tolerance.
struct Tally {
    int runs = 0;
    int solved = 0;
    int solved_before = 0;
    int evaluations = 0;
    int evaluations_before = 0;
    int both = 0; // evaluations of the runs that both solve
    int both_before = 0;
    int higher = 0; // runs that end higher than in the baseline, by more than rounding

    Tally& operator+=(const Tally& other)
    {
        for (int Tally::*const count :
             {&Tally::runs, &Tally::solved, &Tally::solved_before, &Tally::evaluations,
              &Tally::evaluations_before, &Tally::both, &Tally::both_before, &Tally::higher}) {
            this->*count += other.*count;
        }
        return *this;
    }
};

// Adds a run and prints its line.
void add_run(Tally& tally, const Problem& p, const Outcome& outcome, const BaselineRun& before)
{
    const bool good = reached(p, outcome.f);
    const bool was_good = reached(p, before.reached);
    const bool higher = ends_higher(outcome.f, before.reached);
    tally += {1,
              good ? 1 : 0,
              was_good ? 1 : 0,
              outcome.evaluations,
              before.evaluations,
              good && was_good ? outcome.evaluations : 0,
              good && was_good ? before.evaluations : 0,
              higher ? 1 : 0};
    std::printf("  %-30s %13.7g %13.7g %6d  %-14s %13.7g %6d%s%s\n", p.name, static_cast<double>(outcome.f),
                p.optimum, outcome.evaluations, ending(outcome.code), before.reached, before.evaluations,
                good ? "" : "  (not reached)", higher ? "  (higher than before)" : "");
}

void print_tally(const char* what, const Tally& tally)
{
    std::printf(
        "  %-34s %3d of %3d reached (before %3d), %6d evaluations (before %6d): %.3f of them; %.3f in "
        "runs that both solve; %d runs higher\n",
        what, tally.solved, tally.runs, tally.solved_before, tally.evaluations, tally.evaluations_before,
        static_cast<double>(tally.evaluations) / tally.evaluations_before,
        static_cast<double>(tally.both) / tally.both_before, tally.higher);
}

// Every set as a script sees it, with the default step tolerance and with a tight one.
void print_script_runs()
{
    const std::vector<BaselineRun> baseline = read_baseline(ZAVO_BASELINE_RUNS);
    std::vector<std::string> names;
    std::vector<Tally> tallies;
    std::size_t number = 0;
    int fewer = 0; // sets of which the tight tolerance solves less
    for (const RunSet& set : script_runs()) {
        for (const double step_tolerance : run_step_tolerances) {
            const bool tight = step_tolerance > 0.0;
            std::printf("%s%s; before: commit 18a0562\n  %-30s %13s %13s %6s  %-14s %13s %6s\n", set.title,
                        tight ? ", step tolerance 1e-7" : "", "problem", "reached", "published", "evals",
                        "ending", "before", "evals");
            Tally tally;
            for (const Problem& p : set.problems) {
                const BaselineRun before = number < baseline.size() ? baseline[number] : BaselineRun{};
                if (before.problem != p.name) {
                    std::fprintf(stderr, "bench_minimize: %s lacks %s\n", ZAVO_BASELINE_RUNS, p.name);
                    std::exit(1);
                }
                add_run(tally, p, minimize_as_script(p, step_tolerance), before);
                ++number;
            }
            fewer += tight && tally.solved < tallies.back().solved ? 1 : 0;
            tallies.push_back(tally);
            names.push_back(std::string(set.word) + (tight ? ", tight" : ""));
        }
    }
    std::printf("Totals; before: commit 18a0562, recorded by bench/baseline.sh\n");
    Tally all[std::size(run_step_tolerances)];
    for (std::size_t i = 0; i < tallies.size(); ++i) {
        print_tally(names[i].c_str(), tallies[i]);
        all[i % std::size(run_step_tolerances)] += tallies[i];
    }
    print_tally("all", all[0]);
    print_tally("all, tight", all[1]);
    ratio_report::note_goal("published problems: evaluations / those of 18a0562",
                            static_cast<double>(all[0].evaluations) / all[0].evaluations_before, 1.2);
    ratio_report::note_goal("published problems: runs higher than with 18a0562", all[0].higher, 0.0);
    ratio_report::note_goal("sets of which step tolerance 1e-7 solves less", fewer, 0.0);
}

void print_constrained()
{
    heading("Bounds and linear constraints (Hock, Schittkowski); close, solved: within 1e-4, feasible");
    for (const Problem& p : constrained_problems()) {
        for (const View view : {View::compiled, View::script}) {
            for (const bool gradient : {false, true}) {
                const double near = 1e-4 * (p.optimum == 0.0 ? 1.0 : std::fabs(p.optimum));
                const Outcome outcome = minimize_constrained(p, view, gradient, near);
                print_outcome(p, description(view, gradient, false), outcome,
                              std::fabs(outcome.f - p.optimum) <= near &&
                                  violation(p, outcome.x.data()) <= 2e-6);
                if (!gradient) {
                    note_goal(p, view == View::script ? "script's view" : "floats", outcome,
                              constrained_goals());
                }
            }
        }
    }
}

// ---- Time for an objective call ----------------------------------------------------

Tcl_Interp* interp;

void evaluate(const char* script)
{
    if (Tcl_Eval(interp, script) != TCL_OK) {
        std::fprintf(stderr, "bench_minimize: %s: %s\n", script, Tcl_GetStringResult(interp));
        std::exit(1);
    }
}

int number_result()
{
    return std::atoi(Tcl_GetStringResult(interp));
}

// A whole minimisation, over and over, and as many calls of a ready string.
struct Case {
    std::string name;
    std::string minimisation;
    std::string ready_call;
    int calls; // of the procedure in one minimisation
};

void time_minimisation(benchmark::State& state, const Case& timed)
{
    for (auto _ : state) {
        evaluate(timed.minimisation.c_str());
    }
}

void time_ready_calls(benchmark::State& state, const Case& timed, bool read)
{
    double sum = 0.0;
    for (auto _ : state) {
        for (int i = 0; i < timed.calls; ++i) {
            Tcl_Eval(interp, timed.ready_call.c_str());
            if (read) {
                sum += std::atof(Tcl_GetStringResult(interp));
            }
        }
    }
    benchmark::DoNotOptimize(sum);
}

Case make_case(const std::string& name, const std::string& procedure, const std::string& function_word,
               const std::string& start, const std::string& arguments)
{
    // The calls are counted by a second procedure with the same values.
    evaluate(("set calls 0; proc counted {" + arguments + "} { incr ::calls; " + procedure +
              " {*}[lrange [info level 0] 1 end] };"
              "dynlist scope { zavo_min_uncon_multivar counted [dynlist create float {" +
              start + "}] }; set calls")
                 .c_str());
    const int calls = number_result();
    evaluate(("set start_" + name + " [dynlist create float {" + start + "}]").c_str());
    std::string call = procedure;
    evaluate(("llength {" + arguments + "}").c_str());
    const int n = number_result();
    for (int i = 0; i < n; ++i) {
        call += i % 2 == 0 ? " 0.987654" : " -1.234567";
    }
    return {name, "zavo_min_uncon_multivar " + function_word + " $start_" + name, call, calls};
}

// The goal is absolute, so it is printed as it is: the least of many runs.
void print_call_time(const Case& timed)
{
    double least = 1e9;
    for (int run = 0; run < 3000; ++run) {
        const auto start = std::chrono::steady_clock::now();
        evaluate(timed.minimisation.c_str());
        const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - start;
        least = std::fmin(least, time.count() / timed.calls);
    }
    std::printf("a call of a script's objective of two variables: %.0f ns (goal 550%s)\n", least,
                least <= 550.0 ? "" : ", EXCEEDED");
}

void add(const Case& timed)
{
    constexpr int repetitions = 1000;
    const auto with = [&](const std::string& name, auto function) {
        benchmark::RegisterBenchmark(name.c_str(), function)
            ->Iterations(1)
            ->Repetitions(repetitions)
            ->Unit(benchmark::kMicrosecond);
    };
    with(timed.name + "/minimisation", [timed](benchmark::State& state) { time_minimisation(state, timed); });
    with(timed.name + "/ready_string",
         [timed](benchmark::State& state) { time_ready_calls(state, timed, false); });
    with(timed.name + "/ready_string_read",
         [timed](benchmark::State& state) { time_ready_calls(state, timed, true); });
}

void set_up()
{
    interp = Tcl_CreateInterp();
    if (Tcl_Init(interp) != TCL_OK) {
        std::fprintf(stderr, "bench_minimize: %s\n", Tcl_GetStringResult(interp));
        std::exit(1);
    }
    evaluate("package require morvel; package require zavo");
    evaluate("proc rosenbrock {x y} { expr {100.0*($y-$x*$x)*($y-$x*$x)+(1.0-$x)*(1.0-$x)} }");
    evaluate(
        "proc wood {a b c d} { expr {100.0*($b-$a*$a)*($b-$a*$a)+(1.0-$a)*(1.0-$a)+90.0*($d-$c*$c)*($d-$c*$c)"
        "+(1.0-$c)*(1.0-$c)+10.0*($b+$d-2.0)*($b+$d-2.0)+0.1*($b-$d)*($b-$d)} }");
}

} // namespace

int main(int argc, char** argv)
{
    zavo_error_options(ZAVO_SET_PRINT, ZAVO_WARNING, 0, ZAVO_SET_PRINT, ZAVO_FATAL, 0, ZAVO_SET_STOP,
                       ZAVO_FATAL, 0, 0);
    constexpr char page_option[] = "--page=";
    if (argc == 2 && std::strncmp(argv[1], page_option, sizeof page_option - 1) == 0) {
        return write_page(argv[1] + sizeof page_option - 1);
    }
    print_unconstrained();
    print_script_runs();
    print_constrained();

    Tcl_FindExecutable(argv[0]);
    set_up();
    const Case two = make_case("two", "rosenbrock", "rosenbrock", "-1.2 1", "x y");
    print_call_time(two);
    add(two);
    add(make_case("four", "wood", "wood", "-3 -1 -3 -1", "a b c d"));
    add(make_case("two_by_script", "rosenbrock", "{{rosenbrock}}", "-1.2 1", "x y"));
    return ratio_report::run(argc, argv,
                             {
                                 {"two variables: a call / Tcl_Eval of a ready string", "two/minimisation",
                                  "two/ready_string", 0.0},
                                 {"two variables: a call / the same, result read", "two/minimisation",
                                  "two/ready_string_read", 0.0},
                                 {"four variables: a call / Tcl_Eval of a ready string", "four/minimisation",
                                  "four/ready_string", 0.0},
                                 {"four variables: a call / the same, result read", "four/minimisation",
                                  "four/ready_string_read", 0.0},
                                 {"two variables, word in braces: a call / ready string",
                                  "two_by_script/minimisation", "two_by_script/ready_string", 0.0},
                             });
}

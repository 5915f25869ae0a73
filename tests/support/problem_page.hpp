// docs/minimization_problems.man: what the minimisers reach on the published problems,
// as a page of the manual. `bench_minimize --page=FILE` writes it.
#pragma once

#include "tests/support/collection_problems.hpp"
#include "tests/support/nist_problems.hpp"

#include <cstdio>
#include <string>
#include <vector>

namespace zavo::test {

template <class... Values>
void append(std::string& page, const char* format, Values... values)
{
    char text[4096];
    std::snprintf(text, sizeof text, format, values...);
    page += text;
}

inline const char* ending(int code)
{
    switch (code) {
    case 0:
        return "gradient";
    case 8006:
        return "small step";
    case 8017:
    case 8029:
    case 8030:
        return "limit";
    case 8032:
        return "longest steps";
    case 8049:
        return "no lower point";
    case 8050:
        return "no progress";
    case 8051:
        return "stuck";
    default:
        return "other";
    }
}

inline bool reached(const Problem& p, double f)
{
    return f <= p.optimum + 1e-3 * std::fmax(std::fabs(p.optimum), 1e-1);
}

inline void write_rows(std::string& page, const char* title, const std::vector<Problem>& problems)
{
    append(page, "[subsection {%s}]\n\n[example {\n%-25s %13s %13s %6s  %s\n", title, "problem", "reached",
           "published", "calls", "ending");
    int good = 0;
    int calls = 0;
    for (const Problem& p : problems) {
        const Outcome outcome = minimize_as_script(p);
        good += reached(p, outcome.f) ? 1 : 0;
        calls += outcome.evaluations;
        append(page, "%-25s %13.7g %13.7g %6d  %s%s\n", p.name, static_cast<double>(outcome.f), p.optimum,
               outcome.evaluations, ending(outcome.code), reached(p, outcome.f) ? "" : ", elsewhere");
    }
    append(page, "%d of %d reached, %d calls\n}]\n\n", good, static_cast<int>(problems.size()), calls);
}

inline void write_constrained_rows(std::string& page)
{
    append(page, "[subsection {Bounds and linear constraints}]\n\n[example {\n%-10s %13s %13s %6s  %s\n",
           "problem", "reached", "published", "calls", "code");
    for (const Problem& p : constrained_problems()) {
        const Outcome outcome = minimize_constrained(p, View::script, false, 0.0);
        append(page, "%-10s %13.7g %13.7g %6d  %d\n", p.name, static_cast<double>(outcome.f), p.optimum,
               outcome.evaluations, outcome.code);
    }
    append(page, "}]\n\n");
}

inline std::string problem_page()
{
    std::string page;
    page +=
        "[comment {-*- tcl -*- doctools manpage, written by bench_minimize --page}]\n"
        "[manpage_begin zavo_minimization_problems n 1.0]\n"
        "[see_also zavo_minimization]\n"
        "[keywords {curve fitting}]\n"
        "[keywords {test problems}]\n"
        "[moddesc {Numerical library}]\n"
        "[titledesc {Published problems and what the minimizers reach}]\n"
        "[description]\n\n"
        "What [cmd zavo_min_uncon_multivar] and [cmd zavo_min_con_gen_lin] reach on published problems\n"
        "from their published starts, through the six decimals and single-precision values of a script,\n"
        "with all settings at their defaults. [const reached] is the value at the result, [const published]\n"
        "the certified or published optimum, [const calls] counts every call of the procedure; a run that\n"
        "ends above the optimum by more than a thousandth of it, or than 0.0001 where it is below 0.1, is\n"
        "marked [const elsewhere]. What the endings mean stands in [manpage zavo_minimization].\n\n"
        "[section {NIST'S NONLINEAR REGRESSION}]\n\n"
        "Nine of the Statistical Reference Datasets of the National Institute of Standards and Technology,\n"
        "both starts each.\n\n";
    write_rows(page, "Variables as they are", nist_problems_as_given());
    write_rows(page, "Variables as multiples of the start", nist_problems(false));
    write_rows(page, "The same, sums divided by the certified ones", nist_problems(true));
    page += "[section {LEAST SQUARES AND FREE MINIMA}]\n\n"
            "J. J. More, B. S. Garbow, K. E. Hillstrom: Testing unconstrained optimization software, ACM\n"
            "Transactions on Mathematical Software 7 (1981) 17-41.\n\n";
    write_rows(page, "Least squares", least_squares_problems());
    write_rows(page, "Unconstrained minimization", unconstrained_problems());
    page += "[section {FUNCTIONS OF ANY NUMBER OF VARIABLES}]\n\n"
            "N. Andrei: An Unconstrained Optimization Test Functions Collection, Advanced Modeling and\n"
            "Optimization 10 (2008) 147-161, ten variables as a rule.\n\n";
    write_rows(page, "The collection's starts", collection_problems());
    page += "[section {CONSTRAINED MINIMA}]\n\n"
            "W. Hock, K. Schittkowski: Test Examples for Nonlinear Programming Codes (1981), numbered as\n"
            "there. Code 8088 means that the conditions of a minimum are met, 8089 and 8090 that rounding\n"
            "allowed no more. HS2, HS3, HS25 and HS55 have other local minima or flat starts.\n\n";
    write_constrained_rows(page);
    page += "[manpage_end]\n";
    return page;
}

} // namespace zavo::test

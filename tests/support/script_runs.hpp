// Every run of the unconstrained minimiser on published problems in a script's view, set
// by set, and beside it what the version of commit 18a0562 did in the same run: the last
// one that ended at the first step which gained little (baseline_runs.txt, written by
// bench/baseline.sh).
#pragma once

#include "tests/support/collection_problems.hpp"
#include "tests/support/nist_problems.hpp"

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace zavo::test {

struct RunSet {
    const char* title;
    const char* word; // the title in short
    std::vector<Problem> problems;
};

// From ten times the start, where that is another place.
inline std::vector<Problem> from_afar(const std::vector<Problem>& problems)
{
    std::vector<Problem> all;
    for (Problem p : problems) {
        bool moved = false;
        for (float& start : p.start) {
            moved = moved || start != 0.0F;
            start *= 10.0F;
        }
        if (moved) {
            all.push_back(std::move(p));
        }
    }
    return all;
}

// The whole test set of More, Garbow and Hillstrom.
inline std::vector<Problem> paper_problems()
{
    std::vector<Problem> all = unconstrained_problems();
    const std::vector<Problem> squares = least_squares_problems();
    const std::vector<Problem> small = small_problems();
    all.insert(all.end(), squares.begin(), squares.end());
    all.insert(all.end(), small.begin(), small.begin() + 2); // the others stand above
    return all;
}

inline std::vector<RunSet> script_runs()
{
    return {{"NIST, variables as they are", "NIST, as they are", nist_problems_as_given()},
            {"NIST, in units of the start", "NIST, in units", nist_problems(false)},
            {"NIST, in units of the start, sums divided by their certified values", "NIST, divided",
             nist_problems(true)},
            {"More, Garbow, Hillstrom", "MGH", paper_problems()},
            {"More, Garbow, Hillstrom, ten times the start", "MGH, ten times", from_afar(paper_problems())},
            {"Andrei", "Andrei", collection_problems()}};
}

// The step tolerances that every run is made with; 0 is the default.
inline constexpr double run_step_tolerances[] = {0.0, 1e-7};

// By more than the six decimals and the floats of a script can tell.
inline bool ends_higher(double f, double f_before)
{
    return f > f_before + 1e-6 * std::fmax(1.0, std::fabs(f_before));
}

struct BaselineRun {
    std::string problem;
    double reached = 0.0;
    int evaluations = 0;
};

// In the order of the loops: sets, step tolerances, problems. Empty when there is none.
inline std::vector<BaselineRun> read_baseline(const char* path)
{
    std::vector<BaselineRun> all;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#') {
            continue;
        }
        std::istringstream words(line);
        BaselineRun run;
        words >> run.evaluations >> run.reached;
        std::getline(words >> std::ws, run.problem);
        all.push_back(std::move(run));
    }
    return all;
}

} // namespace zavo::test

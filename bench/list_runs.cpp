// Prints a line for each run of script_runs(): evaluations, value reached, problem.
// bench/baseline.sh links it to another version of the library.
#include "tests/support/script_runs.hpp"

#include <cstdio>

int main()
{
    using namespace zavo::test;
    zavo_error_options(ZAVO_SET_PRINT, ZAVO_WARNING, 0, ZAVO_SET_PRINT, ZAVO_FATAL, 0, ZAVO_SET_STOP,
                       ZAVO_FATAL, 0, 0);
    for (const RunSet& set : script_runs()) {
        for (const double step_tolerance : run_step_tolerances) {
            std::printf("# %s, step tolerance %g\n", set.title, step_tolerance);
            for (const Problem& p : set.problems) {
                const Outcome outcome = minimize_as_script(p, step_tolerance);
                std::printf("%d %.9g %s\n", outcome.evaluations, static_cast<double>(outcome.f), p.name);
            }
        }
    }
    return 0;
}

// A benchmark program that ends with a table of ratios. Each benchmark is run
// many times, the runs of all of them shuffled, and the shortest run counts: on
// a shared machine the minimum is what repeats.
#pragma once

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

namespace ratio_report {

// `name` took how many times as long as `peer`. A limit of 0 promises nothing.
struct Pair {
    const char* label;
    const char* name;
    const char* peer;
    double limit;
};

// Hands a figure that has a goal to the driver, which ends with a table of them
// all: a line "label TAB figure TAB goal" at the end of the file that
// ZAVO_BENCH_GOALS names. The figure is to be at most the goal. Without the
// variable nothing is written.
inline void note_goal(const char* label, double figure, double goal)
{
    const char* const path = std::getenv("ZAVO_BENCH_GOALS");
    std::FILE* const file = path != nullptr ? std::fopen(path, "a") : nullptr;
    if (file != nullptr) {
        std::fprintf(file, "%s\t%.3f\t%.3f\n", label, figure, goal);
        std::fclose(file);
    }
}

class Reporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration && !run.error_occurred) {
                const double seconds = run.cpu_accumulated_time / static_cast<double>(run.iterations);
                const auto [place, is_new] = shortest_.try_emplace(run.run_name.function_name, seconds);
                place->second = is_new ? seconds : std::min(place->second, seconds);
            }
        }
    }

    // Shortest times and ratios; false when a time is missing. An exceeded
    // limit is shown and no more: on a busy machine it may mean nothing.
    bool print(const std::vector<Pair>& pairs) const
    {
        bool good = true;
        std::printf("shortest of all runs\n");
        for (const auto& [name, seconds] : shortest_) {
            const bool is_short = seconds < 1e-5;
            std::printf("  %-28s %12.1f %s\n", name.c_str(), seconds * (is_short ? 1e9 : 1e6),
                        is_short ? "ns" : "us");
        }
        std::printf("ratios\n");
        for (const Pair& pair : pairs) {
            const auto mine = shortest_.find(pair.name);
            const auto peer = shortest_.find(pair.peer);
            if (mine == shortest_.end() || peer == shortest_.end()) {
                std::printf("  %-56s missing\n", pair.label);
                good = false;
                continue;
            }
            const double ratio = mine->second / peer->second;
            const bool within = pair.limit == 0.0 || ratio <= pair.limit;
            std::printf("  %-56s %6.3f", pair.label, ratio);
            if (pair.limit != 0.0) {
                std::printf("  (limit %.2f%s)", pair.limit, within ? "" : ", EXCEEDED");
                note_goal(pair.label, ratio, pair.limit);
            }
            std::printf("\n");
        }
        return good;
    }

private:
    std::map<std::string, double> shortest_;
};

// Registers a benchmark that runs work() `iterations` times in a row.
template <class Work>
void add(const std::string& name, benchmark::IterationCount iterations, int repetitions, Work work)
{
    benchmark::RegisterBenchmark(name.c_str(),
                                 [=](benchmark::State& state) {
                                     for (auto _ : state) {
                                         work();
                                         benchmark::ClobberMemory();
                                     }
                                 })
        ->Iterations(iterations)
        ->Repetitions(repetitions);
}

// The rest of main(): runs what is registered and prints the table.
inline int run(int argc, char** argv, const std::vector<Pair>& pairs)
{
    std::vector<char*> arguments(argv, argv + argc);
    static char shuffled[] = "--benchmark_enable_random_interleaving=true";
    arguments.insert(arguments.begin() + 1, shuffled);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return reporter.print(pairs) ? 0 : 1;
}

} // namespace ratio_report

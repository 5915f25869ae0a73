// Free minimisation of a function whose values are doubles.
#pragma once

#include "core/system/float_control.hpp"
#include "minimize/run/run.h"

namespace zavo::minimize {

// Where the values come from, and whether the run has to end: `zavo_run_problem`
// with its counts.
class Evaluations {
public:
    // host: the processor's modes of the caller, in which its callbacks run.
    Evaluations(const zavo_run_problem& problem, platform::FloatControl host) : problem_(problem), host_(host)
    {
    }

    // The value at x; infinity where the function has none and, with nothing called,
    // once the run has to end.
    double value(const float* x);
    // False when the run has to end.
    bool gradient(const float* x, double* g);
    void progress(const float* x, double value, int iteration);

    bool must_end() const { return limited_ || stopped_ != 0; }
    bool limited() const { return limited_; }
    platform::FloatControl host() const { return host_; }
    int count() const { return count_; }
    // Calls that somebody else has made for the same run.
    void add(int calls) { count_ += calls; }
    void end_as(const Evaluations& other)
    {
        limited_ = other.limited_;
        stopped_ = other.stopped_;
    }

private:
    const zavo_run_problem& problem_;
    platform::FloatControl host_;
    int count_ = 0;
    int stopped_ = 0;
    bool limited_ = false;
};

// 10^-digits, the relative noise of a function of so many reliable digits.
double noise_of_digits(int digits);

// problem: without constraints. Fills all but the message and the constraints'
// part of the outcome.
void run_free(const zavo_run_problem& problem, Evaluations& evaluations, zavo_run_outcome& outcome);

} // namespace zavo::minimize

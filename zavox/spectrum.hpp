// Spectra of a record of equidistant values, averaged over overlapping segments
// (P. D. Welch, "The use of fast Fourier transform for the estimation of power
// spectra", 1967).
#pragma once

#include "zavox/fourier.hpp"

namespace zavox {

enum class Detrend { none, mean, linear };
enum class Window { rectangle, hann, blackman, flattop };

struct SpectrumPlan {
    int n;       // values of the record
    int segment; // values of a segment, 1 ... n
    int advance; // from the start of one segment to the next, at least 1
    double step; // between two values
    Detrend detrend;
    Window window;
};

// The three arrays take segment / 2 + 1 values each. amplitude: the peak value of
// a sine of that frequency; power: one-sided density. False when memory is short.
[[nodiscard]] bool spectrum(Fourier& fourier, const SpectrumPlan& plan, const float* x, float* frequency,
                            float* amplitude, float* power);

} // namespace zavox

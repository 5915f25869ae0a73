#include "zavox/spectrum.hpp"

#include "zavox/roots.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace zavox {

namespace {

// The windows are sums of cosines of multiples of one angle a:
//     w = c0 - c1 cos a + c2 cos 2a - c3 cos 3a + c4 cos 4a.
// Flat top: G. D'Antona, A. Ferrero, "Digital signal processing for measurement
// systems" (2006).
struct Cosines {
    double c[5];
};
constexpr Cosines hann = {{0.5, 0.5, 0.0, 0.0, 0.0}};
constexpr Cosines blackman = {{0.42, 0.5, 0.08, 0.0, 0.0}};
constexpr Cosines flattop = {{0.21557895, 0.41663158, 0.277263158, 0.083578947, 0.006947368}};

// By the multiple-angle formulas, from cos a alone.
double weight(const double (&c)[5], double cosine)
{
    const double c2 = 2.0 * cosine * cosine - 1.0;
    const double c3 = cosine * (2.0 * c2 - 1.0);
    const double c4 = 2.0 * c2 * c2 - 1.0;
    return c[0] - c[1] * cosine + c[2] * c2 - c[3] * c3 + c[4] * c4;
}

// n weights of a window with period n; a window of one value is 1.
bool make_window(Window window, int n, double* weights)
{
    if (window == Window::rectangle || n == 1) {
        for (int i = 0; i < n; ++i) {
            weights[i] = 1.0;
        }
        return true;
    }
    Roots roots;
    if (!roots.make(n)) {
        return false;
    }
    const Cosines& cosines =
        window == Window::hann ? hann : (window == Window::blackman ? blackman : flattop);
    for (int i = 0; i <= n / 2; ++i) { // the window is even
        weights[i] = weight(cosines.c, roots[i].cos);
        if (i > 0) {
            weights[n - i] = weights[i];
        }
    }
    return true;
}

// What is taken away from a segment: level + slope (i - middle).
struct Trend {
    double level = 0.0;
    double slope = 0.0;
    double middle = 0.0;
};

// Four sums side by side; they are added in one order.
double sum_of(int n, const float* x)
{
    double sums[4] = {};
    int i = 0;
    for (; i + 4 <= n; i += 4) {
        for (int j = 0; j < 4; ++j) {
            sums[j] += x[i + j];
        }
    }
    for (; i < n; ++i) {
        sums[0] += x[i];
    }
    return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}

Trend trend_of(Detrend detrend, int n, const float* x)
{
    Trend trend;
    if (detrend == Detrend::none) {
        return trend;
    }
    const double count = n;
    trend.level = sum_of(n, x) / count;
    trend.middle = (count - 1.0) / 2.0;
    if (detrend == Detrend::linear && n > 1) {
        double product = 0.0;
        for (int i = 0; i < n; ++i) {
            product += (i - trend.middle) * (x[i] - trend.level);
        }
        trend.slope = product / (count * (count * count - 1.0) / 12.0); // the sum of (i - middle)^2
    }
    return trend;
}

double square_of(int n, const float* packed, int k)
{
    if (k == 0) {
        return double{packed[0]} * packed[0];
    }
    const double re = packed[2 * k - 1];
    if (2 * k == n) {
        return re * re;
    }
    const double im = packed[2 * k];
    return re * re + im * im;
}

} // namespace

bool spectrum(Fourier& fourier, const SpectrumPlan& plan, const float* x, float* frequency, float* amplitude,
              float* power)
{
    const int n = plan.segment;
    const int bins = n / 2 + 1;
    const Buffer<double> weights(n);
    const Buffer<double> squares(bins); // of the absolute values, summed over the segments
    const Buffer<float> values(n);      // a segment, then its packed spectrum
    if (!weights || !squares || !values || !make_window(plan.window, n, weights.get())) {
        return false;
    }
    std::fill_n(squares.get(), bins, 0.0);
    double weight_sum = 0.0;
    double weight_squares = 0.0;
    for (int i = 0; i < n; ++i) {
        weight_sum += weights[i];
        weight_squares += weights[i] * weights[i];
    }
    int segments = 0;
    const std::int64_t nanoseconds_of_segment = std::int64_t{10} * n;
    for (std::int64_t start = 0; start + n <= plan.n; start += plan.advance, ++segments) {
        const float* const from = x + start;
        const Trend trend = trend_of(plan.detrend, n, from);
        for (int i = 0; i < n; ++i) {
            const double value = from[i] - (trend.level + trend.slope * (i - trend.middle));
            values[i] = static_cast<float>(value * weights[i]);
        }
        if (!fourier.real_forward(n, values.get(), values.get())) {
            return false;
        }
        for (int k = 0; k < bins; ++k) {
            squares[k] += square_of(n, values.get(), k);
        }
        if (interrupted(nanoseconds_of_segment)) {
            return false;
        }
    }
    for (int k = 0; k < bins; ++k) {
        const bool both_sides = k > 0 && 2 * k != n;
        const double mean = squares[k] / segments;
        frequency[k] = static_cast<float>(k / (n * plan.step));
        amplitude[k] = static_cast<float>((both_sides ? 2.0 : 1.0) * std::sqrt(mean) / weight_sum);
        power[k] = static_cast<float>((both_sides ? 2.0 : 1.0) * mean * plan.step / weight_squares);
    }
    return true;
}

} // namespace zavox

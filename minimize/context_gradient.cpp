#include "minimize/context_gradient.hpp"

#include "minimize/difference_gradient.hpp"
#include "minimize/machine.hpp"

#include <cmath>

namespace zavo::minimize {

float ContextGradient::update_tolerance() const
{
    return user != nullptr ? noise : std::sqrt(noise);
}

// The value with x[i] at another place.
double ContextGradient::probe(int n, float* x, int i, float to) const
{
    const float saved = x[i];
    x[i] = to;
    const Value value = objective(n, x);
    x[i] = saved;
    return std::isfinite(value.f) ? value.given : HUGE_VAL;
}

// The derivative along coordinate i with steps of about h, which points away from
// zero. f: the value at x.
double ContextGradient::difference(int n, float* x, int i, float h, double f) const
{
    const double at = x[i];
    const auto inside = [&](float place) {
        return (lower == nullptr || place >= lower[i]) && (upper == nullptr || place <= upper[i]);
    };
    const bool fixed = lower != nullptr && upper != nullptr && lower[i] == upper[i];
    // Between bounds that are closer than the step the wider side is all there is.
    if (lower != nullptr && upper != nullptr && !fixed && !inside(x[i] + h) && !inside(x[i] - h)) {
        const float up = upper[i] - x[i];
        const float down = x[i] - lower[i];
        h = up >= down ? up : -down;
    }
    const bool ahead = fixed || inside(x[i] + h);
    const float first = ahead ? x[i] + h : x[i] - h;
    const double f_first = probe(n, x, i, first);
    const float other = ahead ? x[i] - h : x[i] + h;
    const bool has_other = !fixed && inside(other);
    const auto slope = [&](float place, double value) {
        const double width = static_cast<double>(place) - at;
        return width != 0.0 ? (value - f) / width : 0.0;
    };
    if (!std::isfinite(f_first)) {
        const double f_other = has_other ? probe(n, x, i, other) : HUGE_VAL;
        return std::isfinite(f_other) ? slope(other, f_other) : 0.0;
    }
    if (!central) {
        return slope(first, f_first);
    }
    if (has_other) {
        const double f_other = probe(n, x, i, other);
        return std::isfinite(f_other)
                   ? (f_first - f_other) / (static_cast<double>(first) - static_cast<double>(other))
                   : slope(first, f_first);
    }
    // One-sided, of second order: Newton's divided differences at x, first, second.
    const float second = first + (first - x[i]);
    if (fixed || !inside(second)) {
        return slope(first, f_first);
    }
    const double f_second = probe(n, x, i, second);
    const double near = slope(first, f_first);
    const double far = slope(second, f_second);
    const double width = static_cast<double>(second) - first;
    return std::isfinite(f_second) && width != 0.0
               ? near - (far - near) / width * (static_cast<double>(first) - at)
               : near;
}

void ContextGradient::operator()(int n, float* x, const float* xscale, const Value& f, float* g) const
{
    if (user != nullptr) {
        if (!objective.stopped()) {
            user(objective, n, x, g);
        }
        return;
    }
    const float eps = machine::epsilon();
    const float root = std::sqrt(noise > eps ? noise : eps);
    for (int i = 0; i < n && !objective.stopped(); ++i) {
        const float h = difference_step(root, x[i], xscale != nullptr ? 1.0F / xscale[i] : 1.0F);
        g[i] = static_cast<float>(difference(n, x, i, h, f.given) / function_size);
    }
}

} // namespace zavo::minimize

// Gradients of a function with a context (engine_minimize.h): the user's own, or
// differences of the doubles that it gives. A type that both minimisers take.
//
// Differences go by the steps of difference_gradient.hpp, but from the place that
// was really probed; they stay within the bounds as long as these are apart, with
// the one-sided formula of second order where a central one has no room; and where
// the function has no finite value on one side they take the other.
#pragma once

#include "core/errors/error_codes.hpp"
#include "minimize/objective.hpp"

namespace zavo::minimize {

struct ContextGradient {
    static constexpr char driver_name[] = "U2INF";
    static constexpr char iteration_name[] = "U3INF";
    static constexpr char search_name[] = "U17NF";
    static constexpr char name[] = "L2ONF";
    static constexpr bool posts_counts = true;
    static constexpr core::code::ErrorCode all_fixed_code = core::code::all_variables_fixed;

    // The user's gradient, for Objective::context(); stops the objective when he asks
    // for it.
    using UserGradient = void (*)(Objective& objective, int n, float* x, float* g);

    Objective& objective;
    UserGradient user = nullptr;  // null: differences
    const float* lower = nullptr; // n each; null without bounds
    const float* upper = nullptr;
    double function_size = 1.0; // what the objective's floats are divided by
    float noise = 0.0F;
    bool central = false;
    bool may_switch = false;

    bool can_switch() const { return may_switch && !central; }
    void switch_to_central() { central = true; }
    float update_tolerance() const;

    void operator()(int n, float* x, const float* xscale, const Value& f, float* g) const;
    void operator()(int n, float* x, const Value& f, float* g) const { (*this)(n, x, nullptr, f, g); }

private:
    double probe(int n, float* x, int i, float to) const;
    double difference(int n, float* x, int i, float h, double f) const;
};

} // namespace zavo::minimize

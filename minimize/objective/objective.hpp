// The function that is minimised, in whichever of its forms the caller has it,
// and calls of user functions. The marks tell the error stack that user code
// runs, so that what fails in there is reported as the user's own affair.
#pragma once

#include "core/errors/error_stack.h"
#include "minimize/objective/counts.hpp"

namespace zavo::minimize {

// A value of the function: the float that the minimisers compute with, and the
// number that the user's function gave, of which it is the rounding.
struct Value {
    float f = 0.0F;
    double given = 0.0;
    Value() = default;
    Value(float value) : f(value), given(value) {}
    Value(float value, double unrounded) : f(value), given(unrounded) {}
    operator float() const { return f; }
};

class Objective {
public:
    // A function with a context: `call` gets the objective itself.
    using Call = Value (*)(Objective& objective, int n, float* x);

    explicit Objective(zavo_objective_fn fcn) : plain_(fcn), call_(call_plain) {}
    explicit Objective(zavo_constrained_objective_fn fcn) : storing_(fcn), call_(call_storing) {}
    Objective(Call call, void* context) : context_(context), call_(call) {}

    // The value at x, n floats, which the function may not change.
    Value operator()(int n, float* x)
    {
        zavo_error_user_level("ON");
        const Value value = call_(*this, n, x);
        zavo_error_user_level("OFF");
        return value;
    }
    // The same without the marks.
    Value unmarked(int n, float* x) { return call_(*this, n, x); }

    void* context() const { return context_; }

    // Tells the user how far the run has come, when he wants to know.
    using Report = void (*)(Objective& objective, int n, const float* x, const Value& f,
                            const Counts& counts);
    void report_by(Report report) { report_ = report; }
    void report(int n, const float* x, const Value& f, const Counts& counts)
    {
        if (report_ != nullptr) {
            report_(*this, n, x, f, counts);
        }
    }

    // Has the user asked for an end? What is evaluated from then on is ignored, and
    // every loop of the constrained minimiser ends.
    bool stopped() const { return stopped_; }
    void stop() { stopped_ = true; }

private:
    static Value call_plain(Objective& objective, int n, float* x) { return objective.plain_(n, x); }
    static Value call_storing(Objective& objective, int n, float* x)
    {
        float f = 0.0F;
        objective.storing_(n, x, &f);
        return f;
    }

    zavo_objective_fn plain_ = nullptr;
    zavo_constrained_objective_fn storing_ = nullptr;
    void* context_ = nullptr;
    Call call_;
    Report report_ = nullptr;
    bool stopped_ = false;
};

inline void call_gradient(zavo_gradient_fn gradient, int n, float* x, float* g)
{
    zavo_error_user_level("ON");
    gradient(n, x, g);
    zavo_error_user_level("OFF");
}

} // namespace zavo::minimize

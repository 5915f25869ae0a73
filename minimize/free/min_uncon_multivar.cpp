// Unconstrained minimisation: the public routine.
#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"
#include "core/frame/entry_frame.hpp"
#include "core/frame/option_reader.hpp"
#include "core/system/memory.hpp"
#include "minimize/free/quasi_newton.hpp"

#include <algorithm>
#include <cstdarg>
#include <cstddef>

namespace zavo::minimize {
namespace {

// One call: its arguments, options and result. Lives outside the fault trap.
class UnconstrainedCall {
public:
    UnconstrainedCall(zavo_objective_fn fcn, int n) : objective_(fcn), n_(n) {}

    void read(core::OptionReader& options);
    void minimize();
    float* hand_over() { return solution_.hand_over(); }

private:
    bool take_blocks();
    float* filled_block(const char* name, const float* values, float otherwise);
    bool no_memory(const char* block) const;

    Objective objective_;
    zavo_gradient_fn gradient_ = nullptr;
    int n_;
    const float* start_option_ = nullptr;
    const float* scale_option_ = nullptr;
    float fscale_ = 1.0F;
    Controls controls_;
    float* value_option_ = nullptr;
    core::ResultArray<float> solution_;
    float* work_ = nullptr;
    float* start_ = nullptr;
    float* xscale_ = nullptr;
};

// An unknown code is reported and reading goes on behind it.
void UnconstrainedCall::read(core::OptionReader& options)
{
    const auto real = [&options] { return static_cast<float>(options.take<double>()); };
    const auto real_at = [&options] { return *options.take<const float*>(); };
    while (const int code = options.next()) {
        // clang-format off
        switch (code) {
            case ZAVO_START_POINT:            start_option_ = options.take<const float*>();     break;
            case ZAVO_FUNCTION_EVAL_LIMIT:    controls_.eval_limit = options.take<int>();       break;
            case ZAVO_GRADIENT_FUNCTION:      gradient_ = options.take<zavo_gradient_fn>();     break;
            case ZAVO_VARIABLE_SCALING:       scale_option_ = options.take<const float*>();     break;
            case ZAVO_FUNCTION_SCALE:         fscale_ = real();                                 break;
            case ZAVO_GRADIENT_TOLERANCE:     controls_.gradient_tol = real();                  break;
            case ZAVO_STEP_TOLERANCE:         controls_.step_tol = real();                      break;
            case ZAVO_RELATIVE_TOLERANCE:     controls_.relative_tol = real();                  break;
            case ZAVO_STEP_LIMIT:             controls_.step_limit = real();                    break;
            case ZAVO_GOOD_DIGITS:            controls_.good_digits = options.take<int>();      break;
            case ZAVO_ITERATION_LIMIT:        controls_.iteration_limit = options.take<int>();  break;
            case ZAVO_GRADIENT_EVAL_LIMIT:    controls_.gradient_limit = options.take<int>();   break;
            case ZAVO_HESSIAN_START:          controls_.hessian_start = options.take<int>();    break;
            case ZAVO_RESULT_VALUE:           value_option_ = options.take<float*>();           break;
            case ZAVO_RETURN_USER:            solution_.borrow(options.take<float*>());         break;
            case ZAVO_FUNCTION_SCALE_ADR:     fscale_ = real_at();                              break;
            case ZAVO_GRADIENT_TOLERANCE_ADR: controls_.gradient_tol = real_at();               break;
            case ZAVO_STEP_TOLERANCE_ADR:     controls_.step_tol = real_at();                   break;
            case ZAVO_RELATIVE_TOLERANCE_ADR: controls_.relative_tol = real_at();               break;
            case ZAVO_STEP_LIMIT_ADR:         controls_.step_limit = real_at();                 break;
            default:                          options.complain(code);                           break;
        }
        // clang-format on
    }
    if (n_ < 1) {
        zavo_error_set_int(1, n_);
        zavo_error_post(ZAVO_TERMINAL, core::code::variables_below_one);
    }
}

bool UnconstrainedCall::no_memory(const char* block) const
{
    zavo_error_set_int(1, n_);
    zavo_error_set_string(1, block);
    zavo_error_post(ZAVO_TERMINAL, core::code::no_memory_for_array);
    return false;
}

// n floats of work holding `values`, or a constant when there are none.
float* UnconstrainedCall::filled_block(const char* name, const float* values, float otherwise)
{
    const auto n = static_cast<std::size_t>(n_);
    float* const block = core::take_work<float>(n);
    if (block == nullptr) {
        no_memory(name);
    } else if (values != nullptr) {
        std::copy_n(values, n, block);
    } else {
        std::fill_n(block, n, otherwise);
    }
    return block;
}

// All of it belongs to the frame of the call but the solution, which goes to the
// caller. The block of the iteration: eight vectors, then the factor.
bool UnconstrainedCall::take_blocks()
{
    const auto n = static_cast<std::size_t>(n_);
    const bool countable = n <= static_cast<std::size_t>(-1) / (n + 8);
    work_ = countable ? core::take_work<float>(n * (n + 8)) : nullptr;
    if (work_ == nullptr) {
        return no_memory("work");
    }
    start_ = filled_block("xguess", start_option_, 0.0F);
    if (start_ == nullptr) {
        return false;
    }
    xscale_ = filled_block("xscale", scale_option_, 1.0F);
    if (xscale_ == nullptr) {
        return false;
    }
    if (solution_.get() == nullptr && !solution_.allocate(n)) {
        return no_memory("x");
    }
    return true;
}

// Nothing is computed once an option was refused, n is below 1 or memory is short.
void UnconstrainedCall::minimize()
{
    if (core::pending_type() != 0 || !take_blocks()) {
        return;
    }
    FreeProblem problem = {n_, solution_.get(), xscale_, fscale_};
    FreeOutcome outcome;
    if (gradient_ != nullptr) {
        UserGradient gradient = {objective_, gradient_};
        outcome = minimize_free(gradient, problem, controls_, start_, work_);
    } else {
        DifferenceGradient gradient = {objective_};
        outcome = minimize_free(gradient, problem, controls_, start_, work_);
    }
    if (value_option_ != nullptr) {
        *value_option_ = outcome.f;
    }
}

} // namespace

} // namespace zavo::minimize

// Outside the namespace, where the declaration of zavo.h is the one that it completes,
// visibility included.
extern "C" float* zavo_f_min_uncon_multivar(zavo_objective_fn fcn, int n, ...)
{
    std::va_list list;
    va_start(list, n);
    zavo::core::OptionReader options{list, 3};
    va_end(list);
    zavo::minimize::UnconstrainedCall call{fcn, n};
    zavo::core::EntryFrame frame{"zavo_f_min_uncon_multivar"};
    const bool finished = frame.run(
        [&] {
            call.read(options);
            call.minimize();
        },
        zavo::core::Trapping::with_own_stack);
    return finished && !frame.terminated() ? call.hand_over() : nullptr;
}

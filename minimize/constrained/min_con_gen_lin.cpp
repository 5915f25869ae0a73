// Linearly constrained minimisation: the public routine.
#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"
#include "core/frame/entry_frame.hpp"
#include "core/frame/option_reader.hpp"
#include "core/kernels/vector_kernels.h"
#include "core/system/memory.hpp"
#include "minimize/constrained/lincon.hpp"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstddef>

namespace zavo::minimize {
namespace {

using namespace core::code;

// One call: its arguments, options and results. Lives outside the fault trap.
class ConstrainedCall {
public:
    ConstrainedCall(zavo_constrained_objective_fn fcn, int nvar, int ncon, int neq, float* a, const float* b,
                    const float* xlb, const float* xub)
        : objective_(fcn), a_(a)
    {
        problem_.nvar = nvar;
        problem_.ncon = ncon;
        problem_.neq = neq;
        problem_.a = a;
        problem_.lda = ncon;
        problem_.b = b;
        problem_.xlb = xlb;
        problem_.xub = xub;
        problem_.accuracy = std::sqrt(core::machine::epsilon());
        problem_.eval_limit = 400;
    }

    void read(core::OptionReader& options);
    void minimize();
    // Back to rows, also when a fault has ended the run. Outside the trap: the
    // matrix was read and written before, so it cannot fault.
    void restore_matrix();
    void store_results(bool good);
    float* hand_over();

private:
    bool take_start(std::size_t n);
    bool take_blocks();
    void drive();

    Objective objective_;
    zavo_gradient_fn gradient_ = nullptr;
    ConstrainedProblem problem_;
    float* a_; // the caller's, by columns while the run goes on
    bool by_columns_ = false;
    const float* start_option_ = nullptr;
    float* value_option_ = nullptr;
    int** list_option_ = nullptr;
    int* count_option_ = nullptr;
    float** multipliers_option_ = nullptr;
    core::ResultArray<float> solution_;
    core::ResultArray<int> active_;
    core::ResultArray<float> multipliers_;
    ConstrainedOutcome outcome_;
    float* work_ = nullptr;
};

// An unknown code is reported and reading goes on behind it.
void ConstrainedCall::read(core::OptionReader& options)
{
    while (const int code = options.next()) {
        // clang-format off
        switch (code) {
            case ZAVO_ACCURACY:              problem_.accuracy = static_cast<float>(options.take<double>());  break;
            case ZAVO_START_POINT:           start_option_ = options.take<const float*>();                    break;
            case ZAVO_FUNCTION_EVAL_LIMIT:   problem_.eval_limit = options.take<int>();                       break;
            case ZAVO_OBJECTIVE_VALUE:       value_option_ = options.take<float*>();                          break;
            case ZAVO_CON_GRADIENT_FUNCTION: gradient_ = options.take<zavo_gradient_fn>();                    break;
            case ZAVO_RETURN_USER:           solution_.borrow(options.take<float*>());                        break;
            case ZAVO_ACTIVE_LIST:           list_option_ = options.take<int**>();                            break;
            case ZAVO_ACTIVE_LIST_USER:      active_.borrow(options.take<int*>());                            break;
            case ZAVO_ACTIVE_COUNT:          count_option_ = options.take<int*>();                            break;
            case ZAVO_MULTIPLIERS:           multipliers_option_ = options.take<float**>();                   break;
            case ZAVO_MULTIPLIERS_USER:      multipliers_.borrow(options.take<float*>());                     break;
            default:                         options.complain(code);                                          break;
        }
        // clang-format on
    }
}

// The start point: the caller's, or zeros.
bool ConstrainedCall::take_start(std::size_t n)
{
    problem_.start = start_option_;
    if (problem_.start == nullptr) {
        float* const zeros = core::take_work<float>(n);
        if (zeros != nullptr) {
            std::fill_n(zeros, n, 0.0F);
        }
        problem_.start = zeros;
    }
    return problem_.start != nullptr;
}

bool ConstrainedCall::take_blocks()
{
    const auto n = static_cast<std::size_t>(problem_.nvar);
    const auto m = static_cast<std::size_t>(problem_.ncon);
    const bool countable = n <= static_cast<std::size_t>(-1) / 2 / (n + 11);
    work_ = countable ? core::take_work<float>(n * (n + 11) + m) : nullptr;
    if (work_ == nullptr || !take_start(n) || (multipliers_.get() == nullptr && !multipliers_.allocate(n)) ||
        (active_.get() == nullptr && !active_.allocate(m + 2 * n))) {
        zavo_error_set_string(1, "ncon");
        zavo_error_set_int(1, problem_.ncon);
        zavo_error_set_string(2, "nvar");
        zavo_error_set_int(2, problem_.nvar);
        zavo_error_post(ZAVO_TERMINAL, no_memory_for_arrays);
        return false;
    }
    if (solution_.get() == nullptr && !solution_.allocate(n)) {
        zavo_error_set_string(1, "nvar");
        zavo_error_set_int(1, problem_.nvar);
        zavo_error_post(ZAVO_TERMINAL, no_memory_for_array);
        return false;
    }
    return true;
}

void ConstrainedCall::minimize()
{
    if (core::pending_type() != 0) {
        return;
    }
    if (problem_.nvar < 1) {
        zavo_error_set_int(1, problem_.nvar);
        zavo_error_post(ZAVO_TERMINAL, lincon_variables_below_one);
    } else if (problem_.ncon < 0) {
        zavo_error_set_int(1, problem_.ncon);
        zavo_error_post(ZAVO_TERMINAL, constraints_below_zero);
    } else if (take_blocks()) {
        if (problem_.ncon > 0) {
            M1RAN_F(problem_.ncon, problem_.nvar, a_, a_);
            by_columns_ = true;
        }
        drive();
    }
}

// The arrays go on by columns; whether they have to be turned back is known to
// restore_matrix() also when a fault jumps out of here.
void ConstrainedCall::drive()
{
    const ConstrainedWorkspace work = {work_, solution_.get(), active_.get(), multipliers_.get()};
    if (gradient_ != nullptr) {
        ConstrainedUserGradient gradient = {objective_, gradient_};
        outcome_ = minimize_constrained(gradient, problem_, work);
    } else {
        ConstrainedDifferences gradient = {objective_};
        outcome_ = minimize_constrained(gradient, problem_, work);
    }
}

void ConstrainedCall::restore_matrix()
{
    if (by_columns_) {
        M1RAN_F(problem_.nvar, problem_.ncon, a_, a_);
        by_columns_ = false;
    }
}

// Under the trap, since the addresses are the caller's. When the run was no good
// nothing is handed out; pointers asked for are null.
void ConstrainedCall::store_results(bool good)
{
    if (list_option_ != nullptr) {
        *list_option_ = good ? active_.get() : nullptr;
    }
    if (multipliers_option_ != nullptr) {
        *multipliers_option_ = good ? multipliers_.get() : nullptr;
    }
    if (good && value_option_ != nullptr) {
        *value_option_ = outcome_.f;
    }
    if (good && count_option_ != nullptr) {
        *count_option_ = outcome_.active_count;
    }
}

// What has been stored at an address is the caller's.
float* ConstrainedCall::hand_over()
{
    if (list_option_ != nullptr) {
        active_.hand_over();
    }
    if (multipliers_option_ != nullptr) {
        multipliers_.hand_over();
    }
    return solution_.hand_over();
}

} // namespace

} // namespace zavo::minimize

// Outside the namespace, where the declaration of zavo.h is the one that it completes,
// visibility included.
extern "C" float* zavo_f_min_con_gen_lin(zavo_constrained_objective_fn fcn, int nvar, int ncon, int neq,
                                         float* a, const float* b, const float* xlb, const float* xub, ...)
{
    std::va_list list;
    va_start(list, xub);
    zavo::core::OptionReader options{list, 9};
    va_end(list);
    zavo::minimize::ConstrainedCall call{fcn, nvar, ncon, neq, a, b, xlb, xub};
    zavo::core::EntryFrame frame{"zavo_f_min_con_gen_lin"};
    const bool finished = frame.run(
        [&] {
            call.read(options);
            call.minimize();
        },
        zavo::core::Trapping::with_own_stack);
    call.restore_matrix();
    const bool good = finished && !frame.terminated();
    if (frame.run([&] { call.store_results(good); }) && good) {
        return call.hand_over();
    }
    // Some may stand at addresses before the one that faulted.
    frame.run([&] { call.store_results(false); });
    return nullptr;
}

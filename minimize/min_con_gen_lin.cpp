// Linearly constrained minimisation: drivers under their fixed names and the
// public routine.
#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"
#include "core/frame/entry_frame.hpp"
#include "core/frame/option_reader.hpp"
#include "core/kernels/vector_kernels.h"
#include "core/system/memory.hpp"
#include "minimize/lincon.hpp"
#include "minimize/minimize.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstddef>

namespace zavo::minimize {
namespace {

using namespace core::code;

void post_one(ErrorCode code, int value)
{
    zavo_error_set_int(1, value);
    zavo_error_post(ZAVO_TERMINAL, code);
}

// ---- Drivers --------------------------------------------------------------------

// What a driver is called with, scalars as values. Shapes: a ncon x nvar by
// columns, leading dimension lda; b ncon; xlb, xub, start, x, multipliers nvar;
// active ncon + 2 nvar; work nvar^2 + 11 nvar + ncon.
struct DriverCall {
    int nvar, ncon, neq;
    const float* a;
    int lda;
    const float* b;
    const float* xlb;
    const float* xub;
    const float* start;
    float accuracy;
    int eval_limit;
    float* x;
    float* fvalue;
    int* active_count;
    int* active;
    float* multipliers;
    int* status;
    float* work;
};

// The checks of the counts, which one twin posts and the other leaves to the
// public routine.
template <class Gradient>
void check_counts(const DriverCall& call)
{
    if (call.nvar < 1) {
        zavo_error_set_int(1, call.nvar);
        if (Gradient::posts_counts) {
            zavo_error_post(ZAVO_TERMINAL, lincon_variables_below_one);
        }
    }
    if (call.ncon < 0) {
        zavo_error_set_int(1, call.ncon);
        if (Gradient::posts_counts) {
            zavo_error_post(ZAVO_TERMINAL, constraints_below_zero);
        }
    }
}

// True when bounds cross, which has been posted then.
bool bounds_crossed(const DriverCall& call)
{
    for (int i = 0; i < call.nvar; ++i) {
        if (call.xlb[i] > call.xub[i]) {
            zavo_error_set_int(1, i + 1);
            zavo_error_set_real(1, call.xlb[i]);
            zavo_error_set_real(2, call.xub[i]);
            zavo_error_post(ZAVO_TERMINAL, bounds_cross);
            return true;
        }
    }
    return false;
}

// Posts the first fault found.
template <class Gradient>
void check(const DriverCall& call)
{
    check_counts<Gradient>(call);
    if (core::pending_type() != 0) {
        return;
    }
    if (call.neq < 0) {
        post_one(equalities_below_zero, call.neq);
    } else if (call.neq > call.ncon) {
        zavo_error_set_int(2, call.ncon);
        post_one(equalities_above_constraints, call.neq);
    } else if (!(call.accuracy >= 0.0F)) {
        zavo_error_set_real(1, call.accuracy);
        zavo_error_post(ZAVO_TERMINAL, bad_accuracy);
    } else if (!bounds_crossed(call) && call.eval_limit < 1) {
        post_one(bad_evaluation_limit, call.eval_limit);
    }
}

// How a run ended and what is posted for it. Types 1 and 4 leave the caller the
// best point reached. The ninth status has a code for each driver.
struct StatusRow {
    int status;
    int type;
    ErrorCode code;
};

// clang-format off
constexpr StatusRow status_table[] = {
    {converged,         ZAVO_NOTE,  accuracy_reached},
    {no_descent,        ZAVO_NOTE,  no_downhill},
    {no_reduction,      ZAVO_NOTE,  no_further_reduction},
    {equalities_clash,  ZAVO_FATAL, equalities_inconsistent},
    {bounds_clash,      ZAVO_FATAL, bounds_inconsistent},
    {constraints_clash, ZAVO_FATAL, constraints_inconsistent},
    {limit_used,        ZAVO_FATAL, evaluation_limit_reached},
};
// clang-format on

void report(int status, int eval_limit, ErrorCode all_fixed_code)
{
    if (status == all_fixed) {
        zavo_error_post(ZAVO_FATAL, all_fixed_code);
    }
    for (const StatusRow& row : status_table) {
        if (row.status == status) {
            if (status == limit_used) {
                zavo_error_set_int(1, eval_limit);
            }
            zavo_error_post(row.type, row.code);
        }
    }
}

template <class Gradient>
void drive(Gradient gradient, const DriverCall& call)
{
    zavo_error_push(Gradient::name);
    check<Gradient>(call);
    if (core::pending_type() == 0) {
        *call.status = 0;
        if (std::max({1 - call.nvar, -call.ncon, call.neq * (call.neq - call.ncon)}) > 0) {
            zavo_error_set_int(1, call.ncon);
            zavo_error_set_int(2, call.neq);
            zavo_error_set_int(3, call.nvar);
            zavo_error_post(ZAVO_TERMINAL, lincon_bad_counts);
        } else {
            if (call.start != call.x) {
                l_vcopy(call.nvar, call.start, 1, call.x, 1);
            }
            const Constraints constraints(call.nvar, call.ncon, call.a, call.lda, call.b, call.xlb, call.xub);
            LinearlyConstrained<Gradient> run(gradient, constraints, call.neq, call.accuracy, call.eval_limit,
                                              call.x, call.work, call.active, call.multipliers);
            *call.status = run.run();
            *call.fvalue = run.value();
            *call.active_count = run.active();
            report(*call.status, call.eval_limit, Gradient::all_fixed_code);
        }
    }
    zavo_error_pop(Gradient::name);
}

} // namespace

extern "C" {

void L2ONF(zavo_constrained_objective_fn fcn, const int* nvar, const int* ncon, const int* neq,
           const float* a, const int* lda, const float* b, const float* xlb, const float* xub,
           const float* start, const float* accuracy, const int* eval_limit, float* x, float* fvalue,
           int* active_count, int* active, float* multipliers, const int*, int* status, float* work)
{
    drive(LinconDifferences{fcn}, {*nvar, *ncon, *neq, a, *lda, b, xlb, xub, start, *accuracy, *eval_limit, x,
                                   fvalue, active_count, active, multipliers, status, work});
}

void L2ONG(zavo_constrained_objective_fn fcn, zavo_gradient_fn gradient, const int* nvar, const int* ncon,
           const int* neq, const float* a, const int* lda, const float* b, const float* xlb, const float* xub,
           const float* start, const float* accuracy, const int* eval_limit, float* x, float* fvalue,
           int* active_count, int* active, float* multipliers, const int*, int* status, float* work)
{
    drive(LinconUserGradient{fcn, gradient},
          {*nvar, *ncon, *neq, a, *lda, b, xlb, xub, start, *accuracy, *eval_limit, x, fvalue, active_count,
           active, multipliers, status, work});
}

} // extern "C"

// ---- The public routine ---------------------------------------------------------

namespace {

// One call: its arguments, options and results. Lives outside the fault trap.
class ConstrainedCall {
public:
    ConstrainedCall(zavo_constrained_objective_fn fcn, int nvar, int ncon, int neq, float* a, const float* b,
                    const float* xlb, const float* xub)
        : fcn_(fcn), nvar_(nvar), ncon_(ncon), neq_(neq), a_(a), b_(b), xlb_(xlb), xub_(xub)
    {
    }

    void read(core::OptionReader& options);
    void minimize();
    // Back to rows, also when a fault has ended the run. Outside the trap: the
    // matrix was read and written before, so it cannot fault.
    void restore_matrix();
    float* hand_over();

private:
    bool take_start(std::size_t n);
    bool take_blocks();
    void drive();

    zavo_constrained_objective_fn fcn_;
    zavo_gradient_fn gradient_ = nullptr;
    int nvar_;
    int ncon_;
    int neq_;
    float* a_;
    const float* b_;
    const float* xlb_;
    const float* xub_;
    bool by_columns_ = false;
    float accuracy_ = std::sqrt(zavo_amach(4));
    int eval_limit_ = 400;
    const float* start_option_ = nullptr;
    float* value_option_ = nullptr;
    int** list_option_ = nullptr;
    int* count_option_ = nullptr;
    float** multipliers_option_ = nullptr;
    core::ResultArray<float> solution_;
    core::ResultArray<int> active_;
    core::ResultArray<float> multipliers_;
    float value_ = 0.0F;
    int active_count_ = 0;
    int status_ = 0;
    float* work_ = nullptr;
    const float* start_ = nullptr;
};

// An unknown code is reported and reading goes on behind it.
void ConstrainedCall::read(core::OptionReader& options)
{
    while (const int code = options.next()) {
        // clang-format off
        switch (code) {
            case ZAVO_ACCURACY:              accuracy_ = static_cast<float>(options.take<double>());  break;
            case ZAVO_START_POINT:           start_option_ = options.take<const float*>();            break;
            case ZAVO_FUNCTION_EVAL_LIMIT:   eval_limit_ = options.take<int>();                       break;
            case ZAVO_OBJECTIVE_VALUE:       value_option_ = options.take<float*>();                  break;
            case ZAVO_CON_GRADIENT_FUNCTION: gradient_ = options.take<zavo_gradient_fn>();            break;
            case ZAVO_RETURN_USER:           solution_.borrow(options.take<float*>());                break;
            case ZAVO_ACTIVE_LIST:           list_option_ = options.take<int**>();                    break;
            case ZAVO_ACTIVE_LIST_USER:      active_.borrow(options.take<int*>());                    break;
            case ZAVO_ACTIVE_COUNT:          count_option_ = options.take<int*>();                    break;
            case ZAVO_MULTIPLIERS:           multipliers_option_ = options.take<float**>();           break;
            case ZAVO_MULTIPLIERS_USER:      multipliers_.borrow(options.take<float*>());             break;
            default:                         options.complain(code);                                  break;
        }
        // clang-format on
    }
}

// The start point: the caller's, or zeros.
bool ConstrainedCall::take_start(std::size_t n)
{
    start_ = start_option_;
    if (start_ == nullptr) {
        float* const zeros = core::take_work<float>(n);
        if (zeros != nullptr) {
            std::fill_n(zeros, n, 0.0F);
        }
        start_ = zeros;
    }
    return start_ != nullptr;
}

bool ConstrainedCall::take_blocks()
{
    const auto n = static_cast<std::size_t>(nvar_);
    const auto m = static_cast<std::size_t>(ncon_);
    const bool countable = n <= static_cast<std::size_t>(-1) / 2 / (n + 11);
    work_ = countable ? core::take_work<float>(n * (n + 11) + m) : nullptr;
    if (work_ == nullptr || !take_start(n) || (multipliers_.get() == nullptr && !multipliers_.allocate(n)) ||
        (active_.get() == nullptr && !active_.allocate(m + 2 * n))) {
        zavo_error_set_string(1, "ncon");
        zavo_error_set_int(1, ncon_);
        zavo_error_set_string(2, "nvar");
        zavo_error_set_int(2, nvar_);
        zavo_error_post(ZAVO_TERMINAL, no_memory_for_arrays);
        return false;
    }
    if (solution_.get() == nullptr && !solution_.allocate(n)) {
        zavo_error_set_string(1, "nvar");
        zavo_error_set_int(1, nvar_);
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
    if (nvar_ < 1) {
        post_one(lincon_variables_below_one, nvar_);
    } else if (ncon_ < 0) {
        post_one(constraints_below_zero, ncon_);
    } else if (take_blocks()) {
        if (ncon_ > 0) {
            M1RAN_F(ncon_, nvar_, a_, a_);
            by_columns_ = true;
        }
        drive();
    }
}

// The arrays go on by columns; whether they have to be turned back is known to
// restore_matrix() also when a fault jumps out of here.
void ConstrainedCall::drive()
{
    const int report_interval = 0;
    if (gradient_ != nullptr) {
        L2ONG(fcn_, gradient_, &nvar_, &ncon_, &neq_, a_, &ncon_, b_, xlb_, xub_, start_, &accuracy_,
              &eval_limit_, solution_.get(), &value_, &active_count_, active_.get(), multipliers_.get(),
              &report_interval, &status_, work_);
    } else {
        L2ONF(fcn_, &nvar_, &ncon_, &neq_, a_, &ncon_, b_, xlb_, xub_, start_, &accuracy_, &eval_limit_,
              solution_.get(), &value_, &active_count_, active_.get(), multipliers_.get(), &report_interval,
              &status_, work_);
    }
}

void ConstrainedCall::restore_matrix()
{
    if (by_columns_) {
        M1RAN_F(nvar_, ncon_, a_, a_);
        by_columns_ = false;
    }
}

// After an error of type 5 nothing is handed out; pointers asked for are null.
float* ConstrainedCall::hand_over()
{
    const bool failed = core::pending_type() == ZAVO_TERMINAL;
    if (list_option_ != nullptr) {
        *list_option_ = failed ? nullptr : active_.hand_over();
    }
    if (multipliers_option_ != nullptr) {
        *multipliers_option_ = failed ? nullptr : multipliers_.hand_over();
    }
    if (failed) {
        return nullptr;
    }
    if (value_option_ != nullptr) {
        *value_option_ = value_;
    }
    if (count_option_ != nullptr) {
        *count_option_ = active_count_;
    }
    return solution_.hand_over();
}

} // namespace

extern "C" float* zavo_f_min_con_gen_lin(zavo_constrained_objective_fn fcn, int nvar, int ncon, int neq,
                                         float* a, const float* b, const float* xlb, const float* xub, ...)
{
    std::va_list list;
    va_start(list, xub);
    core::OptionReader options{list, 9};
    va_end(list);
    ConstrainedCall call{fcn, nvar, ncon, neq, a, b, xlb, xub};
    core::EntryFrame frame{"zavo_f_min_con_gen_lin"};
    frame.run([&] {
        call.read(options);
        call.minimize();
    });
    call.restore_matrix();
    return call.hand_over();
}

} // namespace zavo::minimize

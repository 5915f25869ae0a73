// The driver of the linearly constrained minimiser: checks, run, report.
#include "minimize/constrained/lincon.hpp"

#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"
#include "core/kernels/vector_kernels.h"

#include <algorithm>
#include <cassert>

namespace zavo::minimize {
namespace {

using namespace core::code;

void post_one(ErrorCode code, int value)
{
    zavo_error_set_int(1, value);
    zavo_error_post(ZAVO_TERMINAL, code);
}

// The checks of the counts, which one twin posts and the other leaves to the
// public routine.
template <class Gradient>
void check_counts(const ConstrainedProblem& problem)
{
    if (problem.nvar < 1) {
        zavo_error_set_int(1, problem.nvar);
        if (Gradient::posts_counts) {
            zavo_error_post(ZAVO_TERMINAL, lincon_variables_below_one);
        }
    }
    if (problem.ncon < 0) {
        zavo_error_set_int(1, problem.ncon);
        if (Gradient::posts_counts) {
            zavo_error_post(ZAVO_TERMINAL, constraints_below_zero);
        }
    }
}

// True when bounds cross, which has been posted then.
bool bounds_crossed(const ConstrainedProblem& problem)
{
    for (int i = 0; i < problem.nvar; ++i) {
        if (problem.xlb[i] > problem.xub[i]) {
            zavo_error_set_int(1, i + 1);
            zavo_error_set_real(1, problem.xlb[i]);
            zavo_error_set_real(2, problem.xub[i]);
            zavo_error_post(ZAVO_TERMINAL, bounds_cross);
            return true;
        }
    }
    return false;
}

// Posts the first fault found.
template <class Gradient>
void check(const ConstrainedProblem& problem)
{
    check_counts<Gradient>(problem);
    if (core::pending_type() != 0) {
        return;
    }
    if (problem.neq < 0) {
        post_one(equalities_below_zero, problem.neq);
    } else if (problem.neq > problem.ncon) {
        zavo_error_set_int(2, problem.ncon);
        post_one(equalities_above_constraints, problem.neq);
    } else if (!(problem.accuracy >= 0.0F)) {
        zavo_error_set_real(1, problem.accuracy);
        zavo_error_post(ZAVO_TERMINAL, bad_accuracy);
    } else if (!bounds_crossed(problem) && problem.eval_limit < 1) {
        post_one(bad_evaluation_limit, problem.eval_limit);
    }
    if (core::pending_type() == 0 &&
        std::max({1 - problem.nvar, -problem.ncon, problem.neq * (problem.neq - problem.ncon)}) > 0) {
        zavo_error_set_int(1, problem.ncon);
        zavo_error_set_int(2, problem.neq);
        zavo_error_set_int(3, problem.nvar);
        zavo_error_post(ZAVO_TERMINAL, lincon_bad_counts);
    }
}

// What is posted for a status. Types 1 and 4 leave the caller the best point
// reached. The code of all_fixed, which is not among them, is the driver's own.
struct StatusRow {
    Status status;
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

void report(Status status, int eval_limit, ErrorCode all_fixed_code)
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

} // namespace

template <class Gradient>
ConstrainedOutcome minimize_constrained(Gradient& gradient, const ConstrainedProblem& problem,
                                        const ConstrainedWorkspace& work)
{
    zavo_error_push(Gradient::name);
    ConstrainedOutcome outcome;
    check<Gradient>(problem);
    if (core::pending_type() == 0) {
        assert(problem.lda >= problem.ncon && work.block != nullptr && work.x != nullptr);
        if (problem.start != work.x) {
            l_vcopy(problem.nvar, problem.start, 1, work.x, 1);
        }
        const Constraints constraints(problem.nvar, problem.ncon, problem.a, problem.lda, problem.b,
                                      problem.xlb, problem.xub);
        outcome = LinearlyConstrained<Gradient>(gradient, constraints, problem, work).run();
        report(outcome.status, problem.eval_limit, Gradient::all_fixed_code);
    }
    zavo_error_pop(Gradient::name);
    return outcome;
}

template ConstrainedOutcome minimize_constrained(ConstrainedDifferences&, const ConstrainedProblem&,
                                                 const ConstrainedWorkspace&);
template ConstrainedOutcome minimize_constrained(ConstrainedUserGradient&, const ConstrainedProblem&,
                                                 const ConstrainedWorkspace&);

} // namespace zavo::minimize

// A minimisation as a value; see run.h.
#include "minimize/run/run.h"

#include "core/catalogue/catalogue.hpp"
#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"
#include "core/errors/error_state.hpp"
#include "core/system/float_control.hpp"
#include "minimize/run/constrained_run.hpp"
#include "minimize/run/free_run.hpp"

#include <cassert>
#include <cstring>

namespace zavo::minimize {
namespace {

// The text of the catalogue, with the parameters that the run has set; nothing is
// posted.
void write_message(zavo_run_outcome& outcome)
{
    outcome.message[0] = '\0';
    if (outcome.code == 0) {
        return;
    }
    core::TextBuffer text;
    core::expand_message(core::catalogue_message(outcome.code), text);
    if (text.out_of_memory()) { // an outcome whose words are missing is none
        outcome.status = ZAVO_RUN_NO_MEMORY;
        outcome.code = 0;
        return;
    }
    std::strncat(outcome.message, text.c_str(), sizeof outcome.message - 1);
}

bool is_constrained(const zavo_run_problem& problem)
{
    return problem.lower != nullptr || problem.upper != nullptr || problem.rows > 0;
}

} // namespace
} // namespace zavo::minimize

using namespace zavo::minimize;

void zavo_run_minimization(const zavo_run_problem* problem, zavo_run_outcome* outcome)
{
    assert(problem->n >= 1 && 0 <= problem->equalities && problem->equalities <= problem->rows);
    const zavo::platform::FloatControl host = zavo::platform::float_control();
    const zavo::platform::UsualFloatControl usual;
    Evaluations evaluations(*problem, host);
    outcome->code = 0;
    outcome->gradients = 0;
    outcome->iterations = 0;
    outcome->active_count = 0;
    // A level of its own: the marks around user code are set at the top one, and what
    // is posted in the run ends with it.
    zavo_error_push("zavo_run_minimization");
    if (is_constrained(*problem)) {
        run_constrained(*problem, evaluations, *outcome);
    } else {
        run_free(*problem, evaluations, *outcome);
    }
    zavo_e1mes(0, 0, "");
    zavo_error_pop("zavo_run_minimization");
    outcome->evaluations = evaluations.count();
    write_message(*outcome);
}

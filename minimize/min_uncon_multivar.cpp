// Unconstrained minimisation: the named faces of search, iteration and drivers,
// and the public routine.
#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"
#include "core/frame/entry_frame.hpp"
#include "core/frame/option_reader.hpp"
#include "core/kernels/vector_kernels.h"
#include "core/system/memory.hpp"
#include "minimize/controls.hpp"
#include "minimize/line_search.hpp"
#include "minimize/minimize.h"
#include "minimize/quasi_newton.hpp"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstddef>

namespace zavo::minimize {
namespace {

// A search under its own name on the error stack, which a fault in it unwinds.
template <class Gradient>
void search_line(const char* name, Gradient gradient, const SearchPlace& place, int* return_code,
                 int* longest)
{
    zavo_error_push(name);
    LineSearch<Gradient> search(place, gradient);
    *return_code = search.run();
    *longest = search.longest() ? 1 : 0;
    zavo_error_pop(name);
}

// 10^-digits, but at least eps: the relative noise of the function values.
float noise_of(int digits)
{
    double power = 1.0; // exact up to 10^22, far beyond what eps lets through
    for (int i = 0; i < digits && power < 1e20; ++i) {
        power *= 10.0;
    }
    return l_fmax(static_cast<float>(1.0 / power), zavo_amach(4));
}

// make_gradient(noise) gives the source once the controls have been checked.
template <class Gradient, class MakeGradient>
void iterate(MakeGradient make_gradient, int n, float* x, float* xscale, float* fscale, int* integers,
             float* reals, float* fvalue, float* work)
{
    zavo_error_push(Gradient::iteration_name);
    const int has_hessian = 0;
    U5INF(&n, x, xscale, fscale, &has_hessian, integers, reals);
    if (zavo_error_type(0) != ZAVO_TERMINAL) {
        const float noise = noise_of(integers[good_digits]);
        *fvalue =
            QuasiNewton<Gradient>(make_gradient(noise), n, x, xscale, fscale, integers, reals, work).run();
    }
    zavo_error_pop(Gradient::iteration_name);
}

// The two control arrays as a driver assembles them.
struct Controls {
    int integers[integer_control_count];
    float reals[real_control_count];
};

Controls assemble(float gradient_tolerance, float step_tolerance, float relative_tolerance, float limit,
                  int digits, int iterations, int evals, int gradients, int hessian)
{
    return {{1, digits, iterations, evals, gradients, hessian, 100},
            {gradient_tolerance, step_tolerance, relative_tolerance, default_function_tolerance(),
             100.0F * zavo_amach(4), limit, compute}};
}

void copy_start(int n, const float* start, float* x)
{
    if (start != x) {
        l_vcopy(n, start, 1, x, 1);
    }
}

} // namespace

extern "C" {

void U17NF(zavo_objective_fn fcn, const int* n, float* x, const float* f, const float* g, float* p,
           const float* xscale, const float* limit, const float* reals, const float* noise,
           const int* central, float* x_new, float* f_new, float* g_new, float* spare, int* eval_count,
           int* gradient_count, int* return_code, int* longest)
{
    search_line(
        "U17NF", DifferenceGradient{fcn, *noise, *central != 0},
        {*n, x, *f, g, p, xscale, *limit, reals, x_new, f_new, g_new, spare, eval_count, gradient_count},
        return_code, longest);
}

void U17NG(zavo_objective_fn fcn, zavo_gradient_fn gradient, const int* n, float* x, const float* f,
           const float* g, float* p, const float* xscale, const float* limit, const float* reals,
           float* x_new, float* f_new, float* g_new, float* spare, int* eval_count, int* gradient_count,
           int* return_code, int* longest)
{
    search_line(
        "U17NG", UserGradient{fcn, gradient, 0.0F},
        {*n, x, *f, g, p, xscale, *limit, reals, x_new, f_new, g_new, spare, eval_count, gradient_count},
        return_code, longest);
}

void U3INF(zavo_objective_fn fcn, const int* n, float* x, float* xscale, float* fscale, int* integers,
           float* reals, float* fvalue, float* work)
{
    const auto gradient = [fcn](float noise) { return DifferenceGradient{fcn, noise}; };
    iterate<DifferenceGradient>(gradient, *n, x, xscale, fscale, integers, reals, fvalue, work);
}

void U3ING(zavo_objective_fn fcn, zavo_gradient_fn gradient, const int* n, float* x, float* xscale,
           float* fscale, int* integers, float* reals, float* fvalue, float* work)
{
    const auto source = [fcn, gradient](float noise) { return UserGradient{fcn, gradient, noise}; };
    iterate<UserGradient>(source, *n, x, xscale, fscale, integers, reals, fvalue, work);
}

void U2INF(zavo_objective_fn fcn, const int* n, const float* start, float* xscale, const float* fscale,
           const float* gradient_tolerance, const float* step_tolerance, const float* relative_tolerance,
           const float* limit, const int* digits, const int* iterations, const int* evals,
           const int* gradients, const int* hessian, float* x, float* fvalue, float* work)
{
    zavo_error_push("U2INF");
    Controls controls = assemble(*gradient_tolerance, *step_tolerance, *relative_tolerance, *limit, *digits,
                                 *iterations, *evals, *gradients, *hessian);
    float f_size = *fscale;
    copy_start(*n, start, x);
    U3INF(fcn, n, x, xscale, &f_size, controls.integers, controls.reals, fvalue, work);
    zavo_error_pop("U2INF");
}

void U2ING(zavo_objective_fn fcn, zavo_gradient_fn gradient, const int* n, const float* start, float* xscale,
           const float* fscale, const float* gradient_tolerance, const float* step_tolerance,
           const float* relative_tolerance, const float* limit, const int* digits, const int* iterations,
           const int* evals, const int* gradients, const int* hessian, float* x, float* fvalue, float* work)
{
    zavo_error_push("U2ING");
    Controls controls = assemble(*gradient_tolerance, *step_tolerance, *relative_tolerance, *limit, *digits,
                                 *iterations, *evals, *gradients, *hessian);
    float f_size = *fscale;
    copy_start(*n, start, x);
    U3ING(fcn, gradient, n, x, xscale, &f_size, controls.integers, controls.reals, fvalue, work);
    zavo_error_pop("U2ING");
}

} // extern "C"

// ---- The public routine ---------------------------------------------------------

namespace {

// One call: its arguments, options and result. Lives outside the fault trap.
class UnconstrainedCall {
public:
    UnconstrainedCall(zavo_objective_fn fcn, int n) : fcn_(fcn), n_(n) {}

    void read(core::OptionReader& options);
    void minimize();
    float* hand_over() { return core::pending_type() == ZAVO_TERMINAL ? nullptr : solution_.hand_over(); }

private:
    bool take_blocks();
    float* filled_block(const char* name, const float* values, float otherwise);
    bool no_memory(const char* block) const;

    zavo_objective_fn fcn_;
    zavo_gradient_fn gradient_ = nullptr;
    int n_;
    const float* start_option_ = nullptr;
    const float* scale_option_ = nullptr;
    float fscale_ = 1.0F;
    float gradient_tol_ = std::sqrt(zavo_amach(4));
    float step_tol_ = eps_two_thirds();
    float relative_tol_ = default_function_tolerance();
    float step_limit_ = compute;
    int good_digits_ = static_cast<int>(-std::log10(static_cast<double>(zavo_amach(4))) + 0.1);
    int iteration_limit_ = 100;
    int eval_limit_ = 400;
    int gradient_limit_ = 400;
    int hessian_start_ = 0;
    float* value_option_ = nullptr;
    core::ResultArray<float> solution_;
    float value_ = 0.0F;
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
            case ZAVO_START_POINT:             start_option_ = options.take<const float*>();  break;
            case ZAVO_FUNCTION_EVAL_LIMIT:     eval_limit_ = options.take<int>();              break;
            case ZAVO_GRADIENT_FUNCTION:       gradient_ = options.take<zavo_gradient_fn>();   break;
            case ZAVO_VARIABLE_SCALING:        scale_option_ = options.take<const float*>();   break;
            case ZAVO_FUNCTION_SCALE:          fscale_ = real();                               break;
            case ZAVO_GRADIENT_TOLERANCE:      gradient_tol_ = real();                         break;
            case ZAVO_STEP_TOLERANCE:          step_tol_ = real();                             break;
            case ZAVO_RELATIVE_TOLERANCE:      relative_tol_ = real();                         break;
            case ZAVO_STEP_LIMIT:              step_limit_ = real();                           break;
            case ZAVO_GOOD_DIGITS:             good_digits_ = options.take<int>();             break;
            case ZAVO_ITERATION_LIMIT:         iteration_limit_ = options.take<int>();         break;
            case ZAVO_GRADIENT_EVAL_LIMIT:     gradient_limit_ = options.take<int>();          break;
            case ZAVO_HESSIAN_START:           hessian_start_ = options.take<int>();           break;
            case ZAVO_RESULT_VALUE:            value_option_ = options.take<float*>();         break;
            case ZAVO_RETURN_USER:             solution_.borrow(options.take<float*>());       break;
            case ZAVO_FUNCTION_SCALE_ADR:      fscale_ = real_at();                            break;
            case ZAVO_GRADIENT_TOLERANCE_ADR:  gradient_tol_ = real_at();                      break;
            case ZAVO_STEP_TOLERANCE_ADR:      step_tol_ = real_at();                          break;
            case ZAVO_RELATIVE_TOLERANCE_ADR:  relative_tol_ = real_at();                      break;
            case ZAVO_STEP_LIMIT_ADR:          step_limit_ = real_at();                        break;
            default:                           options.complain(code);                         break;
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
    if (gradient_ != nullptr) {
        U2ING(fcn_, gradient_, &n_, start_, xscale_, &fscale_, &gradient_tol_, &step_tol_, &relative_tol_,
              &step_limit_, &good_digits_, &iteration_limit_, &eval_limit_, &gradient_limit_, &hessian_start_,
              solution_.get(), &value_, work_);
    } else {
        U2INF(fcn_, &n_, start_, xscale_, &fscale_, &gradient_tol_, &step_tol_, &relative_tol_, &step_limit_,
              &good_digits_, &iteration_limit_, &eval_limit_, &gradient_limit_, &hessian_start_,
              solution_.get(), &value_, work_);
    }
    if (value_option_ != nullptr) {
        *value_option_ = value_;
    }
}

} // namespace

extern "C" float* zavo_f_min_uncon_multivar(zavo_objective_fn fcn, int n, ...)
{
    std::va_list list;
    va_start(list, n);
    core::OptionReader options{list, 3};
    va_end(list);
    UnconstrainedCall call{fcn, n};
    core::EntryFrame frame{"zavo_f_min_uncon_multivar"};
    frame.run([&] {
        call.read(options);
        call.minimize();
    });
    return call.hand_over();
}

} // namespace zavo::minimize

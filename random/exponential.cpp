// Standard exponential deviates by inversion: -ln u, one uniform deviate each.

#include "core/frame/entry_frame.hpp"
#include "random/deliver.hpp"
#include "random/exact_log.hpp"
#include "random/kernels.hpp"
#include "random/random.h"

#include <cstddef>

using namespace zavo::random;

float l_minus_log(float u)
{
    return static_cast<float>(-exact_log(u));
}

void l_rnexp(int n, float* r)
{
    if (n < 1) {
        // Kept: pushed with two blanks, popped without. The pop reports the
        // mismatch, which stops the process; no public routine comes here
        // (random_exponential_death_test.worker_stops_the_process_for_a_count_below_1).
        int argument_no = 0;
        zavo_error_push("l_rnexp  ");
        zavo_arg_check_range(n, "n_random", 1, 0, &argument_no);
        zavo_error_pop("l_rnexp");
        return;
    }
    in_blocks(n, r, [](int count, float* block) {
        zavo_f_random_uniform(count, ZAVO_RETURN_USER, block, 0);
        kernels().minus_log(static_cast<std::size_t>(count), block);
    });
}

void zavo_random_exponentials(int n, float* r)
{
    draw_batch(n, [=] {
        in_blocks(n, r, [](int count, float* block) {
            zavo_rnun(count, block);
            for (float* u = block; u != block + count; ++u) {
                *u = *u < greatest_inside ? (*u > least_inside ? *u : least_inside) : greatest_inside;
            }
            kernels().minus_log(static_cast<std::size_t>(count), block);
        });
    });
}

float* zavo_f_random_exponential(int n, ...)
{
    std::va_list list;
    va_start(list, n);
    float* const result = deliver_deviates("zavo_f_random_exponential", n, list,
                                           [](int count, float* r, bool) { l_rnexp(count, r); });
    va_end(list);
    return result;
}

// The table of the library's routines that Zavo_Init hands out.
#include "ext/engine.h"

#include "constants/units.h"
#include "core/kernels/elementary.hpp"
#include "core/simd/path.hpp"
#include "core/system/memory.hpp"
#include "ext/conventions.hpp"
#include "fft/complex_fft.h"
#include "fft/real_fft.h"
#include "random/random.h"

const zavo_engine zavo_engine_table = {
    .version = ZAVO_ENGINE_VERSION,
    .size = sizeof(zavo_engine),

    .error_forget = zavo::ext::forget_last_error,
    .error_failed = zavo::ext::failure_seen,
    .error_last = zavo::ext::describe_last_error,
    .error_options = zavo_error_options,
    .error_type = zavo_error_type,
    .error_code = zavo_error_code,
    .error_hook = zavo_error_hook,

    .f_machine = zavo_f_machine,
    .dmach = zavo_dmach,

    .f_random_uniform = zavo_f_random_uniform,
    .f_random_normal = zavo_f_random_normal,
    .f_random_exponential = zavo_f_random_exponential,
    .f_normal_inverse_cdf = zavo_f_normal_inverse_cdf,
    .random_seed_set = zavo_random_seed_set,
    .random_seed_get = zavo_random_seed_get,
    .random_option = zavo_random_option,
    .rnses = zavo_rnses,

    .f_fft_real = zavo_f_fft_real,
    .f_fft_real_init = zavo_f_fft_real_init,
    .c_fft_complex = zavo_c_fft_complex,
    .c_fft_complex_init = zavo_c_fft_complex_init,
    .c_fft_2d_complex = zavo_c_fft_2d_complex,
    .f_convolution = zavo_f_convolution,

    .f_constant = zavo_f_constant,
    .date_to_days = zavo_date_to_days,
    .days_to_date = zavo_days_to_date,

    .f_min_uncon_multivar = zavo_f_min_uncon_multivar,
    .f_min_con_gen_lin = zavo_f_min_con_gen_lin,

    .allocate = zavo::core::allocate,
    .release = zavo::core::release,

    .sin = zavo::core::elementary::sin,
    .cos = zavo::core::elementary::cos,

    .random_option_get = zavo_random_option_get,
    .random_state_get = zavo_random_state_get,
    .random_state_set = zavo_random_state_set,
    .random_jump = zavo_random_jump,
    .random_uniforms = zavo_rnun,
    .random_normals = zavo_random_normals,
    .random_exponentials = zavo_random_exponentials,

    .fft_real_forward = l_f2trf,
    .fft_real_backward = l_f2trb,
    .fft_complex_forward = l_f2tcf,
    .fft_complex_backward = l_f2tcb,

    .unit_conversion = zavo_unit_conversion,
    .constant_name = zavo_constant_name,
    .unit_name = zavo_unit_name,

    .minimize_run = zavo_run_minimization,

    .path_in_use = [] { return static_cast<int>(zavo::simd::path_in_use()); },

    .long_work_begin = zavo::ext::begin_long_work,
    .long_work_ended = zavo::ext::long_work_ended,
    .long_work_end = zavo::ext::end_long_work,
};

// Commands whose routines are not part of this build yet. A folder that has
// its command replaces the one here.

#include "core/zavo.h"
#include "ext/conventions.hpp"

namespace zavo::ext {

#define PENDING(procedure)                                                                                   \
    [[gnu::weak]] int procedure(ClientData, Tcl_Interp* interp, int, const char* argv[])                     \
    {                                                                                                        \
        return fail(interp, argv[0], ": not yet available");                                                 \
    }

PENDING(constant_command)
PENDING(i_machine_command)
PENDING(f_machine_command)
PENDING(date_to_days_command)
PENDING(days_to_date_command)
PENDING(random_command)
PENDING(fft_real_command)
PENDING(fft_2d_complex_command)
PENDING(convolution_command)
PENDING(min_uncon_multivar_command)
PENDING(min_con_gen_lin_command)

} // namespace zavo::ext

extern "C" [[gnu::weak]] void zavo_random_seed_set(int) {}

// The real transform: public routine, table routine, workers.
//
// Packed spectrum of n values: the term of frequency zero, then the real and
// imaginary parts of the frequencies 1 .. (n - 1) / 2, then for even n the real
// Nyquist term. {1, 2, 3, 4} gives {10, -2, 2, -2}.

#include "fft/real_fft.h"

#include "core/frame/entry_frame.hpp"
#include "core/system/memory.hpp"
#include "fft/checked.hpp"
#include "fft/tables/factors.hpp"
#include "fft/transform_arguments.hpp"

#include <cstdarg>

namespace code = zavo::core::code;

namespace zavo::fft {

namespace {

// One call of zavo_f_fft_real. Stands outside the fault trap and owns the
// result and the table that the call makes.
class RealFftCall {
public:
    RealFftCall(int n, const float* p) : arguments_{n, p} {}
    RealFftCall(const RealFftCall&) = delete;
    RealFftCall& operator=(const RealFftCall&) = delete;
    ~RealFftCall() { core::release(own_table_); }

    // Kept: a failure releases the result array even when it is the caller's
    // own (real_fft.failure_releases_the_callers_array). A trapped fault does not:
    // it never gets here.
    void run(core::OptionReader& options)
    {
        arguments_.read(options);
        transform();
        if (core::is_failure(core::pending_type())) {
            core::release(arguments_.result);
            arguments_.result = nullptr;
        }
    }

    // The result; null after an error or a fault.
    float* hand_over(bool finished)
    {
        if (!finished && !arguments_.result_given) {
            core::release(arguments_.result);
        }
        return finished ? arguments_.result : nullptr;
    }

private:
    void transform()
    {
        TransformArguments<float>& call = arguments_;
        if (!call.pointers_are_good()) {
            return;
        }
        if (call.n < 1) {
            post_int(code::length_below_one, call.n);
            return;
        }
        if (!call.result_given) {
            call.result =
                static_cast<float*>(core::allocate(static_cast<std::size_t>(call.n), sizeof(float)));
            if (call.result == nullptr) {
                post_no_memory(call.n);
                return;
            }
        }
        if (!call.table_given) {
            call.table = own_table_ = zavo_f_fft_real_init(call.n);
        }
        if (core::pending_type() == 0 && !core::interrupted()) {
            transform_real(call.direction, call.n, call.p, call.result, call.table);
        }
    }

    TransformArguments<float> arguments_;
    float* own_table_ = nullptr;
};

} // namespace

void transform_real_checked(Direction d, int n, const float* p, float* q, float* table)
{
    if (n >= 1) {
        transform_real(d, n, p, q, table);
    } else if (d == Direction::backward) {
        zavo_error_push("l_f2trb");
        post_int(code::length_below_one, n);
        zavo_error_pop("l_f2trb");
    }
}

void build_real_table_checked(int n, float* table)
{
    zavo_error_push("FFTRI ");
    const Index length = n;
    if (length < 1) {
        post_int(code::length_below_one, n);
    } else if (length > 1) {
        build_real_table(length, table + length, table + 2 * length);
    }
    zavo_error_pop("FFTRI ");
}

} // namespace zavo::fft

using namespace zavo;

extern "C" float* zavo_f_fft_real(int n, const float* p, ...)
{
    std::va_list list;
    va_start(list, p);
    core::OptionReader options{list, 3};
    fft::RealFftCall call{n, p};
    core::EntryFrame frame{"zavo_f_fft_real"};
    frame.run([&] { call.run(options); });
    va_end(list);
    return call.hand_over(frame.finished());
}

extern "C" float* zavo_f_fft_real_init(int n)
{
    core::EntryFrame frame{"zavo_f_fft_real_init"};
    if (n < 1) {
        fft::post_int(code::length_below_one, n);
        return nullptr;
    }
    if (n == 1) {
        return nullptr;
    }
    float* const table = fft::new_table(n, 2);
    if (table == nullptr) {
        fft::post_no_memory(n);
        return nullptr;
    }
    fft::build_real_table(n, table + n, table + 2 * static_cast<fft::Index>(n));
    return fft::unless_interrupted(table);
}

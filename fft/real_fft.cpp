// The real transform: public routine, table routine, workers.
//
// Packed spectrum of n values: the term of frequency zero, then the real and
// imaginary parts of the frequencies 1 .. (n - 1) / 2, then for even n the real
// Nyquist term. {1, 2, 3, 4} gives {10, -2, 2, -2}.

#include "fft/real_fft.h"

#include "core/entry_frame.hpp"
#include "core/memory.hpp"
#include "core/option_reader.hpp"
#include "fft/factors.hpp"
#include "fft/posting.hpp"
#include "fft/transforms.hpp"

#include <cstdarg>

namespace code = zavo::core::code;

namespace zavo::fft {

namespace {

// One call of zavo_f_fft_real. Stands outside the fault trap and owns the
// result and the table that the call makes.
class RealFftCall {
public:
    RealFftCall(int n, const float* p) : n_(n), p_(p) {}
    RealFftCall(const RealFftCall&) = delete;
    RealFftCall& operator=(const RealFftCall&) = delete;
    ~RealFftCall() { core::release(own_table_); }

    void read(core::OptionReader& options)
    {
        while (const int option = options.next()) {
            switch (option) {
            case ZAVO_BACKWARD:
                direction_ = Direction::backward;
                break;
            case ZAVO_PARAMS:
                table_given_ = true;
                table_ = const_cast<float*>(options.take<const float*>());
                break;
            case ZAVO_RETURN_USER:
                result_given_ = true;
                result_ = options.take<float*>();
                break;
            default:
                options.reject(option);
                return;
            }
        }
    }

    // Kept: a failure releases the result array even when it is the caller's
    // own (real_fft.failure_releases_the_callers_array). A trapped fault does not:
    // it never gets here.
    void run()
    {
        transform();
        if (core::is_failure(core::pending_type())) {
            core::release(result_);
            result_ = nullptr;
        }
        done_ = true;
    }

    // The result; null after an error or a fault.
    float* hand_over()
    {
        if (!done_ && !result_given_) {
            core::release(result_);
        }
        return done_ ? result_ : nullptr;
    }

private:
    bool arguments_are_good() const
    {
        if (core::pending_type() != 0) {
            return false;
        }
        if (result_given_ && result_ == nullptr) {
            post_null_array("q", "ZAVO_RETURN_USER");
        } else if (table_given_ && table_ == nullptr) {
            post_null_array("params", "ZAVO_PARAMS");
        } else if (p_ == nullptr) {
            post_null_sequence("seq");
        } else if (n_ < 1) {
            post_int(code::length_below_one, n_);
        } else {
            return true;
        }
        return false;
    }

    void transform()
    {
        if (!arguments_are_good()) {
            return;
        }
        if (!result_given_) {
            result_ = static_cast<float*>(core::allocate(static_cast<std::size_t>(n_), sizeof(float)));
            if (result_ == nullptr) {
                post_no_memory(n_);
                return;
            }
        }
        if (!table_given_) {
            table_ = own_table_ = zavo_f_fft_real_init(n_);
        }
        if (core::pending_type() == 0) {
            transform_real(direction_, n_, p_, result_, table_);
        }
    }

    int n_;
    const float* p_;
    Direction direction_ = Direction::forward;
    bool table_given_ = false;
    bool result_given_ = false;
    bool done_ = false;
    float* table_ = nullptr;
    float* own_table_ = nullptr;
    float* result_ = nullptr;
};

} // namespace

} // namespace zavo::fft

using namespace zavo;

extern "C" float* zavo_f_fft_real(int n, const float* p, ...)
{
    std::va_list list;
    va_start(list, p);
    core::OptionReader options{list, 3};
    fft::RealFftCall call{n, p};
    core::EntryFrame frame{"zavo_f_fft_real"};
    frame.run([&] {
        call.read(options);
        call.run();
    });
    va_end(list);
    return call.hand_over();
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
    return table;
}

extern "C" void l_f2trf(const int* n, const float* p, float* q, float* params)
{
    fft::transform_real(fft::Direction::forward, *n, p, q, params);
}

extern "C" void l_f2trb(const int* n, const float* p, float* q, float* params)
{
    const int length = *n;
    if (length < 1) {
        zavo_error_push("l_f2trb");
        fft::post_int(code::length_below_one, length);
        zavo_error_pop("l_f2trb");
        return;
    }
    fft::transform_real(fft::Direction::backward, length, p, q, params);
}

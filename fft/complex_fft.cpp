// The complex transform: public routine, table routine, workers.
//
// Forward: c[k] = sum of x[j] exp(-2 pi i j k / n); backward: the same with the
// other sign; neither scales. {1, i, -1, -i} gives {0, 4, 0, 0}.

#include "fft/complex_fft.h"

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

const float* floats(const f_complex* z)
{
    return reinterpret_cast<const float*>(z);
}
float* floats(f_complex* z)
{
    return reinterpret_cast<float*>(z);
}

// What l_f2tcf and l_f2tcb share.
void transform_checked(Direction d, const char* name, int n, const f_complex* p, f_complex* q, float* params)
{
    if (n < 1) {
        zavo_error_push(name);
        post_int(code::length_below_one, n);
        zavo_error_pop(name);
        return;
    }
    transform_complex(d, n, floats(p), floats(q), params);
}

// One call of zavo_c_fft_complex. Stands outside the fault trap and owns the
// table and the result that the call makes.
class ComplexFftCall {
public:
    ComplexFftCall(int n, const f_complex* p) : n_(n), p_(p) {}
    ComplexFftCall(const ComplexFftCall&) = delete;
    ComplexFftCall& operator=(const ComplexFftCall&) = delete;
    ~ComplexFftCall() { core::release(own_table_); }

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
                result_.borrow(options.take<f_complex*>());
                break;
            default:
                options.reject(option);
                return;
            }
        }
    }

    void run()
    {
        if (!arguments_are_good() || !get_table() || !get_arrays()) {
            return;
        }
        if (direction_ == Direction::forward) {
            l_f2tcf(&n_, p_, result_.get(), table_, work_);
        } else {
            l_f2tcb(&n_, p_, result_.get(), table_, work_);
        }
    }

    f_complex* hand_over(bool failed) { return failed ? nullptr : result_.hand_over(); }

private:
    bool arguments_are_good() const
    {
        if (core::pending_type() != 0) {
            return false;
        }
        if (result_.borrowed() && result_.get() == nullptr) {
            post_null_array("q", "ZAVO_RETURN_USER");
        } else if (table_given_ && table_ == nullptr) {
            post_null_array("params", "ZAVO_PARAMS");
        } else if (p_ == nullptr) {
            post_null_sequence("seq");
        } else {
            return true;
        }
        return false;
    }

    bool get_table()
    {
        if (!table_given_) {
            table_ = own_table_ = zavo_c_fft_complex_init(n_);
        }
        return core::pending_type() == 0;
    }

    // A bad length has got here only with a table of the caller's; the worker
    // reports it.
    bool get_arrays()
    {
        const std::size_t count = n_ < 1 ? 1 : static_cast<std::size_t>(n_);
        work_ = core::take_work<f_complex>(count);
        if (work_ == nullptr || (!result_.borrowed() && !result_.allocate(count))) {
            post_no_memory(n_);
            return false;
        }
        return true;
    }

    int n_;
    const f_complex* p_;
    Direction direction_ = Direction::forward;
    bool table_given_ = false;
    float* table_ = nullptr;
    float* own_table_ = nullptr;
    f_complex* work_ = nullptr; // released with the frame
    core::ResultArray<f_complex> result_;
};

} // namespace

} // namespace zavo::fft

using namespace zavo;

extern "C" f_complex* zavo_c_fft_complex(int n, const f_complex* p, ...)
{
    std::va_list list;
    va_start(list, p);
    core::OptionReader options{list, 3};
    fft::ComplexFftCall call{n, p};
    core::EntryFrame frame{"zavo_c_fft_complex"};
    frame.run([&] {
        call.read(options);
        call.run();
    });
    va_end(list);
    return call.hand_over(frame.failed());
}

extern "C" float* zavo_c_fft_complex_init(int n)
{
    core::EntryFrame frame{"zavo_c_fft_complex_init"};
    if (n < 1) {
        fft::post_int(code::length_below_one, n);
        return nullptr;
    }
    if (n == 1) {
        return nullptr;
    }
    float* const table = fft::new_table(n, 4);
    if (table == nullptr) {
        fft::post_no_memory(n);
        return nullptr;
    }
    const fft::Index length = n;
    fft::build_complex_table(length, table + 2 * length, table + 4 * length);
    return table;
}

extern "C" void l_f2tcf(const int* n, const f_complex* p, f_complex* q, float* params, f_complex*)
{
    fft::transform_checked(fft::Direction::forward, "l_f2tcf", *n, p, q, params);
}

extern "C" void l_f2tcb(const int* n, const f_complex* p, f_complex* q, float* params, f_complex*)
{
    fft::transform_checked(fft::Direction::backward, "l_f2tcb", *n, p, q, params);
}

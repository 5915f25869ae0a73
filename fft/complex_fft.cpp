// The complex transform: public routine, table routine, workers.
//
// Forward: c[k] = sum of x[j] exp(-2 pi i j k / n); backward: the same with the
// other sign; neither scales. {1, i, -1, -i} gives {0, 4, 0, 0}.

#include "fft/complex_fft.h"

#include "core/frame/entry_frame.hpp"
#include "core/system/memory.hpp"
#include "fft/checked.hpp"
#include "fft/complex_values.hpp"
#include "fft/tables/factors.hpp"
#include "fft/transform_arguments.hpp"

#include <cstdarg>

namespace code = zavo::core::code;

namespace zavo::fft {

namespace {

// One call of zavo_c_fft_complex. Stands outside the fault trap and owns the
// table and the result that the call makes.
class ComplexFftCall {
public:
    ComplexFftCall(int n, const f_complex* p) : arguments_{n, p} {}
    ComplexFftCall(const ComplexFftCall&) = delete;
    ComplexFftCall& operator=(const ComplexFftCall&) = delete;
    ~ComplexFftCall() { core::release(own_table_); }

    void run(core::OptionReader& options)
    {
        TransformArguments<f_complex>& call = arguments_;
        call.read(options);
        if (!call.pointers_are_good() || !get_table() || !get_arrays()) {
            return;
        }
        transform_complex_checked(call.direction, call.n, call.p, result_.get(), call.table, work_);
    }

    f_complex* hand_over() { return result_.hand_over(); }

private:
    bool get_table()
    {
        if (!arguments_.table_given) {
            arguments_.table = own_table_ = zavo_c_fft_complex_init(arguments_.n);
        }
        return core::pending_type() == 0 && !core::interrupted();
    }

    // A bad length gets here only with a table of the caller's; the worker
    // reports it.
    bool get_arrays()
    {
        const std::size_t count = arguments_.n < 1 ? 1 : static_cast<std::size_t>(arguments_.n);
        if (arguments_.result_given) {
            result_.borrow(arguments_.result);
        }
        work_ = core::take_work<f_complex>(count);
        if (work_ == nullptr || (!result_.borrowed() && !result_.allocate(count))) {
            post_no_memory(arguments_.n);
            return false;
        }
        return true;
    }

    TransformArguments<f_complex> arguments_;
    float* own_table_ = nullptr;
    f_complex* work_ = nullptr; // released with the frame
    core::ResultArray<f_complex> result_;
};

} // namespace

void transform_complex_checked(Direction d, int n, const f_complex* p, f_complex* q, float* table,
                               f_complex* work)
{
    if (n >= 1) {
        transform_complex(d, n, floats(p), floats(q), table, floats(work));
        return;
    }
    const char* const name = d == Direction::forward ? "l_f2tcf" : "l_f2tcb";
    zavo_error_push(name);
    post_int(code::length_below_one, n);
    zavo_error_pop(name);
}

} // namespace zavo::fft

using namespace zavo;

extern "C" f_complex* zavo_c_fft_complex(int n, const f_complex* p, ...)
{
    std::va_list list;
    va_start(list, p);
    core::OptionReader options{list, 3};
    fft::ComplexFftCall call{n, p};
    core::EntryFrame frame{"zavo_c_fft_complex"};
    frame.run([&] { call.run(options); });
    va_end(list);
    return frame.succeeded() ? call.hand_over() : nullptr;
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
    return fft::unless_interrupted(table);
}

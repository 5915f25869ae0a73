#include "random/deliver.hpp"

#include "core/errors/error_codes.hpp"
#include "core/frame/entry_frame.hpp"
#include "core/frame/option_reader.hpp"
#include "core/system/memory.hpp"

namespace zavo::random {

namespace {

// The one option that is read; false when it is unknown, which is then posted.
bool read_option(core::OptionReader& options, core::ResultArray<float>& result)
{
    switch (const int option = options.next()) {
    case 0:
        return true;
    case ZAVO_RETURN_USER:
        // A null array counts as none given.
        if (float* const array = options.take<float*>()) {
            result.borrow(array);
        }
        return true;
    default:
        zavo_error_set_int(1, option);
        zavo_error_set_int(2, options.code_no());
        zavo_error_post(ZAVO_TERMINAL, core::code::random_bad_option);
        return false;
    }
}

} // namespace

float* deliver_deviates(const char* name, int n, std::va_list list, Worker* worker)
{
    core::OptionReader options{list, 2};
    core::ResultArray<float> result;
    core::EntryFrame frame{name};
    bool ready = false; // the arguments are good and there is an array
    frame.run([&] {
        if (!read_option(options, result)) {
            return;
        }
        int argument_no = 0;
        zavo_arg_check_range(n, "n_random", 1, 0, &argument_no);
        if (n < 1) {
            return;
        }
        if (!result.borrowed() && !result.allocate(static_cast<std::size_t>(n))) {
            zavo_error_post(ZAVO_TERMINAL, core::code::out_of_memory);
            return;
        }
        ready = true;
        draw_batch(n, [&] { worker(n, result.get(), !result.borrowed()); });
    });
    const bool handed_over = frame.finished() && ready && (result.borrowed() || !frame.failed());
    return handed_over ? result.hand_over() : nullptr;
}

} // namespace zavo::random

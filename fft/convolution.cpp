// Convolution and correlation of real sequences through the real transform:
// pad, transform both, multiply the spectra, transform back, divide by nz.
//
// Worked value: {1, 2, 3} with {1, 1, 1, 1}, padded to 6, is {1, 3, 6, 6, 5, 3}.

#include "fft/convolution.h"

#include "core/frame/entry_frame.hpp"
#include "core/frame/option_reader.hpp"
#include "core/kernels/vector_kernels.h"
#include "core/system/memory.hpp"
#include "core/thread_state.hpp"
#include "core/zavo.h"
#include "fft/checked.hpp"
#include "fft/posting.hpp"
#include "fft/real_fft.h"
#include "fft/tables/factors.hpp"
#include "fft/tables/padded_length.hpp"

#include <algorithm>
#include <cassert>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <limits>

namespace code = zavo::core::code;

namespace zavo::fft {

namespace {

// n values, then zeros up to nz.
void pad(Index n, const float* values, Index nz, float* padded)
{
    assert(0 <= n && n <= nz);
    if (values != padded) {
        std::memmove(padded, values, static_cast<std::size_t>(n) * sizeof(float));
    }
    std::memset(padded + n, 0, static_cast<std::size_t>(nz - n) * sizeof(float));
}

bool overlap(const float* a, Index na, const float* b, Index nb)
{
    return a < b + nb && b < a + na;
}

// A transform from one array to another is faster than one in place, so padding
// goes to `spare` when that may be overwritten.
void transform_padded(const Sequence& sequence, int nz, float* spare, bool spare_is_free, float* table)
{
    const float* from = sequence.values;
    if (sequence.n != nz) {
        float* const padded = spare_is_free ? spare : sequence.work;
        pad(sequence.n, sequence.values, nz, padded);
        from = padded;
    }
    transform_real_checked(Direction::forward, nz, from, sequence.work, table);
}

// zhat = X times Y, z = its backward transform over nz. y may be null: then it is x.
// zhat may be either work array; z, which is written last, serves for padding before.
void convolve(Product kind, int mode, int nz, const Sequence& x, const Sequence* y,
              const ConvolutionResult& result)
{
    const auto [z, zhat, table] = result;
    assert(z != nullptr && zhat != nullptr && table != nullptr && x.work != nullptr);
    if (mode == 0 || mode == 1) {
        build_real_table_checked(nz, table);
    }
    const bool spare_is_free = y == nullptr || !overlap(z, nz, y->values, y->n);
    transform_padded(x, nz, z, spare_is_free, table);
    if (y != nullptr) {
        transform_padded(*y, nz, z, !overlap(z, nz, x.work, nz), table);
    }
    if (core::interrupted(nz)) {
        return;
    }
    multiply_spectra(kind, nz, x.work, y != nullptr ? y->work : x.work, zhat);
    transform_real_checked(Direction::backward, nz, zhat, z, table);
    divide(nz, z, static_cast<float>(nz));
}

// ---- one call ----------------------------------------------------------------------

// The work area of a series outlives a call: padded x, padded y, table.
core::LengthArray& series_area()
{
    return core::thread_state().series;
}

bool allocate_area(int length)
{
    core::LengthArray& area = series_area();
    area.drop();
    area.data = static_cast<float*>(core::allocate(count_of_floats(length, 4, record_floats), sizeof(float)));
    area.n = area.data != nullptr ? length : 0;
    return area.data != nullptr;
}

class ConvolutionCall {
public:
    ConvolutionCall(int nx, const float* x, int ny, const float* y, int* nz)
        : nx_(nx), ny_(ny), x_(x), y_(y), nz_result_(nz)
    {
    }
    ConvolutionCall(const ConvolutionCall&) = delete;
    ConvolutionCall& operator=(const ConvolutionCall&) = delete;
    ~ConvolutionCall()
    {
        if (owns_area_ && (mode() == 0 || mode() == 3 || core::interrupted())) {
            series_area().drop();
        }
    }

    void read(core::OptionReader& options)
    {
        while (const int option = options.next()) {
            switch (option) {
            case ZAVO_CIRCULAR:
                periodic_ = true;
                break;
            case ZAVO_RETURN_USER:
                result_.borrow(options.take<float*>());
                break;
            case ZAVO_CORRELATE:
                kind_ = Product::correlation;
                break;
            case ZAVO_Z_TRANS:
                zhat_address_given_ = true;
                zhat_address_ = options.take<float**>();
                break;
            case ZAVO_Z_TRANS_USER:
                zhat_.borrow(options.take<float*>());
                break;
            case ZAVO_SERIES_FIRST:
                first_ = true;
                break;
            case ZAVO_SERIES_NEXT:
                next_ = true;
                first_ = false;
                break;
            case ZAVO_SERIES_LAST:
                last_ = true;
                next_ = false;
                break;
            default:
                options.reject(option);
                return;
            }
        }
    }

    void run()
    {
        if (!arrays_are_good() || !counts_are_good() || !find_length() || !get_storage()) {
            return;
        }
        float* const xwork = series_area().data;
        float* const ywork = xwork + nz_;
        const ConvolutionResult result = {result_.get(), zhat_.get() != nullptr ? zhat_.get() : xwork,
                                          ywork + nz_};
        const Sequence x = {nx_, x_, xwork};
        const Sequence y = {kind_ == Product::convolution ? ny_ : nx_, y_, ywork};
        const int table_mode = table_is_stale_ ? 1 : mode();
        if (kind_ == Product::convolution) {
            convolve_checked(table_mode, nz_, x, y, result);
        } else {
            correlate_checked(table_mode, nz_, x, x_ == y_ ? nullptr : &y, result);
        }
    }

    // Under the trap, like everything that touches the caller's memory. zhat_
    // keeps the array until the call has gone well.
    void store_spectrum()
    {
        if (zhat_address_given_ && !core::is_failure(core::pending_type()) && !core::interrupted()) {
            *zhat_address_ = zhat_.get();
        }
    }

    float* hand_over()
    {
        if (zhat_address_given_) {
            zhat_.hand_over();
        }
        return result_.hand_over();
    }

private:
    int mode() const { return last_ ? 3 : next_ ? 2 : first_ ? 1 : 0; }

    bool arrays_are_good() const
    {
        if (core::pending_type() != 0) {
            return false;
        }
        if (result_.borrowed() && result_.get() == nullptr) {
            post_null_array("z", "ZAVO_RETURN_USER");
        } else if (zhat_.borrowed() && zhat_.get() == nullptr) {
            post_null_array("zhat", "ZAVO_Z_TRANS_USER");
        } else if (zhat_address_given_ && zhat_address_ == nullptr) {
            post_null_array("zhat", "ZAVO_Z_TRANS");
        } else if (x_ == nullptr) {
            post_null_sequence("x");
        } else if (y_ == nullptr) {
            post_null_sequence("y");
        } else {
            return true;
        }
        return false;
    }

    bool counts_are_good() const
    {
        if (nx_ < 1) {
            post_int(code::x_empty, nx_);
        }
        if (ny_ < 1) {
            post_int(code::y_empty, ny_);
        }
        return core::pending_type() == 0;
    }

    // A length beyond int is reported as memory that cannot be had.
    bool find_length()
    {
        const std::int64_t nz = kind_ == Product::convolution ? convolution_length(nx_, ny_, periodic_)
                                                              : correlation_length(nx_, periodic_);
        if (nz > std::numeric_limits<int>::max()) {
            post_no_memory(std::numeric_limits<int>::max());
            return false;
        }
        nz_ = static_cast<int>(nz);
        *nz_result_ = nz_;
        return true;
    }

    // A later call of a series that finds no work area of its length, because
    // there was no first call or its length was another, makes one.
    bool get_storage()
    {
        const std::size_t count = static_cast<std::size_t>(nz_);
        owns_area_ = true;
        table_is_stale_ = mode() < 2 || series_area().n != nz_;
        if ((table_is_stale_ && !allocate_area(nz_)) || !get_spectrum(count) ||
            (!result_.borrowed() && !result_.allocate(count))) {
            post_no_memory(nz_);
            return false;
        }
        return true;
    }

    // ZAVO_Z_TRANS comes before an array of the caller's. Where nobody asked for the
    // spectrum it stays in the work area, so that a series goes on without allocations.
    bool get_spectrum(std::size_t count) { return !zhat_address_given_ || zhat_.allocate(count); }

    int nx_, ny_;
    const float* x_;
    const float* y_;
    int* nz_result_;
    int nz_ = 0;
    Product kind_ = Product::convolution;
    bool periodic_ = false;
    bool first_ = false, next_ = false, last_ = false;
    bool owns_area_ = false;
    bool table_is_stale_ = false;
    bool zhat_address_given_ = false;
    float** zhat_address_ = nullptr;
    core::ResultArray<float> zhat_;
    core::ResultArray<float> result_;
};

} // namespace

std::int64_t convolution_length(std::int64_t nx, std::int64_t ny, bool periodic)
{
    return periodic ? std::max(nx, ny) : padded_length(nx + ny - 1);
}

std::int64_t correlation_length(std::int64_t nx, bool periodic)
{
    return periodic ? nx : padded_length(2 * nx - 1);
}

void convolve_checked(int mode, int nz, const Sequence& x, const Sequence& y, const ConvolutionResult& result)
{
    zavo_error_push("R2ONV ");
    convolve(Product::convolution, mode, nz, x, &y, result);
    zavo_error_pop("R2ONV ");
}

void correlate_checked(int mode, int nz, const Sequence& x, const Sequence* y,
                       const ConvolutionResult& result)
{
    zavo_error_push("R2ORL ");
    convolve(Product::correlation, mode, nz, x, y, result);
    zavo_error_pop("R2ORL ");
}

} // namespace zavo::fft

using namespace zavo;

extern "C" float* zavo_f_convolution(int nx, const float* x, int ny, const float* y, int* nz, ...)
{
    std::va_list list;
    va_start(list, nz);
    core::OptionReader options{list, 6};
    fft::ConvolutionCall call{nx, x, ny, y, nz};
    core::EntryFrame frame{"zavo_f_convolution"};
    frame.run([&] {
        call.read(options);
        call.run();
        call.store_spectrum();
    });
    va_end(list);
    return frame.succeeded() ? call.hand_over() : nullptr;
}

// The two-dimensional complex transform: public routine and workers.
//
// Element (row r, column c) of an array with column dimension ld stands at
// r * ld + c. Each dimension is a sweep of one-dimensional transforms.

#include "fft/fft_2d.h"

#include "core/frame/entry_frame.hpp"
#include "core/frame/option_reader.hpp"
#include "core/system/memory.hpp"
#include "fft/checked.hpp"
#include "fft/complex_values.hpp"
#include "fft/posting.hpp"

#include <algorithm>
#include <cassert>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <limits>

namespace code = zavo::core::code;

namespace zavo::fft {

namespace {

// Each row of p, transformed, into the same row of q.
void sweep_rows(Direction d, Index n, Index m, const Layout& at, float* table, f_complex* work)
{
    if (at.any_order(n, m) && n > 1) {
        transform_rows(d, n, m, floats(at.p), at.ldp, floats(at.q), at.ldq, table, floats(work));
        return;
    }
    const std::size_t bytes = static_cast<std::size_t>(n) * sizeof(f_complex);
    for (Index r = 0; r < m && !core::interrupted(4 * n); ++r) {
        std::memcpy(work, at.p + r * at.ldp, bytes);
        if (n > 1) {
            transform_complex(d, n, floats(work), floats(work), table, nullptr);
        }
        std::memcpy(at.q + r * at.ldq, work, bytes);
    }
}

// Each column of p, transformed, into the same column of q. m >= 2.
void sweep_columns(Direction d, Index n, Index m, const Layout& at, float* table, f_complex* work)
{
    if (at.any_order(n, m)) {
        transform_columns(d, n, m, floats(at.p), at.ldp, floats(at.q), at.ldq, table, floats(work));
        return;
    }
    for (Index c = 0; c < n && !core::interrupted(4 * m); ++c) {
        transform_columns(d, 1, m, floats(at.p + c), at.ldp, floats(at.q + c), at.ldq, table, floats(work));
    }
}

void transform_forward(Index n, Index m, const Layout& at, const Tables2d& tables, f_complex* work)
{
    assert(n >= 1 && m >= 1 && (n == 1 || tables.rows != nullptr) && (m == 1 || tables.columns != nullptr));
    sweep_rows(Direction::forward, n, m, at, tables.rows, work);
    if (m > 1) {
        sweep_columns(Direction::forward, n, m, {at.q, at.ldq, at.q, at.ldq}, tables.columns, work);
    }
}

// Kept: with one column the result is the input; what the sweep of the columns
// would make of it is ignored (fft_2d.backward_of_one_column_is_the_input).
void transform_backward(Index n, Index m, const Layout& at, const Tables2d& tables, f_complex* work)
{
    assert(n >= 1 && m >= 1 && (n == 1 || tables.rows != nullptr) && (m == 1 || tables.columns != nullptr));
    if (n == 1) {
        for (Index r = 0; r < m; ++r) {
            at.q[r * at.ldq] = at.p[r * at.ldp];
        }
        return;
    }
    if (m == 1) {
        std::memmove(at.q, at.p, static_cast<std::size_t>(n) * sizeof(f_complex));
    } else {
        sweep_columns(Direction::backward, n, m, at, tables.columns, work);
    }
    sweep_rows(Direction::backward, n, m, {at.q, at.ldq, at.q, at.ldq}, tables.rows, work);
}

// One call of zavo_c_fft_2d_complex. Stands outside the fault trap and owns the
// tables and the result that the call makes.
class Fft2dCall {
public:
    Fft2dCall(int m, int n, const f_complex* p)
        : m_(m), n_(n), p_(p), result_column_dimension_(n), input_column_dimension_(n)
    {
    }
    Fft2dCall(const Fft2dCall&) = delete;
    Fft2dCall& operator=(const Fft2dCall&) = delete;
    ~Fft2dCall()
    {
        core::release(row_table_);
        if (column_table_ != row_table_) {
            core::release(column_table_);
        }
    }

    void read(core::OptionReader& options)
    {
        while (const int option = options.next()) {
            switch (option) {
            case ZAVO_BACKWARD:
                direction_ = Direction::backward;
                break;
            case ZAVO_RESULT_COL_DIM:
                result_column_dimension_ = options.take<int>();
                break;
            case ZAVO_INPUT_COL_DIM:
                input_column_dimension_ = options.take<int>();
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
        if (!arguments_are_good() || !get_tables()) {
            return;
        }
        f_complex* const work = core::take_work<f_complex>(static_cast<std::size_t>(std::max(m_, n_)));
        if (work == nullptr || !get_result()) {
            post_no_memory(m_);
            return;
        }
        const Tables2d tables = {row_table_, column_table_};
        // Kept: the two column dimensions trade roles between the directions
        // (fft_2d.column_dimensions_trade_roles_between_the_directions).
        if (direction_ == Direction::forward) {
            transform_2d_forward_checked(
                n_, m_, {p_, input_column_dimension_, result_.get(), result_column_dimension_}, tables, work);
        } else {
            transform_2d_backward_checked(
                n_, m_, {p_, result_column_dimension_, result_.get(), input_column_dimension_}, tables, work);
        }
    }

    // Kept: an array of the caller's comes back after an error too, as it stands
    // (fft_2d.bad_arguments_are_answered_with_their_codes); after a fault it does not.
    f_complex* hand_over(const core::EntryFrame& frame)
    {
        const bool withheld = !frame.finished() || (frame.failed() && !result_.borrowed());
        return withheld ? nullptr : result_.hand_over();
    }

private:
    // A negative column dimension would lead out of the arrays; the forward
    // worker makes no test of its own.
    bool dimensions_are_safe() const
    {
        if (direction_ == Direction::forward && result_column_dimension_ < 0) {
            post_ints(code::result_column_dimension, result_column_dimension_, n_);
        } else if (direction_ == Direction::forward && input_column_dimension_ < 0) {
            post_ints(code::input_column_dimension, input_column_dimension_, n_);
        } else {
            return true;
        }
        return false;
    }

    bool arguments_are_good() const
    {
        if (core::pending_type() != 0) {
            return false;
        }
        if (n_ < 1) {
            post_int(code::rows_below_one, n_);
        }
        if (m_ < 1) {
            post_int(code::columns_below_one, m_);
        }
        if (result_.borrowed() && result_.get() == nullptr) {
            post_null_array("result", "ZAVO_RETURN_USER");
            return false;
        }
        if (p_ == nullptr) {
            post_null_sequence("seq");
        }
        return core::pending_type() == 0 && dimensions_are_safe();
    }

    bool get_tables()
    {
        row_table_ = column_table_ = zavo_c_fft_complex_init(n_);
        if (core::pending_type() == 0 && m_ != n_) {
            column_table_ = zavo_c_fft_complex_init(m_);
        }
        return core::pending_type() == 0 && !core::interrupted();
    }

    // m rows of n values; rows as far apart as the result's column dimension
    // asks, with zeros between them.
    bool get_result()
    {
        if (result_.borrowed()) {
            return true;
        }
        const int ld = direction_ == Direction::forward ? result_column_dimension_ : input_column_dimension_;
        const std::uint64_t count = static_cast<std::uint64_t>(m_) * static_cast<unsigned>(std::max(ld, n_));
        if (count > std::numeric_limits<std::size_t>::max() / sizeof(f_complex) ||
            !result_.allocate(static_cast<std::size_t>(count))) {
            return false;
        }
        if (ld > n_) {
            std::memset(static_cast<void*>(result_.get()), 0,
                        static_cast<std::size_t>(count) * sizeof(f_complex));
        }
        return true;
    }

    int m_, n_;
    const f_complex* p_;
    int result_column_dimension_, input_column_dimension_;
    Direction direction_ = Direction::forward;
    float* row_table_ = nullptr;
    float* column_table_ = nullptr; // the same for as many rows as columns
    core::ResultArray<f_complex> result_;
};

} // namespace

bool Layout::any_order(Index n, Index m) const
{
    const bool rows_apart = ldq >= n && ldp >= n;
    const bool same = p == q && ldp == ldq;
    const bool disjoint = p + (m - 1) * ldp + n <= q || q + (m - 1) * ldq + n <= p;
    return rows_apart && (same || disjoint);
}

void transform_2d_forward_checked(int n, int m, const Layout& at, const Tables2d& tables, f_complex* work)
{
    zavo_error_push("l_f2t2d");
    if (n < 1) {
        post_int(code::columns_below_one, n);
    }
    if (m < 1) {
        post_int(code::rows_below_one, m);
    }
    if (core::pending_type() == 0) {
        transform_forward(n, m, at, tables, work);
    }
    zavo_error_pop("l_f2t2d");
}

void transform_2d_backward_checked(int n, int m, const Layout& at, const Tables2d& tables, f_complex* work)
{
    zavo_error_push("l_f2t2b");
    if (n < 1) {
        post_int(code::backward_rows_below_one, n);
    } else if (m < 1) {
        post_int(code::backward_columns_below_one, m);
    } else if (at.ldq < n) {
        post_ints(code::result_column_dimension, static_cast<int>(at.ldq), n);
    } else if (at.ldp < n) {
        post_ints(code::input_column_dimension, static_cast<int>(at.ldp), n);
    } else {
        transform_backward(n, m, at, tables, work);
    }
    zavo_error_pop("l_f2t2b");
}

} // namespace zavo::fft

using namespace zavo;

extern "C" f_complex* zavo_c_fft_2d_complex(int m, int n, const f_complex* p, ...)
{
    std::va_list list;
    va_start(list, p);
    core::OptionReader options{list, 4};
    fft::Fft2dCall call{m, n, p};
    core::EntryFrame frame{"zavo_c_fft_2d_complex"};
    frame.run([&] {
        call.read(options);
        call.run();
    });
    va_end(list);
    return call.hand_over(frame);
}

// What one call of a one-dimensional transform is given: the real and the
// complex one read the same options and check them alike.
#pragma once

#include "core/frame/option_reader.hpp"
#include "core/zavo.h"
#include "fft/posting.hpp"
#include "fft/transforms.hpp"

namespace zavo::fft {

// T: float or f_complex. Pointers are the caller's.
template <class T>
struct TransformArguments {
    int n;
    const T* p;
    Direction direction = Direction::forward;
    bool table_given = false;
    bool result_given = false;
    float* table = nullptr;
    T* result = nullptr;

    void read(core::OptionReader& options)
    {
        while (const int option = options.next()) {
            switch (option) {
            case ZAVO_BACKWARD:
                direction = Direction::backward;
                break;
            case ZAVO_PARAMS:
                table_given = true;
                table = const_cast<float*>(options.take<const float*>());
                break;
            case ZAVO_RETURN_USER:
                result_given = true;
                result = options.take<T*>();
                break;
            default:
                options.reject(option);
                return;
            }
        }
    }

    // False when an error is pending or a pointer is null; that is posted.
    bool pointers_are_good() const
    {
        if (core::pending_type() != 0) {
            return false;
        }
        if (result_given && result == nullptr) {
            post_null_array("q", "ZAVO_RETURN_USER");
        } else if (table_given && table == nullptr) {
            post_null_array("params", "ZAVO_PARAMS");
        } else if (p == nullptr) {
            post_null_sequence("seq");
        } else {
            return true;
        }
        return false;
    }
};

} // namespace zavo::fft

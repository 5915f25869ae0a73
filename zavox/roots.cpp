#include "zavox/roots.hpp"

#include <cassert>

namespace zavox {

namespace {

constexpr double two_pi = 6.283185307179586476925286766559;

} // namespace

bool Roots::make(std::int64_t n)
{
    assert(n >= 1);
    shift_ = 0;
    while ((std::int64_t{1} << (2 * shift_)) < n) {
        ++shift_;
    }
    const std::int64_t low_count = std::int64_t{1} << shift_;
    const std::int64_t high_count = (n - 1) / low_count + 1;
    mask_ = low_count - 1;
    if (!low_.make(low_count) || !high_.make(high_count)) {
        return false;
    }
    const double unit = two_pi / static_cast<double>(n);
    for (std::int64_t i = 0; i < low_count; ++i) {
        const double angle = unit * static_cast<double>(i);
        low_[i] = {engine().cos(angle), engine().sin(angle)};
    }
    for (std::int64_t i = 0; i < high_count; ++i) {
        const double angle = unit * static_cast<double>(i * low_count);
        high_[i] = {engine().cos(angle), engine().sin(angle)};
    }
    return true;
}

} // namespace zavox

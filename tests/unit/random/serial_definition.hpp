// The deviates as they are defined: one after the other, in doubles, with fmod
// and the C library's log. The library computes the same in another way; this is
// what it is held against.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>

namespace zavo::test {

class SerialStream {
public:
    SerialStream(int option, int seed) : option_(option), x_(seed) {}

    // Goes on from a seed; the table stays.
    void seed(int seed) { x_ = seed; }
    int state() const { return static_cast<int>(std::floor(x_ + 0.5)); }

    float next()
    {
        if (option_ % 2 != 0) {
            advance();
            return static_cast<float>(scale * x_);
        }
        if (!filled_) {
            for (float& entry : table_) {
                advance();
                entry = static_cast<float>(x_ / m);
            }
            filled_ = true;
        }
        advance();
        const int j = static_cast<int>(std::fmod(x_, 128.0));
        const float drawn = table_[j];
        table_[j] = static_cast<float>(scale * x_);
        return drawn;
    }

private:
    static constexpr double m = 2147483647.0;
    static constexpr double scale = 0x1p-31;

    void advance()
    {
        switch ((option_ - 1) / 2) {
        case 0:
            x_ = std::fmod(16807.0 * x_, m);
            break;
        case 1:
            advance_split(12121.0, 23166.0);
            break;
        default:
            advance_split(29013.0, 8392.0);
            break;
        }
    }
    // a = 32768 c + d; every product stays below 2^53.
    void advance_split(double c, double d)
    {
        x_ = std::fmod(c * std::fmod(32768.0 * x_, m) + std::fmod(d * x_, m), m);
    }

    int option_;
    double x_;
    float table_[128] = {};
    bool filled_ = false;
};

inline float serial_exponential(float u)
{
    return static_cast<float>(-std::log(static_cast<double>(u)));
}

// The inverse normal distribution function, 0 < p < 1.
inline float serial_normal(float p)
{
    const double epsilon = 0x1p-23;
    const double sign = p >= 0.5F ? 1.0 : -1.0;
    const auto outer = [](double u) {
        const auto above = static_cast<float>(((0.01078639F * u + -0.1498384F) * u + -0.002028152F) * u);
        const auto below = static_cast<float>(((u + -0.06888301F) * u + 0.5211733F) * u + 0.09952975F);
        return static_cast<double>(above) / below + 0.0001851159F;
    };
    double y;
    if (epsilon < p && p < 1.0 - 3.0 * epsilon) {
        const double z = static_cast<float>(std::fabs(1.0 - 2.0 * p));
        if (z < 0.85) {
            const double w = static_cast<float>(z * z);
            const double inner = -2.374996F + w + -0.05496261F / (-1.187515F + w);
            y = (-0.5751703F * w / (-3.293474F + w + -1.896513F / inner) + -0.113773F) * z + z;
        } else {
            const double v = static_cast<float>(1.0 - z);
            const double t = static_cast<float>(std::sqrt(-std::log(v * z + v)));
            if (t < 2.5) {
                const auto above =
                    static_cast<float>(((0.05073975F * t + -0.2368201F) * t + -0.1314774F) * t);
                const auto below = static_cast<float>(((t + -7.586103F) * t + 21.98546F) * t + -44.27977F);
                y = (static_cast<double>(above) / below + -0.1146666F) * t + t;
            } else if (t < 4.0) {
                const auto above = static_cast<float>(((0.06208963F * t + -0.3166501F) * t + 0.3937021F) * t);
                const auto below = static_cast<float>(((t + -2.962883F) * t + 4.666263F) * t + -6.266786F);
                y = (static_cast<double>(above) / below + -0.05668422F) * t + t;
            } else {
                y = outer(static_cast<float>(1.0 / t)) * t + t;
            }
        }
    } else {
        const double nearer = p >= 0.5F ? 1.0 - p : static_cast<double>(p);
        const double w = static_cast<float>(2.0 * nearer);
        const double t = std::sqrt(-std::log(2.0 * w - w * w));
        y = outer(static_cast<float>(1.0 / t)) * t + t;
    }
    return static_cast<float>(sign * 1.4142135F * static_cast<float>(y));
}

inline std::uint32_t bits_of(float x)
{
    std::uint32_t bits;
    std::memcpy(&bits, &x, sizeof bits);
    return bits;
}

inline float float_of(std::uint32_t bits)
{
    float x;
    std::memcpy(&x, &bits, sizeof x);
    return x;
}

} // namespace zavo::test

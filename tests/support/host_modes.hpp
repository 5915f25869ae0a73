// What a host may have set before it calls: modes of floating-point results and a
// decimal comma. A test holds results in each of them against the usual ones.
#pragma once

#include "core/system/float_control.hpp"

#include <clocale>
#include <cstdio>
#include <cstring>
#include <initializer_list>

namespace zavo::test {

struct HostMode {
    const char* name;
    platform::FloatControl control; // added to the usual one
    unsigned short x87;             // bits of the x87 control word that differ from `x87_mask`'s
    unsigned short x87_mask;        // those that are replaced
    bool comma;
};

inline constexpr HostMode host_modes[] = {
// clang-format off
#if defined(__x86_64__) || defined(__i386__)
    {"upward",            0x4000, 0x0800, platform::x87_rounding,  false},
    {"downward",          0x2000, 0x0400, platform::x87_rounding,  false},
    {"toward-zero",       0x6000, 0x0C00, platform::x87_rounding,  false},
    {"flush-to-zero",     0x8000, 0,      0,                       false},
    {"subnormals-zero",   0x0040, 0,      0,                       false},
    {"upward-and-flush",  0xC040, 0x0800, platform::x87_rounding,  false},
#if defined(__i386__)
    {"x87-24-bits",       0,      0,      platform::x87_precision, false},
    {"x87-53-bits",       0,      0x0200, platform::x87_precision, false},
    {"x87-24-and-upward", 0x4000, 0x0800, platform::x87_rounding | platform::x87_precision, false},
#endif
#else
    {"upward",            0x0400000, 0, 0, false},
    {"downward",          0x0800000, 0, 0, false},
    {"toward-zero",       0x0C00000, 0, 0, false},
    {"flush-to-zero",     0x1000000, 0, 0, false},
    {"upward-and-flush",  0x1400000, 0, 0, false},
#endif
    {"decimal-comma",     0, 0, 0, true},
    // clang-format on
};

#if defined(__x86_64__) || defined(__i386__)
using platform::set_x87_control;
using platform::x87_control;
#else
inline unsigned short x87_control()
{
    return 0;
}
inline void set_x87_control(unsigned short) {}
#endif

// A locale with a decimal comma, or null: one of the tests' own (LOCPATH leads to it),
// or one that the system has.
inline const char* comma_locale()
{
    static const char* found = nullptr; // plain, for libraries without C++'s run time
    static bool looked = false;
    if (!looked) {
        looked = true;
        for (const char* const name :
             {"comma", "German", "de_DE.UTF-8", "de_DE.utf8", "de_DE", "fr_FR.UTF-8"}) {
            if (found == nullptr && std::setlocale(LC_NUMERIC, name) != nullptr &&
                *std::localeconv()->decimal_point == ',') {
                found = name;
            }
        }
        std::setlocale(LC_NUMERIC, "C");
    }
    return found;
}

// The mode while it lives; null for what is there.
class InHostMode {
public:
    explicit InHostMode(const HostMode* mode)
        : mode_(mode), control_(platform::float_control()), x87_(x87_control()),
          has_comma_(*std::localeconv()->decimal_point == ',')
    {
        if (mode != nullptr) {
            platform::set_float_control(wanted_control());
            set_x87_control(wanted_x87());
            if (mode->comma) {
                std::setlocale(LC_NUMERIC, comma_locale());
            }
        }
    }
    ~InHostMode()
    {
        if (mode_ != nullptr) {
            platform::set_float_control(control_);
            set_x87_control(x87_);
            if (mode_->comma && !has_comma_) {
                std::setlocale(LC_NUMERIC, "C");
            }
        }
    }
    InHostMode(const InHostMode&) = delete;
    InHostMode& operator=(const InHostMode&) = delete;

    // Nobody has changed it since.
    bool still_is() const
    {
        return mode_ == nullptr ||
               (own_part(platform::float_control()) == wanted_control() && x87_control() == wanted_x87() &&
                (!mode_->comma || *std::localeconv()->decimal_point == ','));
    }

private:
    // float_control() has parts of the x87 unit's on 32 bits, which come after it.
    platform::FloatControl wanted_control() const { return platform::usual_float_control | mode_->control; }
    static platform::FloatControl own_part(platform::FloatControl control)
    {
#if defined(__x86_64__) || defined(__i386__)
        return control & 0xffff;
#else
        return control;
#endif
    }
    unsigned short wanted_x87() const
    {
        if (x87_ == 0) { // not looked at
            return 0;
        }
        return static_cast<unsigned short>((x87_ & ~unsigned{mode_->x87_mask}) | mode_->x87);
    }

    const HostMode* mode_;
    platform::FloatControl control_;
    unsigned short x87_;
    bool has_comma_;
};

// What the modes decide: a quotient, a subnormal product, the bits of a sum in x87
// registers and the text of a number. A mode that changes none of them is not in force.
struct ModeTrace {
    float third = 0.0F;
    float subnormal = 0.0F;
    int kept_40_bits = 0;
    int kept_60_bits = 0;
    char text[16] = {};

    bool operator==(const ModeTrace& other) const { return std::memcmp(this, &other, sizeof other) == 0; }
};
[[gnu::noinline]] inline ModeTrace trace_of_modes()
{
    ModeTrace trace;
    volatile float one = 1.0F;
    volatile float three = 3.0F;
    volatile float small = -0x1.8p-130F;
    trace.third = one / three + one / -three * 0.5F;
    trace.subnormal = small * one;
#if defined(__i386__)
    volatile long double large = 1.0L;
    volatile long double parts[2] = {0x1p-40L, 0x1p-60L};
    trace.kept_40_bits = large + parts[0] > 1.0L ? 1 : 0;
    trace.kept_60_bits = large + parts[1] > 1.0L ? 1 : 0;
#endif
    std::snprintf(trace.text, sizeof trace.text, "%.1f", 0.5);
    return trace;
}
// Can this system be in the mode, and does it change anything? (x87 registers of 53 bits
// are what Windows has anyway.)
inline bool has_effect(const HostMode& mode)
{
    if (mode.comma && comma_locale() == nullptr) {
        return false;
    }
    const ModeTrace before = trace_of_modes();
    const InHostMode in{&mode};
    return !(trace_of_modes() == before);
}

} // namespace zavo::test

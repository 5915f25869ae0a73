// The processor's rounding of floating-point results. The library computes with
// the modes that a process starts with: to nearest, subnormal numbers as they are,
// no trap. A host may have set others; each routine puts the usual ones in place
// and the host's back when it returns or calls a user function. Looking costs a
// few cycles; the modes are written only where they differ.
//
// On 32-bit x86 arithmetic is done in SSE registers, too, but 64-bit integers become
// doubles, and the C library computes, in the x87 unit, whose modes count there. Its
// precision is 53 bits for some systems and 64 for others, which makes no difference;
// 24 bits do.
#pragma once

#if defined(__x86_64__) || defined(__i386__)
#include <xmmintrin.h>
#endif

namespace zavo::platform {

#if defined(__x86_64__) || defined(__i386__)

using FloatControl = unsigned;
inline constexpr FloatControl usual_float_control = 0x1f80;

inline unsigned short x87_control()
{
    unsigned short control = 0;
    __asm__ volatile("fnstcw %0" : "=m"(control));
    return control;
}
inline void set_x87_control(unsigned short control)
{
    __asm__ volatile("fldcw %0" : : "m"(control));
}
inline constexpr unsigned x87_rounding = 0x0c00;
inline constexpr unsigned x87_precision = 0x0300;
inline constexpr unsigned x87_more_than_24_bits = 0x0200;

#if defined(__i386__)
// In the upper half of the control: the x87 unit's rounding, and a bit for 24 bits.
inline FloatControl x87_part()
{
    return (x87_control() ^ x87_more_than_24_bits) & (x87_rounding | x87_more_than_24_bits);
}
inline void set_x87_part(FloatControl part)
{
    unsigned control = x87_control();
    const bool was_short = (control & x87_more_than_24_bits) == 0;
    control = (control & ~x87_rounding) | (part & x87_rounding);
    if ((part & x87_more_than_24_bits) != 0) {
        control &= ~x87_precision;
    } else if (was_short) {
        control |= x87_precision;
    }
    set_x87_control(static_cast<unsigned short>(control));
}
#endif

// Without the flags of what has happened, which stay.
inline FloatControl float_control()
{
    const FloatControl control = _mm_getcsr() & 0xffc0U;
#if defined(__i386__)
    return control | x87_part() << 16;
#else
    return control;
#endif
}
inline void set_float_control(FloatControl control)
{
    _mm_setcsr((_mm_getcsr() & ~0xffc0U) | (control & 0xffc0U));
#if defined(__i386__)
    set_x87_part(control >> 16);
#endif
}

#elif defined(__aarch64__)

using FloatControl = unsigned long;
inline constexpr FloatControl usual_float_control = 0;

inline FloatControl float_control()
{
    FloatControl control = 0;
    __asm__ volatile("mrs %0, fpcr" : "=r"(control));
    return control;
}
inline void set_float_control(FloatControl control)
{
    __asm__ volatile("msr fpcr, %0" : : "r"(control));
}

#endif

// The usual modes while it lives, for routines too short for an entry frame.
class UsualFloatControl {
public:
    UsualFloatControl() : host_(float_control())
    {
        if (host_ != usual_float_control) {
            set_float_control(usual_float_control);
        }
    }
    ~UsualFloatControl()
    {
        if (host_ != usual_float_control) {
            set_float_control(host_);
        }
    }
    UsualFloatControl(const UsualFloatControl&) = delete;
    UsualFloatControl& operator=(const UsualFloatControl&) = delete;

private:
    FloatControl host_;
};

// For printing numbers: C libraries of x86 round the digits as the x87 unit rounds.
class UsualPrinting {
#if defined(__x86_64__)
public:
    UsualPrinting() : x87_(x87_control())
    {
        set_x87_control(static_cast<unsigned short>(x87_ & ~x87_rounding));
    }
    ~UsualPrinting()
    {
        set_x87_control(x87_);
    }
    UsualPrinting(const UsualPrinting&) = delete;
    UsualPrinting& operator=(const UsualPrinting&) = delete;

private:
    unsigned short x87_;
#endif
    UsualFloatControl usual_;
};

} // namespace zavo::platform

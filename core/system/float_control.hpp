// The processor's rounding of floating-point results. The library computes with
// the modes that a process starts with: to nearest, subnormal numbers as they are,
// no trap. A host may have set others; each routine puts the usual ones in place
// and the host's back when it returns or calls a user function. Looking costs a
// few cycles; the modes are written only where they differ.
//
// On 32-bit x86 arithmetic is done in SSE registers, too, so that the precision
// control of the x87 unit, through which results are merely passed, has no effect.
#pragma once

#if defined(__x86_64__) || defined(__i386__)
#include <xmmintrin.h>
#endif

namespace zavo::platform {

#if defined(__x86_64__) || defined(__i386__)

using FloatControl = unsigned;
inline constexpr FloatControl usual_float_control = 0x1f80;

// Without the flags of what has happened since they were cleared.
inline FloatControl float_control()
{
    return _mm_getcsr() & ~0x3fU;
}
inline void set_float_control(FloatControl control)
{
    _mm_setcsr(control | (_mm_getcsr() & 0x3fU));
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

} // namespace zavo::platform

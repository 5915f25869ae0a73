// Twiddle values: see cos_sin.hpp for the method. Here stand the careful
// evaluation of doubtful values and the scalar face.

#include "fft/tables/twiddle.hpp"

#include "core/kernels/double_double.hpp"
#include "fft/tables/cos_sin.hpp"

#include <array>
#include <cstddef>

namespace zavo::fft {

namespace {

using namespace core::double_double;

// (-1)^(p/2) / p!, integer division; p = 0 .. 27
// clang-format off
constexpr Pair terms[] = {
    {0x1.0000000000000p+0, 0x0.0p+0}, // 0
    {0x1.0000000000000p+0, 0x0.0p+0}, // 1
    {-0x1.0000000000000p-1, 0x0.0p+0}, // 2
    {-0x1.5555555555555p-3, -0x1.5555555555555p-57}, // 3
    {0x1.5555555555555p-5, 0x1.5555555555555p-59}, // 4
    {0x1.1111111111111p-7, 0x1.1111111111111p-63}, // 5
    {-0x1.6c16c16c16c17p-10, 0x1.f49f49f49f49fp-65}, // 6
    {-0x1.a01a01a01a01ap-13, -0x1.a01a01a01a01ap-73}, // 7
    {0x1.a01a01a01a01ap-16, 0x1.a01a01a01a01ap-76}, // 8
    {0x1.71de3a556c734p-19, -0x1.c154f8ddc6c00p-73}, // 9
    {-0x1.27e4fb7789f5cp-22, -0x1.cbbc05b4fa99ap-76}, // 10
    {-0x1.ae64567f544e4p-26, 0x1.c062e06d1f209p-80}, // 11
    {0x1.1eed8eff8d898p-29, -0x1.2aec959e14c06p-83}, // 12
    {0x1.6124613a86d09p-33, 0x1.f28e0cc748ebep-87}, // 13
    {-0x1.93974a8c07c9dp-37, -0x1.05d6f8a2efd1fp-92}, // 14
    {-0x1.ae7f3e733b81fp-41, -0x1.1d8656b0ee8cbp-97}, // 15
    {0x1.ae7f3e733b81fp-45, 0x1.1d8656b0ee8cbp-101}, // 16
    {0x1.952c77030ad4ap-49, 0x1.ac981465ddc6cp-103}, // 17
    {-0x1.6827863b97d97p-53, -0x1.eec01221a8b0bp-107}, // 18
    {-0x1.2f49b46814157p-57, -0x1.2650f61dbdcb4p-112}, // 19
    {0x1.e542ba4020225p-62, 0x1.ea72b4afe3c2fp-120}, // 20
    {0x1.71b8ef6dcf572p-66, -0x1.d043ae40c4647p-120}, // 21
    {-0x1.0ce396db7f853p-70, 0x1.aebcdbd20331cp-124}, // 22
    {-0x1.761b41316381ap-75, 0x1.3423c7d91404fp-130}, // 23
    {0x1.f2cf01972f578p-80, -0x1.9ada5fcc1ab14p-135}, // 24
    {0x1.3f3ccdd165fa9p-84, -0x1.58ddadf344487p-139}, // 25
    {-0x1.88e85fc6a4e5ap-89, 0x1.71c37ebd16540p-143}, // 26
    {-0x1.d1ab1c2dccea3p-94, -0x1.054d0c78aea14p-149}, // 27
};
// clang-format on

// The Maclaurin series with the even (first = 0) or odd (first = 1) powers.
constexpr Pair series(Pair r, int first)
{
    const Pair r2 = r * r;
    Pair sum = terms[26 + first];
    for (int p = 24 + first; p >= 0; p -= 2) {
        sum = sum_of_any(sum * r2, terms[p]);
    }
    return first == 0 ? sum : sum * r;
}

constexpr CosSin exact_cos_sin(double x)
{
    using namespace cos_sin_detail;
    const double k = (x * two_over_pi + rounder) - rounder;
    Pair r = two_sum(x - k * half_pi_first, -(k * half_pi_second));
    r = sum_of_any(r, two_product(-k, half_pi_third));
    r = sum_of_any(r, two_product(-k, half_pi_rest));
    const double c = series(r, 0).high;
    const double s = series(r, 1).high;
    const int quarter = static_cast<int>(k) % 4;
    const double cos_part = quarter % 2 != 0 ? s : c;
    const double sin_part = quarter % 2 != 0 ? c : s;
    return {static_cast<float>(quarter == 1 || quarter == 2 ? -cos_part : cos_part),
            static_cast<float>(quarter >= 2 ? -sin_part : sin_part)};
}

constexpr CosSin rotation_by_slot(int ip)
{
    return exact_cos_sin(static_cast<double>(static_cast<float>(6.283185307179586 / ip)));
}

// Of the odd radices from 3 on, which are most that a length has.
constexpr auto rotations = [] {
    std::array<CosSin, 64> all{};
    for (std::size_t i = 0; i < all.size(); ++i) {
        all[i] = rotation_by_slot(static_cast<int>(2 * i) + 3);
    }
    return all;
}();

} // namespace

CosSin careful_cos_sin(double x)
{
    return exact_cos_sin(x);
}

CosSin rotation_of(int ip)
{
    const auto place = static_cast<std::size_t>(ip - 3) / 2;
    return ip >= 3 && ip % 2 != 0 && place < rotations.size() ? rotations[place] : rotation_by_slot(ip);
}

CosSin cos_sin(double x)
{
    return careful_cos_sin(x);
}

} // namespace zavo::fft

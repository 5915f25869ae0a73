// Loops over blocks of numbers, once for each set of vector instructions. All sets
// give the same bits.
#pragma once

namespace zavox::wide {

// What calc can do to its operands.
enum class Operation : unsigned char {
    // clang-format off
    negate_, not_, truth_,
    add_, subtract_, multiply_, divide_, modulo_, pow_,
    less_, less_equal_, greater_, greater_equal_, equal_, unequal_, and_, or_, choose_,
    abs_, acos_, asin_, atan_, atan2_, ceil_, cos_, cosh_, exp_, floor_, fmod_, hypot_, isfinite_, isnan_,
    log_, log10_, max_, min_, round_, sin_, sinh_, sqrt_, tan_, tanh_, trunc_,
    square_, cube_, fourth_, reciprocal_, copy_,
    multiply_add_, multiply_subtract_, subtract_product_ // x y + z, x y - z, z - x y
    // clang-format on
};
inline constexpr int operation_count = static_cast<int>(Operation::subtract_product_) + 1;

// Numbers come in multiples of this many.
inline constexpr int granule = 8;

// out = f(x, y, z) for n numbers, n a multiple of `granule`; operands that the
// operation does not have are not looked at. out may be one of them.
using Kernel = void(void* out, const void* x, const void* y, const void* z, int n);

// Numbers are doubles, or floats at the places that a form names by the sum of these.
// A NaN among floats that come out is always the same one.
enum Floats : unsigned char { floats_out = 1, floats_x = 2, floats_y = 4, floats_z = 8 };
inline constexpr int form_count = 16;

// The floats that the statistics take at a time.
inline constexpr int sum_block_bits = 10;
inline constexpr int sum_block = 1 << sum_block_bits;
inline constexpr int partial_sums = 32;

struct Kernels {
    // By operation and form. All operations have the form of doubles, those that are
    // soon done have others, copy_ those that widen and round; null for the rest.
    Kernel* of[operation_count][form_count];
    // Of sum_block floats: the sum, exact when the function says so; the sum of
    // the squares of x - mean and of the products, in double.
    bool (*sum)(const float* x, double* total);
    double (*squares)(const float* x, double mean);
    double (*products)(const float* x, const float* y);
};

// The set of the path in use.
const Kernels& kernels();

// What the loops leave to plain functions, the same for all sets.
double exact_fmod(double x, double y);
double large_sin(double x);
double large_cos(double x);
double large_tan(double x);
double sum_of_parts(const double* parts);

} // namespace zavox::wide

#include "zavox/convolution.hpp"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstring>
#include <limits>

namespace zavox {

namespace {

// ---- Direct sums ----------------------------------------------------------------

// `width` outputs side by side, whose inputs all exist: each lane is one output,
// so that the order of its terms does not depend on the width.
template <int bytes>
struct Lanes {
    static constexpr int width = bytes / 4;
    typedef float V __attribute__((vector_size(bytes)));
};

template <int bytes>
__attribute__((always_inline)) inline std::int64_t inner_sums(const float* a, int nh, const float* h,
                                                              std::int64_t count, float* out)
{
    using V = typename Lanes<bytes>::V;
    constexpr int block = 4;
    constexpr int step = block * Lanes<bytes>::width;
    std::int64_t i = 0;
    for (; i + step <= count; i += step) {
        V sums[block] = {};
        for (int j = 0; j < nh; ++j) {
            const float* const from = a + i - j;
            for (int b = 0; b < block; ++b) {
                V values;
                std::memcpy(&values, from + b * Lanes<bytes>::width, sizeof values);
                sums[b] += values * h[j];
            }
        }
        std::memcpy(out + i, sums, sizeof sums);
    }
    return i;
}

#if defined(ZAVO_X86_PATHS)
__attribute__((target("avx2"))) std::int64_t inner_sums_avx2(const float* a, int nh, const float* h,
                                                             std::int64_t count, float* out)
{
    return inner_sums<32>(a, nh, h, count, out);
}
#endif

std::int64_t inner_sums_best(const float* a, int nh, const float* h, std::int64_t count, float* out)
{
#if defined(ZAVO_X86_PATHS)
    if (path_in_use() >= zavo::simd::Path::avx2) {
        return inner_sums_avx2(a, nh, h, count, out);
    }
#endif
    return inner_sums<16>(a, nh, h, count, out);
}

// One output, the terms outside a left out.
float one_sum(int na, const float* a, int nh, const float* h, std::int64_t k)
{
    assert(k >= 0 && k <= std::int64_t{na} + nh - 2);
    const std::int64_t first = std::max<std::int64_t>(0, k - (na - 1));
    const std::int64_t last = std::min<std::int64_t>(nh - 1, k);
    float sum = 0.0F;
    for (std::int64_t j = first; j <= last; ++j) {
        sum += a[k - j] * h[j];
    }
    return sum;
}

// ---- Pieces through transforms ----------------------------------------------------

// A length for pieces: what it costs to make `count` outputs with a kernel of nh
// values, in units of a butterfly.
double cost_of(int length, int nh, std::int64_t count)
{
    const std::int64_t outputs = length - nh + 1;
    const std::int64_t whole = (count + outputs - 1) / outputs;
    const auto pieces = static_cast<double>(whole);
    double logarithm = 1.0;
    for (int rest = length; rest > 1; rest /= 2) {
        logarithm += 1.0;
    }
    // Beyond the cache of a core every pass fetches its values from further away.
    const double distance = length > 65536 ? 1.5 : 1.0;
    return (2.0 * pieces + 1.0) * length * (logarithm + 4.0) * distance;
}

// 0 when no int holds one.
int piece_length(int nh, std::int64_t count)
{
    int best = fast_size(count + nh - 1);
    double least = best != 0 ? cost_of(best, nh, count) : std::numeric_limits<double>::infinity();
    for (int length = fast_size(2 * std::int64_t{nh}); length != 0 && length < count + nh - 1;
         length = fast_size(std::int64_t{length} + 1)) {
        const double cost = cost_of(length, nh, count);
        if (cost < least) {
            best = length;
            least = cost;
        }
    }
    return best;
}

// z = x y, packed spectra of n values; z may be x.
void multiply_spectra(int n, const float* x, const float* y, float* z)
{
    z[0] = x[0] * y[0];
    for (int k = 1; k + 1 < n; k += 2) {
        const float re = x[k] * y[k] - x[k + 1] * y[k + 1];
        const float im = x[k] * y[k + 1] + x[k + 1] * y[k];
        z[k] = re;
        z[k + 1] = im;
    }
    if (n % 2 == 0) {
        z[n - 1] = x[n - 1] * y[n - 1];
    }
}

bool transformed_sums(Fourier& fourier, int na, const float* a, int nh, const float* h, std::int64_t first,
                      std::int64_t count, float* out)
{
    const int length = piece_length(nh, count);
    if (length == 0) {
        return false;
    }
    const Buffer<float> kernel(length);
    const Buffer<float> piece(length);
    if (kernel.get() == nullptr || piece.get() == nullptr) {
        return false;
    }
    for (int j = 0; j < nh; ++j) {
        kernel.get()[j] = h[j] / static_cast<float>(length);
    }
    std::fill(kernel.get() + nh, kernel.get() + length, 0.0F);
    if (!fourier.real_forward(length, kernel.get(), kernel.get())) {
        return false;
    }
    const std::int64_t outputs = length - nh + 1;
    assert(outputs >= 1);
    const std::int64_t nanoseconds_of_piece = std::int64_t{8} * length;
    for (std::int64_t done = 0; done < count; done += outputs) {
        // a[start ... start + length - 1], with zeros where it has no values.
        const std::int64_t start = first + done - (nh - 1);
        const std::int64_t from = std::clamp<std::int64_t>(start, 0, na);
        const std::int64_t to = std::clamp<std::int64_t>(start + length, from, na);
        float* const values = piece.get();
        std::fill(values, values + (std::min(from, start + length) - start), 0.0F);
        std::copy(a + from, a + to, values + (from - start));
        std::fill(values + std::max<std::int64_t>(to - start, 0), values + length, 0.0F);
        if (!fourier.real_forward(length, values, values)) {
            return false;
        }
        multiply_spectra(length, values, kernel.get(), values);
        if (!fourier.real_backward(length, values, values)) {
            return false;
        }
        std::copy_n(values + nh - 1, std::min(outputs, count - done), out + done);
        if (interrupted(nanoseconds_of_piece)) {
            return false;
        }
    }
    return true;
}

// out = full[first ... first + count - 1] of two records.
bool sums(Fourier& fourier, int na, const float* a, int nb, const float* b, std::int64_t first,
          std::int64_t count, float* out)
{
    if (na < nb) {
        std::swap(na, nb);
        std::swap(a, b);
    }
    if (nb <= direct_limit) {
        return direct_sums(na, a, nb, b, first, count, out);
    }
    return transformed_sums(fourier, na, a, nb, b, first, count, out);
}

// full[k] + full[k + max], rotated so that full[zero] comes first.
bool circular_sums(Fourier& fourier, int nx, const float* x, int ny, const float* y, std::int64_t zero,
                   float* z)
{
    const std::int64_t all = std::int64_t{nx} + ny - 1;
    const std::int64_t period = std::max(nx, ny);
    const Buffer<float> full(all);
    if (full.get() == nullptr || !sums(fourier, nx, x, ny, y, 0, all, full.get())) {
        return false;
    }
    for (std::int64_t k = 0; k < period; ++k) {
        const std::int64_t other = k + period < all ? k + period : -1;
        const std::int64_t place = k >= zero ? k - zero : k - zero + period;
        assert(place >= 0 && place < period);
        z[place] = other < 0 ? full.get()[k] : full.get()[k] + full.get()[other];
    }
    return true;
}

} // namespace

bool direct_sums(int na, const float* a, int nh, const float* h, std::int64_t first, std::int64_t count,
                 float* out)
{
    assert(na >= 1 && nh >= 1 && first >= 0 && first + count <= std::int64_t{na} + nh - 1);
    // Outputs whose nh inputs all exist: nh - 1 <= k < na.
    const std::int64_t inner = std::clamp<std::int64_t>(nh - 1 - first, 0, count);
    const std::int64_t outer = std::clamp<std::int64_t>(na - first, inner, count);
    for (std::int64_t i = 0; i < inner; ++i) {
        out[i] = one_sum(na, a, nh, h, first + i);
    }
    std::int64_t made = inner;
    const int nanoseconds = nh / 4 + 1;
    const bool done = in_parts(outer - inner, nanoseconds, [&](std::int64_t begin, std::int64_t end) {
        made += inner_sums_best(a + first + inner + begin, nh, h, end - begin, out + inner + begin);
    });
    for (std::int64_t i = made; done && i < count; ++i) {
        out[i] = one_sum(na, a, nh, h, first + i);
    }
    return done;
}

std::int64_t part_length(Part part, int nx, int ny)
{
    switch (part) {
    case Part::full:
        return std::int64_t{nx} + ny - 1;
    case Part::valid:
        return std::int64_t{std::max(nx, ny)} - std::min(nx, ny) + 1;
    default:
        return std::max(nx, ny);
    }
}

bool convolve(Fourier& fourier, Part part, int nx, const float* x, int ny, const float* y, float* z)
{
    const int least = std::min(nx, ny);
    switch (part) {
    case Part::circular:
        return circular_sums(fourier, nx, x, ny, y, 0, z);
    case Part::full:
        return sums(fourier, nx, x, ny, y, 0, part_length(part, nx, ny), z);
    case Part::same:
        return sums(fourier, nx, x, ny, y, (least - 1) / 2, part_length(part, nx, ny), z);
    default:
        return sums(fourier, nx, x, ny, y, least - 1, part_length(part, nx, ny), z);
    }
}

bool correlate(Fourier& fourier, Part part, int nx, const float* x, int ny, const float* y, float* z)
{
    const Buffer<float> reversed(ny);
    if (reversed.get() == nullptr) {
        return false;
    }
    std::reverse_copy(y, y + ny, reversed.get());
    return part == Part::circular ? circular_sums(fourier, nx, x, ny, reversed.get(), ny - 1, z)
                                  : convolve(fourier, part, nx, x, ny, reversed.get(), z);
}

} // namespace zavox

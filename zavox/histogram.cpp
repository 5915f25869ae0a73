#include "zavox/histogram.hpp"

#include "zavox/engine.hpp"

#include <algorithm>
#include <cassert>

namespace zavox {

bool fill_equally_spaced(double first, double last, int count, float* out)
{
    assert(count >= 2);
    const double step = (last - first) / (count - 1);
    const bool done = in_parts(count, 1, [=](std::int64_t begin, std::int64_t end) {
        for (auto i = static_cast<int>(begin); i < end; ++i) {
            out[i] = static_cast<float>(first + i * step);
        }
    });
    out[0] = static_cast<float>(first);
    out[count - 1] = static_cast<float>(last);
    return done;
}

bool make_edges(float low, float high, int bins, float* edges)
{
    auto first = static_cast<double>(low);
    auto last = static_cast<double>(high);
    if (first == last) {
        first -= 0.5;
        last += 0.5;
    }
    return fill_equally_spaced(first, last, bins + 1, edges);
}

// The bin is computed and then put right by the edges, which decide.
bool count_in_bins(const float* x, int n, const float* edges, int bins, int* counts, int* outside)
{
    assert(bins >= 1 && std::is_sorted(edges, edges + bins + 1));
    const auto low = static_cast<double>(edges[0]);
    const double span = static_cast<double>(edges[bins]) - low;
    *outside = 0;
    std::fill_n(counts, bins, 0);
    const auto count = [&](float value) {
        if (!(value >= edges[0] && value <= edges[bins])) {
            ++*outside;
            return;
        }
        const double share = span > 0 ? (static_cast<double>(value) - low) / span : 0;
        int bin = std::min(static_cast<int>(share * bins), bins - 1);
        while (bin > 0 && value < edges[bin]) {
            --bin;
        }
        while (bin < bins - 1 && value >= edges[bin + 1]) {
            ++bin;
        }
        ++counts[bin];
    };
    return in_parts(n, 5,
                    [=](std::int64_t begin, std::int64_t end) { std::for_each(x + begin, x + end, count); });
}

} // namespace zavox

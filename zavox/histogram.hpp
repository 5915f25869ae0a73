// Equally spaced floats, and counts between them.
#pragma once

namespace zavox {

// count >= 2 floats from first to last, which are exact; each the value in double
// precision, rounded once. False when interrupted, as for the others here.
[[nodiscard]] bool fill_equally_spaced(double first, double last, int count, float* out);

// The bins + 1 edges between low and high; equal ends are moved apart by 0.5 either
// way.
[[nodiscard]] bool make_edges(float low, float high, int bins, float* edges);

// Counts the elements between edges[i] and edges[i + 1], the lower one included, of
// the last bin the upper one, too; *outside says how many are in no bin.
[[nodiscard]] bool count_in_bins(const float* x, int n, const float* edges, int bins, int* counts,
                                 int* outside);

} // namespace zavox

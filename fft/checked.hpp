// The workers between the public routines and the transforms. Each posts what is wrong
// with its lengths, within the error frame of the fixed name that it stands behind.
#pragma once

#include "core/zavo.h"
#include "fft/transforms.hpp"

namespace zavo::fft {

// l_f2trf, l_f2trb: n values from p to q by a table of 2n + 15 floats. n < 1 is nothing
// to do forward and posts 5/6001 backward.
void transform_real_checked(Direction d, int n, const float* p, float* q, float* table);
// FFTRI: the table's rotations and factors. n < 1 posts 5/6001, n = 1 leaves it alone.
void build_real_table_checked(int n, float* table);

// l_f2tcf, l_f2tcb: n values from p to q by a table of 4n + 15 floats. work: n values,
// apart from all others. n < 1 posts 5/6001.
void transform_complex_checked(Direction d, int n, const f_complex* p, f_complex* q, float* table,
                               f_complex* work);

// The two arrays of a transform in two dimensions; ldp and ldq are their column dimensions.
struct Layout {
    const f_complex* p;
    Index ldp;
    f_complex* q;
    Index ldq;

    // Whether the rows and columns can be taken in any order: no element of the
    // result lies where another element, or one still to be read, lies.
    bool any_order(Index n, Index m) const;
};

struct Tables2d {
    float* rows;    // for n; null for 1
    float* columns; // for m; null for 1
};

// l_f2t2d: m rows of n values, rows first. n < 1 posts 5/6004, m < 1 5/6003.
// work: max(m, n) values.
void transform_2d_forward_checked(int n, int m, const Layout& at, const Tables2d& tables, f_complex* work);
// l_f2t2b: columns first. Posts the first that holds: 5/6005 n < 1, 5/6006 m < 1,
// 5/6007 ldq < n, 5/6008 ldp < n.
void transform_2d_backward_checked(int n, int m, const Layout& at, const Tables2d& tables, f_complex* work);

// A sequence on its way to its spectrum.
struct Sequence {
    Index n;
    const float* values;
    float* work; // nz floats that receive the spectrum
};

// Where a convolution of nz values puts what it finds.
struct ConvolutionResult {
    float* z;     // nz
    float* zhat;  // nz; may be the work array of either sequence
    float* table; // 2nz + 15 floats
};

std::int64_t convolution_length(std::int64_t nx, std::int64_t ny, bool periodic);
std::int64_t correlation_length(std::int64_t nx, bool periodic);

// R2ONV. mode: 0 single call, 1 first, 2 next, 3 last of a series; 0 and 1 build the table.
void convolve_checked(int mode, int nz, const Sequence& x, const Sequence& y,
                      const ConvolutionResult& result);
// R2ORL; y may be null: then it is x.
void correlate_checked(int mode, int nz, const Sequence& x, const Sequence* y,
                       const ConvolutionResult& result);

} // namespace zavo::fft

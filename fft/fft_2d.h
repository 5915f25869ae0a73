// Workers of the two-dimensional complex transform of m rows by n columns. C
// linkage, fixed names; scalars by address.
//
// ldp, ldq: column dimensions (row strides in complex values) of p and q.
// row_table, column_table: tables for n and m (null for a length of 1).
// work: max(m, n) complex values; work2: m complex values, not used.
#pragma once

#include "core/zavo.h"

extern "C" {

// Forward, rows first, from p to q. n < 1 posts 5/6004 and m < 1 5/6003; both
// are tested. The column dimensions are not.
void l_f2t2d(const int* n, const int* m, const f_complex* p, const int* ldp, f_complex* q, const int* ldq,
             float* row_table, float* column_table, f_complex* work2, f_complex* work);

// Backward, columns first, from p to q; note the order of the arguments. Posts
// the first that holds: 5/6005 n < 1, 5/6006 m < 1, 5/6007 ldq < n, 5/6008
// ldp < n.
void l_f2t2b(const int* n, const int* m, f_complex* q, const int* ldq, const f_complex* p, const int* ldp,
             float* row_table, float* column_table, f_complex* work2, f_complex* work);

} // extern "C"

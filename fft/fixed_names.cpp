// The fixed names, for outsiders: each reads what it gets by address for the worker
// behind it. Nothing inside the library calls one of them.
#include "fft/checked.hpp"
#include "fft/complex_fft.h"
#include "fft/convolution.h"
#include "fft/fft_2d.h"
#include "fft/real_fft.h"

using namespace zavo::fft;

extern "C" void l_f2trf(const int* n, const float* p, float* q, float* params)
{
    transform_real_checked(Direction::forward, *n, p, q, params);
}

extern "C" void l_f2trb(const int* n, const float* p, float* q, float* params)
{
    transform_real_checked(Direction::backward, *n, p, q, params);
}

extern "C" void FFTRI(const int* n, float* table)
{
    build_real_table_checked(*n, table);
}

extern "C" void l_f2tcf(const int* n, const f_complex* p, f_complex* q, float* params, f_complex* work)
{
    transform_complex_checked(Direction::forward, *n, p, q, params, work);
}

extern "C" void l_f2tcb(const int* n, const f_complex* p, f_complex* q, float* params, f_complex* work)
{
    transform_complex_checked(Direction::backward, *n, p, q, params, work);
}

extern "C" void l_f2t2d(const int* n, const int* m, const f_complex* p, const int* ldp, f_complex* q,
                        const int* ldq, float* row_table, float* column_table, f_complex*, f_complex* work)
{
    transform_2d_forward_checked(*n, *m, {p, *ldp, q, *ldq}, {row_table, column_table}, work);
}

extern "C" void l_f2t2b(const int* n, const int* m, f_complex* q, const int* ldq, const f_complex* p,
                        const int* ldp, float* row_table, float* column_table, f_complex*, f_complex* work)
{
    transform_2d_backward_checked(*n, *m, {p, *ldp, q, *ldq}, {row_table, column_table}, work);
}

extern "C" void R2ONV(const int* mode, const int* nx, const float* x, const int* ny, const float* y,
                      const int* ipad, int* nz, float* z, float* zhat, float* xwork, float* ywork,
                      float* table)
{
    *nz = static_cast<int>(convolution_length(*nx, *ny, *ipad == 0));
    convolve_checked(*mode, *nz, {*nx, x, xwork}, {*ny, y, ywork}, {z, zhat, table});
}

extern "C" void R2ORL(const int* mode, const int* nx, const float* x, const float* y, const int* ipad,
                      int* nz, float* z, float* zhat, float* xwork, float* ywork, float* table)
{
    *nz = static_cast<int>(correlation_length(*nx, *ipad % 2 == 0));
    const Sequence second{*nx, y, ywork};
    correlate_checked(*mode, *nz, {*nx, x, xwork}, *ipad >= 2 ? nullptr : &second, {z, zhat, table});
}

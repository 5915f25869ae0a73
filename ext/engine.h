/*
 * engine.h: the library of the module, for the libraries that stand beside it.
 *
 * The module exports Zavo_Init alone. A companion reaches the one random stream,
 * the one error stack and the one catalogue through this table, which Zavo_Init
 * hands out with the package:
 *
 *     ClientData table = NULL;
 *     if (Tcl_PkgRequireEx(interp, "zavo", "1.0", 0, &table) == NULL) ...
 *     const zavo_engine* engine = table;
 *
 * The table is constant and the same for every interpreter of the process. New
 * entries are added at its end: a companion asks whether `version` is its own
 * and `size` no less than its own. What an entry of the library does stands at
 * its prototype in zavo.h; state (stream, errors) is that of the calling thread
 * as far as the library's own is.
 */
#ifndef ZAVO_ENGINE_H
#define ZAVO_ENGINE_H

#include "core/zavo.h"
#include "minimize/run/run.h"
#include "random/stream_state.h"

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

#define ZAVO_ENGINE_VERSION 1

/* An error that the library has reported. The texts live until the next one. */
typedef struct zavo_engine_error {
    int type; /* one of zavo_error_type; 0 when none has been reported */
    int code;
    const char* routine; /* name of the public routine that reported it */
    const char* text;    /* routine: message, as the commands of the module give it */
} zavo_engine_error;

/* Work that an interpreter may end: between begin and end the routines of the library
 * ask it now and then whether it has been cancelled or deleted or has met a limit.
 * Loops of the caller's own, where they last, call ended() with about the nanoseconds
 * since the call before. When it returns 1 they leave; what they and the library's
 * routines have made by then is worth nothing. end() takes the caller's status and
 * returns it, or TCL_ERROR with the interpreter's own error. Works nest. A script that
 * the interpreter runs while it is asked, such as the handler of a limit, may begin
 * another: `within_another` then says that what the caller works with is in use. */
struct Tcl_Interp;
typedef struct zavo_long_work {
    struct Tcl_Interp* interp;
    void* end; /* the interpreter's error, when it has ended the work */
    int held;  /* whether the interpreter is kept */
    int within_another;
    long long outer[5]; /* what the thread had before */
} zavo_long_work;

typedef struct zavo_engine {
    int version;
    size_t size; /* of this table in bytes */

    /* Errors. forget() before a routine, failed() after it: 1 when an error of
     * type 4 or 5 has been reported in between. last() describes the latest
     * report since forget(). */
    void (*error_forget)(void);
    int (*error_failed)(void);
    void (*error_last)(zavo_engine_error* error);
    int (*error_options)(int code, ...);
    int (*error_type)(int level);
    int (*error_code)(int level);
    void (*error_hook)(zavo_error_hook_fn hook);

    float (*f_machine)(int n);
    double (*dmach)(int n);

    float* (*f_random_uniform)(int n, ...);
    float* (*f_random_normal)(int n, ...);
    float* (*f_random_exponential)(int n, ...);
    float (*f_normal_inverse_cdf)(float p);
    void (*random_seed_set)(int seed);
    int (*random_seed_get)(void);
    void (*random_option)(int option);
    void (*rnses)(const float* table);

    float* (*f_fft_real)(int n, const float* p, ...);
    float* (*f_fft_real_init)(int n);
    f_complex* (*c_fft_complex)(int n, const f_complex* p, ...);
    float* (*c_fft_complex_init)(int n);
    f_complex* (*c_fft_2d_complex)(int m, int n, const f_complex* p, ...);
    float* (*f_convolution)(int nx, const float* x, int ny, const float* y, int* nz, ...);

    float (*f_constant)(const char* name, const char* unit);
    int (*date_to_days)(int day, int month, int year);
    void (*days_to_date)(int days, int* day, int* month, int* year);

    float* (*f_min_uncon_multivar)(zavo_objective_fn fcn, int n, ...);
    float* (*f_min_con_gen_lin)(zavo_constrained_objective_fn fcn, int nvar, int ncon, int neq, float* a,
                                const float* b, const float* xlb, const float* xub, ...);

    /* Memory of the library's allocator, which tests make fail. */
    void* (*allocate)(size_t count, size_t size);
    void (*release)(void* block);

    /* The same bits on every target (core/kernels/elementary.hpp). */
    double (*sin)(double x);
    double (*cos)(double x);

    /* Inside the stream (random/random.h). */
    int (*random_option_get)(void);
    void (*random_state_get)(zavo_random_state* state);
    int (*random_state_set)(const zavo_random_state* state);
    int (*random_jump)(long long count);
    void (*random_uniforms)(int n, float* r);
    void (*random_normals)(int n, float* r);
    void (*random_exponentials)(int n, float* r);

    /* Workers of the transforms (fft/real_fft.h, fft/complex_fft.h). */
    void (*fft_real_forward)(const int* n, const float* p, float* q, float* table);
    void (*fft_real_backward)(const int* n, const float* p, float* q, float* table);
    void (*fft_complex_forward)(const int* n, const f_complex* p, f_complex* q, float* table,
                                f_complex* work);
    void (*fft_complex_backward)(const int* n, const f_complex* p, f_complex* q, float* table,
                                 f_complex* work);

    /* Units (constants/units.h). */
    int (*unit_conversion)(const char* from_unit, const char* to_unit, double* numerator,
                           double* denominator);
    const char* (*constant_name)(int i);
    const char* (*unit_name)(int i);

    /* A minimisation with all its options (minimize/run/run.h). */
    void (*minimize_run)(const zavo_run_problem* problem, zavo_run_outcome* outcome);

    /* The code path in use, a zavo::simd::Path (core/simd/path.hpp). */
    int (*path_in_use)(void);

    void (*long_work_begin)(zavo_long_work* work, struct Tcl_Interp* interp);
    int (*long_work_ended)(long long nanoseconds);
    int (*long_work_end)(zavo_long_work* work, int status);
} zavo_engine;

/* The table itself. */
extern const zavo_engine zavo_engine_table;

#ifdef __cplusplus
}
#endif

#endif

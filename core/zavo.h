/*
 * zavo.h: the numerical library, callable from C and C++.
 *
 * Conventions. A routine that returns a vector returns a new array from
 * malloc() that the caller releases with free(), or fills and returns the
 * caller's own array when ZAVO_RETURN_USER is given. The variable arguments of
 * a routine are option codes, each followed by its values, closed by 0.
 * Trouble is posted on the error stack (type, code, message) and the routine
 * returns null, NaN or the value that its comment names.
 *
 * Threads. Each thread has its own error stack, stream of deviates and series of
 * convolutions, made at its first call (some 70 KB) and released when it ends; N
 * threads get the results that each would get alone. What zavo_error_options sets
 * is the process's.
 */
#ifndef ZAVO_H
#define ZAVO_H

#include <stdio.h>

/* The version of this header; zavo_version() tells that of the library. */
#define ZAVO_VERSION_MAJOR 1
#define ZAVO_VERSION_MINOR 0
#define ZAVO_VERSION "1.0"

#ifdef __cplusplus
extern "C" {
#endif

/* What a shared library of these routines shows, whatever the default is. */
#if defined(__GNUC__) && !defined(_WIN32)
#pragma GCC visibility push(default)
#endif

/* The version of the library, such as "1.0": a text that stays the library's.
 * A program compiled with one header may meet a later library. */
const char* zavo_version(void);

/* A single-precision complex value; an array of n of them is 2n floats. */
typedef struct f_complex {
    float re;
    float im;
} f_complex;

/* ---- Errors ------------------------------------------------------------ */

enum zavo_error_type {
    ZAVO_NOTE = 1,
    ZAVO_ALERT = 2,
    ZAVO_WARNING = 3,
    ZAVO_FATAL = 4,
    ZAVO_TERMINAL = 5,
    ZAVO_WARNING_IMMEDIATE = 6,
    ZAVO_FATAL_IMMEDIATE = 7,
    ZAVO_INTERNAL = 8
};

/* Called instead of the printer for every reported error whose type prints. */
typedef void (*zavo_error_handler_fn)(int type, int code, const char* routine, const char* message);
/* Called before the handler, for every reported error. */
typedef void (*zavo_error_hook_fn)(int type, int code, const char* message);

/* Option codes of zavo_error_options; values in brackets. Types are 1..5. */
enum zavo_error_option {
    ZAVO_SET_PRINT = 10188,          /* [int type, int setting] */
    ZAVO_GET_PRINT = 10189,          /* [int type, int*] */
    ZAVO_SET_STOP = 10190,           /* [int type, int setting] */
    ZAVO_GET_STOP = 10191,           /* [int type, int*] */
    ZAVO_GET_TRACEBACK = 10192,      /* [int type, int*] */
    ZAVO_SET_TRACEBACK = 10193,      /* [int type, int setting] */
    ZAVO_SET_ERROR_STREAM = 10194,   /* [FILE*] */
    ZAVO_SET_ERROR_HANDLER = 10195,  /* [zavo_error_handler_fn, or null for the printer] */
    ZAVO_SET_CATALOGUE_PATH = 10196, /* [const char*, copied] */
    ZAVO_SET_CATALOGUE_NAME = 10197, /* [const char*, copied] */
    ZAVO_GET_ERROR_STREAM = 10210,   /* [FILE**] */
    ZAVO_TRACE_ALL_LEVELS = 10301,   /* [int] */
    ZAVO_GET_OUTPUT_MODE = 50000,    /* [int*] */
    ZAVO_SET_OUTPUT_MODE = 50001,    /* [int, one of zavo_output_mode] */
    ZAVO_SET_TRAPPING = 50012        /* [int: 0 leaves faults to the host] */
};

enum zavo_output_mode {
    ZAVO_OUTPUT_STREAM = 50002,      /* the error stream; the default */
    ZAVO_OUTPUT_MESSAGE_BOX = 50003, /* a message box */
    ZAVO_OUTPUT_CONSOLE = 50004      /* the console, lines ended by CR LF */
};

/* Sets and queries the error policy. Message texts are read from zavoerr.bin,
 * which is looked for in the folders that ZAVO_SET_CATALOGUE_PATH names, else in
 * those of the environment variable ZAVOERRPATH. `pkg-config
 * --variable=cataloguedir zavo` prints the folder in which it is installed, so a
 * program that was compiled with that as CATALOGUE_FOLDER says
 *     zavo_error_options(ZAVO_SET_CATALOGUE_PATH, CATALOGUE_FOLDER, 0);
 * Returns the position past the closing 0, counting every code and value from 1.
 * Posts 5/132 for a type outside 1..5 (the option is skipped) and 5/103 for an
 * unknown code (the list ends). */
int zavo_error_options(int code, ...);

/* Posts an error with a message text of the caller's; "%(I1)" and the like in
 * it stand for message parameters, "%/" for a line feed. See
 * docs/errors for the meaning of the types -1 and 0. */
void zavo_e1mes(int type, int code, const char* message);

/* Set message parameter n = 1..9 of a kind: "%(I1)", "%(R1)", "%(C1)" (the real
 * and the imaginary part) and "%(S1)". Other n are ignored. A string is copied,
 * a null pointer reads "(null)"; its n may be negative. Parameters stay until
 * they are set again. */
void zavo_error_set_int(int n, int value);
void zavo_error_set_real(int n, double value);
void zavo_error_set_complex(int n, double re, double im);
void zavo_error_set_f_complex(int n, float re, float im);
void zavo_error_set_string(int n, const char* text);

/* Reads (type -8..-1) or sets (type 0..8) the print and stop settings. */
void zavo_e1pos(int type, int* print, int* stop);

/* Type and code of the routine that returned last (level 1), or of what it
 * carried down to its caller (level 0). Another level posts 8/122. */
int zavo_error_type(int level);
int zavo_error_code(int level);

/* Installs the hook; null removes it. */
void zavo_error_hook(zavo_error_hook_fn hook);

/* ---- Options shared by several routines -------------------------------- */

enum zavo_option {
    ZAVO_BACKWARD = 10008,   /* [] */
    ZAVO_PARAMS = 10009,     /* [const float* table] */
    ZAVO_RETURN_USER = 10260 /* [float* array that receives the result] */
};

/* ---- Machine constants ------------------------------------------------- */

/* Integer arithmetic, 0 <= n <= 12; else posts 5/132 and returns 0. */
int zavo_i_machine(int n);
/* Single precision, 1 <= n <= 8; else posts 5/132 and returns 0. */
float zavo_f_machine(int n);
/* The same table, and that of double precision, for the library's own use;
 * 1 <= n <= 8, else post 5/12009 and return 0. */
float zavo_amach(int n);
double zavo_dmach(int n);

/* ---- Extrema of an argument list (floats arrive as double) -------------- */

/* 0 when n < 1. A NaN after the first is ignored by the minimum and taken by
 * the maximum. */
int zavo_i_vmin(int n, ...);
int zavo_i_vmax(int n, ...);
float zavo_f_vmin(int n, ...);
float zavo_f_vmax(int n, ...);

/* ---- Random deviates --------------------------------------------------- */
/*
 * One stream for each thread: a multiplicative congruential generator modulo
 * 2^31 - 1, seeded from the clock and the number of the thread when nothing has
 * seeded it.
 * The same seed and option give the same bits on every processor and system,
 * however a sequence is split into calls.
 */

/* n >= 1 deviates: uniform, at least 2^-31 and, kept so, at most exactly 1;
 * standard normal, by the inverse distribution function; standard exponential,
 * -ln of a uniform one. Each takes one uniform deviate of the stream.
 * Option: ZAVO_RETURN_USER with a float array of at least n elements, which is
 * filled and returned; a null array counts as none given. Only the first option
 * is read. Returns the array, a new one belonging to the caller. Posts 5/603 for
 * n < 1, 5/11001 for another option, 5/200 when memory is short, and returns
 * null. The normal routine also posts 5/9041 for every uniform deviate of
 * exactly 1 that it draws (one in 34 million); that deviate is a NaN in an
 * array of the caller, and a new array is not handed out. */
float* zavo_f_random_uniform(int n, ...);
float* zavo_f_random_normal(int n, ...);
float* zavo_f_random_exponential(int n, ...);

/* The x for which a standard normal deviate is below x with probability p,
 * 0 < p < 1; else posts 5/9041 and returns NaN. */
float zavo_f_normal_inverse_cdf(float p);

/* 0 < seed < 2147483647 is where the stream goes on; 0 takes a seed from the
 * time of day. Any other seed is ignored, without an error. */
void zavo_random_seed_set(int seed);
/* The last state of the generator: a seed that continues the sequence. */
int zavo_random_seed_get(void);

/* Selects the multiplier: 16807 (options 1, 2), 397204094 (3, 4) or 950706376
 * (5, 6); even options draw through a shuffle table of 128 deviates. 1 is the
 * default. Posts 5/602 for an option outside 1..6. The table stays filled. */
void zavo_random_option(int option);

/* Loads the shuffle table from 128 values between 0 and 1, both excluded; each
 * other value is left out and posts 5/11031. A table[0] of 0 or less empties the
 * table: the generator fills it at the next shuffled deviate. */
void zavo_rnses(const float* table);

/* ---- Fourier transforms, convolution ------------------------------------ */
/*
 * Packed spectrum of n reals (real transform, convolution): the term of
 * frequency zero; real and imaginary part of the frequencies 1 .. (n - 1) / 2;
 * for even n the real Nyquist term.
 *
 * Lengths made of 2, 3 and 5 are fast and exact to a few units of float. A prime
 * factor above 5 costs time in proportion to itself, and in the real transform
 * also accuracy: relative errors of about 1e-3 for a factor near 1000 and 0.2
 * near 10000. Pad, or choose another length.
 */

/* The transform of the n >= 1 reals at p, unscaled: the packed spectrum, or with
 * ZAVO_BACKWARD the reals of the packed spectrum p (backward of forward gives n
 * times the input). Options:
 *   ZAVO_BACKWARD     []
 *   ZAVO_PARAMS       [const float*] table of zavo_f_fft_real_init for the same n;
 *                     the call overwrites its scratch part
 *   ZAVO_RETURN_USER  [float*] n floats that receive the result; may be p. The
 *                     array must come from malloc(): an error (of the arguments,
 *                     or for want of memory) releases it and gives null. An
 *                     unknown option before this one ends the list, so the
 *                     array then stays the caller's; after a fault it does too.
 * Posts 5/103 unknown option, 5/104 null array with an option, 5/6002 null p,
 * 5/6001 n < 1, 5/201 no memory, 5/102 fault. */
float* zavo_f_fft_real(int n, const float* p, ...);

/* A table of 2n + 15 floats for the length n: n floats of scratch, n of cosines
 * and sines, 15 of factor record. One table serves one transform at a time. Null
 * without an error for n = 1, which needs none; posts 5/6001 n < 1, 5/201 no
 * memory. */
float* zavo_f_fft_real_init(int n);

/* The transform of the n >= 1 complex values at p, unscaled: the sums of
 * p[j] exp(-2 pi i j k / n), with ZAVO_BACKWARD of p[j] exp(+2 pi i j k / n).
 * Options:
 *   ZAVO_BACKWARD     []
 *   ZAVO_PARAMS       [const float*] table of zavo_c_fft_complex_init for the same
 *                     n; the call overwrites its scratch part
 *   ZAVO_RETURN_USER  [f_complex*] n values that receive the result; may be p.
 *                     Stays the caller's whatever happens.
 * Posts 5/103 unknown option, 5/104 null array with an option, 5/6002 null p,
 * 5/6001 n < 1, 5/201 no memory, 5/102 fault. */
f_complex* zavo_c_fft_complex(int n, const f_complex* p, ...);

/* A table of 4n + 15 floats, otherwise as zavo_f_fft_real_init. */
float* zavo_c_fft_complex_init(int n);

enum zavo_fft_2d_option {
    ZAVO_RESULT_COL_DIM = 10179, /* [int] */
    ZAVO_INPUT_COL_DIM = 10180   /* [int] */
};

/* The two-dimensional transform of m rows by n columns of complex values, stored
 * by rows, unscaled. Options:
 *   ZAVO_BACKWARD        []
 *   ZAVO_RESULT_COL_DIM  [int] distance from row to row in the result, in complex
 *                        values; n unless given
 *   ZAVO_INPUT_COL_DIM   [int] the same in p
 *   ZAVO_RETURN_USER     [f_complex*] array that receives the result; it is
 *                        returned after an error too, as it stands
 * Backward the two dimensions trade roles: p is read with ZAVO_RESULT_COL_DIM
 * and the result written with ZAVO_INPUT_COL_DIM. A result with one column is
 * the input backward.
 * Posts 5/103 unknown option, 5/6003 n < 1, 5/6004 m < 1, 5/104 null array with
 * an option, 5/6002 null p, 5/201 no memory, 5/102 fault; of the result's and
 * the input's dimension 5/6007 and 5/6008 when below n (backward) or negative
 * (forward). */
f_complex* zavo_c_fft_2d_complex(int m, int n, const f_complex* p, ...);

enum zavo_convolution_option {
    ZAVO_CIRCULAR = 10030,     /* [] */
    ZAVO_CORRELATE = 11070,    /* [] */
    ZAVO_Z_TRANS = 11071,      /* [float** receives a new array] */
    ZAVO_Z_TRANS_USER = 11072, /* [float* array that receives the spectrum] */
    ZAVO_SERIES_FIRST = 11073, /* [] */
    ZAVO_SERIES_NEXT = 11074,  /* [] */
    ZAVO_SERIES_LAST = 11075   /* [] */
};

/* The convolution z[k] = sum of x[j] y[k - j] of nx and ny reals, through the real
 * transform of a padded length that goes to *nz. Padded with zeros, so that the
 * first nx + ny - 1 values are the linear convolution; nz is then at least that.
 * Options:
 *   ZAVO_CIRCULAR      [] periodic with nz = max(nx, ny) instead
 *   ZAVO_CORRELATE     [] z[k] = sum of x[j + k] y[j] instead. Reads nx values of
 *                      y, too; nz is nx when circular, else at least 2 nx - 1. With
 *                      x and y the same array: the autocorrelation
 *   ZAVO_Z_TRANS       [float**] receives a new array of the nz values of the packed
 *                      spectrum of z, unscaled; the caller's to free()
 *   ZAVO_Z_TRANS_USER  [float*] array of nz floats for that spectrum
 *   ZAVO_RETURN_USER   [float*] array of nz floats that receives the result
 *   ZAVO_SERIES_FIRST, ZAVO_SERIES_NEXT, ZAVO_SERIES_LAST
 *                      [] for a series of calls with the same nz: keep the work
 *                      storage and the table of the first call until the last.
 *                      Nothing else may be convolved meanwhile
 * Posts 5/103 unknown option, 5/104 null array with an option, 5/6002 null x or
 * y, 5/3111 nx < 1, 5/3112 ny < 1, 5/201 no memory, 5/102 fault. */
float* zavo_f_convolution(int nx, const float* x, int ny, const float* y, int* nz, ...);

/* ---- Physical constants, calendar --------------------------------------- */

/* A constant by its name; upper and lower case, blanks and underscores do not
 * matter. unit: null or "SI" for the SI base unit, else a unit expression such
 * as "foot/s^2" or "N*m^2/kg^2" into which the value is converted. A force may
 * be asked for as the mass that weighs it and the other way round; that posts
 * the warning 3/12113. NaN after 5/12111 (unknown name), 5/12112 (the unit's
 * dimensions differ from the constant's) or 5/12114 (unknown unit, more than
 * ten factors, or more than 255 characters). */
float zavo_f_constant(const char* name, const char* unit);

/* Day number of a date, counted from 1 January 1900 (day 0). Dates from
 * 15 October 1582 on are Gregorian, earlier ones Julian; 5 to 14 October 1582
 * do not exist. Year -1 is the year before year 1. Before it, leap years are
 * those divisible by 4, and the note 1/12003 is posted for years below -45.
 * Posts 5/602 (month), 5/603 (day below 1), 5/12001 (year 0), 5/12002 (a
 * skipped day), 5/12004 (day beyond the month's end) and returns 0. Dates from
 * 3 March -5877591 to 12 July 5881510 have an int as day number; one outside
 * posts 5/602 for the first of year, month and day that lies outside. */
int zavo_date_to_days(int day, int month, int year);

/* Date of any day number, the inverse of zavo_date_to_days. A pointer may be
 * null when its part of the date is not wanted. */
void zavo_days_to_date(int days, int* day, int* month, int* year);

/* ---- Minimisation ------------------------------------------------------ */

/* User functions. Unconstrained: returns f(x). Constrained: stores f(x) in *f.
 * Gradient of either minimiser: fills g[0..n-1]. x holds n values; it may be
 * looked at but not changed. */
typedef float (*zavo_objective_fn)(int n, float* x);
typedef void (*zavo_constrained_objective_fn)(int n, float* x, float* f);
typedef void (*zavo_gradient_fn)(int n, float* x, float* g);

/* Options of the minimisers; values in brackets, defaults behind. Both take
 * ZAVO_START_POINT, ZAVO_FUNCTION_EVAL_LIMIT and ZAVO_RETURN_USER [float*, n
 * values]. eps is zavo_f_machine(4), 2^-23. */
enum zavo_minimize_option {
    ZAVO_START_POINT = 10100,         /* [const float*, copied], zeros */
    ZAVO_FUNCTION_EVAL_LIMIT = 10103, /* [int], 400 */
    /* zavo_f_min_uncon_multivar */
    ZAVO_GRADIENT_FUNCTION = 10105,   /* [zavo_gradient_fn], differences */
    ZAVO_VARIABLE_SCALING = 10106,    /* [const float*, copied], ones; 1 / typical size of each x */
    ZAVO_FUNCTION_SCALE = 10107,      /* [double], 1; typical size of f */
    ZAVO_GRADIENT_TOLERANCE = 10108,  /* [double], sqrt(eps); scaled gradient */
    ZAVO_STEP_TOLERANCE = 10109,      /* [double], eps^(2/3); scaled step */
    ZAVO_RELATIVE_TOLERANCE = 10110,  /* [double], max(1e-10, eps^(2/3)); relative change of f */
    ZAVO_STEP_LIMIT = 10111,          /* [double], computed from the start; longest scaled step */
    ZAVO_GOOD_DIGITS = 10112,         /* [int], 7; reliable decimal digits of f */
    ZAVO_ITERATION_LIMIT = 10113,     /* [int], 100 */
    ZAVO_GRADIENT_EVAL_LIMIT = 10114, /* [int], 400 */
    ZAVO_HESSIAN_START = 10115,       /* [int], 0 identity; else a diagonal from the scales */
    ZAVO_RESULT_VALUE = 10116,        /* [float*] receives f at the solution */
    ZAVO_FUNCTION_SCALE_ADR = 11025,  /* [const float*] the same five, read through a pointer */
    ZAVO_GRADIENT_TOLERANCE_ADR = 11026,
    ZAVO_STEP_TOLERANCE_ADR = 11027,
    ZAVO_RELATIVE_TOLERANCE_ADR = 11028,
    ZAVO_STEP_LIMIT_ADR = 11029,
    /* zavo_f_min_con_gen_lin */
    ZAVO_ACCURACY = 10053,              /* [double], sqrt(eps); norm of the Kuhn-Tucker residual */
    ZAVO_OBJECTIVE_VALUE = 10125,       /* [float*] receives f at the solution */
    ZAVO_CON_GRADIENT_FUNCTION = 10250, /* [zavo_gradient_fn], differences */
    ZAVO_ACTIVE_LIST = 11140,           /* [int**] receives the active list; the caller frees it */
    ZAVO_ACTIVE_LIST_USER = 11141,      /* [int*] the caller's ncon + 2*nvar places for it */
    ZAVO_ACTIVE_COUNT = 11142,          /* [int*] receives the number of active constraints */
    ZAVO_MULTIPLIERS = 11143,           /* [float**] receives the multipliers; the caller frees them */
    ZAVO_MULTIPLIERS_USER = 11144       /* [float*] the caller's nvar places for them */
};

/* Minimises a smooth function of n variables by a quasi-Newton method (BFGS,
 * factored) with a line search. Without a gradient function gradients come from
 * differences, forward first and central near the solution.
 * Returns the solution, n values; null after an error of type 5: 5/8020 (n < 1),
 * 5/103 (unknown option; the rest of the list is still read), 5/201 (memory),
 * 5/102 (a fault in fcn). Controls out of range are replaced with a warning of
 * type 6: 8034 (n = 1), 8035, 8039, 8041, 8058..8063, 8068..8070, 8072.
 * How the run ended: no error (gradient tolerance met), 1/8006 (step tolerance
 * met), 3/8049 (no acceptable step), 3/8050 (f changes by no more than the
 * relative tolerance), 4/8051 (false convergence), 3/8017, 3/8029, 3/8030
 * (limits), 3/8032 (five steps of the greatest length). */
float* zavo_f_min_uncon_multivar(zavo_objective_fn fcn, int n, ...);

/* Minimises a smooth function of nvar variables subject to
 *     a[i] . x  = b[i],  i = 0 .. neq-1,
 *     a[i] . x <= b[i],  i = neq .. ncon-1,       xlb <= x <= xub,
 * by an active-set method with a tolerance for nearly active constraints.
 * a: ncon x nvar by rows, in another order while the call runs and as it was
 * afterwards; b: ncon values; a and b may be null when ncon is 0. Equal bounds
 * fix a variable. fcn may be called a little outside the constraints when
 * gradients come from differences.
 * The active list names constraints by number from 1: i+1 for row i, ncon+j for
 * the lower and ncon+nvar+j for the upper bound of variable j = 1..nvar; only
 * its first active-count entries have a meaning. The multipliers stand in the
 * same order and belong to the Lagrangian
 *     f(x) + sum of multiplier * (left-hand side - right-hand side),
 * each constraint written as "<=" (a lower bound as -x[j] <= -xlb[j]), so that
 * those of inequalities and bounds are not negative at a minimum: moving a
 * right-hand side up by one lowers f by about the multiplier. Multipliers of
 * equalities and of fixed variables have either sign; places behind the active
 * count are 0.
 * Returns the solution, nvar values; null after an error of type 5: 5/8080
 * (nvar < 1), 5/8082 (ncon < 0), 5/8083, 5/8084 (neq), 5/8085 (accuracy < 0),
 * 5/8086 (bounds cross), 5/8087 (limit < 1), 5/103, 5/201, 5/202, 5/102. List
 * and multipliers asked for are then null.
 * How the run ended: 1/8088 (accuracy met), 1/8089, 1/8090 (no descent left),
 * 4/8091, 4/8092, 4/8093 (inconsistent constraints), 4/8094 (limit), 4/8095 and
 * with a gradient function 4/8096 (the equalities fix every variable). */
float* zavo_f_min_con_gen_lin(zavo_constrained_objective_fn fcn, int nvar, int ncon, int neq, float* a,
                              const float* b, const float* xlb, const float* xub, ...);

#if defined(__GNUC__) && !defined(_WIN32)
#pragma GCC visibility pop
#endif

#ifdef __cplusplus
}
#endif

#endif

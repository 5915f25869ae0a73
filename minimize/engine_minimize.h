/*
 * engine_minimize.h: minimisation with contexts, for the libraries that stand
 * beside the module.
 *
 * The methods are those of zavo_f_min_uncon_multivar and zavo_f_min_con_gen_lin
 * (zavo.h); the second one runs when there is any bound or constraint. Points are
 * floats, values come and go as doubles. Differences are taken of the doubles,
 * and of the places that were really probed; they keep within the bounds, and
 * take the other side where the function has no value.
 *
 * No fault is trapped here. What a run came to stands in its outcome and is
 * reported nowhere else, but for a refused problem, which is reported as every
 * terminal error is.
 */
#ifndef ZAVO_ENGINE_MINIMIZE_H
#define ZAVO_ENGINE_MINIMIZE_H

#ifdef __cplusplus
extern "C" {
#endif

typedef enum zavo_minimize_status {
    ZAVO_MINIMIZE_CONVERGED,    /* the gradient, or what the constraints leave of it, is small */
    ZAVO_MINIMIZE_UNCERTAIN,    /* the step or the change became too small first */
    ZAVO_MINIMIZE_LIMIT,        /* of calls or iterations */
    ZAVO_MINIMIZE_UNBOUNDED,    /* the function seems to have no minimum */
    ZAVO_MINIMIZE_INCONSISTENT, /* no point meets the constraints; the function was not called */
    ZAVO_MINIMIZE_STOPPED,      /* a callback has asked for it */
    ZAVO_MINIMIZE_BAD_START,    /* the function has no finite value at the start */
    ZAVO_MINIMIZE_REFUSED       /* no such problem, or no memory: `code` and `message` say which */
} zavo_minimize_status;

typedef enum zavo_minimize_differences {
    ZAVO_DIFFERENCES_AUTO,    /* free: forward first, central near the solution; constrained: central */
    ZAVO_DIFFERENCES_FORWARD, /* n calls a gradient */
    ZAVO_DIFFERENCES_CENTRAL  /* 2n calls */
} zavo_minimize_differences;

/* How far a run has come; valid during the call. */
typedef struct zavo_minimize_progress {
    const float* x;  /* n: the best point */
    double value;    /* there, as the function gave it */
    int evaluations; /* calls of the function so far */
    int iterations;
} zavo_minimize_progress;

/*
 * What is to be minimised. Callbacks return 0 to go on; anything else ends the run,
 * and no callback is called again. An infinite value or NaN is stepped back from.
 * All arrays are the caller's and stay as they are.
 */
typedef struct zavo_minimize_problem {
    int n; /* variables, 1 or more */
    void* context;
    int (*value)(void* context, int n, const float* x, double* f);
    int (*gradient)(void* context, int n, const float* x, float* g); /* null: differences */
    int (*progress)(void* context,
                    const zavo_minimize_progress* progress); /* or null; after each iteration */
    const float* start;                                      /* n */
    int ncon; /* general constraints: a . x = b for the first neq, a . x <= b for the others */
    int neq;
    const float* a;     /* ncon x n by rows; null without constraints */
    const float* b;     /* ncon */
    const float* lower; /* n, -Inf where there is none; or null */
    const float* upper; /* n, Inf where there is none; or null */
} zavo_minimize_problem;

/* zavo_minimize_defaults() fills it. A value that makes no sense counts as the default. */
typedef struct zavo_minimize_options {
    zavo_minimize_differences differences;
    const float* sizes;        /* n typical sizes of the variables, positive; null: 1. Constrained
                                  problems are scaled by the nearest powers of two */
    double function_size;      /* typical size of the function, positive: 1 */
    double tolerance;          /* free: scaled gradient; constrained: accuracy. sqrt(eps) */
    double step_tolerance;     /* free: scaled step, eps^(2/3) */
    double relative_tolerance; /* free: change of the function, eps^(2/3) */
    double step_limit;         /* free: longest scaled step; computed from the start */
    int good_digits;           /* free: reliable digits of the function, 6 */
    int call_limit;            /* calls of the function, those for differences counted: 2000 */
    int iteration_limit;       /* none */
} zavo_minimize_options;

/* The arrays are the caller's; all but x may be null. */
typedef struct zavo_minimize_outcome {
    float* x;           /* n: the best point */
    float* gradient;    /* n: the last gradient that was taken there */
    int* active;        /* ncon + 2n: active constraints. 1 ... ncon are the rows, ncon + j the lower
                           and ncon + n + j the upper bound of variable j = 1 ... n; a variable whose
                           bounds are equal is held by the upper one */
    float* multipliers; /* n: theirs, of f + sum of multiplier * (left side - right side), all written
                           as <= */
    int active_count;
    double value; /* at x, as the function gave it; NaN when it was not called */
    zavo_minimize_status status;
    int code;           /* the library's code of the ending; 0 when it has nothing to say */
    char message[1024]; /* and its text; "" */
    int evaluations;    /* calls of the function */
    int gradients;      /* gradients taken, by differences or by the callback */
    int iterations;
} zavo_minimize_outcome;

void zavo_minimize_defaults(zavo_minimize_options* options);

/* options: null for the defaults. Returns outcome->status. Calls may nest. */
zavo_minimize_status zavo_minimize_run(const zavo_minimize_problem* problem,
                                       const zavo_minimize_options* options, zavo_minimize_outcome* outcome);

#ifdef __cplusplus
}
#endif

#endif

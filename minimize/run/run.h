/*
 * run.h: a minimisation as a value: what to minimise and how, and what came of it.
 *
 * The function gives doubles, at points whose coordinates are floats. Nothing is
 * posted on the error stack; the outcome says how the run ended.
 */
#ifndef ZAVO_MINIMIZE_RUN_H
#define ZAVO_MINIMIZE_RUN_H

#ifdef __cplusplus
extern "C" {
#endif

enum zavo_run_differences { ZAVO_RUN_AUTO, ZAVO_RUN_FORWARD, ZAVO_RUN_CENTRAL };

enum zavo_run_status {
    ZAVO_RUN_CONVERGED,
    ZAVO_RUN_UNCERTAIN,    /* step or change became too small first */
    ZAVO_RUN_LIMIT,        /* evaluations used up */
    ZAVO_RUN_UNBOUNDED,    /* the function seems to fall for ever */
    ZAVO_RUN_INCONSISTENT, /* no point satisfies the constraints */
    ZAVO_RUN_STOPPED,      /* a callback has asked for it */
    ZAVO_RUN_NO_VALUE,     /* the start has no finite value */
    ZAVO_RUN_NO_MEMORY
};

typedef struct zavo_run_problem {
    int n;         /* variables, at least 1 */
    void* context; /* handed to the callbacks */
    /* The function at x, n floats. NaN and Inf say that it has no value there. Each
     * callback may set *stop, and is not called again then. */
    double (*value)(void* context, const float* x, int* stop);
    /* Its gradient, n doubles; null: differences are taken. */
    void (*gradient)(void* context, const float* x, double* g, int* stop);
    /* After each iteration; null: nobody asks. */
    void (*progress)(void* context, const float* x, double value, int evaluations, int iteration, int* stop);
    const float* start;    /* n */
    const float* sizes;    /* n typical sizes above 0; null: those of the start, 1 for a 0 */
    double fscale;         /* typical size of the function, for the gradient's test; 0: none */
    double tolerance;      /* of the relative gradient */
    double step_tolerance; /* of the relative step; 0: none */
    int limit;             /* calls of `value`, all of them */
    int digits;            /* reliable decimal digits of the function; 0: not known */
    int differences;       /* one of zavo_run_differences */

    /* Constraints: equalities first, then rows of which each is at most its side.
     * All null or 0 for a free minimisation. */
    const float* lower; /* n, -Inf where there is none; null: none */
    const float* upper;
    int equalities;
    int rows;           /* equalities and inequalities */
    const float* left;  /* rows x n, by rows */
    const float* sides; /* rows */
} zavo_run_problem;

typedef struct zavo_run_outcome {
    int status; /* one of zavo_run_status */
    int code;   /* of the library's message about it; 0 when it has none */
    double value;
    int evaluations; /* calls of `value` */
    int gradients;   /* gradients taken, by differences or by calls of `gradient` */
    int iterations;
    float* x;            /* n, the caller's: the best point */
    double* g;           /* n, the caller's: the gradient there as far as it is known */
    int active_count;    /* constraints that hold with equality */
    int* active;         /* rows + 2n, the caller's; rows from 0, then lower, then upper bounds */
    double* multipliers; /* n, the caller's; of the active ones in their order */
    char message[256];   /* of `code`, without a routine's name */
} zavo_run_outcome;

/* Minimises; outcome->x, g and, with constraints, active and multipliers stand
 * ready. Runs nest. */
void zavo_run_minimization(const zavo_run_problem* problem, zavo_run_outcome* outcome);

#ifdef __cplusplus
}
#endif

#endif

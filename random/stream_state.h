/* The state of the random stream as a value. */
#ifndef ZAVO_STREAM_STATE_H
#define ZAVO_STREAM_STATE_H

/* All that the next deviates depend on. */
typedef struct zavo_random_state {
    int option;       /* 1 ... 6, see zavo_random_option */
    int seed;         /* 1 ... 2147483646 */
    int filled;       /* 0: the shuffle table is empty and `table` is not read */
    float table[128]; /* each above 0 and at most 1 */
} zavo_random_state;

#endif

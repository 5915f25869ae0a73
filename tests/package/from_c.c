/* A C program against the installed library: transform there and back, a
 * minimum, and an error that comes back instead of ending the process. */
#include <zavo.h>

#include <math.h>
#include <stdlib.h>
#include <string.h>

static int errors_seen = 0;
static char last_message[200];
static const float one = 1;

static void count_error(int type, int code, const char* routine, const char* message)
{
    printf("type %d code %d from %s%s\n", type, code, routine, message[0] != '\0' ? ", with a text" : "");
    strncpy(last_message, message, sizeof last_message - 1);
    ++errors_seen;
}

static float parabola(int n, float* x)
{
    return n == 2 ? (x[0] - 1) * (x[0] - 1) + 3 * (x[1] + 2) * (x[1] + 2) : 0;
}

static int transform_there_and_back(void)
{
    const float x[4] = {1, 2, 3, 4};
    float* spectrum = zavo_f_fft_real(4, x, 0);
    float* back = zavo_f_fft_real(4, spectrum, ZAVO_BACKWARD, 0);
    int i;
    int good = spectrum != NULL && back != NULL && spectrum[0] == 10;
    for (i = 0; good && i < 4; ++i) {
        good = back[i] == 4 * x[i];
    }
    free(spectrum);
    free(back);
    return good;
}

static int find_minimum(void)
{
    float value = -1;
    float* x = zavo_f_min_uncon_multivar(parabola, 2, ZAVO_RESULT_VALUE, &value, 0);
    const int good = x != NULL && fabsf(x[0] - 1) < 1e-2F && fabsf(x[1] + 2) < 1e-2F && value < 1e-4F;
    free(x);
    return good;
}

/* Built with the folder that `pkg-config --variable=cataloguedir zavo` prints. */
static int read_a_message(void)
{
#ifdef CATALOGUE_FOLDER
    zavo_error_options(ZAVO_SET_CATALOGUE_PATH, CATALOGUE_FOLDER, 0);
#endif
    last_message[0] = '\0';
    zavo_f_fft_real(0, &one, 0);
    --errors_seen;
#ifdef CATALOGUE_FOLDER
    return last_message[0] != '\0' && strncmp(last_message, "Error code", 10) != 0;
#else
    return last_message[0] != '\0';
#endif
}

int main(void)
{
    zavo_error_options(ZAVO_SET_ERROR_HANDLER, count_error, ZAVO_SET_STOP, ZAVO_TERMINAL, 0, 0);
    if (zavo_i_machine(5) != 2147483647 || zavo_f_machine(4) != ldexpf(1, -23)) {
        puts("machine constants are wrong");
        return 1;
    }
    if (!transform_there_and_back()) {
        puts("the transform is wrong");
        return 1;
    }
    if (!find_minimum()) {
        puts("the minimum is wrong");
        return 1;
    }
    if (!read_a_message()) {
        puts("there are no messages");
        return 1;
    }
    if (errors_seen != 0 || zavo_i_machine(13) != 0 || errors_seen != 1 || zavo_error_code(1) != 132) {
        puts("errors do not come as they should");
        return 1;
    }
    puts("C program: good");
    return 0;
}

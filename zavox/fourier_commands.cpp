// zavox::fft, spectrum, convolve and correlate, and release, which gives back
// their tables.
#include "zavox/arguments.hpp"
#include "zavox/convolution.hpp"
#include "zavox/fourier.hpp"
#include "zavox/spectrum.hpp"

#include <climits>
#include <cmath>
#include <cstdlib>
#include <new>
#include <tcl_generations.hpp>

namespace zavox {

namespace {

// ---- Tables of an interpreter ------------------------------------------------------

constexpr char tables_key[] = "zavox::fourier";

void delete_tables(ClientData tables, Tcl_Interp*)
{
    if (tables != nullptr) {
        static_cast<Fourier*>(tables)->~Fourier();
        std::free(tables);
    }
}

// Null, with the message, when memory is short.
Fourier* tables_of(Tcl_Interp* interp)
{
    auto* tables = static_cast<Fourier*>(Tcl_GetAssocData(interp, tables_key, nullptr));
    if (tables == nullptr) {
        void* const room = dfuAllocate(1, sizeof(Fourier));
        if (room == nullptr) {
            memory_short(interp);
            return nullptr;
        }
        tables = new (room) Fourier;
        Tcl_SetAssocData(interp, tables_key, delete_tables, tables);
    }
    engine().error_forget();
    return tables;
}

// Of a transform that has returned false.
int transform_failure(Tcl_Interp* interp)
{
    return engine().error_failed() ? library_failure(interp) : memory_short(interp);
}

// ---- Complex values: a list {re im} of two vectors ------------------------------------

class Complex {
public:
    int get(Tcl_Interp* interp, Tcl_Obj* word)
    {
        Tcl_Size count = 0;
        Tcl_Obj** parts = nullptr;
        if (Tcl_ListObjGetElements(nullptr, word, &count, &parts) != TCL_OK || count != 2) {
            return fail(interp, Fault::value, Tcl_GetString(word), quoted("expected {re im} but got ", word));
        }
        // The list may lose its representation while its elements are read.
        Tcl_Obj* const held[2] = {parts[0], parts[1]};
        Tcl_IncrRefCount(held[0]);
        Tcl_IncrRefCount(held[1]);
        const int status =
            re.get(interp, held[0]) == TCL_OK && im.get(interp, held[1]) == TCL_OK ? TCL_OK : TCL_ERROR;
        Tcl_DecrRefCount(held[0]);
        Tcl_DecrRefCount(held[1]);
        if (status == TCL_OK && re.size() != im.size()) {
            return fail(interp, Fault::length, Tcl_GetString(word),
                        Tcl_ObjPrintf("re and im have %d and %d values", re.size(), im.size()));
        }
        return status;
    }
    int allocate(Tcl_Interp* interp, int n)
    {
        return re.allocate(interp, n) == TCL_OK && im.allocate(interp, n) == TCL_OK ? TCL_OK : TCL_ERROR;
    }
    int put(Tcl_Interp* interp)
    {
        Tcl_Obj* const parts[2] = {re.value(interp), im.value(interp)};
        Tcl_SetObjResult(interp, Tcl_NewListObj(2, parts));
        return TCL_OK;
    }

    Vector re;
    Vector im;
};

void join(const Complex& parts, f_complex* z)
{
    for (int i = 0; i < parts.re.size(); ++i) {
        z[i] = {parts.re[i], parts.im[i]};
    }
}

// Divided by `divisor`.
void split(const f_complex* z, float divisor, Complex* parts)
{
    const int n = parts->re.size();
    float* const re = parts->re.writable();
    float* const im = parts->im.writable();
    for (int i = 0; i < n; ++i) {
        re[i] = z[i].re / divisor;
        im[i] = z[i].im / divisor;
    }
}

// The option -inverse of the words from `first` on.
int read_inverse(Tcl_Interp* interp, int objc, Tcl_Obj* const objv[], int first, bool* inverse)
{
    static constexpr OptionRow options[] = {{"-inverse", false}, {nullptr, false}};
    OptionWords words(interp, objc, objv, first, options);
    *inverse = false;
    for (;;) {
        int row = 0;
        Tcl_Obj* value = nullptr;
        if (words.next(&row, &value) != TCL_OK) {
            return TCL_ERROR;
        }
        if (row < 0) {
            return TCL_OK;
        }
        *inverse = true;
    }
}

int get_step(Tcl_Interp* interp, Tcl_Obj* word, double* step)
{
    if (get_number(interp, word, step) != TCL_OK) {
        return TCL_ERROR;
    }
    if (!(*step > 0.0) || std::isinf(*step)) {
        return fail(interp, Fault::value, Tcl_GetString(word), quoted("step must be above 0 but got ", word));
    }
    return TCL_OK;
}

// ---- zavox::fft ------------------------------------------------------------------------

int fft_real(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    Vector x;
    if (x.get(interp, objv[2]) != TCL_OK) {
        return TCL_ERROR;
    }
    if (x.empty()) {
        return fail_empty(interp, "transform");
    }
    const int n = x.size();
    Complex spectrum;
    const Buffer<float> packed(n);
    Fourier* const fourier = tables_of(interp);
    if (fourier == nullptr || spectrum.allocate(interp, n / 2 + 1) != TCL_OK) {
        return TCL_ERROR;
    }
    if (!packed || !fourier->real_forward(n, x.data(), packed.get())) {
        return transform_failure(interp);
    }
    float* const re = spectrum.re.writable();
    float* const im = spectrum.im.writable();
    re[0] = packed[0];
    im[0] = 0.0F;
    for (int k = 1; k <= (n - 1) / 2; ++k) {
        re[k] = packed[2 * k - 1];
        im[k] = packed[2 * k];
    }
    if (n % 2 == 0) {
        re[n / 2] = packed[n - 1];
        im[n / 2] = 0.0F;
    }
    return spectrum.put(interp);
}

// The imaginary parts at frequency 0 and at the last one of an even n belong to no
// real record and are not looked at.
int fft_inverse(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    Complex spectrum;
    int n = 0;
    if (spectrum.get(interp, objv[2]) != TCL_OK || get_count(interp, objv[3], 1, "count", &n) != TCL_OK) {
        return TCL_ERROR;
    }
    if (spectrum.re.size() != n / 2 + 1) {
        return fail(
            interp, Fault::length, Tcl_GetString(objv[3]),
            Tcl_ObjPrintf("the spectrum of %d values has %d, not %d", n, n / 2 + 1, spectrum.re.size()));
    }
    Vector x;
    Fourier* const fourier = tables_of(interp);
    if (fourier == nullptr || x.allocate(interp, n) != TCL_OK) {
        return TCL_ERROR;
    }
    float* const values = x.writable();
    values[0] = spectrum.re[0];
    for (int k = 1; k <= (n - 1) / 2; ++k) {
        values[2 * k - 1] = spectrum.re[k];
        values[2 * k] = spectrum.im[k];
    }
    if (n % 2 == 0) {
        values[n - 1] = spectrum.re[n / 2];
    }
    if (!fourier->real_backward(n, values, values)) {
        return transform_failure(interp);
    }
    for (int i = 0; i < n; ++i) {
        values[i] /= static_cast<float>(n);
    }
    return x.put(interp);
}

// Puts the transform of x; an inverse one is divided by the number of values.
// transform(fourier, z) does it in place and is false when it fails.
template <class Transform>
int transform_in_place(Tcl_Interp* interp, const Complex& x, bool inverse, const Transform& transform)
{
    const int n = x.re.size();
    Complex result;
    const Buffer<f_complex> z(n);
    Fourier* const fourier = tables_of(interp);
    if (fourier == nullptr || result.allocate(interp, n) != TCL_OK) {
        return TCL_ERROR;
    }
    if (!z) {
        return memory_short(interp);
    }
    join(x, z.get());
    if (!transform(*fourier, z.get())) {
        return transform_failure(interp);
    }
    split(z.get(), inverse ? static_cast<float>(n) : 1.0F, &result);
    return result.put(interp);
}

int fft_complex(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    Complex x;
    bool inverse = false;
    if (x.get(interp, objv[2]) != TCL_OK || read_inverse(interp, objc, objv, 3, &inverse) != TCL_OK) {
        return TCL_ERROR;
    }
    if (x.re.empty()) {
        return fail_empty(interp, "transform");
    }
    const int n = x.re.size();
    return transform_in_place(interp, x, inverse, [=](Fourier& fourier, f_complex* z) {
        return fourier.complex(inverse ? Sign::plus : Sign::minus, n, z, z);
    });
}

// The library's own transform where both lengths are smooth: its backward passes
// take the columns first.
bool transform_plane(Fourier& fourier, bool inverse, int rows, int columns, f_complex* z)
{
    if (!is_smooth(rows) || !is_smooth(columns)) {
        return fourier.plane(inverse ? Sign::plus : Sign::minus, rows, columns, z, z);
    }
    f_complex* const result = inverse ? engine().c_fft_2d_complex(rows, columns, z, ZAVO_BACKWARD, 0)
                                      : engine().c_fft_2d_complex(rows, columns, z, 0);
    if (result == nullptr) {
        return false;
    }
    for (int i = 0; i < rows * columns; ++i) {
        z[i] = result[i];
    }
    engine().release(result);
    return true;
}

int fft_plane(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    Complex x;
    int rows = 0;
    int columns = 0;
    bool inverse = false;
    if (x.get(interp, objv[2]) != TCL_OK || get_count(interp, objv[3], 1, "rows", &rows) != TCL_OK ||
        get_count(interp, objv[4], 1, "columns", &columns) != TCL_OK ||
        read_inverse(interp, objc, objv, 5, &inverse) != TCL_OK) {
        return TCL_ERROR;
    }
    const int n = x.re.size();
    if (n != std::int64_t{rows} * columns) {
        return fail(interp, Fault::length, Tcl_GetString(objv[3]),
                    Tcl_ObjPrintf("%d rows of %d columns do not have %d values", rows, columns, n));
    }
    return transform_in_place(interp, x, inverse, [=](Fourier& fourier, f_complex* z) {
        return transform_plane(fourier, inverse, rows, columns, z);
    });
}

int fft_size(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    int n = 0;
    if (get_count(interp, objv[2], 1, "n", &n) != TCL_OK) {
        return TCL_ERROR;
    }
    const int size = smooth_size(n);
    if (size == 0) {
        return fail(interp, Fault::value, Tcl_GetString(objv[2]), "n must be at most 2125764000");
    }
    Tcl_SetObjResult(interp, Tcl_NewIntObj(size));
    return TCL_OK;
}

int fft_frequencies(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    int n = 0;
    double step = 0.0;
    Vector frequencies;
    if (get_count(interp, objv[2], 1, "n", &n) != TCL_OK || get_step(interp, objv[3], &step) != TCL_OK ||
        frequencies.allocate(interp, n / 2 + 1) != TCL_OK) {
        return TCL_ERROR;
    }
    for (int k = 0; k <= n / 2; ++k) {
        frequencies.writable()[k] = static_cast<float>(k / (n * step));
    }
    return frequencies.put(interp);
}

constexpr Subcommand fft_subcommands[] = {
    // clang-format off
    {"complex",     1, -1, "{re im} ?-inverse?",              fft_complex},
    {"frequencies", 2, 2,  "n step",                          fft_frequencies},
    {"inverse",     2, 2,  "{re im} n",                       fft_inverse},
    {"plane",       3, -1, "{re im} rows columns ?-inverse?", fft_plane},
    {"real",        1, 1,  "x",                               fft_real},
    {"size",        1, 1,  "n",                               fft_size},
    {nullptr,       0, 0,  nullptr,                           nullptr},
    // clang-format on
};

// ---- zavox::spectrum ---------------------------------------------------------------------

// floor(n (1 - overlap)), at least 1. A product that is a whole number in decimals
// may lie a rounding below it.
int advance_of(int n, double overlap)
{
    constexpr double rounding = 1e-9;
    const double wanted = std::floor(n * (1.0 - overlap) + rounding);
    return wanted < 1.0 ? 1 : static_cast<int>(wanted);
}

int read_spectrum_options(Tcl_Interp* interp, int objc, Tcl_Obj* const objv[], SpectrumPlan* plan)
{
    enum { detrend, overlap, segment, step, window };
    static constexpr OptionRow options[] = {{"-detrend", true}, {"-overlap", true}, {"-segment", true},
                                            {"-step", true},    {"-window", true},  {nullptr, false}};
    static const char* const detrends[] = {"none", "mean", "linear", nullptr};
    static const char* const windows[] = {"rectangle", "hann", "blackman", "flattop", nullptr};
    OptionWords words(interp, objc, objv, 2, options);
    double part = 0.5;
    for (;;) {
        int row = 0;
        int choice = 0;
        Tcl_Obj* value = nullptr;
        if (words.next(&row, &value) != TCL_OK) {
            return TCL_ERROR;
        }
        switch (row) {
        case detrend:
            if (Tcl_GetIndexFromObj(interp, value, detrends, "trend", 0, &choice) != TCL_OK) {
                return TCL_ERROR;
            }
            plan->detrend = static_cast<Detrend>(choice);
            break;
        case overlap:
            if (get_number(interp, value, &part) != TCL_OK) {
                return TCL_ERROR;
            }
            if (!(part >= 0.0 && part < 1.0)) {
                return fail(interp, Fault::value, Tcl_GetString(value),
                            quoted("overlap must be at least 0 and below 1 but got ", value));
            }
            break;
        case segment:
            if (get_count(interp, value, 1, "segment", &plan->segment) != TCL_OK) {
                return TCL_ERROR;
            }
            if (plan->segment > plan->n) {
                return fail(interp, Fault::length, Tcl_GetString(value),
                            Tcl_ObjPrintf("a segment of %d is longer than the record of %d values",
                                          plan->segment, plan->n));
            }
            break;
        case step:
            if (get_step(interp, value, &plan->step) != TCL_OK) {
                return TCL_ERROR;
            }
            break;
        case window:
            if (Tcl_GetIndexFromObj(interp, value, windows, "window", 0, &choice) != TCL_OK) {
                return TCL_ERROR;
            }
            plan->window = static_cast<Window>(choice);
            break;
        default:
            plan->advance = advance_of(plan->segment, part);
            return TCL_OK;
        }
    }
}

// What convolve and correlate share.
int convolve_by(decltype(&convolve) work, const char* what, Tcl_Interp* interp, int objc,
                Tcl_Obj* const objv[])
{
    static constexpr OptionRow options[] = {{"-mode", true}, {nullptr, false}};
    static const char* const modes[] = {"full", "same", "valid", "circular", nullptr}; // in the order of Part
    Vector x;
    Vector y;
    if (!count_is_good(interp, objc, objv, 1, 2, -1, "x y ?-mode full|same|valid|circular?") ||
        x.get(interp, objv[1]) != TCL_OK || y.get(interp, objv[2]) != TCL_OK) {
        return TCL_ERROR;
    }
    int mode = 0;
    OptionWords words(interp, objc, objv, 3, options);
    for (int row = 0; row >= 0;) {
        Tcl_Obj* value = nullptr;
        if (words.next(&row, &value) != TCL_OK ||
            (row >= 0 && Tcl_GetIndexFromObj(interp, value, modes, "mode", 0, &mode) != TCL_OK)) {
            return TCL_ERROR;
        }
    }
    if (x.empty() || y.empty()) {
        return fail_empty(interp, what);
    }
    const auto part = static_cast<Part>(mode);
    const std::int64_t length = part_length(part, x.size(), y.size());
    Vector z;
    Fourier* const fourier = tables_of(interp);
    if (fourier == nullptr || length > INT_MAX) {
        return memory_short(interp);
    }
    if (z.allocate(interp, static_cast<int>(length)) != TCL_OK) {
        return TCL_ERROR;
    }
    if (!work(*fourier, part, x.size(), x.data(), y.size(), y.data(), z.writable())) {
        return transform_failure(interp);
    }
    return z.put(interp);
}

} // namespace

OwnTables::OwnTables(Tcl_Interp* interp, bool in_use) : interp_(in_use ? interp : nullptr)
{
    if (interp_ != nullptr) {
        tables_ = Tcl_GetAssocData(interp_, tables_key, nullptr);
        Tcl_SetAssocData(interp_, tables_key, delete_tables, nullptr);
    }
}

OwnTables::~OwnTables()
{
    if (interp_ != nullptr) {
        delete_tables(Tcl_GetAssocData(interp_, tables_key, nullptr), interp_);
        Tcl_SetAssocData(interp_, tables_key, delete_tables, tables_);
    }
}

int fft_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    return run_subcommand(fft_subcommands, interp, objc, objv);
}

int spectrum_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    Vector x;
    if (!count_is_good(interp, objc, objv, 1, 1, -1, "x ?-option value ...?") ||
        x.get(interp, objv[1]) != TCL_OK) {
        return TCL_ERROR;
    }
    if (x.empty()) {
        return fail_empty(interp, "spectrum");
    }
    SpectrumPlan plan{x.size(), x.size(), 1, 1.0, Detrend::mean, Window::hann};
    if (read_spectrum_options(interp, objc, objv, &plan) != TCL_OK) {
        return TCL_ERROR;
    }
    const int bins = plan.segment / 2 + 1;
    Vector results[3];
    Fourier* const fourier = tables_of(interp);
    if (fourier == nullptr) {
        return TCL_ERROR;
    }
    for (Vector& result : results) {
        if (result.allocate(interp, bins) != TCL_OK) {
            return TCL_ERROR;
        }
    }
    if (!spectrum(*fourier, plan, x.data(), results[0].writable(), results[1].writable(),
                  results[2].writable())) {
        return transform_failure(interp);
    }
    static constexpr const char* names[] = {"frequency", "amplitude", "power"};
    Tcl_Obj* const dict = Tcl_NewDictObj();
    for (int i = 0; i < 3; ++i) {
        Tcl_DictObjPut(nullptr, dict, Tcl_NewStringObj(names[i], -1), results[i].value(interp));
    }
    Tcl_SetObjResult(interp, dict);
    return TCL_OK;
}

int convolve_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    return convolve_by(convolve, "convolution", interp, objc, objv);
}

int correlate_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    return convolve_by(correlate, "correlation", interp, objc, objv);
}

int release_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    if (!count_is_good(interp, objc, objv, 1, 0, 0, nullptr)) {
        return TCL_ERROR;
    }
    Tcl_DeleteAssocData(interp, tables_key);
    return TCL_OK;
}

} // namespace zavox

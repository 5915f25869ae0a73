// zavox::vector: making, cutting, joining and describing vectors.
#include "zavox/arguments.hpp"
#include "zavox/histogram.hpp"
#include "zavox/ordering.hpp"
#include "zavox/sums.hpp"

#include <tcl_generations.hpp>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace zavox {

namespace {

constexpr double quiet_nan = std::numeric_limits<double>::quiet_NaN();

int put_double(Tcl_Interp* interp, double number)
{
    Tcl_SetObjResult(interp, new_number(number));
    return TCL_OK;
}

int put_int(Tcl_Interp* interp, int number)
{
    Tcl_SetObjResult(interp, Tcl_NewIntObj(number));
    return TCL_OK;
}

// A Tcl list of the numbers, which stay the caller's.
int put_list(Tcl_Interp* interp, int datatype, int n, const void* numbers)
{
    DynList list{};
    list.datatype = datatype;
    list.count = list.capacity = n;
    list.values = const_cast<void*>(numbers);
    return morvelPutValues(interp, &list);
}

// An array for the time of a command.
template <class T>
class Work {
public:
    Work() = default;
    ~Work() { std::free(values_); }
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;
    int allocate(Tcl_Interp* interp, int n)
    {
        values_ = static_cast<T*>(dfuAllocate(static_cast<std::size_t>(n) + 1, sizeof(T)));
        return values_ != nullptr ? TCL_OK : memory_short(interp);
    }
    T* get() const { return values_; }
    T& operator[](int i) const { return values_[i]; }

private:
    T* values_ = nullptr;
};

// A number that a float holds, as a double.
int get_number_for_float(Tcl_Interp* interp, Tcl_Obj* word, double* number)
{
    if (get_number(interp, word, number) != TCL_OK) {
        return TCL_ERROR;
    }
    if (std::isinf(static_cast<float>(*number)) && !std::isinf(*number)) {
        constexpr char message[] = "floating-point value too large to represent";
        Tcl_SetObjResult(interp, Tcl_NewStringObj(message, -1));
        Tcl_SetErrorCode(interp, "ARITH", "OVERFLOW", message, nullptr);
        return TCL_ERROR;
    }
    return TCL_OK;
}

int fail_index(Tcl_Interp* interp, Tcl_Obj* word)
{
    return fail(interp, Fault::value, Tcl_GetString(word), quoted("index ", word, " out of range"));
}

// The index that a word means, 0 ... count - 1.
int get_place(Tcl_Interp* interp, Tcl_Obj* word, int count, int* place)
{
    Tcl_WideInt index = 0;
    if (morvelGetIndex(interp, word, count, &index) != TCL_OK) {
        return TCL_ERROR;
    }
    if (index < 0 || index >= count) {
        return fail_index(interp, word);
    }
    *place = static_cast<int>(index);
    return TCL_OK;
}

int get_nonempty(Tcl_Interp* interp, Tcl_Obj* word, const char* what, Vector* v)
{
    if (v->get(interp, word) != TCL_OK) {
        return TCL_ERROR;
    }
    return v->empty() ? fail_empty(interp, what) : TCL_OK;
}

void copy(const float* from, int n, float* to)
{
    std::copy(from, from + n, to);
}

// The result of value(i) for i = 0 ... n - 1, each of which takes so long.
template <class Value>
int put_each(Tcl_Interp* interp, int n, int nanoseconds, Value&& value)
{
    Vector result;
    if (result.allocate(interp, n) != TCL_OK) {
        return TCL_ERROR;
    }
    float* const out = result.writable();
    const bool done = in_parts(n, nanoseconds, [&](std::int64_t begin, std::int64_t end) {
        for (auto i = static_cast<int>(begin); i < end; ++i) {
            out[i] = value(i);
        }
    });
    return done ? result.put(interp) : TCL_ERROR;
}

// ---- Making -------------------------------------------------------------------------

// vector linspace first last count
int linspace(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    double first = 0;
    double last = 0;
    int count = 0;
    Vector result;
    if (get_number_for_float(interp, objv[2], &first) != TCL_OK ||
        get_number_for_float(interp, objv[3], &last) != TCL_OK ||
        get_count(interp, objv[4], 2, "count", &count) != TCL_OK ||
        result.allocate(interp, count) != TCL_OK) {
        return TCL_ERROR;
    }
    return fill_equally_spaced(first, last, count, result.writable()) ? result.put(interp) : TCL_ERROR;
}

// vector fill value count
int fill(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    double number = 0;
    int count = 0;
    if (get_number_for_float(interp, objv[2], &number) != TCL_OK ||
        get_count(interp, objv[3], 0, "count", &count) != TCL_OK) {
        return TCL_ERROR;
    }
    return put_each(interp, count, 1, [x = static_cast<float>(number)](int) { return x; });
}

// vector frombytes bytes
int frombytes(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    MorvelVector* const vector = morvelVectorOfBytes(interp, objv[2]);
    if (vector == nullptr) {
        return TCL_ERROR;
    }
    Tcl_SetObjResult(interp, morvelVectorValue(interp, vector));
    return TCL_OK;
}

// ---- Cutting and joining ------------------------------------------------------------

// vector length v
int length(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    Vector v;
    return v.get(interp, objv[2]) == TCL_OK ? put_int(interp, v.size()) : TCL_ERROR;
}

// vector index v i
int index(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    Vector v;
    int place = 0;
    if (v.get(interp, objv[2]) != TCL_OK || get_place(interp, objv[3], v.size(), &place) != TCL_OK) {
        return TCL_ERROR;
    }
    return put_double(interp, static_cast<double>(v[place]));
}

// The part of `count` elements that two indices name, as lrange and lreplace take
// them: *first from 0 up, *last below count; none when *last < *first.
int get_span(Tcl_Interp* interp, Tcl_Obj* const words[], int count, Tcl_WideInt* first, Tcl_WideInt* last)
{
    if (morvelGetIndex(interp, words[0], count, first) != TCL_OK ||
        morvelGetIndex(interp, words[1], count, last) != TCL_OK) {
        return TCL_ERROR;
    }
    *first = std::max<Tcl_WideInt>(*first, 0);
    *last = std::min<Tcl_WideInt>(*last, count - 1);
    return TCL_OK;
}

// vector range v first last
int range(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    Vector v;
    Vector result;
    Tcl_WideInt first = 0;
    Tcl_WideInt last = 0;
    if (v.get(interp, objv[2]) != TCL_OK || get_span(interp, objv + 3, v.size(), &first, &last) != TCL_OK) {
        return TCL_ERROR;
    }
    const int count = first <= last ? static_cast<int>(last - first + 1) : 0;
    if (count == v.size()) {
        return v.put(interp);
    }
    if (result.allocate(interp, count) != TCL_OK) {
        return TCL_ERROR;
    }
    if (count > 0) {
        copy(v.data() + first, count, result.writable());
    }
    return result.put(interp);
}

int fail_size(Tcl_Interp* interp)
{
    constexpr char message[] = "max length of a vector (2147483647 values) exceeded";
    return fail(interp, Fault::value, "2147483647", message);
}

// vector replace v first last w
int replace(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    Vector v;
    Vector w;
    Vector result;
    Tcl_WideInt first = 0;
    Tcl_WideInt last = 0;
    if (v.get(interp, objv[2]) != TCL_OK || get_span(interp, objv + 3, v.size(), &first, &last) != TCL_OK ||
        w.get(interp, objv[5]) != TCL_OK) {
        return TCL_ERROR;
    }
    if (first > v.size()) {
        return fail_index(interp, objv[3]);
    }
    const int before = static_cast<int>(first);
    const int behind = static_cast<int>(std::max(last + 1, first)); // the first that stays
    const int rest = v.size() - behind;
    if (w.size() > INT_MAX - before - rest) {
        return fail_size(interp);
    }
    if (result.allocate(interp, before + w.size() + rest) != TCL_OK) {
        return TCL_ERROR;
    }
    float* const out = result.writable();
    copy(v.data(), before, out);
    copy(w.data(), w.size(), out + before);
    copy(v.data() + behind, rest, out + before + w.size());
    return result.put(interp);
}

// vector concat ?v ...?
int concat(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    Vector result;
    Work<Vector> parts;
    const int given = objc - 2;
    int count = 0;
    if (parts.allocate(interp, given) != TCL_OK) {
        return TCL_ERROR;
    }
    int read = 0;
    int status = TCL_OK;
    for (; read < given && status == TCL_OK; ++read) {
        new (&parts[read]) Vector;
        status = parts[read].get(interp, objv[2 + read]);
        if (status == TCL_OK && parts[read].size() > INT_MAX - count) {
            status = fail_size(interp);
        }
        count += status == TCL_OK ? parts[read].size() : 0;
    }
    if (status == TCL_OK) {
        status = result.allocate(interp, count);
    }
    for (int i = 0, at = 0; i < read; ++i) {
        if (status == TCL_OK) {
            copy(parts[i].data(), parts[i].size(), result.writable() + at);
            at += parts[i].size();
        }
        parts[i].~Vector();
    }
    return status == TCL_OK ? result.put(interp) : TCL_ERROR;
}

// vector reverse v
int reverse(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    Vector v;
    Vector result;
    if (v.get(interp, objv[2]) != TCL_OK || result.allocate(interp, v.size()) != TCL_OK) {
        return TCL_ERROR;
    }
    const bool done = in_parts(v.size(), 1, [&](std::int64_t begin, std::int64_t end) {
        std::reverse_copy(v.data() + begin, v.data() + end, result.writable() + (v.size() - end));
    });
    return done ? result.put(interp) : TCL_ERROR;
}

// vector sort v ?-decreasing? ?-indices?
int sort(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    enum Option { decreasing_option, indices_option };
    static constexpr OptionRow options[] = {{"-decreasing", false}, {"-indices", false}, {nullptr, false}};
    bool chosen[2] = {false, false};
    OptionWords words(interp, objc, objv, 3, options);
    Vector v;
    Work<int> places;
    int row = 0;
    Tcl_Obj* value = nullptr;
    if (v.get(interp, objv[2]) != TCL_OK) {
        return TCL_ERROR;
    }
    do {
        if (words.next(&row, &value) != TCL_OK) {
            return TCL_ERROR;
        }
        if (row >= 0) {
            chosen[row] = true;
        }
    } while (row >= 0);
    if (places.allocate(interp, v.size()) != TCL_OK) {
        return TCL_ERROR;
    }
    if (!sort_indices(v.data(), v.size(), chosen[decreasing_option], places.get())) {
        return memory_short(interp);
    }
    if (chosen[indices_option]) {
        return put_list(interp, DFU_INT, v.size(), places.get());
    }
    return put_each(interp, v.size(), 5, [x = v.data(), at = places.get()](int i) { return x[at[i]]; });
}

// vector where v
int where(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    Vector v;
    Work<int> places;
    if (v.get(interp, objv[2]) != TCL_OK || places.allocate(interp, v.size()) != TCL_OK) {
        return TCL_ERROR;
    }
    int count = 0;
    const float* const x = v.data();
    const bool done = in_parts(v.size(), 1, [&](std::int64_t begin, std::int64_t end) {
        for (auto i = begin; i < end; ++i) {
            places[count] = static_cast<int>(i);
            count += static_cast<int>(x[i] < 0 || x[i] > 0);
        }
    });
    return done ? put_list(interp, DFU_INT, count, places.get()) : TCL_ERROR;
}

// vector pick v indices
int pick(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    Vector v;
    Vector result;
    Tcl_Size count = 0;
    Tcl_Obj** words = nullptr;
    // The list first: the same value may be both.
    if (Tcl_ListObjLength(interp, objv[3], &count) != TCL_OK || v.get(interp, objv[2]) != TCL_OK) {
        return TCL_ERROR;
    }
    if (count > INT_MAX) {
        return fail_size(interp);
    }
    // A copy of its own, which nothing turns into something else meanwhile.
    Tcl_Obj* const indices = Tcl_DuplicateObj(objv[3]);
    Tcl_IncrRefCount(indices);
    int status = Tcl_ListObjGetElements(interp, indices, &count, &words);
    if (status == TCL_OK) {
        status = result.allocate(interp, static_cast<int>(count));
    }
    const bool done = status == TCL_OK && in_parts(count, 20, [&](std::int64_t begin, std::int64_t end) {
                          for (auto i = begin; status == TCL_OK && i < end; ++i) {
                              int place = 0;
                              status = get_place(interp, words[i], v.size(), &place);
                              if (status == TCL_OK) {
                                  result.writable()[i] = v[place];
                              }
                          }
                      });
    Tcl_DecrRefCount(indices);
    return done && status == TCL_OK ? result.put(interp) : TCL_ERROR;
}

// vector list v
int list(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    Vector v;
    return v.get(interp, objv[2]) == TCL_OK ? put_list(interp, DFU_FLOAT, v.size(), v.data()) : TCL_ERROR;
}

// vector bytes v
int bytes(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    Vector v;
    if (v.get(interp, objv[2]) != TCL_OK) {
        return TCL_ERROR;
    }
    Tcl_Obj* const result = morvelBytesOfFloats(interp, v.size(), v.data());
    if (result == nullptr) {
        return TCL_ERROR;
    }
    Tcl_SetObjResult(interp, result);
    return TCL_OK;
}

// ---- Describing ---------------------------------------------------------------------

double mean_of(const Vector& v)
{
    return v.empty() ? quiet_nan : sum_of(v.data(), v.size()) / v.size();
}

double variance_of(const Vector& v)
{
    return v.size() < 2 ? quiet_nan : squares_about(v.data(), v.size(), mean_of(v)) / (v.size() - 1);
}

// vector sum v and the like: a double of a vector of any length.
template <double (*value_of)(const Vector&)>
int describe(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    Vector v;
    return v.get(interp, objv[2]) == TCL_OK ? put_double(interp, value_of(v)) : TCL_ERROR;
}

double total_of(const Vector& v)
{
    return sum_of(v.data(), v.size());
}

double deviation_of(const Vector& v)
{
    return std::sqrt(variance_of(v));
}

double norm_of(const Vector& v)
{
    return std::sqrt(squares_about(v.data(), v.size(), 0));
}

// vector dot v w
int dot(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    Vector v;
    Vector w;
    if (v.get(interp, objv[2]) != TCL_OK || w.get(interp, objv[3]) != TCL_OK) {
        return TCL_ERROR;
    }
    if (v.size() != w.size()) {
        return fail_lengths(interp, v.size(), w.size());
    }
    return put_double(interp, product_of(v.data(), w.data(), v.size()));
}

using PlaceOf = int(const float* x, int n);

template <PlaceOf* place_of>
int extreme(Tcl_Interp* interp, Tcl_Obj* word, const char* what, bool as_place)
{
    Vector v;
    if (get_nonempty(interp, word, what, &v) != TCL_OK) {
        return TCL_ERROR;
    }
    const int place = place_of(v.data(), v.size());
    return as_place ? put_int(interp, place) : put_double(interp, static_cast<double>(v[place]));
}

// vector min v, max v, argmin v, argmax v
int minimum(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    return extreme<place_of_minimum>(interp, objv[2], "min", false);
}
int maximum(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    return extreme<place_of_maximum>(interp, objv[2], "max", false);
}
int argmin(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    return extreme<place_of_minimum>(interp, objv[2], "argmin", true);
}
int argmax(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    return extreme<place_of_maximum>(interp, objv[2], "argmax", true);
}

// vector median v
int median(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    Vector v;
    if (get_nonempty(interp, objv[2], "median", &v) != TCL_OK) {
        return TCL_ERROR;
    }
    return put_double(interp, quantile_of(v.data(), v.size(), 0.5));
}

// vector quantile v p ?p ...?
int quantile(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    Vector v;
    Work<double> p;
    const int count = objc - 3;
    if (get_nonempty(interp, objv[2], "quantile", &v) != TCL_OK || p.allocate(interp, count) != TCL_OK) {
        return TCL_ERROR;
    }
    for (int i = 0; i < count; ++i) {
        if (get_number(interp, objv[3 + i], &p[i]) != TCL_OK) {
            return TCL_ERROR;
        }
        if (!(p[i] >= 0 && p[i] <= 1)) {
            return fail(interp, Fault::value, Tcl_GetString(objv[3 + i]),
                        quoted("expected a probability from 0 to 1 but got ", objv[3 + i]));
        }
    }
    if (count == 1) {
        return put_double(interp, quantile_of(v.data(), v.size(), p[0]));
    }
    Tcl_Obj* const result = Tcl_NewListObj(0, nullptr);
    for (int i = 0; i < count; ++i) {
        Tcl_ListObjAppendElement(nullptr, result, new_number(quantile_of(v.data(), v.size(), p[i])));
    }
    Tcl_SetObjResult(interp, result);
    return TCL_OK;
}

// ---- Histogram ----------------------------------------------------------------------

// Two finite numbers, the first not above the second, rounded to floats.
int get_ends(Tcl_Interp* interp, Tcl_Obj* word, float* low, float* high)
{
    Tcl_Size count = 0;
    Tcl_Obj** words = nullptr;
    double ends[2] = {0, 0};
    Tcl_Obj* const range = Tcl_DuplicateObj(word);
    Tcl_IncrRefCount(range);
    int status = Tcl_ListObjGetElements(interp, range, &count, &words);
    for (int i = 0; status == TCL_OK && count == 2 && i < 2; ++i) {
        status = get_number_for_float(interp, words[i], &ends[i]);
    }
    Tcl_DecrRefCount(range);
    if (status != TCL_OK) {
        return TCL_ERROR;
    }
    if (count != 2 || !std::isfinite(ends[0]) || !std::isfinite(ends[1]) || ends[0] > ends[1]) {
        return fail(interp, Fault::value, Tcl_GetString(word),
                    quoted("expected a range {low high} but got ", word));
    }
    *low = static_cast<float>(ends[0]);
    *high = static_cast<float>(ends[1]);
    return TCL_OK;
}

void add_to_dict(Tcl_Obj* dict, const char* key, Tcl_Obj* value)
{
    Tcl_DictObjPut(nullptr, dict, Tcl_NewStringObj(key, -1), value);
}

// The least and the greatest finite element; false when there is none.
bool finite_ends(const Vector& v, float* low, float* high)
{
    bool found = false;
    const float* const x = v.data();
    const bool done = in_parts(v.size(), 1, [&](std::int64_t begin, std::int64_t end) {
        for (auto i = begin; i < end; ++i) {
            if (std::isfinite(x[i])) {
                *low = found ? std::min(*low, x[i]) : x[i];
                *high = found ? std::max(*high, x[i]) : x[i];
                found = true;
            }
        }
    });
    return done && found;
}

// vector histogram v ?-bins n? ?-range {low high}?
int histogram(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    enum Option { bins_option, range_option };
    static constexpr OptionRow options[] = {{"-bins", true}, {"-range", true}, {nullptr, false}};
    OptionWords words(interp, objc, objv, 3, options);
    Vector v;
    Vector edges;
    Work<int> counts;
    int bins = 10;
    float low = 0;
    float high = 0;
    bool has_range = false;
    int row = 0;
    Tcl_Obj* value = nullptr;
    if (v.get(interp, objv[2]) != TCL_OK) {
        return TCL_ERROR;
    }
    do {
        int status = words.next(&row, &value);
        if (status == TCL_OK && row == bins_option) {
            status = get_count(interp, value, 1, "bins", &bins);
        } else if (status == TCL_OK && row == range_option) {
            status = get_ends(interp, value, &low, &high);
            has_range = true;
        }
        if (status != TCL_OK) {
            return TCL_ERROR;
        }
    } while (row >= 0);
    if (!has_range && v.empty()) {
        return fail_empty(interp, "histogram");
    }
    if (!has_range && !finite_ends(v, &low, &high)) {
        return fail(interp, Fault::value, Tcl_GetString(objv[2]),
                    Tcl_NewStringObj("histogram of a vector without finite values", -1));
    }
    if (bins == INT_MAX) {
        return memory_short(interp);
    }
    if (edges.allocate(interp, bins + 1) != TCL_OK || counts.allocate(interp, bins) != TCL_OK) {
        return TCL_ERROR;
    }
    int outside = 0;
    if (!make_edges(low, high, bins, edges.writable()) ||
        !count_in_bins(v.data(), v.size(), edges.data(), bins, counts.get(), &outside) ||
        put_list(interp, DFU_INT, bins, counts.get()) != TCL_OK) {
        return TCL_ERROR;
    }
    Tcl_Obj* const dict = Tcl_NewDictObj();
    add_to_dict(dict, "edges", edges.value(interp));
    add_to_dict(dict, "counts", Tcl_GetObjResult(interp));
    add_to_dict(dict, "outside", Tcl_NewIntObj(outside));
    Tcl_SetObjResult(interp, dict);
    return TCL_OK;
}

// ---- Running sums and differences -----------------------------------------------------

// vector cumsum v
int cumsum(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    Vector v;
    if (v.get(interp, objv[2]) != TCL_OK) {
        return TCL_ERROR;
    }
    return put_each(interp, v.size(), 1, [x = v.data(), sum = 0.0](int i) mutable {
        sum += static_cast<double>(x[i]);
        return static_cast<float>(sum);
    });
}

// vector diff v
int diff(ClientData, Tcl_Interp* interp, int, Tcl_Obj* const objv[])
{
    Vector v;
    if (get_nonempty(interp, objv[2], "diff", &v) != TCL_OK) {
        return TCL_ERROR;
    }
    return put_each(interp, v.size() - 1, 1, [x = v.data()](int i) {
        return static_cast<float>(static_cast<double>(x[i + 1]) - static_cast<double>(x[i]));
    });
}

constexpr Subcommand vector_subcommands[] = {
    {"argmax", 1, 1, "v", argmax},
    {"argmin", 1, 1, "v", argmin},
    {"bytes", 1, 1, "v", bytes},
    {"concat", 0, -1, "?v ...?", concat},
    {"cumsum", 1, 1, "v", cumsum},
    {"diff", 1, 1, "v", diff},
    {"dot", 2, 2, "v w", dot},
    {"fill", 2, 2, "value count", fill},
    {"frombytes", 1, 1, "bytes", frombytes},
    {"histogram", 1, 5, "v ?-bins n? ?-range {low high}?", histogram},
    {"index", 2, 2, "v i", index},
    {"length", 1, 1, "v", length},
    {"linspace", 3, 3, "first last count", linspace},
    {"list", 1, 1, "v", list},
    {"max", 1, 1, "v", maximum},
    {"mean", 1, 1, "v", describe<mean_of>},
    {"median", 1, 1, "v", median},
    {"min", 1, 1, "v", minimum},
    {"norm", 1, 1, "v", describe<norm_of>},
    {"pick", 2, 2, "v indices", pick},
    {"quantile", 2, -1, "v p ?p ...?", quantile},
    {"range", 3, 3, "v first last", range},
    {"replace", 4, 4, "v first last w", replace},
    {"reverse", 1, 1, "v", reverse},
    {"sd", 1, 1, "v", describe<deviation_of>},
    {"sort", 1, 3, "v ?-decreasing? ?-indices?", sort},
    {"sum", 1, 1, "v", describe<total_of>},
    {"variance", 1, 1, "v", describe<variance_of>},
    {"where", 1, 1, "v", where},
    {nullptr, 0, 0, nullptr, nullptr},
};

} // namespace

int vector_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    return run_subcommand(vector_subcommands, interp, objc, objv);
}

} // namespace zavox

// Option lists of every public routine that takes one: up to three options of any
// kind and order, with values of the types that their codes ask for, codes that no
// routine knows, null arrays, and arguments out of range. Arrays have exactly the
// size that they must have, so that a sanitizer sees a step beyond. A routine
// returns null, or an array it was given, after an error of type 5 only.

#include "core/zavo.h"
#include "tests/fuzz/bytes.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <vector>

namespace {

using zavo::fuzz::Bytes;
using zavo::fuzz::require;

enum class Kind { none, integer, real, pointer, function };
struct Option {
    int code;
    Kind kind;
};

// The arrays and addresses that a call's options may name; null when the input
// says so. What is received in an address is freed with the call.
struct Places {
    Bytes& in;
    int n;                                        // elements of a result
    int constraints;                              // of the constrained minimiser
    bool null_allowed;                            // where the documentation offers no null
    std::vector<std::unique_ptr<float[]>> arrays; // of no more than what is asked for
    float* new_floats = nullptr;
    int* new_ints = nullptr;
    float one_float = 0.5F;
    int one_int = 0;

    ~Places()
    {
        // Asked for both ways, an array of the caller's is what the address receives.
        if (!holds(new_floats)) {
            std::free(new_floats);
        }
        if (!holds(reinterpret_cast<float*>(new_ints))) {
            std::free(new_ints);
        }
    }
    // Whether a result is one of the arrays that the options named.
    bool holds(const float* result) const
    {
        return std::any_of(arrays.begin(), arrays.end(),
                           [&](const auto& each) { return each.get() == result; });
    }
    float* array(int count)
    {
        const auto size = static_cast<std::size_t>(std::max(count, 0));
        const std::vector<float> values = in.numbers(std::min(count, 16));
        arrays.push_back(std::make_unique<float[]>(size));
        std::fill_n(arrays.back().get(), size, 0.25F);
        std::copy(values.begin(), values.end(), arrays.back().get());
        return arrays.back().get();
    }
};

int evaluations = 0;
float bowl(int n, float* x)
{
    ++evaluations;
    float f = 0.0F;
    for (int i = 0; i < n; ++i) {
        f += (x[i] - 1.0F) * (x[i] - 1.0F) + 0.25F * x[i] * x[(i + 1) % n];
    }
    return f;
}
void constrained_bowl(int n, float* x, float* f)
{
    *f = bowl(n, x);
}
void bowl_gradient(int n, float* x, float* g)
{
    for (int i = 0; i < n; ++i) {
        g[i] = 2.0F * (x[i] - 1.0F) + 0.25F * (x[(i + 1) % n] + x[(i + n - 1) % n]);
    }
}

// An integer that an option may have: near the size, near the ends, or any.
int integer_for(int code, Places& places)
{
    Bytes& in = places.in;
    switch (code) {
    case ZAVO_FUNCTION_EVAL_LIMIT:
    case ZAVO_ITERATION_LIMIT:
    case ZAVO_GRADIENT_EVAL_LIMIT:
        return in.byte() % 64 - 2;
    case ZAVO_RESULT_COL_DIM: // the caller's arrays end with them
    case ZAVO_INPUT_COL_DIM:
        return in.byte() % 12 - 2;
    default:
        return in.integer();
    }
}

void* pointer_for(int code, Places& places)
{
    Bytes& in = places.in;
    if (places.null_allowed && in.byte() % 8 == 7) {
        return nullptr;
    }
    switch (code) {
    case ZAVO_Z_TRANS:
    case ZAVO_MULTIPLIERS:
        return &places.new_floats;
    case ZAVO_ACTIVE_LIST:
        return &places.new_ints;
    case ZAVO_ACTIVE_COUNT:
        return &places.one_int;
    case ZAVO_RESULT_VALUE:
    case ZAVO_OBJECTIVE_VALUE:
        return &places.one_float;
    case ZAVO_FUNCTION_SCALE_ADR:
    case ZAVO_GRADIENT_TOLERANCE_ADR:
    case ZAVO_STEP_TOLERANCE_ADR:
    case ZAVO_RELATIVE_TOLERANCE_ADR:
    case ZAVO_STEP_LIMIT_ADR:
        places.one_float = in.number();
        return &places.one_float;
    case ZAVO_ACTIVE_LIST_USER:
        return places.array(places.constraints + 2 * places.n);
    default:
        return places.array(places.n);
    }
}

// Adds options to the call until `left` is used up or the input ends the list.
template <int left, int count, class Call, class... Values>
void with_options(const Option (&options)[count], Places& places, const Call& call, Values... values)
{
    if constexpr (left == 0) {
        call(values..., 0);
    } else {
        const std::uint8_t choice = places.in.byte();
        if (choice >= 224) {
            call(values..., 0);
            return;
        }
        if (choice >= 216) { // a code that no routine knows
            with_options<left - 1>(options, places, call, values..., 20000 + choice);
            return;
        }
        const Option option = options[choice % count];
        switch (option.kind) {
        case Kind::none:
            with_options<left - 1>(options, places, call, values..., option.code);
            break;
        case Kind::integer:
            with_options<left - 1>(options, places, call, values..., option.code,
                                   integer_for(option.code, places));
            break;
        case Kind::real:
            with_options<left - 1>(options, places, call, values..., option.code,
                                   static_cast<double>(places.in.number()));
            break;
        case Kind::pointer:
            with_options<left - 1>(options, places, call, values..., option.code,
                                   pointer_for(option.code, places));
            break;
        case Kind::function:
            with_options<left - 1>(options, places, call, values..., option.code,
                                   places.in.byte() % 4 == 3 ? nullptr : &bowl_gradient);
            break;
        }
    }
}

bool terminal()
{
    return zavo_error_type(1) == ZAVO_TERMINAL;
}

// The result goes, unless it is the caller's own.
template <class Element>
void settle(Element* result, const Places& places)
{
    require(result != nullptr || terminal());
    if (result != nullptr && !places.holds(reinterpret_cast<float*>(result))) {
        require(!terminal());
        std::free(result);
    }
}

constexpr Option user_result[] = {{ZAVO_RETURN_USER, Kind::pointer}};

void deviates(Bytes& in, int which)
{
    const int n = in.below(600) - 8;
    Places places{in, n, 0, true, {}};
    with_options<3>(user_result, places, [&](auto... options) {
        settle(which == 0   ? zavo_f_random_uniform(n, options...)
               : which == 1 ? zavo_f_random_normal(n, options...)
                            : zavo_f_random_exponential(n, options...),
               places);
    });
}

// Any table is taken on trust, so the one that is passed was made for n. A user's
// array is released with a failure, so it comes first and from malloc.
void real_transform(Bytes& in)
{
    static constexpr Option options[] = {{ZAVO_BACKWARD, Kind::none}};
    const int n = in.below(300) - 4;
    Places places{in, n, 0, true, {}};
    const float* const p = in.byte() % 16 == 15 ? nullptr : places.array(n);
    const std::uint8_t shape = in.byte();
    float* const table = (shape & 1U) != 0 ? zavo_f_fft_real_init(n) : nullptr;
    const auto size = static_cast<std::size_t>(std::max(n, 1)) * sizeof(float);
    float* const user = (shape & 2U) != 0 ? static_cast<float*>(std::malloc(size)) : nullptr;
    with_options<3>(options, places, [&](auto... list) {
        float* const result =
            user != nullptr && table != nullptr
                ? zavo_f_fft_real(n, p, int{ZAVO_RETURN_USER}, user, int{ZAVO_PARAMS}, table, list...)
            : user != nullptr  ? zavo_f_fft_real(n, p, int{ZAVO_RETURN_USER}, user, list...)
            : table != nullptr ? zavo_f_fft_real(n, p, int{ZAVO_PARAMS}, table, list...)
                               : zavo_f_fft_real(n, p, list...);
        require(result == nullptr ? terminal() : user == nullptr || result == user);
        std::free(result);
    });
    std::free(table);
}

void complex_transform(Bytes& in)
{
    static constexpr Option options[] = {{ZAVO_BACKWARD, Kind::none}, {ZAVO_RETURN_USER, Kind::pointer}};
    const int n = in.below(200) - 4;
    Places places{in, 2 * n, 0, true, {}};
    const auto* const p =
        reinterpret_cast<const f_complex*>(in.byte() % 16 == 15 ? nullptr : places.array(2 * n));
    float* const table = in.byte() % 2 != 0 ? zavo_c_fft_complex_init(n) : nullptr;
    with_options<3>(options, places, [&](auto... list) {
        settle(table != nullptr ? zavo_c_fft_complex(n, p, int{ZAVO_PARAMS}, table, list...)
                                : zavo_c_fft_complex(n, p, list...),
               places);
    });
    std::free(table);
}

void plane_transform(Bytes& in)
{
    static constexpr Option options[] = {{ZAVO_BACKWARD, Kind::none},
                                         {ZAVO_RESULT_COL_DIM, Kind::integer},
                                         {ZAVO_INPUT_COL_DIM, Kind::integer},
                                         {ZAVO_RETURN_USER, Kind::pointer}};
    const int m = in.below(12) - 2;
    const int n = in.below(12) - 2;
    // Room for the greatest distances from row to row that integer_for() gives.
    const int room = 2 * 12 * 12;
    Places places{in, room, 0, true, {}};
    const auto* const p =
        reinterpret_cast<const f_complex*>(in.byte() % 16 == 15 ? nullptr : places.array(room));
    with_options<3>(options, places, [&](auto... list) {
        f_complex* const result = zavo_c_fft_2d_complex(m, n, p, list...);
        if (!places.holds(reinterpret_cast<float*>(result))) {
            std::free(result);
        }
    });
}

// Series only as they are meant: first, next and last, each of the same sizes.
void convolution(Bytes& in)
{
    static constexpr Option options[] = {{ZAVO_CIRCULAR, Kind::none},
                                         {ZAVO_CORRELATE, Kind::none},
                                         {ZAVO_Z_TRANS, Kind::pointer},
                                         {ZAVO_Z_TRANS_USER, Kind::pointer},
                                         {ZAVO_RETURN_USER, Kind::pointer}};
    const int nx = in.below(80) - 3;
    const int ny = in.below(80) - 3;
    // Padded lengths of up to 160 values end well below.
    Places places{in, 512, 0, true, {}};
    const int most = std::max({nx, ny, 1});
    const float* const x = in.byte() % 16 == 15 ? nullptr : places.array(most);
    const float* const y = in.byte() % 16 == 15 ? nullptr : in.byte() % 4 == 3 ? x : places.array(most);
    int nz = 0;
    const auto call = [&](auto... list) { settle(zavo_f_convolution(nx, x, ny, y, &nz, list...), places); };
    if (in.byte() % 4 != 0) {
        with_options<3>(options, places, call);
    } else {
        call(int{ZAVO_SERIES_FIRST}, 0);
        call(int{ZAVO_SERIES_NEXT}, 0);
        call(int{ZAVO_SERIES_LAST}, 0);
    }
}

constexpr int most_evaluations = 400 * 8;

void unconstrained(Bytes& in)
{
    static constexpr Option options[] = {{ZAVO_START_POINT, Kind::pointer},
                                         {ZAVO_FUNCTION_EVAL_LIMIT, Kind::integer},
                                         {ZAVO_GRADIENT_FUNCTION, Kind::function},
                                         {ZAVO_VARIABLE_SCALING, Kind::pointer},
                                         {ZAVO_FUNCTION_SCALE, Kind::real},
                                         {ZAVO_GRADIENT_TOLERANCE, Kind::real},
                                         {ZAVO_STEP_TOLERANCE, Kind::real},
                                         {ZAVO_RELATIVE_TOLERANCE, Kind::real},
                                         {ZAVO_STEP_LIMIT, Kind::real},
                                         {ZAVO_GOOD_DIGITS, Kind::integer},
                                         {ZAVO_ITERATION_LIMIT, Kind::integer},
                                         {ZAVO_GRADIENT_EVAL_LIMIT, Kind::integer},
                                         {ZAVO_HESSIAN_START, Kind::integer},
                                         {ZAVO_RESULT_VALUE, Kind::pointer},
                                         {ZAVO_FUNCTION_SCALE_ADR, Kind::pointer},
                                         {ZAVO_STEP_LIMIT_ADR, Kind::pointer},
                                         {ZAVO_GRADIENT_TOLERANCE_ADR, Kind::pointer},
                                         {ZAVO_RETURN_USER, Kind::pointer}};
    const int n = in.byte() % 7 - 1;
    Places places{in, n, 0, false, {}};
    evaluations = 0;
    with_options<3>(options, places,
                    [&](auto... list) { settle(zavo_f_min_uncon_multivar(&bowl, n, list...), places); });
    require(evaluations <= most_evaluations);
}

void constrained(Bytes& in)
{
    static constexpr Option options[] = {{ZAVO_START_POINT, Kind::pointer},
                                         {ZAVO_FUNCTION_EVAL_LIMIT, Kind::integer},
                                         {ZAVO_CON_GRADIENT_FUNCTION, Kind::function},
                                         {ZAVO_ACCURACY, Kind::real},
                                         {ZAVO_OBJECTIVE_VALUE, Kind::pointer},
                                         {ZAVO_ACTIVE_LIST, Kind::pointer},
                                         {ZAVO_ACTIVE_LIST_USER, Kind::pointer},
                                         {ZAVO_ACTIVE_COUNT, Kind::pointer},
                                         {ZAVO_MULTIPLIERS, Kind::pointer},
                                         {ZAVO_MULTIPLIERS_USER, Kind::pointer},
                                         {ZAVO_RETURN_USER, Kind::pointer}};
    const int n = in.byte() % 5;
    const int ncon = in.byte() % 4;
    const int neq = in.byte() % 5 - 1;
    Places places{in, n, ncon, false, {}};
    float* const a = places.array(ncon * n);
    const float* const b = places.array(ncon);
    const float* const low = places.array(n);
    float* const high = places.array(n);
    for (int i = 0; i < n; ++i) {
        high[i] = in.byte() % 8 != 0 && high[i] < low[i] ? low[i] + 1.0F : high[i];
    }
    evaluations = 0;
    with_options<3>(options, places, [&](auto... list) {
        settle(zavo_f_min_con_gen_lin(&constrained_bowl, n, ncon, neq, a, b, low, high, list...), places);
    });
    require(evaluations <= most_evaluations);
}

void ignore(int, int, const char*, const char* message)
{
    require(message != nullptr && message[0] != '\0');
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    zavo_error_options(ZAVO_SET_ERROR_HANDLER, &ignore, ZAVO_SET_STOP, ZAVO_FATAL, 0, ZAVO_SET_STOP,
                       ZAVO_TERMINAL, 0, 0);
    Bytes in(data, size);
    switch (in.byte() % 9) {
    case 0:
    case 1:
    case 2:
        deviates(in, in.byte() % 3);
        break;
    case 3:
        real_transform(in);
        break;
    case 4:
        complex_transform(in);
        break;
    case 5:
        plane_transform(in);
        break;
    case 6:
        convolution(in);
        break;
    case 7:
        unconstrained(in);
        break;
    default:
        constrained(in);
        break;
    }
    return 0;
}

// The minimisers' input: texts that stand for numbers, and problems with any data.
// First byte: 0 modulo 4, the rest is a text; 2, a free problem; odd, a constrained
// one.
//   A text must read as the number that the C library's strtod() finds, and any
// float must come back from its text within its six decimals. A problem must end,
// with a vector or an error, within its bounds and its limit of evaluations (and the few
// trials beyond that a search may make).
#include "core/zavo.h"
#include "minimize/free/line_search.hpp"
#include "minimize/objective/number_text.hpp"
#include "tests/fuzz/bytes.hpp"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace zavo::minimize;
using zavo::fuzz::Bytes;
using zavo::fuzz::require;

int evaluations;

void check_text(const std::string& text)
{
    const float value = read_float(text.c_str());
#ifdef __GLIBC__
    const double other = std::strtod(text.c_str(), nullptr);
    if (std::fabs(other) <= 3.4e38) {
        require(value == static_cast<float>(other));
    } else {
        require(std::isnan(value) == std::isnan(other));
    }
#endif
    char written[fixed_text_size];
    require(static_cast<std::size_t>(format_fixed(value, written)) == std::strlen(written));
    const float again = read_float(written);
    require(std::isnan(value) ? std::isnan(again) : again == value || std::fabs(again - value) <= 6e-7F);
}

void objective(int n, float* x, float* f)
{
    ++evaluations;
    *f = 0.0F;
    for (int i = 0; i < n; ++i) {
        const float away = x[i] - 0.3F * static_cast<float>(i);
        *f += away * away + 0.1F * x[i] * x[(i + 1) % n];
    }
}

void gradient(int n, float* x, float* g)
{
    for (int i = 0; i < n; ++i) {
        g[i] = 2.0F * (x[i] - 0.3F * static_cast<float>(i)) + 0.1F * (x[(i + 1) % n] + x[(i + n - 1) % n]);
    }
}

void check_problem(Bytes bytes)
{
    const int n = 1 + bytes.byte() % 6;
    const int ncon = bytes.byte() % 8;
    const int neq = ncon > 0 ? bytes.byte() % (ncon + 1) : 0;
    const bool own_gradient = bytes.byte() % 2 == 0;
    std::vector<float> a = bytes.numbers(n * ncon);
    const std::vector<float> before = a;
    const std::vector<float> b = bytes.numbers(ncon);
    const std::vector<float> start = bytes.numbers(n);
    std::vector<float> xlb = bytes.numbers(n);
    std::vector<float> xub = bytes.numbers(n);
    for (int i = 0; i < n; ++i) { // crossing bounds are soon dealt with
        xub[i] = xub[i] < xlb[i] ? xlb[i] : xub[i];
    }
    constexpr int limit = 60;
    evaluations = 0;
    float* const x = zavo_f_min_con_gen_lin(
        objective, n, ncon, neq, a.data(), b.data(), xlb.data(), xub.data(), ZAVO_START_POINT, start.data(),
        ZAVO_FUNCTION_EVAL_LIMIT, limit, ZAVO_CON_GRADIENT_FUNCTION, own_gradient ? gradient : nullptr, 0);
    require(evaluations <= limit * (own_gradient ? 1 : n + 1));
    require(a.empty() || std::memcmp(a.data(), before.data(), a.size() * sizeof(float)) == 0);
    const int code = zavo_error_code(1);
    const bool met = code == 8088 || code == 8089 || code == 8090 || code == 8094;
    for (int i = 0; x != nullptr && met && i < n; ++i) {
        require(!(x[i] < xlb[i]) && !(x[i] > xub[i]));
    }
    std::free(x);
}

// Falls, rises and jumps as the bytes say.
std::vector<float> jumps;
float free_objective(int n, float* x)
{
    ++evaluations;
    require(evaluations < 100000); // a run without an end
    float f = 0.0F;
    for (int i = 0; i < n; ++i) {
        f += (x[i] - jumps[0]) * (x[i] - jumps[0]) * jumps[1] + jumps[2] * x[i];
    }
    const auto place = static_cast<std::size_t>(evaluations) % (4 * jumps.size());
    return place < jumps.size() ? jumps[place] : f;
}

void free_gradient(int n, float* x, float* g)
{
    for (int i = 0; i < n; ++i) {
        g[i] = 2.0F * (x[i] - jumps[0]) * jumps[1] + jumps[2];
    }
}

// Controls of every value, good and bad.
void check_free_problem(Bytes bytes)
{
    const int n = 1 + bytes.byte() % 6;
    const bool own_gradient = bytes.byte() % 2 == 0;
    const int limit = bytes.byte() % 64 - 1;
    const std::vector<float> start = bytes.numbers(n);
    const std::vector<float> scales = bytes.numbers(n);
    const std::vector<float> tolerances = bytes.numbers(4);
    const int digits = bytes.byte() % 16 - 2;
    jumps = bytes.numbers(3 + bytes.byte() % 5);
    evaluations = 0;
    float f = 0.0F;
    float* const x = zavo_f_min_uncon_multivar(
        free_objective, n, ZAVO_START_POINT, start.data(), ZAVO_VARIABLE_SCALING, scales.data(),
        ZAVO_STEP_TOLERANCE, static_cast<double>(tolerances[0]), ZAVO_RELATIVE_TOLERANCE,
        static_cast<double>(tolerances[1]), ZAVO_STEP_LIMIT, static_cast<double>(tolerances[2]),
        ZAVO_FUNCTION_SCALE, static_cast<double>(tolerances[3]), ZAVO_GRADIENT_TOLERANCE, 0.0,
        ZAVO_GOOD_DIGITS, digits, ZAVO_FUNCTION_EVAL_LIMIT, limit, ZAVO_RESULT_VALUE, &f,
        ZAVO_GRADIENT_FUNCTION, own_gradient ? free_gradient : nullptr, 0);
    require(x != nullptr);
    const int allowed = (limit < 1 ? 400 : limit) + trials_past_limit;
    require(evaluations <= (own_gradient ? allowed + 1 : (allowed + 1) * (4 * n + 1)));
    std::free(x);
}

void keep_silent(int, int, const char*, const char*) {}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    zavo_error_options(ZAVO_SET_ERROR_HANDLER, keep_silent, ZAVO_SET_STOP, ZAVO_FATAL, 0, ZAVO_SET_STOP,
                       ZAVO_TERMINAL, 0, 0);
    if (size == 0) {
        return 0;
    }
    if (data[0] % 4 == 2) {
        check_free_problem({data + 1, size - 1});
    } else if (data[0] % 2 == 0) {
        check_text(std::string(reinterpret_cast<const char*>(data) + 1, size - 1));
    } else {
        check_problem({data + 1, size - 1});
    }
    return 0;
}

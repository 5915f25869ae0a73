// Minimisations of compiled objectives, which compute in float: solutions,
// values, codes, and how numbers become text and come back.
#include "core/zavo.h"
#include "minimize/free/controls.hpp"
#include "minimize/objective/number_text.hpp"
#include "tests/golden/golden.hpp"

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

int evaluations;

float rosenbrock(int n, float* x)
{
    ++evaluations;
    float sum = 0;
    for (int i = 0; i + 1 < n; i += 2) {
        const float a = x[i + 1] - x[i] * x[i];
        const float b = 1 - x[i];
        sum += 100 * a * a + b * b;
    }
    return sum;
}

void rosenbrock_gradient(int n, float* x, float* g)
{
    for (int i = 0; i + 1 < n; i += 2) {
        const float a = x[i + 1] - x[i] * x[i];
        g[i] = -400 * a * x[i] - 2 * (1 - x[i]);
        g[i + 1] = 200 * a;
    }
}

float wood(int, float* x)
{
    ++evaluations;
    const float a = x[1] - x[0] * x[0], b = 1 - x[0], c = x[3] - x[2] * x[2], d = 1 - x[2];
    const float e = x[1] + x[3] - 2, f = x[1] - x[3];
    return 100 * a * a + b * b + 90 * c * c + d * d + 10 * e * e + 0.1F * f * f;
}

void hs44(int, float* x, float* f)
{
    ++evaluations;
    *f = x[0] - x[1] - x[2] - x[0] * x[2] + x[0] * x[3] + x[1] * x[2] - x[1] * x[3];
}

void bowl(int n, float* x, float* f)
{
    ++evaluations;
    *f = 0;
    for (int i = 0; i < n; ++i) {
        const float away = x[i] - static_cast<float>(i);
        *f += away * away * (1 + 0.1F * static_cast<float>(i));
    }
}

void constrained(zavo::golden::Output& out, const std::string& name, zavo_constrained_objective_fn f, int n,
                 int ncon, int neq, std::vector<float> a, const std::vector<float>& b,
                 const std::vector<float>& xlb, const std::vector<float>& xub)
{
    evaluations = 0;
    float value = 0;
    int* list = nullptr;
    float* multipliers = nullptr;
    int count = 0;
    float* const x = zavo_f_min_con_gen_lin(f, n, ncon, neq, a.data(), b.data(), xlb.data(), xub.data(),
                                            ZAVO_OBJECTIVE_VALUE, &value, ZAVO_ACTIVE_LIST, &list,
                                            ZAVO_ACTIVE_COUNT, &count, ZAVO_MULTIPLIERS, &multipliers, 0);
    out.value((name + "-code").c_str(), zavo_error_code(1));
    out.value((name + "-evaluations").c_str(), evaluations);
    out.values((name + "-x").c_str(), x, n);
    out.value((name + "-value").c_str(), value);
    out.values((name + "-active").c_str(), list, count);
    out.values((name + "-multipliers").c_str(), multipliers, n);
    std::free(x);
    std::free(list);
    std::free(multipliers);
}

} // namespace

GOLDEN(minimize)
{
    zavo_error_options(ZAVO_SET_PRINT, 3, 0, ZAVO_SET_PRINT, 4, 0, ZAVO_SET_STOP, 4, 0, 0);
    out.value("eps-two-thirds", zavo::minimize::eps_two_thirds());
    const float start[] = {-1.2F, 1, -3, -1};
    for (const int hessian : {0, 1}) {
        for (const bool gradient : {false, true}) {
            evaluations = 0;
            float value = 0;
            float* const x = zavo_f_min_uncon_multivar(
                rosenbrock, 4, ZAVO_START_POINT, start, ZAVO_HESSIAN_START, hessian, ZAVO_RESULT_VALUE,
                &value, ZAVO_GRADIENT_FUNCTION, gradient ? rosenbrock_gradient : nullptr, 0);
            const std::string name =
                "rosenbrock-" + std::to_string(hessian) + (gradient ? "-gradient" : "-differences");
            out.value((name + "-code").c_str(), zavo_error_code(1));
            out.value((name + "-evaluations").c_str(), evaluations);
            out.values(name.c_str(), x, 4);
            out.value((name + "-value").c_str(), value);
            std::free(x);
        }
    }
    float* const x = zavo_f_min_uncon_multivar(wood, 4, ZAVO_START_POINT, start, 0);
    out.values("wood", x, 4);
    std::free(x);

    constrained(out, "hs44", hs44, 4, 6, 0,
                {1, 2, 0, 0, 4, 1, 0, 0, 3, 4, 0, 0, 0, 0, 2, 1, 0, 0, 1, 2, 0, 0, 1, 1},
                {8, 12, 12, 8, 8, 5}, {0, 0, 0, 0}, {99, 99, 99, 99});
    constrained(out, "bowl", bowl, 5, 3, 1, {1, 1, 1, 1, 1, 1, -1, 0, 0, 2, 0, 1, 1, 3, 0}, {7, 4, 8},
                {-1, -1, -1, 2.5F, -1}, {9, 9, 9, 2.5F, 9});
    constrained(out, "clash", bowl, 2, 2, 0, {1, 1, -1, -1}, {1, -2}, {-9, -9}, {9, 9});

    std::uint32_t state = 1;
    std::uint32_t written = 2166136261U;
    std::uint32_t read = 2166136261U;
    const auto mix = [](std::uint32_t& hash, std::uint32_t word) { hash = (hash ^ word) * 16777619U; };
    for (int i = 0; i < 100000; ++i) {
        state = state * 1664525U + 1013904223U;
        const auto number = std::bit_cast<float>(state);
        char text[zavo::minimize::fixed_text_size];
        const int length = zavo::minimize::format_fixed(number, text);
        for (int k = 0; k < length; ++k) {
            mix(written, static_cast<unsigned char>(text[k]));
        }
        std::string digits = std::to_string(state) + "." + std::to_string(state * 2654435761U);
        digits += i % 3 == 0 ? "e" + std::to_string(static_cast<int>(state >> 20) % 90 - 50) : "";
        if (number == number) {
            mix(read, std::bit_cast<std::uint32_t>(zavo::minimize::read_float(text)));
        }
        mix(read, std::bit_cast<std::uint32_t>(zavo::minimize::read_float(digits.c_str())));
    }
    out.value("texts-written", static_cast<int>(written));
    out.value("texts-read", static_cast<int>(read));
}

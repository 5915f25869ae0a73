// Smallest and largest of an argument list: four faces over one template. Each
// runs under the entry frame in its own name.
#include "core/frame/entry_frame.hpp"

#include <cstdarg>

namespace {

// Reads one variable argument; a float travels as a double.
template <class T>
T next_argument(std::va_list* list);
template <>
int next_argument<int>(std::va_list* list)
{
    return va_arg(*list, int);
}
template <>
float next_argument<float>(std::va_list* list)
{
    return static_cast<float>(va_arg(*list, double));
}

// A va_list is an array on some targets, which decays to a pointer when it is
// passed on; inside a struct it does not.
struct Arguments {
    std::va_list list;
};

// Smallest: a later value must be strictly smaller, so a NaN after the first
// value is passed over. Largest: a later value goes in unless the present one
// is >= it, so a NaN goes in.
struct Smallest {
    template <class T>
    static bool replaces(T later, T present)
    {
        return later < present;
    }
};
struct Largest {
    template <class T>
    static bool replaces(T later, T present)
    {
        return !(present >= later);
    }
};

template <class T, class Rule>
T extremum(const char* name, int n, Arguments& arguments)
{
    T result = T{0};
    {
        zavo::core::EntryFrame frame{name};
        frame.run([&] {
            if (n < 1) {
                return;
            }
            result = next_argument<T>(&arguments.list);
            for (int i = 1; i < n; ++i) {
                const T later = next_argument<T>(&arguments.list);
                if (Rule::replaces(later, result)) {
                    result = later;
                }
            }
        });
    }
    return result;
}

} // namespace

extern "C" {

int zavo_i_vmin(int n, ...)
{
    Arguments arguments;
    va_start(arguments.list, n);
    const int result = extremum<int, Smallest>("zavo_i_vmin", n, arguments);
    va_end(arguments.list);
    return result;
}

int zavo_i_vmax(int n, ...)
{
    Arguments arguments;
    va_start(arguments.list, n);
    const int result = extremum<int, Largest>("zavo_i_vmax", n, arguments);
    va_end(arguments.list);
    return result;
}

float zavo_f_vmin(int n, ...)
{
    Arguments arguments;
    va_start(arguments.list, n);
    const float result = extremum<float, Smallest>("zavo_f_vmin", n, arguments);
    va_end(arguments.list);
    return result;
}

float zavo_f_vmax(int n, ...)
{
    Arguments arguments;
    va_start(arguments.list, n);
    const float result = extremum<float, Largest>("zavo_f_vmax", n, arguments);
    va_end(arguments.list);
    return result;
}

} // extern "C"

// Matrix transposition: a is nrow x ncol by rows, b becomes ncol x nrow by rows,
// b[i + nrow*j] = a[j + ncol*i]. One template serves floats, complex values and
// integers.
//
// Distinct arrays go tile by tile through a buffer that stays in L1: rows of the tile are
// read whole and written whole, so every cache line is fetched once, also when rows lie a
// power of two apart. Example: 2 x 3 {1 2 3, 4 5 6} becomes 3 x 2 {1 4, 2 5, 3 6}.
//
// In one array: a square is swapped across its diagonal, a rectangle goes through
// a copy, and when there is no memory for one, the cycles of the permutation are
// followed, after N. Brenner, "Matrix transposition in place" (1973): the
// factors of nrow*ncol - 1 tell how many elements each family of cycles has, so
// no record of visited elements is needed.
#include "core/errors/error_codes.hpp"
#include "core/errors/error_stack.h"
#include "core/kernels/machine.hpp"
#include "core/kernels/vector_kernels.h"
#include "core/simd/vectors.hpp"
#include "core/system/memory.hpp"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

namespace {

using std::size_t;
using zavo::core::code::ErrorCode;
namespace simd = zavo::simd;

constexpr char routine_name[] = "M1RAN_F";

// Entries that l_factor_int clears in each of its arrays; an int has at most nine
// distinct primes.
constexpr int factor_room = 13;

// ---- Tiles -----------------------------------------------------------------

// Edge of a tile: 128 bytes, two cache lines.
template <class T>
constexpr size_t tile_edge = 128 / sizeof(T);

// tile[c * edge + r], r < rows, c < columns.
template <class T>
struct Tile {
    alignas(64) T values[tile_edge<T> * tile_edge<T>];
};

// A square of rows of 16 bytes into the buffer, transposed: 4 x 4 elements of four
// bytes, or 2 x 2 of eight. Elements travel as bits; no arithmetic sees them.
template <class T>
void gather_square(const T* from, size_t stride, T* to)
{
    constexpr size_t edge = tile_edge<T>;
    const auto row = [&](int r) {
        return reinterpret_cast<const float*>(from + static_cast<size_t>(r) * stride);
    };
    const auto column = [&](int c) { return reinterpret_cast<float*>(to + static_cast<size_t>(c) * edge); };
    if constexpr (sizeof(T) == 4) {
        simd::transpose<4>(row, column);
    } else {
        static_assert(sizeof(T) == 8);
        simd::transpose_pairs(row, column);
    }
}

// Reads rows x columns elements, whose rows lie `stride` apart, transposed into
// the buffer.
template <class T>
void gather_tile(const T* from, size_t stride, size_t rows, size_t columns, Tile<T>& tile)
{
    constexpr size_t edge = tile_edge<T>;
    constexpr size_t step = 16 / sizeof(T);
    assert(rows <= edge && columns <= edge && columns <= stride);
    if (rows == edge && columns == edge) {
        for (size_t r = 0; r < edge; r += step) {
            for (size_t c = 0; c < edge; c += step) {
                gather_square(from + r * stride + c, stride, tile.values + c * edge + r);
            }
        }
        return;
    }
    for (size_t r = 0; r < rows; ++r) {
        for (size_t c = 0; c < columns; ++c) {
            tile.values[c * edge + r] = from[r * stride + c];
        }
    }
}

// Writes the buffer, the transposed of rows x columns elements, as `columns`
// rows of `rows` elements that lie `stride` apart.
template <class T>
void put_tile(const Tile<T>& tile, size_t rows, size_t columns, T* to, size_t stride)
{
    constexpr size_t edge = tile_edge<T>;
    assert(rows <= edge && columns <= edge && rows <= stride);
    if (rows == edge) {
        for (size_t c = 0; c < columns; ++c) {
            std::memcpy(to + c * stride, tile.values + c * edge, edge * sizeof(T));
        }
        return;
    }
    for (size_t c = 0; c < columns; ++c) {
        std::memcpy(to + c * stride, tile.values + c * edge, rows * sizeof(T));
    }
}

template <class T>
void transpose_apart(size_t nrow, size_t ncol, const T* a, T* b)
{
    constexpr size_t edge = tile_edge<T>;
    assert(a + nrow * ncol <= b || b + nrow * ncol <= a);
    Tile<T> tile;
    for (size_t i = 0; i < nrow; i += edge) {
        const size_t rows = std::min(edge, nrow - i);
        for (size_t j = 0; j < ncol; j += edge) {
            const size_t columns = std::min(edge, ncol - j);
            gather_tile(a + j + ncol * i, ncol, rows, columns, tile);
            put_tile(tile, rows, columns, b + i + nrow * j, nrow);
        }
    }
}

template <class T>
void transpose_square(size_t n, T* b)
{
    constexpr size_t edge = tile_edge<T>;
    Tile<T> upper;
    Tile<T> lower;
    for (size_t i = 0; i < n; i += edge) {
        const size_t rows = std::min(edge, n - i);
        for (size_t j = i; j < n; j += edge) {
            const size_t columns = std::min(edge, n - j);
            gather_tile(b + j + n * i, n, rows, columns, upper);
            gather_tile(b + i + n * j, n, columns, rows, lower);
            put_tile(upper, rows, columns, b + i + n * j, n);
            put_tile(lower, columns, rows, b + j + n * i, n);
        }
    }
}

// ---- In place, by cycles ----------------------------------------------------
//
// Apart from the first and the last element, which stay, the element for place k
// comes from place k * ncol mod m, with m = nrow*ncol - 1. Since nrow * ncol = 1
// (mod m), that factor has no divisor in common with m, so gcd(k, m) is the same
// all along a cycle. For each divisor d of m the places with gcd(k, m) = d are
// k = d*j with j prime to m/d: phi(m/d) of them, all on cycles of one length.

struct Factors {
    int count = 0;
    std::array<int, factor_room> primes{};
    std::array<int, factor_room> exponents{};
    std::array<int, factor_room> powers{};
};

struct CycleFamily {
    std::uint64_t d;        // the divisor
    std::uint64_t quotient; // m / d
    std::uint64_t members;  // phi(m / d): elements that the family has
};

bool prime_to(std::uint64_t j, std::uint64_t quotient, const Factors& factors)
{
    for (int f = 0; f < factors.count; ++f) {
        const auto prime = static_cast<std::uint64_t>(factors.primes[static_cast<size_t>(f)]);
        if (j % prime == 0 && quotient % prime == 0) {
            return false;
        }
    }
    return true;
}

// Is k the least place of its cycle? Its length, or 0 when it is not.
std::uint64_t length_if_leader(std::uint64_t k, std::uint64_t ncol, std::uint64_t m)
{
    std::uint64_t length = 1;
    for (std::uint64_t at = k * ncol % m; at != k; at = at * ncol % m) {
        if (at < k) {
            return 0;
        }
        ++length;
    }
    return length;
}

template <class T>
void move_cycle(std::uint64_t k, std::uint64_t ncol, std::uint64_t m, T* b)
{
    assert(k < m);
    const T first = b[k];
    std::uint64_t at = k;
    for (std::uint64_t source = k * ncol % m; source != k; source = source * ncol % m) {
        b[at] = b[source];
        at = source;
    }
    b[at] = first;
}

template <class T>
void move_family(const CycleFamily& family, const Factors& factors, std::uint64_t ncol, std::uint64_t m, T* b)
{
    std::uint64_t left = family.members;
    for (std::uint64_t j = 1; left > 0; ++j) {
        if (!prime_to(j, family.quotient, factors)) {
            continue;
        }
        const std::uint64_t k = family.d * j;
        assert(j < family.quotient);
        const std::uint64_t length = length_if_leader(k, ncol, m);
        if (length > 0) {
            move_cycle(k, ncol, m, b);
            left -= length;
        }
    }
}

// Takes its sizes as (ncol, nrow). False, with b as it was, when the matrix has
// more elements than an int can count.
template <class T>
bool transpose_in_place(std::uint64_t ncol, std::uint64_t nrow, T* b)
{
    const auto largest = static_cast<std::uint64_t>(zavo::core::machine::largest_int());
    if (nrow > largest / ncol) {
        return false;
    }
    if (nrow == 1 || ncol == 1) {
        return true; // the elements already stand in order
    }
    const std::uint64_t m = nrow * ncol - 1;
    Factors factors;
    l_factor_int(static_cast<int>(m), &factors.count, factors.primes.data(), factors.exponents.data(),
                 factors.powers.data());
    // Every divisor d below m, counted like an odometer: one digit per prime.
    std::array<int, factor_room> digits{};
    for (;;) {
        CycleFamily family{1, m, 1};
        for (size_t f = 0; f < static_cast<size_t>(factors.count); ++f) {
            const auto prime = static_cast<std::uint64_t>(factors.primes[f]);
            for (int e = 0; e < digits[f]; ++e) {
                family.d *= prime;
            }
            const int left = factors.exponents[f] - digits[f];
            for (int e = 0; e < left; ++e) {
                family.members *= e == 0 ? prime - 1 : prime;
            }
        }
        family.quotient = m / family.d;
        if (family.quotient > 1) {
            move_family(family, factors, ncol, m, b);
        }
        size_t f = 0;
        while (f < static_cast<size_t>(factors.count) && digits[f] == factors.exponents[f]) {
            digits[f++] = 0;
        }
        if (f == static_cast<size_t>(factors.count)) {
            return true;
        }
        ++digits[f];
    }
}

// ---- Dispatch -------------------------------------------------------------

// A rectangle in its own array: through a copy, else by cycles.
template <class T>
void transpose_rectangle(size_t nrow, size_t ncol, T* b)
{
    const bool countable = nrow <= std::numeric_limits<size_t>::max() / ncol;
    T* const copy = countable ? zavo::core::take_work<T>(nrow * ncol) : nullptr;
    if (copy != nullptr) {
        std::memcpy(copy, b, nrow * ncol * sizeof(T));
        transpose_apart(nrow, ncol, copy, b);
        zavo::core::give_back_work(copy);
    } else if (!transpose_in_place(std::uint64_t{ncol}, std::uint64_t{nrow}, b)) {
        zavo_error_post(ZAVO_TERMINAL, ErrorCode::out_of_memory);
    }
}

void check_sizes(int nrow, int ncol)
{
    if (nrow < 1) {
        zavo_error_set_int(1, nrow);
        zavo_error_post(ZAVO_TERMINAL, ErrorCode::no_rows);
    }
    if (ncol < 1) {
        zavo_error_set_int(1, ncol);
        zavo_error_post(ZAVO_TERMINAL, ErrorCode::no_columns);
    }
}

template <class T>
void transpose(int nrow, int ncol, const T* a, T* b)
{
    zavo_error_push(routine_name);
    check_sizes(nrow, ncol);
    if (zavo_error_code(0) == 0) {
        assert(a != nullptr && b != nullptr);
        const auto rows = static_cast<size_t>(nrow);
        const auto columns = static_cast<size_t>(ncol);
        if (a != b) {
            transpose_apart(rows, columns, a, b);
        } else if (rows == columns) {
            transpose_square(rows, b);
        } else {
            transpose_rectangle(rows, columns, b);
        }
    }
    zavo_error_pop(routine_name);
}

// Counts one prime factor, a new one or the last one again.
void record_prime(unsigned prime, int* count, int* primes, int* exponents, int* powers)
{
    if (*count == 0 || static_cast<unsigned>(primes[*count - 1]) != prime) {
        assert(*count < factor_room);
        primes[*count] = static_cast<int>(prime);
        powers[*count] = 1;
        ++*count;
    }
    const int last = *count - 1;
    ++exponents[last];
    powers[last] = static_cast<int>(static_cast<unsigned>(powers[last]) * prime);
}

} // namespace

extern "C" {

void M1RAN_F(int nrow, int ncol, const float* a, float* b)
{
    transpose(nrow, ncol, a, b);
}

void M1RAN_C(int nrow, int ncol, const f_complex* a, f_complex* b)
{
    transpose(nrow, ncol, a, b);
}

void M1RAN_I(int nrow, int ncol, const int* a, int* b)
{
    transpose(nrow, ncol, a, b);
}

void l_factor_int(int n, int* count, int* primes, int* exponents, int* powers)
{
    *count = 0;
    std::fill_n(primes, factor_room, 0);
    std::fill_n(exponents, factor_room, 0);
    std::fill_n(powers, factor_room, 0);
    unsigned rest = n < 0 ? 0U - static_cast<unsigned>(n) : static_cast<unsigned>(n);
    if (rest <= 1) {
        return;
    }
    unsigned divisor = 2;
    for (;;) {
        const unsigned quotient = rest / divisor;
        if (rest % divisor == 0) {
            record_prime(divisor, count, primes, exponents, powers);
            rest = quotient;
        } else if (quotient <= divisor) {
            break;
        } else {
            divisor += divisor == 2 ? 1 : 2;
        }
    }
    if (rest > 1) {
        record_prime(rest, count, primes, exponents, powers);
    }
}

} // extern "C"

#include "zavox/fourier.hpp"

#include "zavox/roots.hpp"

#include <algorithm>
#include <cassert>
#include <limits>

namespace zavox {

namespace {

constexpr int greatest_int = std::numeric_limits<int>::max();

// Pairs (cos, sin) times complex floats, rounded once.
f_complex product(double a_re, double a_im, f_complex b)
{
    return {static_cast<float>(a_re * b.re - a_im * b.im), static_cast<float>(a_re * b.im + a_im * b.re)};
}

f_complex conjugate_if(bool yes, f_complex z)
{
    return yes ? f_complex{z.re, -z.im} : z;
}

// Least product of powers of the primes that is at least n; a recursion over
// what is left to fill.
std::int64_t least_product(std::int64_t n, std::int64_t so_far, const int* primes, int count)
{
    if (count == 0) {
        return so_far >= n ? so_far : std::numeric_limits<std::int64_t>::max();
    }
    std::int64_t best = std::numeric_limits<std::int64_t>::max();
    for (std::int64_t value = so_far;; value *= primes[0]) {
        best = std::min(best, least_product(n, value, primes + 1, count - 1));
        if (value >= n) {
            return best;
        }
    }
}

} // namespace

bool is_smooth(int n)
{
    for (const int prime : {2, 3, 5, 7, 11, 13}) {
        while (n % prime == 0) {
            n /= prime;
        }
    }
    return n == 1;
}

int smooth_size(int n)
{
    static constexpr int primes[] = {5, 3, 2};
    const std::int64_t least = least_product(n, 1, primes, 3);
    return least <= greatest_int ? static_cast<int>(least) : 0;
}

int fast_size(std::int64_t n)
{
    std::int64_t best = std::numeric_limits<std::int64_t>::max();
    for (std::int64_t size : {1, 3, 5, 9, 15}) {
        while (size < n) {
            size *= 2;
        }
        best = std::min(best, size);
    }
    return best <= greatest_int ? static_cast<int>(best) : 0;
}

void Fourier::release()
{
    for (int i = 0; i < kept; ++i) {
        engine().release(real_[i].values);
        engine().release(complex_[i].values);
        real_[i] = complex_[i] = Table{};
    }
    for (Chirp& chirp : chirps_) {
        drop(&chirp);
    }
}

void Fourier::drop(Chirp* chirp)
{
    engine().release(chirp->factors);
    engine().release(chirp->spectrum);
    engine().release(chirp->work);
    *chirp = Chirp{};
}

// A length of 1 has no table; null is then the right answer.
bool Fourier::table(Table (&tables)[kept], float* (*build)(int), int n, float** values)
{
    *values = nullptr;
    if (n == 1) {
        return true;
    }
    Table* oldest = tables;
    for (Table& candidate : tables) {
        if (candidate.n == n) {
            candidate.used = ++clock_;
            *values = candidate.values;
            return true;
        }
        if (candidate.used < oldest->used) {
            oldest = &candidate;
        }
    }
    engine().release(oldest->values);
    *oldest = Table{};
    float* const built = build(n);
    if (built == nullptr) {
        return false;
    }
    *oldest = {n, built, ++clock_};
    *values = built;
    return true;
}

const Fourier::Chirp* Fourier::chirp(int n)
{
    Chirp* oldest = chirps_;
    for (Chirp& candidate : chirps_) {
        if (candidate.n == n) {
            candidate.used = ++clock_;
            return &candidate;
        }
        if (candidate.used < oldest->used) {
            oldest = &candidate;
        }
    }
    drop(oldest);
    if (!make_chirp(oldest, n) || interrupted(0)) {
        drop(oldest);
        return nullptr;
    }
    oldest->used = ++clock_;
    return oldest;
}

// The squares are taken modulo 2n, where the chirp repeats, so that no angle is
// ever large.
bool Fourier::make_chirp(Chirp* chirp, int n)
{
    const int m = fast_size(2 * std::int64_t{n} - 1);
    Roots roots;
    float* table = nullptr;
    if (m == 0 || !roots.make(2 * std::int64_t{n}) ||
        !this->table(complex_, engine().c_fft_complex_init, m, &table)) {
        return false;
    }
    assert(m >= 2 * std::int64_t{n} - 1);
    const auto length = static_cast<std::size_t>(m);
    chirp->m = m;
    chirp->factors = static_cast<double*>(engine().allocate(static_cast<std::size_t>(n), 2 * sizeof(double)));
    chirp->spectrum = static_cast<f_complex*>(engine().allocate(length, sizeof(f_complex)));
    chirp->work = static_cast<f_complex*>(engine().allocate(length, sizeof(f_complex)));
    if (chirp->factors == nullptr || chirp->spectrum == nullptr || chirp->work == nullptr) {
        return false;
    }
    std::fill_n(chirp->spectrum, length, f_complex{0.0F, 0.0F});
    std::int64_t square = 0; // k^2 mod 2n
    const bool done = in_parts(n, 5, [&](std::int64_t begin, std::int64_t end) {
        for (std::int64_t k = begin; k < end; ++k) {
            const Root root = roots[square];
            chirp->factors[2 * std::size_t(k)] = root.cos;
            chirp->factors[2 * std::size_t(k) + 1] = root.sin;
            const f_complex value = {static_cast<float>(root.cos / m), static_cast<float>(root.sin / m)};
            chirp->spectrum[k] = value;
            chirp->spectrum[k == 0 ? 0 : m - k] = value;
            square = (square + 2 * k + 1) % (2 * std::int64_t{n});
        }
    });
    if (!done) {
        return false;
    }
    engine().fft_complex_forward(&m, chirp->spectrum, chirp->spectrum, table, chirp->work);
    chirp->n = n;
    return true;
}

// Leaves in the chirp's work area the n values that still have to be multiplied
// by the conjugate chirp. The sign plus is the conjugate of minus of the
// conjugate values.
template <class Input>
bool Fourier::through_chirp(Sign sign, int n, const Input& x, const Chirp** done)
{
    const Chirp* const c = chirp(n);
    float* table = nullptr;
    if (c == nullptr || !this->table(complex_, engine().c_fft_complex_init, c->m, &table)) {
        return false;
    }
    const bool conjugated = sign == Sign::plus;
    f_complex* const work = c->work;
    for (int j = 0; j < n; ++j) {
        work[j] = product(c->factors[2 * std::size_t(j)], -c->factors[2 * std::size_t(j) + 1],
                          conjugate_if(conjugated, x(j)));
    }
    std::fill(work + n, work + c->m, f_complex{0.0F, 0.0F});
    if (interrupted(c->m)) {
        return false;
    }
    engine().fft_complex_forward(&c->m, work, work, table, nullptr);
    for (int k = 0; k < c->m; ++k) {
        work[k] = product(work[k].re, work[k].im, c->spectrum[k]);
    }
    if (interrupted(c->m)) {
        return false;
    }
    engine().fft_complex_backward(&c->m, work, work, table, nullptr);
    for (int k = 0; k < n; ++k) {
        work[k] = conjugate_if(conjugated, product(c->factors[2 * std::size_t(k)],
                                                   -c->factors[2 * std::size_t(k) + 1], work[k]));
    }
    *done = c;
    return true;
}

bool Fourier::complex(Sign sign, int n, const f_complex* p, f_complex* q)
{
    if (!is_smooth(n)) {
        const Chirp* done = nullptr;
        if (!through_chirp(
                sign, n, [p](int j) { return p[j]; }, &done)) {
            return false;
        }
        std::copy_n(done->work, n, q);
        return true;
    }
    float* table = nullptr;
    if (!this->table(complex_, engine().c_fft_complex_init, n, &table)) {
        return false;
    }
    const auto transform = sign == Sign::minus ? engine().fft_complex_forward : engine().fft_complex_backward;
    transform(&n, p, q, table, nullptr);
    return true;
}

bool Fourier::real_forward(int n, const float* p, float* q)
{
    if (!is_smooth(n)) {
        const Chirp* done = nullptr;
        if (!through_chirp(
                Sign::minus, n,
                [p](int j) {
                    return f_complex{p[j], 0.0F};
                },
                &done)) {
            return false;
        }
        q[0] = done->work[0].re;
        for (int k = 1; k <= (n - 1) / 2; ++k) {
            q[2 * k - 1] = done->work[k].re;
            q[2 * k] = done->work[k].im;
        }
        if (n % 2 == 0) {
            q[n - 1] = done->work[n / 2].re;
        }
        return true;
    }
    float* table = nullptr;
    if (!this->table(real_, engine().f_fft_real_init, n, &table)) {
        return false;
    }
    engine().fft_real_forward(&n, p, q, table);
    return true;
}

bool Fourier::real_backward(int n, const float* p, float* q)
{
    if (!is_smooth(n)) {
        // The upper half of the spectrum mirrors the lower one.
        const auto value = [p, n](int k) {
            const int low = std::min(k, n - k);
            if (low == 0) {
                return f_complex{p[0], 0.0F};
            }
            if (2 * low == n) {
                return f_complex{p[n - 1], 0.0F};
            }
            return f_complex{p[2 * low - 1], k <= n - k ? p[2 * low] : -p[2 * low]};
        };
        const Chirp* done = nullptr;
        if (!through_chirp(Sign::plus, n, value, &done)) {
            return false;
        }
        for (int j = 0; j < n; ++j) {
            q[j] = done->work[j].re;
        }
        return true;
    }
    float* table = nullptr;
    if (!this->table(real_, engine().f_fft_real_init, n, &table)) {
        return false;
    }
    engine().fft_real_backward(&n, p, q, table);
    return true;
}

bool Fourier::plane(Sign sign, int rows, int columns, const f_complex* p, f_complex* q)
{
    for (int r = 0; r < rows; ++r) {
        const std::ptrdiff_t start = std::ptrdiff_t{r} * columns;
        if (!complex(sign, columns, p + start, q + start) || interrupted(std::int64_t{8} * columns)) {
            return false;
        }
    }
    const Buffer<f_complex> column(rows);
    bool good = static_cast<bool>(column);
    for (int c = 0; good && c < columns; ++c) {
        for (int r = 0; r < rows; ++r) {
            column[r] = q[std::ptrdiff_t{r} * columns + c];
        }
        good = complex(sign, rows, column.get(), column.get()) && !interrupted(std::int64_t{12} * rows);
        for (int r = 0; good && r < rows; ++r) {
            q[std::ptrdiff_t{r} * columns + c] = column[r];
        }
    }
    return good;
}

} // namespace zavox
